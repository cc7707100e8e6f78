#include "agent/control/ShowJob.h"

#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/Members.h"
#include "agent/Names.h"
#include "agent/VlanNumber.h"
#include "agent/control/StatusDocument.h"
#include "agent/service/IntfNames.h"
#include "platform/Iftel.h"

#include <fmt/format.h>

#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {
namespace {

/// A name that leads to no interface is a mistake of the operator, and not an empty answer.
void needKnown(std::optional<std::string> const &name) {
    if (name && !knownIntf(*name)) {
        fail("there is no interface {}", quote(*name));
    }
}

std::string rowOf(Bridging::VlanId vlan, VlanSubIntfConfigLib::VlanSubIntf const &subIntf) {
    std::string text = fmt::format(R"({{"vlanId": {}, "intfId": )", vlan.value());
    appendJsonString(text, subIntf.intfId().stringValue().view());
    fmt::format_to(std::back_inserter(text),
                   R"(, "tagOnEgress": {}, "allowedTrafficDirection": "{}", "lagPhyIntf": [)",
                   subIntf.tagOnEgress(), directionWord(subIntf.allowedTrafficDirection()));
    std::vector<Iftel::IntfId> members;
    for (Iftel::IntfId const member : subIntf.lagPhyIntf()) {
        members.push_back(member);
    }
    bool first = true;
    for (std::string const &member : namesInOrder(members)) {
        text += std::exchange(first, false) ? "" : ", ";
        appendJsonString(text, member);
    }
    return text += "]}";
}

} // namespace

ShowJob::ShowJob(Service const &service, ControlRequest const &request, Reply &reply)
    : service_(service), reply_(reply), intf_(request.text("intf")), lag_(request.text("lag")) {
    request.allowOnly({"vlan", "intf", "lag"});
    needKnown(intf_);
    needKnown(lag_);
    auto const vlan = request.vlan("vlan");
    walk_ = VlanWalk(vlan.value_or(firstVlan));
    lastVlan_ = vlan.value_or(lastVlan);
}

std::optional<Ending> ShowJob::step(Osk::Task const &task) {
    auto const mustPause = [&] { return !reply_.room() || task.taskShouldYield(); };
    auto const visit = [&](Bridging::VlanId vlan, auto const &node) { write(vlan, *node.value()); };
    if (!walk_.step(service_.directory().config(), lastVlan_, mustPause, visit)) {
        return std::nullopt;
    }
    Ending ending = readyOrNot(service_);
    ending.fields["ready"] = service_.ready();
    return ending;
}

void ShowJob::write(Bridging::VlanId vlan, SubIntf const &subIntf) {
    if (isWanted(subIntf.intfId())) {
        reply_.line(rowOf(vlan, subIntf));
    }
}

bool ShowJob::isWanted(Iftel::IntfId id) const {
    auto const hasName = [](Iftel::IntfId intf, std::string const &name) {
        return intf.stringValue().view() == name;
    };
    return (!intf_ || hasName(id, *intf_)) &&
           (!lag_ || (Iftel::PortChannelIntfId::isPortChannelIntfId(id) &&
                      hasName(Iftel::SubIntfId::parentIntfId(id), *lag_)));
}

} // namespace Agent
