#include "agent/service/Audit.h"

#include "agent/service/Derivation.h"

#include <algorithm>

namespace Agent {
namespace {

using Directory = DirectoryJournal::Directory;
using VlanSubIntfConfigLib::VlanSubIntf;

/// Call `each` for every member of the entry that the derived one does not have, in order.
void forEachSurplusMember(DerivedEntry const &derived, VlanSubIntf const &entry, auto const &each) {
    std::vector<Iftel::IntfId> surplus;
    for (Iftel::IntfId const member : entry.lagPhyIntf()) {
        if (!std::ranges::binary_search(derived.members, member)) {
            surplus.push_back(member);
        }
    }
    std::ranges::sort(surplus);
    std::ranges::for_each(surplus, each);
}

} // namespace

// Kept members.

void KeptMembers::keptIs(Bridging::VlanId vlan, Iftel::IntfId intf, Iftel::IntfId member) {
    members_[{vlan, intf}].insert(member);
}

bool KeptMembers::has(Bridging::VlanId vlan, Iftel::IntfId intf, Iftel::IntfId member) const {
    auto const entry = members_.find({vlan, intf});
    return entry != members_.end() && entry->second.contains(member);
}

void KeptMembers::change(DirectoryChange const &change) noexcept {
    using Kind = DirectoryChange::Kind;
    if (change.kind != Kind::entryDel && change.kind != Kind::memberDel) {
        return;
    }
    auto const entry = members_.find({change.vlan, change.intf});
    if (entry == members_.end()) {
        return;
    }
    if (change.kind == Kind::memberDel) {
        entry->second.erase(change.member);
    }
    if (change.kind == Kind::entryDel || entry->second.empty()) {
        members_.erase(entry);
    }
}

KeptMembersSearch::KeptMembersSearch(Inputs const &inputs, Directory const &directory,
                                     KeptMembers &kept)
    : inputs_(&inputs), directory_(&directory), kept_(&kept), walk_(inputs, directory) {}

bool KeptMembersSearch::step(Osk::Task const &task) {
    return walk_.step(task,
                      [this](Bridging::VlanId vlan, Iftel::IntfId intf) { visit(vlan, intf); });
}

void KeptMembersSearch::visit(Bridging::VlanId vlan, Iftel::IntfId intf) {
    VlanSubIntf const *const entry = directoryEntry(*directory_, vlan, intf);
    auto const derived = deriveEntry(*inputs_, vlan, intf);
    if (entry && derived) {
        forEachSurplusMember(*derived, *entry,
                             [&](Iftel::IntfId member) { kept_->keptIs(vlan, intf, member); });
    }
}

// The audit.

Audit::Audit(Inputs const &inputs, Directory const &directory, KeptMembers const &kept)
    : inputs_(&inputs), directory_(&directory), kept_(&kept), walk_(inputs, directory) {}

bool Audit::step(Osk::Task const &task) {
    return walk_.step(task,
                      [this](Bridging::VlanId vlan, Iftel::IntfId intf) { compare(vlan, intf); });
}

void Audit::compare(Bridging::VlanId vlan, Iftel::IntfId intf) {
    ++entries_;
    auto const derived = deriveEntry(*inputs_, vlan, intf);
    VlanSubIntf const *const entry = directoryEntry(*directory_, vlan, intf);
    if (!derived || !entry) {
        found(derived ? Finding::missing : Finding::surplus, vlan, intf);
        return;
    }
    if (derived->tagOnEgress != entry->tagOnEgress() ||
        derived->direction != entry->allowedTrafficDirection()) {
        found(Finding::attributes, vlan, intf);
    }
    compareMembers(vlan, *derived, *entry);
}

void Audit::compareMembers(Bridging::VlanId vlan, DerivedEntry const &derived,
                           VlanSubIntf const &entry) {
    Iftel::IntfId const intf = entry.intfId();
    std::size_t there = 0;
    for (Iftel::IntfId const member : derived.members) {
        if (entry.lagPhyIntf(member)) {
            ++there;
        } else {
            found(Finding::missingMember, vlan, intf, member);
        }
    }
    if (there == entry.lagPhyIntf().size()) {
        return;
    }
    forEachSurplusMember(derived, entry, [&](Iftel::IntfId member) {
        bool const isKept = kept_->has(vlan, intf, member);
        found(isKept ? Finding::kept : Finding::surplusMember, vlan, intf, member);
    });
}

void Audit::found(Finding finding, Bridging::VlanId vlan, Iftel::IntfId intf,
                  Iftel::IntfId member) {
    auto &count = finding == Finding::kept ? keptMembers_ : drift_;
    if (count < maxLines) {
        lines_.push_back({finding, vlan, intf.stringValue(), member.stringValue()});
    }
    ++count;
}

} // namespace Agent
