#include "agent/Names.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

using Iftel::IntfId;
using Iftel::IntfKind;
using Iftel::NameTable;
using Iftel::SubIntfId;

class NamesTest : public testing::Test {
  protected:
    NamesTest() { NameTable::instance().resetForTest(); }
    ~NamesTest() override { NameTable::instance().resetForTest(); }
};

TEST_F(NamesTest, ANativeTextIsKnownByItsIdentifier) {
    EXPECT_EQ(knownIntf("PortChannel10.100"), IntfId("PortChannel10.100"));
}

TEST_F(NamesTest, OtherTextsAreNotKnown) {
    EXPECT_FALSE(knownIntf("eth1"));
    EXPECT_FALSE(knownIntf(""));
}

TEST_F(NamesTest, ALinkWithTheNameOfANativeTextHidesIt) {
    IntfId const native("Ethernet1");
    IntfId const link = NameTable::instance().intfIs("Ethernet1", IntfKind::portChannel);
    EXPECT_EQ(IntfId::native("Ethernet1"), native);
    EXPECT_EQ(knownIntf("Ethernet1"), link);
}

TEST_F(NamesTest, AKnownNameIsOfALinkOrANativeText) {
    EXPECT_EQ(knownIntf("PortChannel1"), IntfId("PortChannel1"));
    EXPECT_FALSE(knownIntf("eth1"));
    IntfId const link = NameTable::instance().intfIs("eth1", IntfKind::ethernet);
    EXPECT_EQ(knownIntf("eth1"), link);
}

TEST_F(NamesTest, AnEarlierNameLeadsToTheCurrentInterface) {
    IntfId const bond = NameTable::instance().intfIs("bond0", IntfKind::portChannel);
    IntfId const sub = NameTable::instance().subIntfIs("bond0.5", bond);
    EXPECT_EQ(earlierSubIntf("bond0.5"), sub);
    EXPECT_EQ(earlierMember("bond0"), bond);
    EXPECT_EQ(earlierSubIntf("PortChannel1.5"), IntfId("PortChannel1.5"));
}

TEST_F(NamesTest, AnUnknownEarlierSubinterfaceHasAnUnknownParent) {
    IntfId const id = earlierSubIntf("bond7.5");
    EXPECT_TRUE(SubIntfId::isSubIntfId(id));
    EXPECT_EQ(SubIntfId::parentIntfId(id), IntfId());
    EXPECT_EQ(id.stringValue().view(), "bond7.5");
    EXPECT_EQ(earlierSubIntf("bond7.5"), id);
}

TEST_F(NamesTest, AnUnknownEarlierMemberIsAnEthernetInterface) {
    IntfId const id = earlierMember("eth77");
    EXPECT_EQ(id.kind(), IntfKind::ethernet);
    EXPECT_FALSE(SubIntfId::isSubIntfId(id));
}

} // namespace
} // namespace Agent
