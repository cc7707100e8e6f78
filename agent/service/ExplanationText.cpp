#include "agent/service/ExplanationText.h"

#include "agent/JsonText.h"

#include <fmt/format.h>

#include <string_view>

namespace Agent {
namespace {

using Json = nlohmann::json;

std::string const &string(Json const &json, char const *member) {
    return json.at(member).get_ref<std::string const &>();
}

std::string names(Json const &list) {
    std::string text;
    for (Json const &name : list) {
        text += " " + printable(name.get_ref<std::string const &>());
    }
    return text;
}

/// "untagged, pvid, direction both", of a member of a VLAN or of an entry.
std::string words(Json const &member) {
    return fmt::format("{}{}, direction {}",
                       member.at("tagOnEgress").get<bool>() ? "tagged" : "untagged",
                       member.value("pvid", false) ? ", pvid" : "",
                       visible(string(member, "allowedTrafficDirection")));
}

std::string whatItIs(Json const &is) {
    std::string const &kind = string(is, "kind");
    std::string text = kind == "lag" ? "a LAG" : "a plain interface";
    if (kind == "subinterface") {
        Json const &parent = is.at("parent");
        text = "a subinterface of " + (parent.is_null()
                                           ? "an interface that is not known"
                                           : printable(parent.get_ref<std::string const &>()));
    }
    Json const &lags = is.at("memberOf");
    return text + (lags.empty() ? "" : ", member of" + names(lags));
}

std::string steps(Json const &list) {
    std::string text;
    for (Json const &step : list) {
        text += fmt::format("  {:>2}  {:<6}  {}: {}\n", step.at("line").get<unsigned>(),
                            visible(string(step, "outcome")), visible(string(step, "statement")),
                            visible(string(step, "values")));
    }
    return text;
}

std::string inputs(Json const &rows) {
    std::string text = rows.empty() ? "  inputs: none\n" : "  inputs:\n";
    for (Json const &row : rows) {
        text += "    " + visible(string(row, "row"));
        if (row.contains("tagOnEgress")) {
            text += " = " + words(row);
        } else if (row.contains("size")) {
            text += " is empty";
        }
        text += '\n';
    }
    return text;
}

std::string lag(Json const &part) {
    std::string text = "\nLAG members\n" + steps(part.at("steps")) + inputs(part.at("inputs"));
    Json const &pairs = part.at("pairs");
    text += pairs.empty() ? "  subinterfaces in VLANs: none\n" : "  subinterfaces in VLANs:\n";
    for (Json const &pair : pairs) {
        text += fmt::format("    {} in {}\n", printable(string(pair, "intf")),
                            visible(string(pair, "vlans")));
    }
    return text;
}

std::string directory(Json const &part) {
    Json const &entry = part.at("directory");
    std::string text = "  directory: ";
    if (entry.is_null()) {
        text += "no entry\n";
    } else {
        Json const &members = entry.at("lagPhyIntf");
        text += fmt::format("{}, {}\n", words(entry),
                            members.empty() ? "no members" : "members" + names(members));
    }
    if (!part.at("agrees").get<bool>()) {
        text += "  The directory is not what is derived. Until the agent is ready that is as it\n"
                "  should be; from then on `audit` counts it as drift.\n";
    }
    return text;
}

std::string kept(Json const &part) {
    Json const &members = part.at("kept");
    if (members.empty()) {
        return "";
    }
    std::string text =
        "  kept from an earlier run:" + names(members) +
        "\n    No LAG member was merged into the entry before the agent was ready, so "
        "those that it\n    had stayed. They go when the entry goes and comes back:\n";
    for (Json const &command : part.at("clear")) {
        text += "      " + visible(command.get_ref<std::string const &>()) + '\n';
    }
    return text;
}

std::string vlan(Json const &part) {
    return fmt::format("\nVLAN {}: {} is derived\n", part.at("vlan").get<unsigned>(),
                       part.at("derived").get<bool>() ? "an entry" : "no entry") +
           steps(part.at("steps")) + inputs(part.at("inputs")) + directory(part) + kept(part);
}

} // namespace

std::string explanationText(nlohmann::json const &document) {
    std::string const name = printable(string(document, "intf"));
    std::string text = name + ": " + whatItIs(document.at("is")) + '\n';
    for (Json const &fact : document.at("source")) {
        text += "  " + visible(fact.get_ref<std::string const &>()) + '\n';
    }
    if (document.contains("lag")) {
        text += lag(document.at("lag"));
    }
    Json const &vlans = document.at("vlans");
    if (vlans.empty()) {
        text += "\nIt is in no VLAN.\n";
    }
    for (Json const &part : vlans) {
        text += vlan(part);
    }
    std::string const others = visible(string(document, "otherVlans"));
    if (!others.empty()) {
        text += fmt::format("\nAlso in VLANs {}: ask for one of them.\n", others);
    }
    return text;
}

} // namespace Agent
