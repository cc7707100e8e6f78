#include "VlanSubIntfConfigLib/OutputKeys.h"

#include "platform/Qor/Hash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;
using Iftel::IntfId;
using testing::HasSubstr;
using testing::StartsWith;

static_assert(std::is_trivially_copyable_v<ConfigIntfOutputKey>);
static_assert(std::is_trivially_copyable_v<LagPhyIntfOutputKey>);
static_assert(noexcept(ConfigIntfOutputKey().hash(0)) &&noexcept(LagPhyIntfOutputKey().hash(0)));
static_assert(noexcept(ConfigIntfOutputKey().validate()));
static_assert(noexcept(LagPhyIntfOutputKey().validate()));

template <class Key> std::string textOf(Key const &key) {
    return std::string(valueToStrep(key).view());
}

template <class Key> Key parsed(std::string const &text) {
    return Qor::strepToValue(Qor::String(text), static_cast<Key const *>(nullptr));
}

/// What the parser of a whole text says against it.
template <class Key> std::string complaint(std::string const &text) {
    try {
        static_cast<void>(parsed<Key>(text));
    } catch (Qor::RangeException const &error) {
        return error.what();
    }
    return "accepted";
}

std::string replaced(std::string text, std::string const &from, std::string const &to) {
    auto const at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from << " is not in " << text;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

std::vector<ConfigIntfOutputKey> configIntfKeysOfEveryFlag() {
    std::vector<ConfigIntfOutputKey> keys;
    for (unsigned flags = 0; flags < 4; ++flags) {
        keys.emplace_back(VlanId(4094), IntfId("PortChannel10.100"), (flags & 2) != 0,
                          (flags & 1) != 0);
    }
    return keys;
}

std::string const configIntfText =
    "Value('VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType', ** "
    "{'k0': 100, 'k1': 'PortChannel10.100', 'k0Valid': True, 'k1Valid': True})";
std::string const lagPhyIntfText = "Value('VlanSubIntfConfigLib::ConfigSm::"
                                   "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType', ** "
                                   "{'k0': 'Ethernet4', 'k0Valid': True})";

TEST(ConfigIntfOutputKey, DefaultsToVlanOneAndNoInterfaceBothUnset) {
    ConfigIntfOutputKey const key;
    EXPECT_EQ(key.k0, VlanId(1));
    EXPECT_EQ(key.k1, IntfId(""));
    EXPECT_FALSE(key.k0Valid);
    EXPECT_FALSE(key.k1Valid);
}

TEST(ConfigIntfOutputKey, ValidateSetsEveryFlagAndTouchesNoField) {
    ConfigIntfOutputKey key(VlanId(7), IntfId("Ethernet4.20"), false, false);
    key.validate();
    EXPECT_EQ(key, ConfigIntfOutputKey(VlanId(7), IntfId("Ethernet4.20"), true, true));
}

TEST(ConfigIntfOutputKey, PrintsItsFieldsInDeclaredOrder) {
    EXPECT_EQ(textOf(ConfigIntfOutputKey(VlanId(100), IntfId("PortChannel10.100"), true, true)),
              configIntfText);
    EXPECT_EQ(textOf(ConfigIntfOutputKey()),
              "Value('VlanSubIntfConfigLib::ConfigSm::"
              "VlanSubIntfConfigDirConfigIntfOutputKeyType', ** "
              "{'k0': 1, 'k1': '', 'k0Valid': False, 'k1Valid': False})");
}

TEST(ConfigIntfOutputKey, StreamsItsTextFormAndNothingElse) {
    std::ostringstream out;
    out << ConfigIntfOutputKey(VlanId(100), IntfId("PortChannel10.100"), true, true);
    EXPECT_EQ(out.str(), configIntfText);
}

TEST(ConfigIntfOutputKey, ReadsItsTextFormBackUnderEveryCombinationOfFlags) {
    for (ConfigIntfOutputKey const &key : configIntfKeysOfEveryFlag()) {
        EXPECT_EQ(parsed<ConfigIntfOutputKey>(textOf(key)), key);
    }
    EXPECT_EQ(parsed<ConfigIntfOutputKey>(textOf(ConfigIntfOutputKey())), ConfigIntfOutputKey());
}

TEST(ConfigIntfOutputKey, DiffersFromAnyKeyWithOtherFlags) {
    auto const keys = configIntfKeysOfEveryFlag();
    for (std::size_t i = 0; i < keys.size(); ++i) {
        for (std::size_t j = 0; j < keys.size(); ++j) {
            EXPECT_EQ(keys[i] == keys[j], i == j) << keys[i] << " and " << keys[j];
            EXPECT_EQ(ConfigIntfOutputKey::isEq(&keys[i], &keys[j]), i == j);
            EXPECT_EQ(keys[i].hash(5) == keys[j].hash(5), i == j);
        }
    }
}

TEST(ConfigIntfOutputKey, DiffersInEachOfItsFields) {
    ConfigIntfOutputKey const key(VlanId(100), IntfId("Ethernet4.20"), true, true);
    EXPECT_NE(key, ConfigIntfOutputKey(VlanId(101), IntfId("Ethernet4.20"), true, true));
    EXPECT_NE(key, ConfigIntfOutputKey(VlanId(100), IntfId("Ethernet4.21"), true, true));
}

TEST(ConfigIntfOutputKey, OrdersByVlanNumberThenInterfaceThenFlags) {
    IntfId const low("Ethernet4.20");
    IntfId const high("Ethernet4.21");
    ASSERT_LT(low, high);
    std::vector<ConfigIntfOutputKey> const ascending{
        {VlanId(2), high, true, true},   {VlanId(10), low, false, false},
        {VlanId(10), low, false, true},  {VlanId(10), low, true, false},
        {VlanId(10), low, true, true},   {VlanId(10), high, false, false},
        {VlanId(4094), low, false, true}};
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            EXPECT_EQ(ascending[i] < ascending[j], i < j)
                << ascending[i] << " and " << ascending[j];
        }
    }
}

TEST(ConfigIntfOutputKey, HashMixesTheFieldHashesAndTheFlagsInOrder) {
    VlanId const vlanId(100);
    IntfId const intfId("PortChannel10.100");
    for (std::uint32_t const seed : {0U, 0xC1698447U}) {
        Qor::Hash expected(seed);
        expected.hashMix(Qor::hashSingleAttr(0, std::uint16_t{100}));
        expected.hashMix(intfId.hash());
        expected.hashMix(std::uint8_t{1});
        expected.hashMix(std::uint8_t{0});
        EXPECT_EQ(ConfigIntfOutputKey(vlanId, intfId, true, false).hash(seed), expected.result());
    }
}

TEST(ConfigIntfOutputKey, RefusesCharactersBehindTheFormButReadsItFromALongerRange) {
    EXPECT_THAT(complaint<ConfigIntfOutputKey>(configIntfText + " "), HasSubstr("the end"));
    std::string const text = configIntfText + " ";
    Qor::CharRange range(text);
    EXPECT_EQ(ConfigIntfOutputKey(range),
              ConfigIntfOutputKey(VlanId(100), IntfId("PortChannel10.100"), true, true));
    EXPECT_EQ(range.rest(), " ");
}

TEST(ConfigIntfOutputKey, NamesTheAttributeWhoseValueIsMalformed) {
    struct Case {
        std::string from, to, attribute;
    };
    for (Case const &bad : std::vector<Case>{{"'k0': 100", "'k0': one", "k0: "},
                                             {"'k0': 100", "'k0': 65536", "k0: "},
                                             {"'PortChannel10.100'", "PortChannel10.100", "k1: "},
                                             {"PortChannel10.100", "no such name", "k1: "},
                                             {"'k0Valid': True", "'k0Valid': true", "k0Valid: "},
                                             {"'k1Valid': True", "'k1Valid': 1", "k1Valid: "}}) {
        EXPECT_THAT(complaint<ConfigIntfOutputKey>(replaced(configIntfText, bad.from, bad.to)),
                    StartsWith(bad.attribute))
            << bad.to;
    }
}

TEST(ConfigIntfOutputKey, RefusesATextWhoseLiteralsAreNotExact) {
    struct Case {
        std::string from, to, expected;
    };
    for (Case const &bad :
         std::vector<Case>{{"DirConfigIntf", "DirConfigIntF", "expected \"Value('"},
                           {"'k0': ", "'k0':", "expected \"'k0': \""},
                           {", 'k1': ", ",'k1': ", "expected \", 'k1': \""},
                           {", 'k0Valid': ", ", 'k0valid': ", "expected \", 'k0Valid': \""},
                           {", 'k1Valid': ", " 'k1Valid': ", "expected \", 'k1Valid': \""},
                           {"})", "}", "expected \"})\""}}) {
        EXPECT_THAT(complaint<ConfigIntfOutputKey>(replaced(configIntfText, bad.from, bad.to)),
                    HasSubstr(bad.expected));
    }
    EXPECT_THAT(complaint<ConfigIntfOutputKey>(""), HasSubstr("found the end"));
    EXPECT_THAT(complaint<ConfigIntfOutputKey>(lagPhyIntfText), HasSubstr("expected \"Value('"));
}

TEST(LagPhyIntfOutputKey, DefaultsToNoInterfaceUnset) {
    LagPhyIntfOutputKey const key;
    EXPECT_EQ(key.k0, IntfId(""));
    EXPECT_FALSE(key.k0Valid);
}

TEST(LagPhyIntfOutputKey, ValidateSetsTheFlagAndTouchesNoField) {
    LagPhyIntfOutputKey key(IntfId("Ethernet4"), false);
    key.validate();
    EXPECT_EQ(key, LagPhyIntfOutputKey(IntfId("Ethernet4"), true));
}

TEST(LagPhyIntfOutputKey, PrintsStreamsAndReadsBackItsTextForm) {
    LagPhyIntfOutputKey const key(IntfId("Ethernet4"), true);
    EXPECT_EQ(textOf(key), lagPhyIntfText);
    std::ostringstream out;
    out << key;
    EXPECT_EQ(out.str(), lagPhyIntfText);
    EXPECT_EQ(parsed<LagPhyIntfOutputKey>(lagPhyIntfText), key);
    EXPECT_EQ(parsed<LagPhyIntfOutputKey>(textOf(LagPhyIntfOutputKey())), LagPhyIntfOutputKey());
}

TEST(LagPhyIntfOutputKey, OrdersByInterfaceThenFlag) {
    IntfId const low("Ethernet4");
    IntfId const high("Ethernet20");
    ASSERT_LT(low, high);
    std::vector<LagPhyIntfOutputKey> const ascending{
        {low, false}, {low, true}, {high, false}, {high, true}};
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            EXPECT_EQ(ascending[i] < ascending[j], i < j);
            EXPECT_EQ(ascending[i] == ascending[j], i == j);
            EXPECT_EQ(LagPhyIntfOutputKey::isEq(&ascending[i], &ascending[j]), i == j);
            EXPECT_EQ(ascending[i].hash(5) == ascending[j].hash(5), i == j);
        }
    }
}

TEST(LagPhyIntfOutputKey, HashMixesTheInterfaceHashAndTheFlag) {
    IntfId const member("Ethernet4");
    for (std::uint32_t const seed : {0U, 0x6EA91963U}) {
        Qor::Hash expected(seed);
        expected.hashMix(member.hash());
        expected.hashMix(std::uint8_t{1});
        EXPECT_EQ(LagPhyIntfOutputKey(member, true).hash(seed), expected.result());
    }
}

TEST(LagPhyIntfOutputKey, RefusesWhatIsNotExactlyItsForm) {
    EXPECT_THAT(complaint<LagPhyIntfOutputKey>(lagPhyIntfText + " "), HasSubstr("the end"));
    std::string const text = lagPhyIntfText + "rest";
    Qor::CharRange range(text);
    EXPECT_EQ(LagPhyIntfOutputKey(range), LagPhyIntfOutputKey(IntfId("Ethernet4"), true));
    EXPECT_EQ(range.rest(), "rest");
    EXPECT_THAT(complaint<LagPhyIntfOutputKey>(replaced(lagPhyIntfText, "'Ethernet4'", "'x'")),
                StartsWith("k0: "));
    EXPECT_THAT(complaint<LagPhyIntfOutputKey>(replaced(lagPhyIntfText, "True", "yes")),
                StartsWith("k0Valid: "));
    EXPECT_THAT(complaint<LagPhyIntfOutputKey>(replaced(lagPhyIntfText, "'k0': ", "'k1': ")),
                HasSubstr("expected \"'k0': \""));
    EXPECT_THAT(complaint<LagPhyIntfOutputKey>(configIntfText), HasSubstr("expected \"Value('"));
}

} // namespace
} // namespace VlanSubIntfConfigLib
