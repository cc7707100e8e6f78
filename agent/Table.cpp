#include "agent/Table.h"

#include "agent/JsonText.h"
#include "agent/Members.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>

namespace Agent {
namespace {

constexpr std::string_view nameTitle = "SUBINTERFACE";

void appendLine(std::string &text, DirectoryView const &view, std::size_t nameWidth,
                Bridging::VlanId vlan, DirectoryView::SubIntf const &subIntf) {
    fmt::format_to(std::back_inserter(text), "{:>4}  {:<{}}  {:<8}  {:<9}  ", vlan.value(),
                   printable(view.name(subIntf.intfId())), nameWidth,
                   subIntf.tagOnEgress() ? "tagged" : "untagged",
                   directionWord(subIntf.allowedTrafficDirection()));
    auto const members = view.members(subIntf);
    if (members.empty()) {
        text += '-';
    }
    bool first = true;
    for (std::string_view const member : members) {
        text += std::exchange(first, false) ? "" : " ";
        text += printable(member);
    }
    text += '\n';
}

} // namespace

void writeTable(Output &output, DirectoryView const &view) {
    std::string &text = output.text();
    std::size_t const nameWidth = std::max(view.longestName(), nameTitle.size());
    if (!view.empty()) {
        fmt::format_to(std::back_inserter(text), "VLAN  {:<{}}  EGRESS    DIRECTION  LAG MEMBERS\n",
                       nameTitle, nameWidth);
    }
    view.forEachVlan([&](Bridging::VlanId vlan, DirectoryView::SubIntfs subIntfs) {
        for (DirectoryView::SubIntf const *const subIntf : subIntfs) {
            appendLine(text, view, nameWidth, vlan, *subIntf);
            output.commit();
        }
    });
    output.flush();
}

} // namespace Agent
