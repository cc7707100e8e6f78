// From what is known to the inputs, one small step after the other: an identity, a member that
// goes, a member that comes or changes. A step leaves the queues so that the next one may follow at
// once or after any other facts.
//
//   identities_   links whose name, kind or bottom may be another. One that gets another identifier
//                 leaves what it has written to an orphan, and its dependents follow. With its
//                 name a link loses the identifier at once: no two links ever have the same.
//   orphans_      identifiers that some link had. Where a link has one now (it was deleted and made
//                 again, or names were swapped), that one takes over what was written; what nobody
//                 takes over is withdrawn.
//   members_      links of which something else may be written than is known.
//   emptied_      VLANs are deleted last, for most get another member in between.
#include "agent/source/Topology.h"
#include "platform/Nuvio/Assert.h"

#include <utility>

namespace Agent {
namespace {

Iftel::IntfId intfOf(LinkFacts const &facts) {
    return Iftel::NameTable::instance().intfIs(facts.name, facts.kind == LinkKind::lag
                                                               ? Iftel::IntfKind::portChannel
                                                               : Iftel::IntfKind::ethernet);
}

} // namespace

Worker::More Topology::settle(Osk::Task const &task) {
    while (!settled()) {
        settleOne();
        if (task.taskShouldYield()) {
            return settled() ? Worker::More::no : Worker::More::yes;
        }
    }
    return Worker::More::no;
}

bool Topology::settled() const noexcept {
    return identities_.empty() && orphans_.empty() && members_.empty() && emptied_.empty();
}

void Topology::settleOne() {
    if (!identities_.empty()) {
        settleIdentity();
    } else if (!orphans_.empty()) {
        settleOrphan();
    } else if (!members_.empty()) {
        settleMembers();
    } else {
        settleEmptied();
    }
}

void Topology::identityQueue(LinkIndex index) {
    Link *const link = find(index);
    if (link && !std::exchange(link->identityQueued, true)) {
        identities_.push_back(index);
    }
}

void Topology::membersQueue(LinkIndex index) {
    Link *const link = find(index);
    if (link && !std::exchange(link->membersQueued, true)) {
        members_.push_back(index);
    }
}

bool Topology::membersQueueIf(bool changed, LinkIndex index) {
    if (changed) {
        membersQueue(index);
    }
    return changed;
}

// Identities

void Topology::settleIdentity() {
    LinkIndex const index = identities_.front();
    identities_.pop_front();
    Link *const link = find(index);
    if (!link) {
        return;
    }
    link->identityQueued = false;
    identityIs(index, identityOf(*link));
    membersQueue(index);
}

Iftel::IntfId Topology::identityOf(Link &link) {
    if (!link.known || link.facts.name.empty()) {
        return {};
    }
    if (link.facts.kind != LinkKind::subinterface) {
        return intfOf(link.facts);
    }
    link.bottom = bottomOf(link);
    return Iftel::NameTable::instance().subIntfIs(link.facts.name, link.bottom);
}

/// What lies at the bottom of a stack of subinterfaces. Where it breaks off, because news has come
/// of the one link and not yet of the other, the bottom stays what it was.
Iftel::IntfId Topology::bottomOf(Link const &top) {
    Link const *at = &top;
    for (unsigned depth = 0; depth < longestStack; ++depth) {
        if (at->facts.lowerElsewhere || at->facts.lower == 0) {
            return {};
        }
        Link const *const below = findKnown(at->facts.lower);
        if (!below || below->facts.name.empty()) {
            return at->bottom;
        }
        if (below->facts.kind != LinkKind::subinterface) {
            return intfOf(below->facts);
        }
        at = below;
    }
    return {};
}

/// Where the old identifier has an orphan already, this link has not written anything under it:
/// members come after orphans.
void Topology::identityIs(LinkIndex index, Iftel::IntfId id) {
    Link &link = *find(index);
    Iftel::IntfId const old = std::exchange(link.id, id);
    if (old == id) {
        return;
    }
    if (old != Iftel::IntfId()) {
        auto const *const name = Iftel::NameTable::instance().nameOf(old);
        orphans_.try_emplace(old,
                             Orphan{name ? std::string(name->view()) : std::string(),
                                    std::exchange(link.written, {}), link.vlans.takeWritten()});
    }
    for (LinkIndex const dependent : dependentsOf(index)) {
        identityQueue(dependent);
    }
}

/// A link that loses its name does not wait for its turn: until then, two links would have one
/// identifier, and one of them nothing written under it.
void Topology::identityDel(LinkIndex index) {
    identityQueue(index);
    identityIs(index, {});
}

// Orphans

void Topology::settleOrphan() {
    auto const first = orphans_.begin();
    Iftel::IntfId const id = first->first;
    if (adopt(id, first->second)) {
        orphans_.erase(first);
    } else if (!withdrawOne(id, first->second)) {
        orphans_.erase(first);
        retired_(id);
    }
}

bool Topology::adopt(Iftel::IntfId id, Orphan &orphan) {
    auto const named = byName_.find(orphan.name);
    Link *const link = named == byName_.end() ? nullptr : find(named->second);
    if (!link || link->id != id) {
        return false;
    }
    NUVIO_ASSERT(link->written == Written(), "name={}", orphan.name);
    link->written = orphan.written;
    link->vlans.writtenIs(orphan.vlans);
    membersQueue(named->second);
    return true;
}

/// Withdraw one member; false when nothing is left to be withdrawn.
bool Topology::withdrawOne(Iftel::IntfId id, Orphan &orphan) {
    if (auto const change = orphan.vlans.nextChange(false)) {
        memberIs(id, *change);
        return true;
    }
    lagMemberDel(orphan.written.lag, id);
    if (orphan.written.isLag) {
        inputs_.lagPhyIntfMapping->lagPhyIntfConfigDel(id);
    }
    return false;
}

// Members

void Topology::settleMembers() {
    LinkIndex const index = members_.front();
    Link *const link = find(index);
    if (!link) {
        members_.pop_front();
        return;
    }
    if (auto const change = link->vlans.nextChange(isPort(*link))) {
        memberIs(link->id, *change);
        return;
    }
    members_.pop_front();
    link->membersQueued = false;
    settleLag(*link);
    linkDropIfNothing(index);
}

void Topology::settleLag(Link &link) {
    if (link.id == Iftel::IntfId()) {
        return;
    }
    if (link.facts.kind == LinkKind::lag) {
        lagOf(link);
    }
    Link *const master = findKnown(link.facts.master);
    bool const isMember =
        master && master->facts.kind == LinkKind::lag && master->id != Iftel::IntfId();
    Iftel::IntfId const lag = isMember ? master->id : Iftel::IntfId();
    Iftel::IntfId const before = std::exchange(link.written.lag, lag);
    if (isMember) {
        auto const config = lagOf(*master);
        if (!config->phyIntf(link.id)) {
            config->phyIntfIs(link.id, Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
        }
    }
    if (before != lag) {
        lagMemberDel(before, link.id);
    }
}

/// What is written of a LAG, made empty if it is missing.
Qor::Ptr<Lag::LagPhyIntfConfig> Topology::lagOf(Link &link) {
    link.written.isLag = true;
    return inputs_.lagPhyIntfMapping->lagPhyIntfConfigIs(link.id);
}

bool Topology::isPort(Link const &link) const {
    if (link.id == Iftel::IntfId() || link.facts.kind == LinkKind::bridge) {
        return false;
    }
    Link const *const master = bridge_.empty() ? nullptr : find(link.facts.master);
    return bridge_.empty() ||
           (master && master->facts.kind == LinkKind::bridge && master->facts.name == bridge_);
}

void Topology::memberIs(Iftel::IntfId intf, TopologyVlans::Change const &change) {
    if (change.config) {
        inputs_.bridgingConfig->vlanConfigIs(change.vlan)->intfIs(intf, *change.config);
    } else if (inputs_.bridgingConfig->vlanConfig(change.vlan)) {
        inputs_.bridgingConfig->vlanConfigIs(change.vlan)->intfDel(intf);
        emptied_.insert(change.vlan);
    }
}

void Topology::lagMemberDel(Iftel::IntfId lag, Iftel::IntfId member) {
    if (auto const config = inputs_.lagPhyIntfMapping->lagPhyIntfConfig(lag)) {
        (*config)->phyIntfDel(member);
    }
}

void Topology::settleEmptied() {
    Bridging::VlanId const vlan = *emptied_.begin();
    emptied_.erase(emptied_.begin());
    auto const config = inputs_.bridgingConfig->vlanConfig(vlan);
    if (config && (*config)->intf().empty()) {
        inputs_.bridgingConfig->vlanConfigDel(vlan);
    }
}

void Topology::linkDropIfNothing(LinkIndex index) {
    auto const found = links_.find(index);
    if (found != links_.end() && !found->second.known && found->second.vlans.empty() &&
        found->second.id == Iftel::IntfId() && !found->second.identityQueued &&
        !found->second.membersQueued) {
        links_.erase(found);
    }
}

} // namespace Agent
