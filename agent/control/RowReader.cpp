#include "agent/control/RowReader.h"

#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/Members.h"
#include "agent/Names.h"
#include "agent/VlanNumber.h"

#include <cstdint>
#include <string>

namespace Agent {
namespace {

[[noreturn]] void failWith(nlohmann::json const &row, std::string_view member) {
    fail("the agent's answer: {}: unexpected {}", member, quote(row.at(std::string(member))));
}

std::string const &needName(nlohmann::json const &value) {
    auto const &name = value.get_ref<std::string const &>();
    if (name.empty()) {
        fail("the agent's answer: a name is empty");
    }
    return name;
}

} // namespace

void enterRow(DirectoryView::Directory &directory, nlohmann::json const &row) {
    auto const vlan = row.at("vlanId").get<std::uint64_t>();
    if (vlan < firstVlan || vlan > lastVlan) {
        failWith(row, "vlanId");
    }
    auto const direction =
        directionOf(row.at("allowedTrafficDirection").get_ref<std::string const &>());
    if (!direction) {
        failWith(row, "allowedTrafficDirection");
    }
    auto const subIntf = directory.configIs(Bridging::VlanId(static_cast<std::uint16_t>(vlan)))
                             ->intfIs(earlierSubIntf(needName(row.at("intfId"))));
    subIntf->tagOnEgressIs(row.at("tagOnEgress").get<bool>());
    subIntf->allowedTrafficDirectionIs(*direction);
    for (auto const &member : row.at("lagPhyIntf")) {
        subIntf->lagPhyIntfIs(earlierMember(needName(member)));
    }
}

} // namespace Agent
