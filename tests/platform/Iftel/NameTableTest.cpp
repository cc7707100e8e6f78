#include "platform/Iftel/NameTable.h"

#include "platform/Qor/Exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <string>

namespace Iftel {
namespace {

class NameTableTest : public testing::Test {
  protected:
    NameTableTest() { table.resetForTest(); }
    ~NameTableTest() override { table.resetForTest(); }

    static std::string printed(IntfId id) {
        std::ostringstream out;
        out << id;
        return out.str();
    }

    NameTable &table = NameTable::instance();
};
using NameTableDeathTest = NameTableTest;

// Registration.

TEST_F(NameTableTest, ARegisteredNameLeadsToItsIdentifier) {
    IntfId const id = table.intfIs("bond0", IntfKind::portChannel);
    EXPECT_EQ(IntfId("bond0"), id);
    EXPECT_EQ(table.lookup("bond0"), id);
}

TEST_F(NameTableTest, ListsTheIdentifiersThatAreRegistered) {
    EXPECT_TRUE(table.ids().empty());
    auto const lag = table.intfIs("bond0", IntfKind::portChannel);
    auto const port = table.intfIs("eth1", IntfKind::ethernet);
    auto const sub = table.subIntfIs("bond0.100", lag);
    table.intfDel(port);
    EXPECT_THAT(table.ids(), testing::UnorderedElementsAre(lag, sub));
}

TEST_F(NameTableTest, ARegisteredIdentifierPrintsItsName) {
    IntfId const id = table.intfIs("bond0", IntfKind::portChannel);
    EXPECT_EQ(printed(id), "bond0");
    EXPECT_EQ(valueToStrep(id), Nuvio::String("'bond0'"));
    ASSERT_NE(table.nameOf(id), nullptr);
    EXPECT_EQ(*table.nameOf(id), Nuvio::String("bond0"));
}

TEST_F(NameTableTest, AnInterfaceIsOfTheKindThatItWasRegisteredWith) {
    EXPECT_EQ(table.intfIs("swp3", IntfKind::ethernet).kind(), IntfKind::ethernet);
    EXPECT_EQ(table.intfIs("bond0", IntfKind::portChannel).kind(), IntfKind::portChannel);
    EXPECT_FALSE(SubIntfId::isSubIntfId(IntfId("bond0")));
}

TEST_F(NameTableTest, ASubinterfaceBelongsToItsParent) {
    IntfId const bond = table.intfIs("bond0", IntfKind::portChannel);
    IntfId const sub = table.subIntfIs("bond0.100", bond);
    EXPECT_TRUE(SubIntfId::isSubIntfId(sub));
    EXPECT_TRUE(PortChannelIntfId::isPortChannelIntfId(sub));
    EXPECT_EQ(SubIntfId::parentIntfId(sub), bond);
    EXPECT_EQ(printed(sub), "bond0.100");
}

TEST_F(NameTableTest, ASubinterfaceMayBelongToANativeInterface) {
    IntfId const sub = table.subIntfIs("vlan7", IntfId("Ethernet4"));
    EXPECT_EQ(SubIntfId::parentIntfId(sub), IntfId("Ethernet4"));
    EXPECT_FALSE(PortChannelIntfId::isPortChannelIntfId(sub));
}

TEST_F(NameTableTest, ASubinterfaceOfAnUnknownParentIsOneOfNoKind) {
    IntfId const sub = table.subIntfIs("bond9.100", IntfId());
    EXPECT_TRUE(SubIntfId::isSubIntfId(sub));
    EXPECT_FALSE(PortChannelIntfId::isPortChannelIntfId(sub));
    EXPECT_EQ(SubIntfId::parentIntfId(sub), IntfId());
    EXPECT_EQ(printed(sub), "bond9.100");
}

TEST_F(NameTableTest, AStackedNameIsASubinterfaceOfTheInterfaceBelow) {
    IntfId const bond = table.intfIs("bond0", IntfKind::portChannel);
    IntfId const outer = table.subIntfIs("bond0.100", bond);
    IntfId const inner = table.subIntfIs("bond0.100.20", bond);
    EXPECT_FALSE(inner == outer);
    EXPECT_EQ(SubIntfId::parentIntfId(inner), bond);
    EXPECT_EQ(IntfId("bond0.100.20"), inner);
}

TEST_F(NameTableTest, ARegisteredNameIsParsedFromItsQuotedForm) {
    IntfId const id = table.intfIs("it's\\odd", IntfKind::ethernet);
    Nuvio::String const text = valueToStrep(id);
    Qor::CharRange range(text.view());
    EXPECT_EQ(IntfId::sequenceToValue(range), id);
}

TEST_F(NameTableTest, CountsRegisteredIdentifiers) {
    EXPECT_EQ(table.size(), 0U);
    IntfId const bond = table.intfIs("bond0", IntfKind::portChannel);
    table.subIntfIs("bond0.100", bond);
    EXPECT_EQ(table.size(), 2U);
    table.intfDel(bond);
    EXPECT_EQ(table.size(), 1U);
}

TEST_F(NameTableTest, ANameThatIsNotRegisteredLeadsNowhere) {
    EXPECT_FALSE(table.lookup("bond0").has_value());
    EXPECT_FALSE(table.lookup("Ethernet4").has_value());
    EXPECT_EQ(table.nameOf(IntfId("Ethernet4")), nullptr);
}

// A known name.

TEST_F(NameTableTest, TheSameKindGivesTheSameIdentifier) {
    IntfId const id = table.intfIs("bond0", IntfKind::portChannel);
    EXPECT_EQ(table.intfIs("bond0", IntfKind::portChannel), id);
    EXPECT_EQ(table.size(), 1U);
}

TEST_F(NameTableTest, TheSameParentGivesTheSameIdentifier) {
    IntfId const bond = table.intfIs("bond0", IntfKind::portChannel);
    IntfId const sub = table.subIntfIs("bond0.100", bond);
    EXPECT_EQ(table.subIntfIs("bond0.100", bond), sub);
}

TEST_F(NameTableTest, AnotherKindGivesANewIdentifierToWhichTheNameThenLeads) {
    IntfId const former = table.intfIs("x0", IntfKind::ethernet);
    IntfId const now = table.intfIs("x0", IntfKind::portChannel);
    EXPECT_FALSE(now == former);
    EXPECT_EQ(now.kind(), IntfKind::portChannel);
    EXPECT_EQ(IntfId("x0"), now);
}

TEST_F(NameTableTest, AnotherParentGivesANewIdentifierToWhichTheNameThenLeads) {
    IntfId const bond0 = table.intfIs("bond0", IntfKind::portChannel);
    IntfId const bond1 = table.intfIs("bond1", IntfKind::portChannel);
    IntfId const former = table.subIntfIs("vlan7", bond0);
    IntfId const now = table.subIntfIs("vlan7", bond1);
    EXPECT_FALSE(now == former);
    EXPECT_EQ(SubIntfId::parentIntfId(now), bond1);
    EXPECT_EQ(IntfId("vlan7"), now);
}

TEST_F(NameTableTest, AParentThatBecomesKnownGivesANewIdentifier) {
    IntfId const former = table.subIntfIs("bond0.100", IntfId());
    IntfId const bond = table.intfIs("bond0", IntfKind::portChannel);
    EXPECT_FALSE(table.subIntfIs("bond0.100", bond) == former);
    EXPECT_EQ(SubIntfId::parentIntfId(IntfId("bond0.100")), bond);
}

TEST_F(NameTableTest, AnInterfaceThatBecomesASubinterfaceIsANewOne) {
    IntfId const bond = table.intfIs("bond0", IntfKind::portChannel);
    IntfId const former = table.intfIs("x0", IntfKind::portChannel);
    IntfId const sub = table.subIntfIs("x0", bond);
    EXPECT_FALSE(sub == former);
    EXPECT_FALSE(table.intfIs("x0", IntfKind::portChannel) == sub);
}

TEST_F(NameTableTest, TheOldIdentifierKeepsItsNameForPrinting) {
    IntfId const former = table.intfIs("x0", IntfKind::ethernet);
    table.intfIs("x0", IntfKind::portChannel);
    EXPECT_EQ(printed(former), "x0");
    EXPECT_EQ(table.size(), 2U);
}

// Release.

TEST_F(NameTableTest, AReleasedNameIsUnknown) {
    table.intfDel(table.intfIs("bond0", IntfKind::portChannel));
    EXPECT_THROW(IntfId("bond0"), Qor::RangeException);
    EXPECT_EQ(table.size(), 0U);
}

TEST_F(NameTableTest, AReleasedIdentifierNoLongerPrintsTheName) {
    IntfId const id = table.intfIs("bond0", IntfKind::portChannel);
    table.intfDel(id);
    EXPECT_EQ(printed(id), "PortChannel268435456");
    EXPECT_EQ(table.nameOf(id), nullptr);
}

TEST_F(NameTableTest, TheTextOfAReleasedIdentifierIsNoNativeOne) {
    IntfId const bond = table.intfIs("bond0", IntfKind::portChannel);
    IntfId const sub = table.subIntfIs("vlan7", IntfId("Ethernet4"));
    IntfId const orphan = table.subIntfIs("bond9.100", IntfId());
    for (IntfId const id : {bond, sub, orphan}) {
        table.intfDel(id);
        EXPECT_THROW(IntfId(id.stringValue()), Qor::RangeException) << id;
    }
}

TEST_F(NameTableTest, TheReleaseOfTheOldIdentifierLeavesTheNameToTheNewOne) {
    IntfId const former = table.intfIs("x0", IntfKind::ethernet);
    IntfId const now = table.intfIs("x0", IntfKind::portChannel);
    table.intfDel(former);
    EXPECT_EQ(IntfId("x0"), now);
    EXPECT_EQ(printed(now), "x0");
    EXPECT_FALSE(printed(former) == "x0");
}

TEST_F(NameTableTest, TheReleaseOfTheNewIdentifierDoesNotBringTheOldOneBack) {
    IntfId const former = table.intfIs("x0", IntfKind::ethernet);
    table.intfDel(table.intfIs("x0", IntfKind::portChannel));
    EXPECT_THROW(IntfId("x0"), Qor::RangeException);
    EXPECT_EQ(printed(former), "x0");
}

TEST_F(NameTableTest, ReleasingOneThatIsNotRegisteredChangesNothing) {
    table.intfIs("bond0", IntfKind::portChannel);
    table.intfDel(IntfId("Ethernet4"));
    table.intfDel(IntfId());
    EXPECT_EQ(table.size(), 1U);
}

TEST_F(NameTableTest, AnIdentifierIsNeverGivenTwice) {
    IntfId const former = table.intfIs("bond0", IntfKind::portChannel);
    table.intfDel(former);
    IntfId const now = table.intfIs("bond0", IntfKind::portChannel);
    EXPECT_FALSE(now == former);

    IntfId const formerSub = table.subIntfIs("vlan7", now);
    table.intfDel(formerSub);
    EXPECT_FALSE(table.subIntfIs("vlan7", now) == formerSub);
}

// Registered names and native texts.

TEST_F(NameTableTest, ARegisteredNameWinsOverTheNativeTextThatItLooksLike) {
    IntfId const native("Ethernet4");
    IntfId const id = table.intfIs("Ethernet4", IntfKind::portChannel);
    EXPECT_FALSE(id == native);
    EXPECT_EQ(IntfId("Ethernet4"), id);
    EXPECT_EQ(printed(id), "Ethernet4");
}

TEST_F(NameTableTest, TheNativeTextIsBackAfterTheRelease) {
    IntfId const native("Ethernet4");
    table.intfDel(table.intfIs("Ethernet4", IntfKind::portChannel));
    EXPECT_EQ(IntfId("Ethernet4"), native);
}

TEST_F(NameTableTest, ANativeTextHasItsIdentifierWhateverIsRegisteredUnderIt) {
    IntfId const native("Ethernet4");
    table.intfIs("Ethernet4", IntfKind::portChannel);
    EXPECT_EQ(IntfId::native("Ethernet4"), native);
}

TEST_F(NameTableTest, ARegisteredNameMayGoBackToItsNativeIdentifier) {
    IntfId const native("Ethernet4");
    IntfId const former = table.intfIs("Ethernet4", IntfKind::ethernet);
    EXPECT_EQ(table.nativeIs("Ethernet4"), native);
    EXPECT_EQ(IntfId("Ethernet4"), native);
    EXPECT_EQ(table.lookup("Ethernet4"), native);
    EXPECT_EQ(printed(native), "Ethernet4");
    EXPECT_EQ(printed(former), "Ethernet4");
}

TEST_F(NameTableTest, TheReleaseOfTheOldIdentifierLeavesTheNameToTheNativeOne) {
    IntfId const native("PortChannel10.100");
    IntfId const former = table.subIntfIs("PortChannel10.100", IntfId("Ethernet4"));
    table.nativeIs("PortChannel10.100");
    table.intfDel(former);
    EXPECT_EQ(table.lookup("PortChannel10.100"), native);
    table.intfDel(native);
    EXPECT_EQ(IntfId("PortChannel10.100"), native);
    EXPECT_EQ(printed(native), "PortChannel10.100");
    EXPECT_EQ(table.size(), 0U);
}

TEST_F(NameTableTest, ANameThatWentBackMayBeRegisteredAgain) {
    table.intfIs("Ethernet4", IntfKind::portChannel);
    table.nativeIs("Ethernet4");
    IntfId const now = table.intfIs("Ethernet4", IntfKind::portChannel);
    EXPECT_EQ(now.kind(), IntfKind::portChannel);
    EXPECT_EQ(IntfId("Ethernet4"), now);
}

TEST_F(NameTableTest, ANativeTextThatLeadsToItsIdentifierIsNotRegistered) {
    EXPECT_EQ(table.nativeIs("Ethernet4"), IntfId("Ethernet4"));
    EXPECT_EQ(table.size(), 0U);
}

TEST_F(NameTableTest, ANameThatIsNotNativeStaysWithWhatIsRegistered) {
    IntfId const bond = table.intfIs("bond0", IntfKind::portChannel);
    EXPECT_FALSE(table.nativeIs("bond0").has_value());
    EXPECT_FALSE(table.nativeIs("").has_value());
    EXPECT_EQ(IntfId("bond0"), bond);
}

TEST_F(NameTableTest, NativeTextsDoNotMeetRegisteredIdentifiers) {
    IntfId const intf = table.intfIs("a", IntfKind::ethernet);
    IntfId const sub = table.subIntfIs("b", IntfId("Ethernet4"));
    EXPECT_GE(intf, IntfId::intf(IntfKind::ethernet, IntfId::firstRegisteredIntf));
    EXPECT_GE(sub, IntfId::subIntf(IntfId("Ethernet4"), IntfId::firstRegisteredSubIntf));
}

// Misuse.

TEST_F(NameTableDeathTest, RegisteringTheEmptyNameIsAnAssertion) {
    EXPECT_DEATH(table.intfIs("", IntfKind::ethernet), "name.empty");
    EXPECT_DEATH(table.subIntfIs("", IntfId("Ethernet4")), "name.empty");
}

TEST_F(NameTableDeathTest, RegisteringAnInterfaceOfNoKindIsAnAssertion) {
    EXPECT_DEATH(table.intfIs("x0", IntfKind::none), "name=x0");
}

TEST_F(NameTableDeathTest, RegisteringASubinterfaceOfASubinterfaceIsAnAssertion) {
    EXPECT_DEATH(table.subIntfIs("x0.1.2", IntfId("Ethernet4.1")), "name=x0.1.2");
}

} // namespace
} // namespace Iftel
