#include "bench/Machine.h"

#include "platform/Qor/Pool.h"

#include <memory>
#include <utility>

namespace Bench {

Machine::Machine() : Machine(std::make_unique<Osk::UnlimitedShare>()) {}

Machine::Machine(std::unique_ptr<Osk::Share> share)
    : config_(Bridging::Config::ConfigIs()),
      mapping_(Lag::LagPhyIntfMapping::LagPhyIntfMappingIs()),
      dir_(VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs()),
      scheduler_(Osk::TaskScheduler::TaskSchedulerIs()) {
    scheduler_->shareIs(std::move(share));
}

SlicedMachine::SlicedMachine()
    : Machine(std::make_unique<Osk::TimeShare>(Osk::TaskScheduler::defaultShare)) {}

void Machine::memberIs(Member const &member) {
    config_->vlanConfigIs(member.vlanId)->intfIs(member.intfId, member.config);
}

void Machine::memberDel(Member const &member) {
    config_->vlanConfigIs(member.vlanId)->intfDel(member.intfId);
}

void Machine::lagMemberIs(LagMember const &lagMember) {
    mapping_->lagPhyIntfConfigIs(lagMember.lagId)
        ->phyIntfIs(lagMember.memberId, Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
}

void Machine::lagMemberDel(LagMember const &lagMember) {
    mapping_->lagPhyIntfConfigIs(lagMember.lagId)->phyIntfDel(lagMember.memberId);
}

void Machine::start() {
    Quam::SmControl control;
    control.schedulerIs(scheduler_);
    machine_ = VlanSubIntfConfigLib::configSmFactory(config_, mapping_, dir_, control);
    slices_ = scheduler_->runUntilIdle();
    NUVIO_ASSERT(machine_->ready());
}

Checksum Machine::checksum() const {
    Checksum result;
    for (auto const &[vlanId, config] : dir_->config()) {
        for (auto const &[intfId, subIntf] : config->intf()) {
            result.entryAdd(vlanId, intfId, subIntf->tagOnEgress(),
                            subIntf->allowedTrafficDirection());
            for (Iftel::IntfId const memberId : subIntf->lagPhyIntf()) {
                result.memberAdd(vlanId, intfId, memberId);
            }
        }
    }
    return result;
}

Machine::Bytes Machine::census() {
    Bytes bytes;
    for (Qor::CensusLine const &line : Qor::census()) {
        bytes.live += line.bytes;
        bytes.peak += line.peakBytes;
    }
    return bytes;
}

} // namespace Bench
