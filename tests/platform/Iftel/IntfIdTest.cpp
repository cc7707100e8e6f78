#include "platform/Iftel/IntfId.h"

#include "platform/Iftel/NameTable.h"
#include "platform/Qor/Exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace Iftel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;
using testing::Values;

IntfId ethernet(std::uint32_t number) {
    return IntfId::intf(IntfKind::ethernet, number);
}

IntfId portChannel(std::uint32_t number) {
    return IntfId::intf(IntfKind::portChannel, number);
}

std::string printed(IntfId id) {
    std::ostringstream out;
    out << id;
    return out.str();
}

// The default identifier.

TEST(IntfId, TheEmptyNameGivesTheDefaultIdentifier) {
    EXPECT_EQ(IntfId(""), IntfId());
    EXPECT_EQ(IntfId().bits(), 0U);
}

TEST(IntfId, TheDefaultIdentifierHasTheEmptyName) {
    EXPECT_TRUE(IntfId().stringValue().empty());
    EXPECT_EQ(printed(IntfId()), "");
}

TEST(IntfId, TheDefaultIdentifierIsOfNoKind) {
    EXPECT_EQ(IntfId().kind(), IntfKind::none);
    EXPECT_FALSE(SubIntfId::isSubIntfId(IntfId()));
    EXPECT_FALSE(PortChannelIntfId::isPortChannelIntfId(IntfId()));
}

// Native texts.

TEST(IntfId, ANativeTextSaysKindAndNumbers) {
    EXPECT_EQ(IntfId("Ethernet4"), ethernet(4));
    EXPECT_EQ(IntfId("Ethernet4.20"), IntfId::subIntf(ethernet(4), 20));
    EXPECT_EQ(IntfId("PortChannel10"), portChannel(10));
    EXPECT_EQ(IntfId("PortChannel10.100"), IntfId::subIntf(portChannel(10), 100));
}

class NativeTextTest : public testing::TestWithParam<char const *> {};

TEST_P(NativeTextTest, PrintsAsItWasRead) {
    EXPECT_EQ(printed(IntfId(GetParam())), GetParam());
}

INSTANTIATE_TEST_SUITE_P(IntfId, NativeTextTest,
                         Values("Ethernet0", "Ethernet0.5", "Ethernet4", "Ethernet4.0",
                                "Ethernet4.20", "Ethernet268435455", "Ethernet1.2147483647",
                                "PortChannel10", "PortChannel10.100",
                                "PortChannel268435455.2147483647"));

TEST_P(NativeTextTest, HasANativeIdentifier) {
    EXPECT_EQ(IntfId::native(GetParam()), IntfId(GetParam()));
}

class UnknownTextTest : public testing::TestWithParam<char const *> {};

TEST_P(UnknownTextTest, ThrowsAnErrorThatNamesIt) {
    EXPECT_THAT([] { IntfId(std::string_view(GetParam())); },
                ThrowsMessage<Qor::RangeException>(
                    HasSubstr("unknown interface name \"" + std::string(GetParam()) + '"')));
}

INSTANTIATE_TEST_SUITE_P(IntfId, UnknownTextTest,
                         Values("Ethernet", "PortChannel", "Ethernet.20", "Ethernet4.",
                                "Ethernet4.20.5", "Ethernet4-20", "Ethernet4 ", " Ethernet4",
                                "Ethernet04", "Ethernet4.020", "Ethernet00", "Ethernet+4",
                                "Ethernet-4", "Ethernet4x", "Ethernet4.x", "ethernet4", "eth4",
                                "Port-Channel10", "bond0", ".", "4", "Ethernet268435456",
                                "Ethernet4.2147483648", "Ethernet4294967300",
                                "Ethernet4.99999999999999999999"));

TEST_P(UnknownTextTest, HasNoNativeIdentifier) {
    EXPECT_FALSE(IntfId::native(GetParam()).has_value());
}

TEST(IntfId, TheEmptyTextHasNoNativeIdentifier) {
    EXPECT_FALSE(IntfId::native("").has_value());
}

TEST(IntfId, AnUnknownTextLeavesTheIdentifierAsItWas) {
    IntfId id("Ethernet4");
    EXPECT_THROW(id.handleInitialized("bond0"), Qor::RangeException);
    EXPECT_EQ(id, ethernet(4));
}

TEST(IntfId, ATextReplacesWhatTheIdentifierWas) {
    IntfId id("Ethernet4");
    id.handleInitialized("PortChannel10");
    EXPECT_EQ(id, portChannel(10));
}

TEST(IntfId, TheEmptyTextResetsIt) {
    IntfId id("Ethernet4");
    id.handleInitialized("");
    EXPECT_EQ(id, IntfId());
}

// Predicates and parents.

TEST(IntfId, KnowsItsKind) {
    EXPECT_EQ(IntfId("Ethernet4").kind(), IntfKind::ethernet);
    EXPECT_EQ(IntfId("PortChannel10").kind(), IntfKind::portChannel);
}

TEST(IntfId, ASubinterfaceIsOfItsParentsKind) {
    EXPECT_EQ(IntfId("Ethernet4.20").kind(), IntfKind::ethernet);
    EXPECT_EQ(IntfId("PortChannel10.100").kind(), IntfKind::portChannel);
}

TEST(SubIntfId, IsTrueForSubinterfacesOnly) {
    EXPECT_TRUE(SubIntfId::isSubIntfId(IntfId("Ethernet4.20")));
    EXPECT_TRUE(SubIntfId::isSubIntfId(IntfId("PortChannel10.100")));
    EXPECT_TRUE(SubIntfId::isSubIntfId(IntfId("PortChannel10.0")));
    EXPECT_FALSE(SubIntfId::isSubIntfId(IntfId("Ethernet4")));
    EXPECT_FALSE(SubIntfId::isSubIntfId(IntfId("PortChannel10")));
}

TEST(SubIntfId, TheParentIsTheInterfaceThatTheSubinterfaceBelongsTo) {
    EXPECT_EQ(SubIntfId::parentIntfId(IntfId("Ethernet4.20")), ethernet(4));
    EXPECT_EQ(SubIntfId::parentIntfId(IntfId("PortChannel10.100")), portChannel(10));
}

TEST(SubIntfId, AnInterfaceIsItsOwnParent) {
    EXPECT_EQ(SubIntfId::parentIntfId(portChannel(10)), portChannel(10));
    EXPECT_EQ(SubIntfId::parentIntfId(IntfId()), IntfId());
}

TEST(PortChannelIntfId, IsTrueForPortChannelsAndTheirSubinterfaces) {
    EXPECT_TRUE(PortChannelIntfId::isPortChannelIntfId(IntfId("PortChannel10")));
    EXPECT_TRUE(PortChannelIntfId::isPortChannelIntfId(IntfId("PortChannel10.100")));
    EXPECT_FALSE(PortChannelIntfId::isPortChannelIntfId(IntfId("Ethernet4")));
    EXPECT_FALSE(PortChannelIntfId::isPortChannelIntfId(IntfId("Ethernet4.20")));
}

TEST(IntfIdDeathTest, ANumberThatDoesNotFitIsAnAssertion) {
    EXPECT_DEATH((void)ethernet(1U << 29), "number=536870912");
}

TEST(IntfIdDeathTest, ASubinterfaceOfASubinterfaceIsAnAssertion) {
    EXPECT_DEATH((void)IntfId::subIntf(IntfId("Ethernet4.20"), 5), "isSubIntf");
}

// Equality, order, hash.

TEST(IntfId, IsComparedAsAWhole) {
    EXPECT_TRUE(IntfId::isEq(IntfId("Ethernet4"), ethernet(4)));
    EXPECT_FALSE(IntfId::isEq(IntfId("Ethernet4"), IntfId("Ethernet5")));
    EXPECT_FALSE(IntfId::isEq(IntfId("Ethernet4"), IntfId("PortChannel4")));
    EXPECT_FALSE(IntfId::isEq(IntfId("Ethernet4"), IntfId("Ethernet4.0")));
    EXPECT_FALSE(IntfId::isEq(IntfId("Ethernet4.1"), IntfId("Ethernet4.2")));
}

TEST(IntfId, OrdersByKindThenInterfacesBeforeSubinterfacesThenByNumber) {
    std::vector<IntfId> ids;
    for (char const *const name : {"PortChannel2.9", "PortChannel1", "Ethernet1.10", "Ethernet1.9",
                                   "Ethernet10", "Ethernet9", ""}) {
        ids.emplace_back(name);
    }
    std::ranges::sort(ids);
    std::vector<std::string> names;
    std::ranges::transform(ids, std::back_inserter(names), printed);
    EXPECT_THAT(names, ElementsAre("", "Ethernet9", "Ethernet10", "Ethernet1.9", "Ethernet1.10",
                                   "PortChannel1", "PortChannel2.9"));
}

TEST(IntfId, EqualIdentifiersHashAlike) {
    EXPECT_EQ(IntfId("Ethernet4.20").hash(), IntfId::subIntf(ethernet(4), 20).hash());
    EXPECT_EQ(IntfId("Ethernet4.20").hash(7), IntfId::subIntf(ethernet(4), 20).hash(7));
}

TEST(IntfId, EveryPartTakesPartInTheHash) {
    std::vector<std::uint32_t> hashes;
    for (char const *const name : {"Ethernet4", "Ethernet5", "PortChannel4", "Ethernet4.0",
                                   "Ethernet4.20", "Ethernet4.21", "Ethernet5.20"}) {
        hashes.push_back(IntfId(name).hash());
    }
    std::ranges::sort(hashes);
    EXPECT_TRUE(std::ranges::adjacent_find(hashes) == hashes.end());
}

TEST(IntfId, TheHashDependsOnTheSeed) {
    EXPECT_NE(IntfId("Ethernet4").hash(1), IntfId("Ethernet4").hash(2));
    EXPECT_EQ(IntfId("Ethernet4").hash(), IntfId("Ethernet4").hash(Qor::HashHelper::hashSeed32()));
}

// The quoted text form.

TEST(IntfId, TheTextFormIsTheNameInQuotes) {
    EXPECT_EQ(valueToStrep(IntfId("PortChannel10.100")), Nuvio::String("'PortChannel10.100'"));
    EXPECT_EQ(valueToStrep(IntfId()), Nuvio::String("''"));
}

TEST(IntfId, IsParsedFromItsTextForm) {
    Qor::CharRange range("'Ethernet4.20', rest");
    EXPECT_EQ(IntfId::sequenceToValue(range), IntfId("Ethernet4.20"));
    EXPECT_EQ(range.rest(), ", rest");
}

TEST(IntfId, IsConstructedFromItsTextForm) {
    Qor::CharRange range("'PortChannel10'");
    EXPECT_EQ(IntfId(range), portChannel(10));
    EXPECT_TRUE(range.rest().empty());
}

TEST(IntfId, TheEmptyTextFormGivesTheDefaultIdentifier) {
    Qor::CharRange range("''");
    EXPECT_EQ(IntfId::sequenceToValue(range), IntfId());
}

class BrokenTextFormTest : public testing::TestWithParam<char const *> {};

TEST_P(BrokenTextFormTest, ThrowsAndLeavesTheRangeWhereItWas) {
    Qor::CharRange range(GetParam());
    EXPECT_THROW((void)IntfId::sequenceToValue(range), Qor::RangeException);
    EXPECT_EQ(range.offset(), 0U);
}

INSTANTIATE_TEST_SUITE_P(IntfId, BrokenTextFormTest,
                         Values("", "Ethernet4", "'Ethernet4", "'bond0'", "'Ethernet4\\'"));

} // namespace
} // namespace Iftel
