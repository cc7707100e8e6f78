#include "bench/latency/Site.h"

#include <fmt/format.h>

#include <algorithm>

namespace Latency {
namespace {

using Bridging::AllowedTrafficDirection;
using Iftel::IntfId;
using Iftel::IntfKind;

constexpr std::uint32_t mostVlans = 4000;
constexpr std::uint32_t perVlan = 250;

} // namespace

Site::Site(std::uint32_t members, std::chrono::nanoseconds share)
    : bridging(Bridging::Config::ConfigIs()),
      mapping(Lag::LagPhyIntfMapping::LagPhyIntfMappingIs()),
      dir(VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs()),
      scheduler(Osk::TaskScheduler::TaskSchedulerIs()), members_(members),
      vlans_(std::clamp(members / perVlan, 1U, mostVlans)) {
    scheduler->shareIs(share);
}

Bridging::VlanId Site::vlanId(std::uint32_t member) const noexcept {
    return Bridging::VlanId(static_cast<std::uint16_t>(1 + member % vlans_));
}

IntfId Site::intfIdAt(std::uint32_t place, std::uint32_t member) noexcept {
    switch (place % 4) {
    case 0:
    case 2:
        return IntfId::subIntf(lagId((member + place / 2) % lags), member + 1);
    case 1:
        return IntfId::subIntf(IntfId::intf(IntfKind::ethernet, 1 + member % 512), member + 1);
    default:
        return IntfId::intf(IntfKind::ethernet, 10000 + member);
    }
}

Bridging::VlanPortConfig Site::config(std::uint32_t member) noexcept {
    return {member % 2 == 0, false, static_cast<AllowedTrafficDirection>(member % 3)};
}

IntfId Site::lagId(std::uint32_t lag) noexcept {
    return IntfId::intf(IntfKind::portChannel, 1 + lag);
}

IntfId Site::lagMemberId(std::uint32_t lag, std::uint32_t k) noexcept {
    return IntfId::intf(IntfKind::ethernet, 1000 + lag * membersPerLag + k);
}

void Site::fillInputs() {
    for (std::uint32_t lag = 0; lag < lags; ++lag) {
        for (std::uint32_t k = 0; k < membersPerLag; ++k) {
            lagMemberIs(lag, k);
        }
    }
    for (std::uint32_t member = 0; member < members_; ++member) {
        memberIs(member);
    }
}

void Site::memberIs(std::uint32_t member, Bridging::VlanPortConfig config) {
    bridging->vlanConfigIs(vlanId(member))->intfIs(intfId(member), config);
}

void Site::memberDel(std::uint32_t member) {
    bridging->vlanConfigIs(vlanId(member))->intfDel(intfId(member));
}

void Site::lagMemberIs(std::uint32_t lag, std::uint32_t k) {
    mapping->lagPhyIntfConfigIs(lagId(lag))
        ->phyIntfIs(lagMemberId(lag, k), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
}

void Site::lagMemberDel(std::uint32_t lag, std::uint32_t k) {
    mapping->lagPhyIntfConfigIs(lagId(lag))->phyIntfDel(lagMemberId(lag, k));
}

Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntf> Site::entryIs(std::uint32_t member, IntfId intf) {
    auto const entry = dir->configIs(vlanId(member))->intfIs(intf);
    if (auto const lag = mapping->lagPhyIntfConfig(intf.withoutSubIntf())) {
        for (auto const &[lagMember, config] : (*lag)->phyIntf()) {
            entry->lagPhyIntfIs(lagMember);
        }
    }
    return entry;
}

void Site::fillDirAsDerived() {
    for (std::uint32_t member = 0; member < members_; ++member) {
        if (intfId(member).isSubIntf()) {
            auto const entry = entryIs(member, intfId(member));
            entry->tagOnEgressIs(config(member).tagOnEgress);
            entry->allowedTrafficDirectionIs(config(member).allowedTrafficDirection);
        }
    }
}

void Site::fillDirWithStaleEntries() {
    for (std::uint32_t member = 0; member < members_; ++member) {
        IntfId const parent = member / vlans_ % 2 == 0
                                  ? lagId(member % lags)
                                  : IntfId::intf(IntfKind::ethernet, 1 + member % 512);
        entryIs(member, IntfId::subIntf(parent, members_ + member + 1));
    }
}

void Site::factoryCall() {
    Quam::SmControl control;
    control.schedulerIs(scheduler);
    machine = VlanSubIntfConfigLib::configSmFactory(bridging, mapping, dir, control);
}

void Site::startUntilIdle() {
    factoryCall();
    scheduler->runUntilIdle();
}

std::string Site::fault() const {
    if (!machine || !machine->ready()) {
        return "the machine is not ready";
    }
    Counts const are = found();
    Counts const should = expected();
    return are == should
               ? ""
               : fmt::format("{} entries with {} LAG members, where the inputs call for "
                             "{} with {}",
                             are.entries, are.lagMembers, should.entries, should.lagMembers);
}

Site::Counts Site::expected() const {
    Counts counts;
    for (auto const &[vlan, config] : bridging->vlanConfig()) {
        for (auto const &[id, member] : config->intf()) {
            counts.entries += id.isSubIntf() ? 1U : 0U;
            counts.lagMembers +=
                id.isSubIntf() && id.kind() == IntfKind::portChannel ? membersPerLag : 0U;
        }
    }
    return counts;
}

Site::Counts Site::found() const {
    Counts counts;
    for (auto const &[vlan, config] : dir->config()) {
        counts.entries += config->intf().size();
        for (auto const &[id, entry] : config->intf()) {
            counts.lagMembers += entry->lagPhyIntf().size();
        }
    }
    return counts;
}

} // namespace Latency
