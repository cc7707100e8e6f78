// Misuse of the generic interface: it answers with the typed exception or status, says what was
// wrong, and has changed nothing.
#include "tests/VlanSubIntfConfigLib/Reflected.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Arguments = TestSupport::Reflected::Arguments;
using Qor::Value;
using testing::HasSubstr;
using TestSupport::Outcome;
using TestSupport::Reflected;
using TestSupport::stateOf;

constexpr char const *absentConfigIntfKey =
    "Value('VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType', ** "
    "{'k0': 7, 'k1': 'Ethernet4.7', 'k0Valid': True, 'k1Valid': True})";
constexpr char const *absentLagPhyIntfKey =
    "Value('VlanSubIntfConfigLib::ConfigSm::"
    "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType', ** "
    "{'k0': 'Ethernet7', 'k0Valid': True})";

class ReflectionMisuse : public TestSupport::CensusTest {
  protected:
    ReflectionMisuse() : root_(world_.root()) {}
    ~ReflectionMisuse() override { Osk::TaskSchedulerRoot::schedulerDelForTest(); }

    /// The operation ends in `outcome`, whose message has `message` in it, and without effect.
    void expectRefused(Reflected target, int number, int code, Arguments const &arguments,
                       std::string const &outcome, std::string const &message) {
        SCOPED_TRACE(testing::Message() << "attribute " << number << " code " << code);
        auto const before = stateOf(world_.root());
        std::string const targetBefore = target.target().text();
        Outcome const actual = target.operate(number, code, arguments);
        EXPECT_EQ(actual.name, outcome) << actual.message;
        EXPECT_THAT(actual.message, HasSubstr(message));
        EXPECT_TRUE(actual.result.empty());
        EXPECT_EQ(target.target().text(), targetBefore);
        EXPECT_EQ(stateOf(world_.root()), before);
    }
    void expectRefused(int number, int code, Arguments const &arguments, std::string const &outcome,
                       std::string const &message) {
        expectRefused(root_, number, code, arguments, outcome, message);
    }

    static Value number(std::uint32_t value) { return Value::of(value); }
    static Value flag(bool value) { return Value::of(value); }
    [[nodiscard]] Reflected vlans() { return root_.at(136); }
    [[nodiscard]] Reflected lags() { return root_.at(135); }

    TestSupport::ReflectedWorld world_;
    Reflected root_;
};

TEST_F(ReflectionMisuse, AValueOfAnotherTypeIsATypeException) {
    expectRefused(156, 1, {number(1)}, "TypeException",
                  "VlanSubIntfConfigLib::ConfigSm.synchronous: wants bool, got uint32");
    expectRefused(156, 1, {Value()}, "TypeException", "wants bool, got nothing");
    expectRefused(159, 1, {number(1)}, "TypeException", "wants Osk::TaskPriority, got uint32");
    expectRefused(154, 1, {flag(true)}, "TypeException", "wants Quam::SmControl, got bool");
    expectRefused(148, 1, {root_.read(141)}, "TypeException", "OutputKeyType, got ");
    expectRefused(root_.at(133), 131, 1, {number(1)}, "TypeException", "wants bool, got uint32");
    expectRefused(root_.at(134), 135, 1, {number(1)}, "TypeException", "wants bool, got uint32");
    expectRefused(vlans(), 264, 1, {Value::of(world_.po10)}, "TypeException",
                  "wants Bridging::VlanId, got Iftel::IntfId");
    expectRefused(lags(), 264, 1, {Value::of(Bridging::VlanId(100))}, "TypeException",
                  "wants Iftel::IntfId, got Bridging::VlanId");
}

TEST_F(ReflectionMisuse, APointerToAnObjectOfAnotherTypeIsATypeException) {
    expectRefused(130, 1, {Value::of(world_.lagMapping)}, "TypeException",
                  "wants Bridging::Config, got Lag::LagPhyIntfMapping");
    expectRefused(130, 1, {flag(true)}, "TypeException", "wants Bridging::Config, got bool");
    expectRefused(133, 1, {world_.root()}, "TypeException",
                  "InputSmScanState, got VlanSubIntfConfigLib::ConfigSm");
    expectRefused(136, 1, {Value::of(world_.lagMapping)}, "TypeException",
                  "vlanConfigSm0: wants Bridging::Config, got Lag::LagPhyIntfMapping");
    expectRefused(138, 1, {Value::of(world_.dir)}, "TypeException",
                  "wants VlanSubIntfConfigLib::VlanSubIntf, got ");
    expectRefused(138, 0, {Value::of(world_.dir)}, "TypeException",
                  "wants VlanSubIntfConfigLib::VlanSubIntf, got ");
    expectRefused(139, 1, {Value::of(world_.dir)}, "TypeException",
                  "wants VlanSubIntfConfigLib::VlanSubIntf, got ");
    expectRefused(158, 1, {Value::of(world_.dir)}, "TypeException", "wants Osk::TaskScheduler, ");
    expectRefused(vlans(), 265, 1, {"100", Value::of(world_.bridging)}, "TypeException",
                  "wants Bridging::VlanConfig, got Bridging::Config");
}

TEST_F(ReflectionMisuse, AKeyOfAnotherTypeIsATypeException) {
    for (int const code : {0, 1, 2, 5}) {
        expectRefused(146, code, {flag(true)}, "TypeException", ", got bool");
        expectRefused(138, code, {flag(true)}, "TypeException", ", got bool");
        expectRefused(root_.at(170), 130, code, {Value::of(Bridging::VlanId(100))}, "TypeException",
                      "wants Iftel::IntfId, got Bridging::VlanId");
    }
    for (int const code : {0, 2, 5}) {
        expectRefused(vlans(), 265, code, {Value::of(world_.po10)}, "TypeException",
                      "childSm: wants Bridging::VlanId, got Iftel::IntfId");
    }
}

TEST_F(ReflectionMisuse, EveryWrongNumberOfArgumentsIsATypeException) {
    // Each attribute of everything that can be reached, each code that it takes: one argument too
    // many for any of them, and none where some are needed.
    Arguments const tooMany(Qor::Attribute::maxArguments + 1, flag(true));
    auto const before = stateOf(world_.root());
    std::size_t refused = 0;
    for (Reflected &at : TestSupport::reachable(world_.root())) {
        for (Qor::Attribute const &attribute : at.type().attributes()) {
            for (int const code : TestSupport::meaningfulCodes) {
                Outcome const outcome = at.operate(attribute.number, code, tooMany);
                bool const isAccepted = outcome.name != "notAccepted";
                EXPECT_EQ(outcome.name, isAccepted ? "TypeException" : "notAccepted")
                    << at.type().name() << '.' << attribute.name << " code " << code;
                refused += isAccepted;
            }
        }
    }
    EXPECT_GT(refused, 200U);
    EXPECT_EQ(stateOf(world_.root()), before);
}

TEST_F(ReflectionMisuse, MissingArgumentsAreATypeException) {
    expectRefused(156, 1, {}, "TypeException", "synchronous: wants 1 argument, got 0");
    expectRefused(156, 1, {flag(true), flag(true)}, "TypeException", "wants 1 argument, got 2");
    expectRefused(135, 1, {}, "TypeException", "wants 1 argument, got 0");
    expectRefused(134, 1, {flag(true)}, "TypeException", "wants 0 arguments, got 1");
    expectRefused(140, 1, {Value::of(world_.scheduler), "low"}, "TypeException",
                  "wants 3 arguments, got 2");
    for (int const code : {0, 1, 2, 5}) {
        expectRefused(146, code, {}, "TypeException", "wants 1 argument, got 0");
        expectRefused(138, code, {}, "TypeException", "wants 1 argument, got 0");
    }
    expectRefused(vlans(), 265, 1, {"100"}, "TypeException", "wants 2 arguments, got 1");
    expectRefused(vlans(), 266, 10, {}, "TypeException",
                  "handleVlanConfig: wants 1 argument, got 0");
    expectRefused(167, 10, {"100", "PortChannel10.100", "Ethernet1"}, "TypeException",
                  "eventToQuam_pipeline0: wants 4 arguments, got 3");
}

TEST_F(ReflectionMisuse, AMethodChecksEveryArgumentBeforeItIsCalled) {
    expectRefused(167, 10, {"100", "PortChannel10.100", "Ethernet1", number(0)}, "TypeException",
                  "wants bool, got uint32");
    expectRefused(168, 10, {"100", "PortChannel10.100", flag(true)}, "TypeException",
                  "wants Bridging::VlanPortConfig, got bool");
    expectRefused(169, 10, {"PortChannel10", "Ethernet1", Value::of(world_.scheduler)},
                  "TypeException", "wants Lag::EthPhyIntfLagConfig, got Osk::TaskScheduler");
    expectRefused(root_.at(133), 130, 10, {flag(true)}, "TypeException", "wants 0 arguments");
}

TEST_F(ReflectionMisuse, ANullPointerWhereNoneIsAllowedIsAnException) {
    std::string const exception = "MutatorArgNullPointerException";
    Value const null = Value::parse(Qor::valueTypeOf<Qor::ObjectPtr>, "null");
    expectRefused(135, 1, {null}, exception, "attribute 135: argument Lag::LagPhyIntfMapping");
    expectRefused(136, 1, {null}, exception, "attribute 136: argument Bridging::Config is null");
    expectRefused(140, 1, {null, "low", "x"}, exception, "attribute 140");
    expectRefused(147, 1, {null, "low", "x"}, exception, "attribute 147");
    for (Reflected const &parent : {vlans(), lags()}) {
        expectRefused(parent, 269, 1, {null, "low", "x"}, exception,
                      "attribute 269: argument Osk::TaskScheduler is null");
    }
    expectRefused(vlans(), 265, 1, {"100", null}, exception,
                  "VlanConfigSm0 attribute 265: argument en is null");
    expectRefused(lags(), 265, 1, {"PortChannel10", null}, exception,
                  "LagPhyIntfConfigSm2 attribute 265: argument en is null");
}

TEST_F(ReflectionMisuse, AKeyThatAnotherEntityHoldsIsNotGivenToASecond) {
    auto const otherConfig = Bridging::Config::ConfigIs();
    auto const otherVlan = otherConfig->vlanConfigIs(Bridging::VlanId(100));
    expectRefused(vlans(), 265, 1, {"100", Value::of(otherVlan)}, "MutatorReinstantiatingException",
                  "IntfSm1 attribute 258");
    auto const otherMapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    auto const otherLag = otherMapping->lagPhyIntfConfigIs(world_.po10);
    expectRefused(lags(), 265, 1, {"PortChannel10", Value::of(otherLag)},
                  "MutatorReinstantiatingException", "PhyIntfSm3 attribute 258");
}

TEST_F(ReflectionMisuse, AnEntityGoesUnderItsOwnKeyOnly) {
    auto const vlan100 = *world_.bridging->vlanConfig(Bridging::VlanId(100));
    expectRefused(vlans(), 265, 1, {"200", Value::of(vlan100)}, "TypeException",
                  "childSm: wants 200, got 100");
    expectRefused(vlans(), 265, 1, {"300", Value::of(vlan100)}, "TypeException",
                  "childSm: wants 300, got 100");
}

TEST_F(ReflectionMisuse, FalseCannotBeWrittenIntoASet) {
    Reflected coll = root_.at(138, {Value::of(world_.subIntf())});
    for (std::string const &marked : root_.keys(146)) {
        expectRefused(146, 1, {marked.c_str(), flag(false)}, "SetFalseValueException",
                      "ConfigSm.vlanSubIntfConfigDirConfigIntfOutputSeen: can be set but not");
    }
    expectRefused(146, 1, {absentConfigIntfKey, flag(false)}, "SetFalseValueException", "Seen");
    expectRefused(coll, 131, 1, {absentLagPhyIntfKey, flag(false)}, "SetFalseValueException",
                  "seen: can be set but not cleared");
    expectRefused(146, 1, {absentConfigIntfKey, number(1)}, "TypeException", "wants bool");
}

TEST_F(ReflectionMisuse, Code5NeedsTheEntry) {
    Reflected coll = root_.at(138, {Value::of(world_.subIntf())});
    auto const absent = Qor::make<VlanSubIntf>(world_.et4sub);
    std::string const exception = "BadOptionalAccess";
    expectRefused(138, 5, {Value::of(absent)}, exception, "");
    expectRefused(146, 5, {absentConfigIntfKey}, exception, "");
    expectRefused(coll, 131, 5, {absentLagPhyIntfKey}, exception, "");
    expectRefused(root_.at(170), 130, 5, {"PortChannel77"}, exception, "");
    expectRefused(vlans(), 265, 5, {"77"}, exception, "");
    expectRefused(lags(), 265, 5, {"PortChannel77"}, exception, "");
    expectRefused(root_.at(132), 130, 5, {"77"}, exception, "");
}

TEST_F(ReflectionMisuse, ReadingOrDeletingAnAbsentEntryIsNone) {
    auto const before = stateOf(world_.root());
    EXPECT_TRUE(vlans().read(265, {"77"}).empty());
    EXPECT_TRUE(root_.at(170).read(130, {"PortChannel77"}).empty());
    EXPECT_EQ(root_.text(146, {absentConfigIntfKey}), "false");
    EXPECT_EQ(vlans().del(265, {"77"}).text(), "null");
    EXPECT_EQ(root_.at(170).del(130, {"PortChannel77"}).text(), "null");
    root_.del(146, {absentConfigIntfKey});
    EXPECT_EQ(stateOf(world_.root()), before);
}

TEST_F(ReflectionMisuse, AMergeWithoutAnEntryIsABadOptionalAccess) {
    expectRefused(167, 10, {"77", "PortChannel10.77", "Ethernet1", "true"}, "BadOptionalAccess",
                  "");
    expectRefused(167, 10, {"100", "PortChannel10.77", "Ethernet1", "true"}, "BadOptionalAccess",
                  "");
}

TEST_F(ReflectionMisuse, AKeyIsNotChangedOrBuiltByWhatDoesNotFit) {
    Reflected const key = root_.at(148);
    Reflected const memberKey = root_.at(141);
    expectRefused(key, 0, 1, {Value::of(world_.po10)}, "TypeException",
                  "k0: wants Bridging::VlanId, got Iftel::IntfId");
    expectRefused(key, 2, 1, {number(1)}, "TypeException", "wants bool, got uint32");
    expectRefused(key, 4, 10, {memberKey.target()}, "TypeException", "operator<: wants ");
    expectRefused(memberKey, 2, 10, {key.target()}, "TypeException", "operator<: wants ");
    expectRefused(key, 4, 11, {Value::of(world_.po10)}, "TypeException",
                  "wants string, got Iftel::IntfId");
    expectRefused(key, 4, 11, {}, "TypeException", "wants 1 argument, got 0");
    expectRefused(key, 4, 11, {"nonsense"}, "RangeException", "Value('");
    expectRefused(key, 4, 11, {(std::string(absentConfigIntfKey) + ' ').c_str()}, "RangeException",
                  "");
    expectRefused(memberKey, 2, 11, {absentConfigIntfKey}, "RangeException", "LagPhyIntf");
    std::string badVlan = absentConfigIntfKey;
    badVlan.replace(badVlan.find("7,"), 1, "x");
    expectRefused(key, 4, 11, {badVlan.c_str()}, "RangeException", "k0");
}

TEST_F(ReflectionMisuse, WhatHostsOrMachinesWriteIsReadOnly) {
    Value const dir = root_.read(132);
    Reflected subIntf(Value::of(world_.subIntf()));
    for (int const code : {1, 2}) {
        expectRefused(Reflected(dir), 130, code, {Value::of(Bridging::VlanId(100))}, "notAccepted",
                      "");
        expectRefused(root_.at(130), 258, code, {}, "notAccepted", "");
        expectRefused(root_.at(131), 131, code, {}, "notAccepted", "");
        expectRefused(subIntf, 130, code, {flag(true)}, "notAccepted", "");
        expectRefused(subIntf, 131, code, {flag(true)}, "notAccepted", "");
    }
    auto const before = stateOf(world_.root());
    auto const walk = Qor::GenericIf::genericIfIterator(*dir.object(), 130);
    walk->iterDel();
    EXPECT_FALSE(walk->iterObj().empty());
    EXPECT_EQ(stateOf(world_.root()), before);
}

TEST_F(ReflectionMisuse, WhatHasNoAttributesHasNoNumbers) {
    for (Value const &target :
         {Value(), flag(true), Value::of(Qor::Ptr<ConfigSm>()), Value::of(Bridging::VlanId(100)),
          Value::of(Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs())}) {
        EXPECT_EQ(Reflected(target).operate(130, 0).name, "unknownAttribute") << target.text();
    }
    EXPECT_EQ(Qor::GenericIf::genericIfIterator(root_.object(), 156), nullptr);
    EXPECT_EQ(Qor::GenericIf::genericIfIterator(root_.object(), 999), nullptr);
}

} // namespace
} // namespace VlanSubIntfConfigLib
