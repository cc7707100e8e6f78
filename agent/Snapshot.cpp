#include "agent/Snapshot.h"

#include <algorithm>
#include <tuple>

namespace Agent {
namespace {

auto keyOf(Snapshot::Entry const &entry) noexcept {
    return std::make_tuple(entry.vlan, entry.intf);
}

} // namespace

Snapshot::Snapshot(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &directory) {
    using VlanSubIntfConfigLib::VlanSubIntf;
    std::vector<std::tuple<Bridging::VlanId, Iftel::IntfId, VlanSubIntf const *>> order;
    for (auto const &[vlan, config] : directory.config()) {
        for (auto const &[intf, subIntf] : config->intf()) {
            order.emplace_back(vlan, intf, subIntf.get());
        }
    }
    std::sort(order.begin(), order.end());
    entries_.reserve(order.size());
    for (auto const &[vlan, intf, subIntf] : order) {
        auto const begin = members_.size();
        for (Iftel::IntfId const member : subIntf->lagPhyIntf()) {
            members_.push_back(member);
        }
        std::sort(members_.begin() + static_cast<std::ptrdiff_t>(begin), members_.end());
        entries_.push_back({intf, members_.size(), vlan, subIntf->tagOnEgress(),
                            subIntf->allowedTrafficDirection()});
    }
}

std::span<Iftel::IntfId const> Snapshot::members(Entry const &entry) const noexcept {
    std::size_t const begin = &entry == entries_.data() ? 0 : (&entry - 1)->membersEnd;
    return std::span(members_).subspan(begin, entry.membersEnd - begin);
}

bool Snapshot::same(Snapshot const &before, Entry const &a, Snapshot const &after,
                    Entry const &b) noexcept {
    return a.tagOnEgress == b.tagOnEgress && a.direction == b.direction &&
           std::ranges::equal(before.members(a), after.members(b));
}

void Snapshot::compare(Snapshot const &before, Snapshot const &after,
                       std::function<void(Entry const &, Change)> const &each) {
    auto older = before.entries_.begin();
    auto newer = after.entries_.begin();
    while (older != before.entries_.end() || newer != after.entries_.end()) {
        if (newer == after.entries_.end() ||
            (older != before.entries_.end() && keyOf(*older) < keyOf(*newer))) {
            each(*older++, Change::deleted);
        } else if (older == before.entries_.end() || keyOf(*newer) < keyOf(*older)) {
            each(*newer++, Change::added);
        } else {
            each(*newer, same(before, *older, after, *newer) ? Change::kept : Change::changed);
            ++older;
            ++newer;
        }
    }
}

} // namespace Agent
