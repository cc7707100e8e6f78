#include "bench/Machine.h"

#include "VlanSubIntfConfigLib/LocalAttrStore.h"
#include "platform/Qor/Pool.h"

#include <fmt/core.h>

#include <cstdio>
#include <cstdlib>

namespace Bench {

Machine::Machine()
    : config_(Bridging::Config::ConfigIs()),
      mapping_(Lag::LagPhyIntfMapping::LagPhyIntfMappingIs()),
      dir_(VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs()),
      scheduler_(Osk::TaskScheduler::TaskSchedulerIs()) {}

void Machine::start() {
    Quam::SmControl control;
    control.schedulerIs(scheduler_);
    machine_ = VlanSubIntfConfigLib::configSmFactory(config_, mapping_, dir_, control);
    scheduler_->runUntilIdle();
    if (!machine_->ready()) {
        fmt::print(stderr, "The machine is idle and not ready.\n");
        std::abort();
    }
}

void Machine::liveIs(bool live) {
    if (!live) {
        machine_ = nullptr;
    }
}

Checksum Machine::checksum() const {
    Checksum result;
    for (auto const &[vlanId, config] : dir_->config()) {
        for (auto const &[intfId, subIntf] : config->intf()) {
            auto const intf = MachineIds::peerIntf(intfId);
            result.entryAdd(vlanId.value(), intf, subIntf->tagOnEgress(),
                            static_cast<std::uint8_t>(subIntf->allowedTrafficDirection()));
            for (Intf const member : subIntf->lagPhyIntf()) {
                result.memberAdd(vlanId.value(), intf, MachineIds::peerIntf(member));
            }
        }
    }
    indexAdd(result);
    return result;
}

void Machine::indexAdd(Checksum &checksum) const {
    for (auto const &[lagId, entry] : machine_->localAttrStore()->lagVlanStatus()) {
        for (auto const &pair : entry->value()->intfToVlanMap()) {
            checksum.indexAdd(MachineIds::peerIntf(lagId), MachineIds::peerIntf(pair.intfId),
                              pair.vlanId.value());
        }
    }
}

std::uint64_t Machine::liveBytes() {
    std::uint64_t bytes = 0;
    for (Qor::CensusLine const &line : Qor::census()) {
        bytes += line.bytes;
    }
    return bytes;
}

} // namespace Bench
