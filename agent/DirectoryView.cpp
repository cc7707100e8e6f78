#include "agent/DirectoryView.h"

#include "agent/NaturalOrder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Agent {

DirectoryView::DirectoryView(Directory const &directory) {
    for (auto const &[vlan, config] : directory.config()) {
        if (!config->intf().empty()) {
            vlans_.push_back(config.get());
        }
    }
    std::sort(vlans_.begin(), vlans_.end(),
              [](auto const *a, auto const *b) { return a->vlanId() < b->vlanId(); });
    collectNames();
    rankNames();
}

void DirectoryView::collectNames() {
    auto const add = [this](Iftel::IntfId id) {
        auto const [entry, isNew] = names_.try_emplace(id);
        if (isNew) {
            entry->second.name = id.stringValue();
        }
        return entry->second.name.size();
    };
    for (SubIntfConfig const *const vlan : vlans_) {
        for (auto const &[id, subIntf] : vlan->intf()) {
            longestName_ = std::max(longestName_, add(id));
            for (Iftel::IntfId const member : subIntf->lagPhyIntf()) {
                add(member);
            }
        }
    }
}

void DirectoryView::rankNames() {
    std::vector<std::pair<Iftel::IntfId, Named *>> all;
    all.reserve(names_.size());
    for (auto &[id, name] : names_) {
        all.emplace_back(id, &name);
    }
    // Two identifiers may have one name, when an interface has changed its kind.
    std::sort(all.begin(), all.end(), [](auto const &a, auto const &b) {
        return a.second->name == b.second->name
                   ? a.first < b.first
                   : naturallyBefore(a.second->name.view(), b.second->name.view());
    });
    std::uint32_t rank = 0;
    for (auto const &[id, name] : all) {
        name->rank = rank++;
    }
}

void DirectoryView::forEachVlan(std::function<void(Bridging::VlanId, SubIntfs)> const &each) const {
    std::vector<std::pair<std::uint32_t, SubIntf const *>> ranked;
    std::vector<SubIntf const *> ordered;
    for (SubIntfConfig const *const vlan : vlans_) {
        ranked.clear();
        for (auto const &[id, subIntf] : vlan->intf()) {
            ranked.emplace_back(named(id).rank, subIntf.get());
        }
        std::sort(ranked.begin(), ranked.end());
        ordered.clear();
        for (auto const &[rank, subIntf] : ranked) {
            ordered.push_back(subIntf);
        }
        each(vlan->vlanId(), ordered);
    }
}

std::span<std::string_view const> DirectoryView::members(SubIntf const &subIntf) const {
    memberNames_.clear();
    for (Iftel::IntfId const member : subIntf.lagPhyIntf()) {
        memberNames_.push_back(&named(member));
    }
    std::sort(memberNames_.begin(), memberNames_.end(),
              [](Named const *a, Named const *b) { return a->rank < b->rank; });
    memberTexts_.clear();
    for (Named const *const member : memberNames_) {
        memberTexts_.push_back(member->name.view());
    }
    return memberTexts_;
}

} // namespace Agent
