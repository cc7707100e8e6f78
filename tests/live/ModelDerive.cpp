// model_derive LINKS VLANS: prints what `vlan-subintf derive --links LINKS --vlans VLANS -j` must
// print, by the slow model instead of the machine.
//
// The model goes by native texts and knows a LAG and a subinterface by them, so each interface is
// given one that says what it is: "PortChannel<bits>", "Ethernet<bits>.<bits>".
#include "agent/DirectoryDocument.h"
#include "agent/DirectoryView.h"
#include "agent/Error.h"
#include "agent/ExitCode.h"
#include "agent/Inputs.h"
#include "agent/Output.h"
#include "agent/Progress.h"
#include "agent/StandardError.h"
#include "tests/model/Entities.h"
#include "tests/model/Model.h"

#include <fmt/format.h>
#include <unistd.h>

#include <map>
#include <string>

namespace {

using Iftel::IntfId;
using VlanSubIntfConfigLib::VlanSubIntfConfigDir;

class ModelNames {
  public:
    std::string const &nameOf(IntfId id) {
        IntfId const parent = Iftel::SubIntfId::parentIntfId(id);
        bool const lag = Iftel::PortChannelIntfId::isPortChannelIntfId(id);
        std::string name = fmt::format("{}{}", lag ? "PortChannel" : "Ethernet", parent.bits());
        if (Iftel::SubIntfId::isSubIntfId(id)) {
            name += fmt::format(".{}", id.bits());
        }
        return ids_.emplace(std::move(name), id).first->first;
    }
    /// Requires: nameOf() has given that name.
    [[nodiscard]] IntfId idOf(std::string const &name) const { return ids_.at(name); }

  private:
    std::map<std::string, IntfId> ids_;
};

Model::Inputs modelInputs(Agent::Inputs const &inputs, ModelNames &names) {
    Model::Inputs result;
    for (auto const &[vlan, config] : inputs.bridgingConfig->vlanConfig()) {
        for (auto const &[intf, port] : config->intf()) {
            result.vlans[vlan.value()][names.nameOf(intf)] = {
                port.tagOnEgress, port.pvid, Model::wordOf(port.allowedTrafficDirection)};
        }
    }
    for (auto const &[lag, config] : inputs.lagPhyIntfMapping->lagPhyIntfConfig()) {
        for (auto const &[member, memberConfig] : config->phyIntf()) {
            result.lags[names.nameOf(lag)][names.nameOf(member)] = Model::configured;
        }
    }
    return result;
}

void fill(VlanSubIntfConfigDir &directory, Model::Output const &output, ModelNames const &names) {
    for (auto const &[vlan, entries] : output) {
        auto const config = directory.configIs(Model::vlanId(vlan));
        for (auto const &[intf, entry] : entries) {
            auto const entity = config->intfIs(names.idOf(intf));
            entity->tagOnEgressIs(entry.tagOnEgress);
            entity->allowedTrafficDirectionIs(Model::directionOf(entry.direction));
            for (auto const &member : entry.members) {
                entity->lagPhyIntfIs(names.idOf(member));
            }
        }
    }
}

void modelDerive(std::string const &links, std::string const &vlans) {
    Agent::Progress progress;
    ModelNames names;
    auto const inputs = modelInputs(Agent::loadInputs({links, vlans, {}}, progress), names);
    auto const directory = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    fill(*directory, Model::derive(inputs), names);
    Agent::Output output(STDOUT_FILENO, "standard output");
    Agent::writeDirectoryDocument(output, Agent::DirectoryView(*directory), true);
}

} // namespace

int main(int argc, char **argv) {
    using Agent::ExitCode;
    auto result = ExitCode::done;
    if (argc != 3) {
        Agent::say("usage: model_derive LINKS VLANS");
        result = ExitCode::usage;
    } else {
        try {
            modelDerive(argv[1], argv[2]);
        } catch (Agent::Error const &error) {
            Agent::say("model_derive: {}", error.what());
            result = ExitCode::failed;
        }
    }
    return static_cast<int>(result);
}
