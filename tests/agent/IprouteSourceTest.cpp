#include "agent/IprouteSource.h"

#include "tests/agent/SourceTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class IprouteSourceTest : public SourceTest {
  protected:
    LinkTable links{{}};

    void readLinks(std::string_view text) {
        withFile("links.json", text, [&](InputFile &file) { links = readIprouteLinks(file); });
    }
    void readVlans(std::string_view text) {
        withFile("vlans.json", text,
                 [&](InputFile &file) { readIprouteVlans(file, links, *config); });
    }
    /// Links for the tests of the VLANs.
    void readPorts() {
        readLinks(R"([{"ifname":"br0","linkinfo":{"info_kind":"bridge"}},
                      {"ifname":"eth1"},
                      {"ifname":"eth1.5","link":"eth1","linkinfo":{"info_kind":"vlan"}}])");
    }
    std::string linkError(std::string_view text) {
        return messageOf([&] { readLinks(text); });
    }
    std::string vlanError(std::string_view text) {
        readPorts();
        return messageOf([&] { readVlans(text); });
    }
};

// Links.

TEST_F(IprouteSourceTest, BondsAndTeamsAreLagsWithTheLinksEnslavedToThem) {
    readLinks(R"([{"ifname":"eth1","master":"bond0"},{"ifname":"eth2","master":"team0"},
                  {"ifname":"eth3","master":"br0"},
                  {"ifname":"bond0","linkinfo":{"info_kind":"bond"}},
                  {"ifname":"team0","linkinfo":{"info_kind":"team"}},
                  {"ifname":"br0","linkinfo":{"info_kind":"bridge"}}])");
    links.lagsInto(*mapping);
    EXPECT_THAT(lags(), ElementsAre("bond0: eth1", "team0: eth2"));
}

TEST_F(IprouteSourceTest, OnlyLinksOfKindVlanAreSubinterfaces) {
    readLinks(R"([{"ifname":"eth1"},
                  {"ifname":"mv0","link":"eth1","linkinfo":{"info_kind":"macvlan"}},
                  {"ifname":"eth1.5","link":"eth1","linkinfo":{"info_kind":"vlan"}}])");
    EXPECT_EQ(links.find("mv0")->kind, LinkKind::plain);
    EXPECT_EQ(links.find("eth1.5")->kind, LinkKind::subinterface);
}

TEST_F(IprouteSourceTest, EmptyObjectsAreSkippedAndCountedInPaths) {
    EXPECT_EQ(linkError(R"([{},{"ifname":"eth1"},{},{"ifname":"eth1"}])"),
              "links.json: $[3].ifname: duplicate name \"eth1\", first used by $[1]");
}

TEST_F(IprouteSourceTest, ATunnelWithoutALinkBelowHasNullThere) {
    readLinks(R"([{"ifname":"sit0","link":null,"linkinfo":{"info_kind":"sit"}}])");
    EXPECT_NE(links.find("sit0"), nullptr);
}

TEST_F(IprouteSourceTest, ALinkBelowInAnotherNamespaceIsNotLookedFor) {
    readLinks(R"([{"ifname":"eth0","link_index":5,"link_netnsid":0,"linkinfo":{"info_kind":"veth"}},
                  {"ifname":"v7","link_index":9,"link_netnsid":0,"linkinfo":{"info_kind":"vlan"}},
                  {"ifname":"v8","link":"if9","link_netnsid":0,"linkinfo":{"info_kind":"vlan"}}])");
    EXPECT_TRUE(Iftel::SubIntfId::isSubIntfId(links.find("v7")->id));
    EXPECT_EQ(Iftel::SubIntfId::parentIntfId(links.find("v8")->id), Iftel::IntfId());
}

TEST_F(IprouteSourceTest, ASubinterfaceWithoutALinkBelowIsAnError) {
    EXPECT_EQ(linkError(R"([{"ifname":"v7","linkinfo":{"info_kind":"vlan"}}])"),
              "links.json: $[0].link: expected a name, but the member is missing");
}

TEST_F(IprouteSourceTest, WrongTypesInLinksAreErrors) {
    EXPECT_EQ(linkError(R"([{"ifname":5}])"), "links.json: $[0].ifname: expected a name, found 5");
    EXPECT_EQ(linkError(R"([{"ifname":"a","master":["b"]}])"),
              "links.json: $[0].master: expected a string, found an array");
    EXPECT_EQ(linkError(R"([{"ifname":"a","link":1}])"),
              "links.json: $[0].link: expected a string, found 1");
    EXPECT_EQ(linkError(R"([{"ifname":"a","linkinfo":"vlan"}])"),
              "links.json: $[0].linkinfo: expected an object, found \"vlan\"");
    EXPECT_EQ(linkError(R"([{"ifname":"a","linkinfo":{"info_kind":1}}])"),
              "links.json: $[0].linkinfo.info_kind: expected a string, found 1");
    EXPECT_EQ(linkError(R"([{"ifname":"a","link_netnsid":"x"}])"),
              "links.json: $[0].link_netnsid: expected a whole number, found \"x\"");
}

// VLANs.

TEST_F(IprouteSourceTest, TagOnEgressIsTheAbsenceOfEgressUntagged) {
    readPorts();
    readVlans(R"([{"ifname":"eth1","vlans":[{"vlan":1,"flags":["PVID","Egress Untagged"]},
                                            {"vlan":2,"flags":["PVID"]},{"vlan":3}]}])");
    EXPECT_THAT(members(), ElementsAre("1 eth1 untag both", "2 eth1 tag both", "3 eth1 tag both"));
}

TEST_F(IprouteSourceTest, TheDirectionFollowsStateAndFlags) {
    readPorts();
    readVlans(R"([{"ifname":"eth1","vlans":[
        {"vlan":1,"state":"forwarding","flags":["Egress Untagged"]},
        {"vlan":2,"state":"forwarding","flags":["PVID","Egress Untagged"]},
        {"vlan":3,"state":"forwarding"},
        {"vlan":4,"flags":["Egress Untagged"]},
        {"vlan":5,"state":"disabled"},
        {"vlan":6,"state":"listening","flags":["Egress Untagged"]},
        {"vlan":7,"state":"learning","flags":["PVID"]},
        {"vlan":8,"state":"blocking","flags":["PVID","Egress Untagged"]}]}])");
    EXPECT_THAT(members(),
                ElementsAre("1 eth1 untag egress", "2 eth1 untag both", "3 eth1 tag both",
                            "4 eth1 untag egress", "5 eth1 tag none", "6 eth1 untag none",
                            "7 eth1 tag none", "8 eth1 untag none"));
}

TEST_F(IprouteSourceTest, RangesAreExpanded) {
    readPorts();
    readVlans(R"([{"ifname":"eth1","vlans":[{"vlan":1,"vlanEnd":4094}]}])");
    EXPECT_EQ(config->vlanConfig().size(), 4094U);
    EXPECT_EQ(members().size(), 4094U);
}

TEST_F(IprouteSourceTest, ARangeMayHaveOneVlan) {
    readPorts();
    readVlans(R"([{"ifname":"eth1","vlans":[{"vlan":4094,"vlanEnd":4094}]}])");
    EXPECT_THAT(members(), ElementsAre("4094 eth1 tag both"));
}

TEST_F(IprouteSourceTest, TheBridgesOwnEntryIsNoMember) {
    readPorts();
    readVlans(R"([{"ifname":"br0","vlans":[{"vlan":1}]},{"ifname":"eth1","vlans":[{"vlan":2}]}])");
    EXPECT_THAT(members(), ElementsAre("2 eth1 tag both"));
}

TEST_F(IprouteSourceTest, MembersMayComeInAnyOrderAndWithEmptyObjects) {
    readPorts();
    readVlans(R"([{},{"vlans":[{},{"state":"forwarding","vlan":2}],"ifname":"eth1"}])");
    EXPECT_THAT(members(), ElementsAre("2 eth1 tag both"));
}

TEST_F(IprouteSourceTest, APortMayComeInSeveralElements) {
    readPorts();
    readVlans(R"([{"ifname":"eth1","vlans":[{"vlan":1}]},{"ifname":"eth1","vlans":[{"vlan":2}]}])");
    EXPECT_THAT(members(), ElementsAre("1 eth1 tag both", "2 eth1 tag both"));
}

TEST_F(IprouteSourceTest, ARepetitionIsHarmlessAContradictionIsAnError) {
    EXPECT_EQ(vlanError(R"([{"ifname":"eth1","vlans":[{"vlan":1,"vlanEnd":9},{"vlan":5}]}])"),
              "no error");
    EXPECT_EQ(vlanError(R"([{"ifname":"eth1.5","vlans":[{"vlan":1,"vlanEnd":9},{},
                                                        {"vlan":5,"flags":["PVID"]}]}])"),
              "vlans.json: $[0].vlans[2]: eth1.5 is in VLAN 5 twice, tagged with direction both "
              "and tagged PVID with direction both");
}

TEST_F(IprouteSourceTest, AMemberThatNoLinkHasIsAnError) {
    EXPECT_EQ(vlanError(R"([{},{"ifname":"eth9","vlans":[]}])"),
              "vlans.json: $[1].ifname: no link has the name \"eth9\"");
}

TEST_F(IprouteSourceTest, VlanNumbersOutOfRangeAreErrors) {
    EXPECT_EQ(vlanError(R"([{"ifname":"eth1","vlans":[{"vlan":1},{"vlan":4095}]}])"),
              "vlans.json: $[0].vlans[1].vlan: expected a VLAN number from 1 to 4094, found 4095");
    EXPECT_EQ(vlanError(R"([{"ifname":"eth1","vlans":[{"vlan":0}]}])"),
              "vlans.json: $[0].vlans[0].vlan: expected a VLAN number from 1 to 4094, found 0");
    EXPECT_EQ(
        vlanError(R"([{"ifname":"eth1","vlans":[{"vlan":1,"vlanEnd":4095}]}])"),
        "vlans.json: $[0].vlans[0].vlanEnd: expected a VLAN number from 1 to 4094, found 4095");
    EXPECT_EQ(vlanError(R"([{"ifname":"eth1","vlans":[{"vlan":9,"vlanEnd":8}]}])"),
              "vlans.json: $[0].vlans[0].vlanEnd: 8 is before \"vlan\", which is 9");
}

TEST_F(IprouteSourceTest, WhatTheBridgeItselfSaysIsCheckedToo) {
    EXPECT_THAT(vlanError(R"([{"ifname":"br0","vlans":[{"vlan":5000}]}])"),
                HasSubstr("found 5000"));
}

TEST_F(IprouteSourceTest, WrongTypesInVlansAreErrors) {
    EXPECT_EQ(vlanError(R"([{"ifname":"eth1"}])"),
              "vlans.json: $[0].vlans: expected a value, but the member is missing");
    EXPECT_EQ(vlanError(R"([{"vlans":[]}])"),
              "vlans.json: $[0].ifname: expected a name, but the member is missing");
    EXPECT_EQ(vlanError(R"([{"ifname":"eth1","vlans":[{"vlan":1,"flags":"PVID"}]}])"),
              "vlans.json: $[0].vlans[0].flags: expected an array of strings, found \"PVID\"");
    EXPECT_EQ(vlanError(R"([{"ifname":"eth1","vlans":[{"vlan":1,"state":3}]}])"),
              "vlans.json: $[0].vlans[0].state: expected a string, found 3");
}

} // namespace
} // namespace Agent
