#include "bench/Plain.h"

#include <vector>

namespace Bench {

using Iftel::IntfId;
using Iftel::PortChannelIntfId;

void Plain::memberIs(Member const &member) {
    std::uint16_t const vlan = member.vlanId.value();
    in_[vlan][member.intfId] = member.config;
    if (running_ && member.intfId.isSubIntf()) {
        present(out_[vlan], {member.intfId, vlan}, member.config);
    }
}

void Plain::memberDel(Member const &member) {
    std::uint16_t const vlan = member.vlanId.value();
    VlanIn *const members = in_.find(vlan);
    if (!members) {
        return;
    }
    members->erase(member.intfId);
    if (running_ && member.intfId.isSubIntf()) {
        gone({member.intfId, vlan});
    }
}

void Plain::lagMemberIs(LagMember const &lagMember) {
    lags_[lagMember.lagId].add(lagMember.memberId);
    auto const *const rides = running_ ? rides_.find(lagMember.lagId) : nullptr;
    if (rides) {
        rides->each([&](Ride const &ride, NoValue) {
            out_.find(ride.vlan)->find(ride.intfId)->lagMembers.add(lagMember.memberId);
        });
    }
}

void Plain::lagMemberDel(LagMember const &lagMember) {
    if (IdSet *const lag = lags_.find(lagMember.lagId)) {
        lag->remove(lagMember.memberId);
    }
    auto const *const rides = running_ ? rides_.find(lagMember.lagId) : nullptr;
    if (rides) {
        rides->each([&](Ride const &ride, NoValue) {
            out_.find(ride.vlan)->find(ride.intfId)->lagMembers.remove(lagMember.memberId);
        });
    }
}

void Plain::present(VlanOut &vlan, Ride const &ride, Bridging::VlanPortConfig const &config) {
    Entry &entry = vlan[ride.intfId];
    entry.tagOnEgress = config.tagOnEgress;
    entry.direction = config.allowedTrafficDirection;
    if (!PortChannelIntfId::isPortChannelIntfId(ride.intfId)) {
        return;
    }
    IntfId const lagId = ride.intfId.withoutSubIntf();
    rides_[lagId][ride];
    if (IdSet const *const lag = lags_.find(lagId)) {
        entry.lagMembers = *lag;
    }
}

void Plain::gone(Ride const &ride) {
    if (VlanOut *const vlan = out_.find(ride.vlan)) {
        vlan->erase(ride.intfId);
        if (vlan->empty()) {
            out_.erase(ride.vlan);
        }
    }
    IntfId const lagId = ride.intfId.withoutSubIntf();
    if (auto *const rides = rides_.find(lagId)) {
        rides->erase(ride);
        if (rides->empty()) {
            rides_.erase(lagId);
        }
    }
}

void Plain::start() {
    bool const takesOver = !out_.empty();
    out_.reserve(in_.size());
    in_.each([this](std::uint64_t vlan, VlanIn const &members) {
        VlanOut &entries = out_[vlan];
        entries.reserve(members.size());
        members.each([&](IntfId intfId, Bridging::VlanPortConfig const &config) {
            if (intfId.isSubIntf()) {
                present(entries, {intfId, static_cast<std::uint16_t>(vlan)}, config);
            }
        });
    });
    if (takesOver) {
        staleDel();
    }
    running_ = true;
}

void Plain::staleDel() {
    std::vector<Ride> stale;
    out_.each([&](std::uint64_t vlan, VlanOut const &entries) {
        VlanIn const *const members = in_.find(vlan);
        entries.each([&](IntfId intfId, Entry const & /*entry*/) {
            if (!members || !members->find(intfId)) {
                stale.push_back({intfId, static_cast<std::uint16_t>(vlan)});
            }
        });
    });
    for (Ride const &ride : stale) {
        gone(ride);
    }
}

void Plain::stop() {
    rides_.clear();
    running_ = false;
}

void Plain::outputDelAll() {
    out_.clear();
    rides_.clear();
}

Checksum Plain::checksum() const {
    Checksum result;
    out_.each([&](std::uint64_t vlan, VlanOut const &entries) {
        Bridging::VlanId const vlanId(static_cast<std::uint16_t>(vlan));
        entries.each([&](IntfId intfId, Entry const &entry) {
            result.entryAdd(vlanId, intfId, entry.tagOnEgress, entry.direction);
            entry.lagMembers.each([&](IntfId id) { result.memberAdd(vlanId, intfId, id); });
        });
    });
    return result;
}

} // namespace Bench
