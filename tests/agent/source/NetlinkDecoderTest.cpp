#include "agent/source/NetlinkDecoder.h"

#include "tests/agent/source/NetlinkCapture.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace Agent {
namespace {

using testing::ElementsAre;

/// The facts of that type in a capture.
template <class Fact> std::vector<Fact> factsOf(std::string const &capture) {
    std::vector<Fact> facts;
    auto messages = netlinkCapture(capture);
    for (NetlinkMessage &message : messages) {
        NetlinkFact fact = message.fact();
        if (Fact *const wanted = std::get_if<Fact>(&fact)) {
            facts.push_back(std::move(*wanted));
        }
    }
    return facts;
}

LinkFacts link(LinkIndex index, char const *name, LinkKind kind = LinkKind::plain,
               LinkIndex master = 0, LinkIndex lower = 0, std::uint16_t vlan = 0) {
    return {index, name, kind, master, lower, false, vlan};
}

std::string reasonOf(NetlinkMessage message) {
    NetlinkFact const fact = message.fact();
    auto const *const problem = std::get_if<NotUnderstood>(&fact);
    return problem ? problem->reason : "understood";
}

// What a kernel has said. The facts beside are read from the same messages as iproute2 prints them.

TEST(NetlinkDecoder, ReadsEveryLinkOfAListing) {
    auto const sub = LinkKind::subinterface;
    EXPECT_THAT(
        factsOf<LinkFacts>("small-link"),
        ElementsAre(link(1, "lo"), link(2, "eth1", LinkKind::plain, 8),
                    link(3, "eth2", LinkKind::plain, 8), link(4, "eth3", LinkKind::plain, 9),
                    link(5, "eth4", LinkKind::plain, 9), link(6, "eth5"), link(7, "eth6"),
                    link(8, "bond0", LinkKind::lag), link(9, "bond1", LinkKind::lag),
                    link(10, "br0", LinkKind::bridge), link(11, "bond0.100", sub, 10, 8, 100),
                    link(12, "bond0.200", sub, 10, 8, 200), link(13, "bond1.100", sub, 10, 9, 100),
                    link(14, "eth5.100", sub, 10, 6, 100), link(15, "eth6.300", sub, 10, 7, 300)));
}

TEST(NetlinkDecoder, ABondMayBeAPort) {
    auto const links = factsOf<LinkFacts>("trunk-link");
    auto const bond = std::find_if(links.begin(), links.end(),
                                   [](LinkFacts const &facts) { return facts.name == "bond0"; });
    ASSERT_NE(bond, links.end());
    EXPECT_EQ(*bond, link(34, "bond0", LinkKind::lag, 42));
}

TEST(NetlinkDecoder, ReadsTablesWithTheirRanges) {
    auto const tables = factsOf<PortTable>("small-bridge-vlanc");
    ASSERT_EQ(tables.size(), 6U);
    EXPECT_EQ(tables[0].index, 10U);
    EXPECT_THAT(tables[1].vlans, ElementsAre(VlanSpan{100, 100, true, true}));
    EXPECT_EQ(tables[3].index, 13U);
    EXPECT_THAT(tables[3].vlans, ElementsAre(VlanSpan{100, 100}, VlanSpan{400, 409}));
    EXPECT_THAT(tables[5].vlans, ElementsAre(VlanSpan{100, 100}, VlanSpan{300, 300, true}));
}

TEST(NetlinkDecoder, ReadsVlansWithTheirStates) {
    auto const ports = factsOf<PortVlans>("small-vlan");
    ASSERT_EQ(ports.size(), 6U);
    EXPECT_EQ(ports[3].index, 13U);
    EXPECT_THAT(ports[3].vlans, ElementsAre(VlanSpan{100, 100}, VlanSpan{400, 401},
                                            VlanSpan{402, 404, false, false, VlanState::listening},
                                            VlanSpan{405, 409}));
    EXPECT_THAT(ports[4].vlans, ElementsAre(VlanSpan{100, 100, false, true, VlanState::blocking}));
    EXPECT_THAT(ports[5].vlans, ElementsAre(VlanSpan{100, 100, false, false, VlanState::learning},
                                            VlanSpan{300, 300, true, false, VlanState::disabled}));
}

TEST(NetlinkDecoder, APortWithoutVlansHasAnEmptyTable) {
    auto const tables = factsOf<PortTable>("trunk-bridge-vlanc");
    ASSERT_EQ(tables.size(), 9U);
    EXPECT_EQ(tables[8].index, 42U);
    EXPECT_TRUE(tables[8].vlans.empty());
}

TEST(NetlinkDecoder, UnderstandsAllThatAMonitoredKernelSays) {
    for (std::string const capture : {"small-monitor", "trunk-monitor"}) {
        std::map<std::size_t, int> kinds;
        auto messages = netlinkCapture(capture);
        for (NetlinkMessage &message : messages) {
            ++kinds[message.fact().index()];
        }
        bool const small = capture == "small-monitor";
        EXPECT_EQ(kinds[NetlinkFact(LinkGone{}).index()], small ? 5 : 2);
        EXPECT_EQ(kinds[NetlinkFact(PortGone{}).index()], small ? 6 : 2);
        EXPECT_EQ(kinds[NetlinkFact(PortVlans{}).index()], small ? 6 : 2);
        EXPECT_EQ(kinds[NetlinkFact(PortVlansGone{}).index()], small ? 12 : 3);
        EXPECT_EQ(kinds[NetlinkFact(NotUnderstood{}).index()], 0);
        EXPECT_EQ(kinds[NetlinkFact(Unrelated{}).index()], 0);
    }
}

// Messages by hand.

TEST(NetlinkDecoder, TheLowerLinkOfAVethIsNone) {
    NetlinkMessage message =
        NetlinkMessage::of(RTM_NEWLINK, linkHead(AF_UNSPEC, 7), [](nlmsghdr &head) {
            mnl_attr_put_strz(&head, IFLA_IFNAME, "veth0");
            mnl_attr_put_u32(&head, IFLA_LINK, 9);
            mnl_attr_put_u32(&head, IFLA_LINK_NETNSID, 0);
        });
    EXPECT_EQ(std::get<LinkFacts>(message.fact()), link(7, "veth0"));
}

TEST(NetlinkDecoder, ALowerLinkMayBeInAnotherNamespace) {
    LinkFacts facts = link(7, "v", LinkKind::subinterface, 0, 5, 9);
    facts.lowerElsewhere = true;
    EXPECT_EQ(std::get<LinkFacts>(linkMessage(facts).fact()), facts);
}

TEST(NetlinkDecoder, ALinkThatMovesAwayIsGoneInAWayOfItsOwn) {
    EXPECT_FALSE(std::get<LinkGone>(linkGoneMessage(7).fact()).moved);
    EXPECT_TRUE(std::get<LinkGone>(linkGoneMessage(7, true).fact()).moved);
}

TEST(NetlinkDecoder, WhatSaysOnlyAPartIsUnrelated) {
    NetlinkMessage wireless =
        NetlinkMessage::of(RTM_NEWLINK, linkHead(AF_UNSPEC, 7), [](nlmsghdr &head) {
            mnl_attr_put_strz(&head, IFLA_IFNAME, "wlan0");
            mnl_attr_put_u32(&head, IFLA_WIRELESS, 1);
        });
    EXPECT_TRUE(std::holds_alternative<Unrelated>(wireless.fact()));
}

TEST(NetlinkDecoder, WhatADeviceSaysOfItsOwnSwitchIsUnrelated) {
    NetlinkMessage self =
        NetlinkMessage::of(RTM_NEWLINK, linkHead(AF_BRIDGE, 7), [](nlmsghdr &head) {
            nlattr *const nest = mnl_attr_nest_start(&head, IFLA_AF_SPEC);
            mnl_attr_put_u16(&head, IFLA_BRIDGE_FLAGS, BRIDGE_FLAGS_SELF);
            mnl_attr_nest_end(&head, nest);
        });
    EXPECT_TRUE(std::holds_alternative<Unrelated>(self.fact()));
}

TEST(NetlinkDecoder, OtherFamiliesAndKindsAreUnrelated) {
    EXPECT_TRUE(std::holds_alternative<Unrelated>(
        NetlinkMessage::of(RTM_NEWLINK, linkHead(AF_INET6, 7)).fact()));
    EXPECT_TRUE(std::holds_alternative<Unrelated>(
        NetlinkMessage::of(RTM_NEWADDR, linkHead(AF_UNSPEC, 7)).fact()));
}

TEST(NetlinkDecoder, OfVlanZeroThatIsGoneNothingIsSaid) {
    auto message = vlansMessage(RTM_DELVLAN, 7, {{0, 0}, {5, 6}});
    EXPECT_THAT(std::get<PortVlansGone>(message.fact()).vlans, ElementsAre(VlanSpan{5, 6}));
}

TEST(NetlinkDecoder, RefusesWhatContradictsItself) {
    EXPECT_EQ(reasonOf(NetlinkMessage::of(RTM_NEWLINK, linkHead(AF_UNSPEC, 7))),
              "RTM_NEWLINK of link 7: it has no name");
    EXPECT_EQ(reasonOf(linkMessage(link(7, ""))), "RTM_NEWLINK of link 7: a name of 0 bytes");
    EXPECT_EQ(reasonOf(linkMessage(link(7, "a-name-of-16-byt"))),
              "RTM_NEWLINK of link 7: a name of 16 bytes");
    EXPECT_EQ(reasonOf(linkMessage(link(0, "a"))),
              "RTM_NEWLINK of link 0: 0 is no index of a link");
    EXPECT_EQ(reasonOf(vlansMessage(RTM_NEWVLAN, 7, {{0, 0}})),
              "RTM_NEWVLAN of link 7: 0 is no number of a VLAN");
    EXPECT_EQ(reasonOf(vlansMessage(RTM_NEWVLAN, 7, {{9, 4095}})),
              "RTM_NEWVLAN of link 7: 4095 is no number of a VLAN");
    EXPECT_EQ(reasonOf(vlansMessage(RTM_DELVLAN, 7, {{9, 8}})),
              "RTM_DELVLAN of link 7: VLANs from 9 to 8");
    EXPECT_EQ(reasonOf(vlansMessage(RTM_NEWVLAN, 7, {{8, 9, true}})),
              "RTM_NEWVLAN of link 7: VLANs 8 to 9 are all the PVID");
    EXPECT_EQ(reasonOf(vlansMessage(RTM_NEWVLAN, 7, {{8, 8, true}, {9, 9, true}})),
              "RTM_NEWVLAN of link 7: both VLAN 8 and VLAN 9 are the PVID");
    EXPECT_EQ(reasonOf(vlansMessage(RTM_NEWVLAN, 7, {{8, 8, false, false, VlanState{5}}})),
              "RTM_NEWVLAN of link 7: 5 is no state of a VLAN");
}

TEST(NetlinkDecoder, RefusesRangesWithOneEnd) {
    std::uint16_t const begin = BRIDGE_VLAN_INFO_RANGE_BEGIN;
    std::uint16_t const end = BRIDGE_VLAN_INFO_RANGE_END;
    for (std::vector<bridge_vlan_info> const &entries : std::vector<std::vector<bridge_vlan_info>>{
             {{end, 5}}, {{begin, 5}}, {{begin, 5}, {0, 6}}, {{begin, 5}, {begin, 6}, {end, 7}}}) {
        EXPECT_THAT(reasonOf(tableMessage(7, entries)), testing::HasSubstr("has only one end"));
    }
}

TEST(NetlinkDecoder, RefusesAMessageThatIsCutOffSomewhere) {
    NetlinkMessage whole = vlansMessage(RTM_NEWVLAN, 7, {{100, 199}});
    for (std::uint32_t length = sizeof(nlmsghdr); length < whole.bytes().size(); ++length) {
        std::vector<std::byte> bytes(whole.bytes().begin(), whole.bytes().begin() + length);
        NetlinkMessage cut(std::move(bytes));
        cut.head().nlmsg_len = length;
        bool const atAnEnd = length == sizeof(nlmsghdr) + sizeof(br_vlan_msg);
        EXPECT_EQ(std::holds_alternative<NotUnderstood>(cut.fact()), !atAnEnd) << length;
    }
}

TEST(NetlinkDecoder, SurvivesAnyByteThatIsAnother) {
    TestSupport::Random random(std::random_device{}());
    std::vector<NetlinkMessage> const messages = netlinkCapture("small-monitor");
    for (int i = 0; i < 20000; ++i) {
        auto bytes = messages[random() % messages.size()].bytes();
        for (unsigned flips = 1 + random() % 4; flips > 0; --flips) {
            bytes[sizeof(nlmsghdr) + random() % (bytes.size() - sizeof(nlmsghdr))] =
                static_cast<std::byte>(random());
        }
        NetlinkMessage message(std::move(bytes));
        NetlinkFact const fact = message.fact();
        if (auto const *const port = std::get_if<PortVlans>(&fact)) {
            for (VlanSpan const &span : port->vlans) {
                ASSERT_TRUE(span.first >= 1 && span.first <= span.last && span.last <= 4094);
            }
        }
    }
}

} // namespace
} // namespace Agent
