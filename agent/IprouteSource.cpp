// What iproute2 says, and what becomes of it.
//
// Links. linkinfo.info_kind "bond" and "team" make a LAG, "vlan" a subinterface, "bridge" a bridge.
// "master" names the LAG or bridge that a link is enslaved to. "link" names the link below; it is
// null for some tunnels. Where that link is in another network namespace, link_netnsid is there and
// link_index, a number of that other namespace, takes the place of "link": the link below is not
// known. A veth names its peer in "link", and two peers name each other; only for subinterfaces is
// it followed.
//
// VLANs. Each element is a port with its VLANs; a port whose table is long may come in several
// elements. The bridge's own entry says how the bridge itself is a member, and is not a port.
#include "agent/IprouteSource.h"

#include "agent/Error.h"
#include "agent/JsonReader.h"
#include "agent/JsonText.h"
#include "agent/Members.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Agent {
namespace {

using Bridging::AllowedTrafficDirection;

LinkKind kindOf(Record const &link) {
    auto const info = link.recordIf("linkinfo");
    std::string const *const kind = info ? info->stringIf("info_kind") : nullptr;
    if (!kind) {
        return LinkKind::plain;
    }
    if (*kind == "bond" || *kind == "team") {
        return LinkKind::lag;
    }
    return *kind == "vlan"     ? LinkKind::subinterface
           : *kind == "bridge" ? LinkKind::bridge
                               : LinkKind::plain;
}

std::string textOf(std::string const *text) {
    return text ? *text : std::string();
}

Link linkOf(Record const &record, std::size_t place) {
    Link link;
    link.name = record.name("ifname");
    link.kind = kindOf(record);
    link.master = textOf(record.stringIf("master"));
    link.place = place;
    if (!record.integerIf("link_netnsid")) {
        link.lower = link.kind == LinkKind::subinterface ? record.name("link")
                                                         : textOf(record.stringIf("link"));
    }
    return link;
}

/// One element of a port's "vlans": VLANs in a row with one configuration.
struct VlanRange {
    std::uint16_t first;
    std::uint16_t last;
    Bridging::VlanPortConfig member;
};

AllowedTrafficDirection directionOf(bool forwarding, bool untagged, bool pvid) {
    if (!forwarding) {
        return AllowedTrafficDirection::none;
    }
    return untagged && !pvid ? AllowedTrafficDirection::egress : AllowedTrafficDirection::both;
}

VlanRange rangeOf(Record const &record) {
    VlanRange range{};
    range.first = record.vlan("vlan");
    range.last = record.has("vlanEnd") ? record.vlan("vlanEnd") : range.first;
    if (range.last < range.first) {
        record.fail("vlanEnd",
                    fmt::format("{} is before \"vlan\", which is {}", range.last, range.first));
    }
    bool pvid = false;
    bool untagged = false;
    record.stringsIf("flags", [&](std::string const &flag) {
        pvid = pvid || flag == "PVID";
        untagged = untagged || flag == "Egress Untagged";
    });
    std::string const *const state = record.stringIf("state");
    bool const forwarding = !state || *state == "forwarding";
    range.member = {!untagged, pvid, directionOf(forwarding, untagged, pvid)};
    return range;
}

/// Collects a port's ranges until the port's name is known, wherever it stands in the object.
class PortReader {
  public:
    PortReader(LinkTable const &links, Bridging::Config &config) : links_(links), config_(config) {}

    void vlan(Record const &record) {
        if (!record.empty()) {
            ranges_.emplace_back(count_, rangeOf(record));
        }
        ++count_;
    }

    void port(Record const &record) {
        if (!record.empty()) {
            std::string const &name = record.name("ifname");
            record.need("vlans");
            Link const *const link = links_.find(name);
            if (!link) {
                record.fail("ifname", fmt::format("no link has the name {}", quote(name)));
            }
            if (link->kind != LinkKind::bridge) {
                membersOf(record, *link);
            }
        }
        ranges_.clear();
        count_ = 0;
    }

  private:
    void membersOf(Record const &record, Link const &link) {
        for (auto const &[index, range] : ranges_) {
            for (std::uint32_t number = range.first; number <= range.last; ++number) {
                Bridging::VlanId const vlan(static_cast<std::uint16_t>(number));
                if (auto const other = memberIs(config_, vlan, link.id, range.member)) {
                    record.fail(fmt::format("vlans[{}]", index),
                                contradiction(link.name, vlan, *other, range.member));
                }
            }
        }
    }

    LinkTable const &links_;
    Bridging::Config &config_;
    std::vector<std::pair<std::size_t, VlanRange>> ranges_; ///< with their index
    std::size_t count_ = 0;                                 ///< elements of "vlans" so far
};

} // namespace

LinkTable readIprouteLinks(InputFile &file) {
    LinkTable links({file.name(), "$", "ifname", "master", "link"});
    std::size_t place = 0;
    JsonReader reader(file);
    reader.recordsIs("$[]", {"ifname", "link", "link_netnsid", "master", "linkinfo"},
                     [&](Record const &record) {
                         if (!record.empty()) {
                             links.linkIs(linkOf(record, place));
                         }
                         ++place;
                     });
    reader.read();
    links.resolve();
    return links;
}

void readIprouteVlans(InputFile &file, LinkTable const &links, Bridging::Config &config) {
    PortReader port(links, config);
    JsonReader reader(file);
    reader.recordsIs("$[].vlans[]", {"vlan", "vlanEnd", "flags", "state"},
                     [&](Record const &record) { port.vlan(record); });
    reader.recordsIs("$[]", {"ifname", "vlans"}, [&](Record const &record) { port.port(record); });
    reader.read();
}

} // namespace Agent
