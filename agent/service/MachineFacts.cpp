#include "agent/service/MachineFacts.h"

#include <array>

namespace Agent {

using VlanSubIntfConfigLib::ConfigSm;

NamedFlags streamsScanned(ConfigSm const *machine) {
    auto const *const state = machine ? machine->inputSmScanState().get() : nullptr;
    return {{"vlanConfigStream", state && state->vlanConfigStreamScan()},
            {"lagUpdateStream", state && state->lagUpdateStreamScan()}};
}

NamedFlags outputsReady(ConfigSm const *machine) {
    using Output = ConfigSm::Output;
    constexpr std::array<std::pair<std::string_view, Output>, 5> names = {
        {{"lagPhyIntf", Output::lagPhyIntf},
         {"intfToVlanMap", Output::intfToVlanMap},
         {"allowedTrafficDirection", Output::allowedTrafficDirection},
         {"tagOnEgress", Output::tagOnEgress},
         {"configIntf", Output::configIntf}}};
    auto const *const state = machine ? machine->outputState().get() : nullptr;
    NamedFlags outputs;
    for (auto const &[name, output] : names) {
        outputs.emplace_back(name, state && state->outputReady(output));
    }
    return outputs;
}

std::vector<Osk::Task const *> tasksOf(ConfigSm const *machine) {
    if (!machine) {
        return {};
    }
    std::vector<Osk::Task const *> tasks{
        machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask().get(),
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask().get()};
    std::erase(tasks, nullptr);
    return tasks;
}

} // namespace Agent
