// A host of the library, as small as it gets: fill the two inputs, make the machine, run the
// scheduler, read the directory; then change an input and see the output follow at once.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

#include <iostream>

namespace {

Iftel::IntfId intf(char const *name) {
    return Iftel::IntfId(name);
}

void print(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &dir) {
    for (auto const &[vlanId, config] : dir.config()) {
        for (auto const &[intfId, subIntf] : config->intf()) {
            std::cout << "VLAN " << vlanId << ", " << intfId << ": "
                      << (subIntf->tagOnEgress() ? "tagged" : "untagged") << ", "
                      << subIntf->allowedTrafficDirection() << ", " << subIntf->lagPhyIntf().size()
                      << " members\n";
        }
    }
}

} // namespace

int main() {
    using Bridging::AllowedTrafficDirection;

    // The inputs: PortChannel10 of two interfaces; its subinterface 100 is a member of VLAN 100.
    auto const bridging = Bridging::Config::ConfigIs();
    bridging->vlanConfigIs(Bridging::VlanId(100))
        ->intfIs(intf("PortChannel10.100"),
                 {.tagOnEgress = true,
                  .pvid = false,
                  .allowedTrafficDirection = AllowedTrafficDirection::both});
    auto const lags = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    auto const lag = lags->lagPhyIntfConfigIs(intf("PortChannel10"));
    lag->phyIntfIs(intf("Ethernet1"), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    lag->phyIntfIs(intf("Ethernet2"), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());

    // The output, and the machine that keeps it in step.
    auto const dir = VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    Quam::SmControl control;
    control.schedulerIs(scheduler);
    auto const machine = VlanSubIntfConfigLib::configSmFactory(bridging, lags, dir, control);
    scheduler->runUntilIdle();
    std::cout << (machine->ready() ? "ready\n" : "not ready\n");
    print(*dir);

    // From here on it reacts inside the change.
    lag->phyIntfIs(intf("Ethernet3"), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    print(*dir);
    return machine->ready() ? 0 : 1;
}
