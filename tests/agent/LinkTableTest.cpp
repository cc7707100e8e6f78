#include "agent/LinkTable.h"

#include "tests/agent/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

using testing::HasSubstr;

class LinkTableTest : public testing::Test {
  protected:
    LinkTableTest() { Iftel::NameTable::instance().resetForTest(); }
    ~LinkTableTest() override { Iftel::NameTable::instance().resetForTest(); }

    LinkTable links{{"links.json", "$", "ifname", "master", "link"}};
    std::size_t count = 0;

    void add(std::string name, LinkKind kind, std::string lower = {}, std::string master = {}) {
        links.linkIs({std::move(name), kind, std::move(master), std::move(lower), count++, {}});
    }
    Iftel::IntfId id(std::string_view name) const { return links.find(name)->id; }
    Iftel::IntfId parent(std::string_view name) const {
        return Iftel::SubIntfId::parentIntfId(id(name));
    }
};

TEST_F(LinkTableTest, AnIdentifierTellsWhatTheLinkIs) {
    add("bond0.100", LinkKind::subinterface, "bond0");
    add("bond0", LinkKind::lag);
    add("br0", LinkKind::bridge);
    add("eth1", LinkKind::plain);
    links.resolve();
    EXPECT_TRUE(Iftel::PortChannelIntfId::isPortChannelIntfId(id("bond0")));
    EXPECT_TRUE(Iftel::SubIntfId::isSubIntfId(id("bond0.100")));
    EXPECT_EQ(parent("bond0.100"), id("bond0"));
    EXPECT_EQ(id("eth1").kind(), Iftel::IntfKind::ethernet);
    EXPECT_EQ(id("br0").kind(), Iftel::IntfKind::ethernet);
    EXPECT_EQ(id("eth1").stringValue().view(), "eth1");
}

TEST_F(LinkTableTest, TheParentOfAStackIsTheInterfaceAtItsBottom) {
    add("bond0.10.20.30", LinkKind::subinterface, "bond0.10.20");
    add("bond0.10", LinkKind::subinterface, "bond0");
    add("bond0.10.20", LinkKind::subinterface, "bond0.10");
    add("bond0", LinkKind::lag);
    links.resolve();
    for (char const *name : {"bond0.10", "bond0.10.20", "bond0.10.20.30"}) {
        EXPECT_EQ(parent(name), id("bond0")) << name;
    }
    EXPECT_NE(id("bond0.10"), id("bond0.10.20"));
}

TEST_F(LinkTableTest, ASubinterfaceOfAnUnknownLinkHasNoParent) {
    add("far", LinkKind::subinterface);
    add("far.5", LinkKind::subinterface, "far");
    links.resolve();
    EXPECT_TRUE(Iftel::SubIntfId::isSubIntfId(id("far.5")));
    EXPECT_EQ(parent("far.5"), Iftel::IntfId());
    EXPECT_FALSE(Iftel::PortChannelIntfId::isPortChannelIntfId(id("far")));
}

TEST_F(LinkTableTest, OnlySubinterfacesAreFollowed) {
    add("veth0", LinkKind::plain, "veth1");
    add("veth1", LinkKind::plain, "veth0");
    add("veth0.7", LinkKind::subinterface, "veth0");
    links.resolve();
    EXPECT_EQ(parent("veth0.7"), id("veth0"));
}

TEST_F(LinkTableTest, AVeryLongStackIsResolved) {
    add("base", LinkKind::lag);
    std::string below = "base";
    for (int i = 0; i < 20000; ++i) {
        std::string const name = "s" + std::to_string(i);
        add(name, LinkKind::subinterface, below);
        below = name;
    }
    links.resolve();
    EXPECT_EQ(parent(below), id("base"));
}

TEST_F(LinkTableTest, LagsHaveTheLinksThatAreEnslavedToThem) {
    auto const mapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    add("eth1", LinkKind::plain, {}, "bond0");
    add("bond0", LinkKind::lag, {}, "br0");
    add("bond1", LinkKind::lag);
    add("br0", LinkKind::bridge);
    add("eth2", LinkKind::plain, {}, "bond0");
    add("eth3", LinkKind::plain, {}, "br0");
    links.resolve();
    links.lagsInto(*mapping);
    ASSERT_EQ(mapping->lagPhyIntfConfig().size(), 2U);
    auto const bond0 = *mapping->lagPhyIntfConfig(id("bond0"));
    EXPECT_EQ(bond0->phyIntf().size(), 2U);
    EXPECT_TRUE(bond0->phyIntf().memberHas(id("eth1")));
    EXPECT_TRUE(bond0->phyIntf().memberHas(id("eth2")));
    EXPECT_TRUE((*mapping->lagPhyIntfConfig(id("bond1")))->phyIntf().empty());
}

TEST_F(LinkTableTest, AnUnknownNameIsNotFound) {
    add("eth1", LinkKind::plain);
    links.resolve();
    EXPECT_EQ(links.find("eth2"), nullptr);
    EXPECT_EQ(links.find(""), nullptr);
}

// Errors.

TEST_F(LinkTableTest, ANameUsedTwiceIsAnError) {
    add("eth1", LinkKind::plain);
    add("eth2", LinkKind::plain);
    EXPECT_EQ(messageOf([&] { add("eth1", LinkKind::lag); }),
              "links.json: $[2].ifname: duplicate name \"eth1\", first used by $[0]");
}

TEST_F(LinkTableTest, AMissingMasterIsAnError) {
    add("eth1", LinkKind::plain, {}, "bond9");
    EXPECT_EQ(messageOf([&] { links.resolve(); }),
              "links.json: $[0].master: the master \"bond9\" of \"eth1\" is not in the file");
}

TEST_F(LinkTableTest, AMissingLowerLinkIsAnError) {
    add("lo", LinkKind::plain);
    add("bond0.1", LinkKind::subinterface, "bond0");
    EXPECT_EQ(messageOf([&] { links.resolve(); }),
              "links.json: $[1].link: the lower link \"bond0\" of \"bond0.1\" is not in the file");
}

TEST_F(LinkTableTest, ALoopOfLowerLinksIsAnErrorThatNamesIt) {
    add("top", LinkKind::subinterface, "a");
    add("a", LinkKind::subinterface, "b");
    add("b", LinkKind::subinterface, "c");
    add("c", LinkKind::subinterface, "a");
    EXPECT_EQ(messageOf([&] { links.resolve(); }),
              "links.json: $[1].link: loop of lower links: a -> b -> c -> a");
}

TEST_F(LinkTableTest, ALinkBelowItselfIsALoop) {
    add("a", LinkKind::subinterface, "a");
    EXPECT_THAT(messageOf([&] { links.resolve(); }), HasSubstr("loop of lower links: a -> a"));
}

TEST_F(LinkTableTest, ALongLoopIsNotNamedWhole) {
    for (int i = 0; i < 5000; ++i) {
        add("s" + std::to_string(i), LinkKind::subinterface, "s" + std::to_string((i + 1) % 5000));
    }
    std::string const message = messageOf([&] { links.resolve(); });
    EXPECT_THAT(message, HasSubstr("loop of lower links: s0 -> s1 -> "));
    EXPECT_THAT(message, HasSubstr("... -> s0"));
    EXPECT_LT(message.size(), 300U);
}

} // namespace
} // namespace Agent
