// Which attribute of which generated type takes which codes, written out once more: numbers, names
// and codes are an interface, and what is not listed here is not accepted.
#include "tests/VlanSubIntfConfigLib/Reflected.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Arguments = TestSupport::Reflected::Arguments;
using Qor::Value;
using TestSupport::meaningfulCodes;
using TestSupport::Outcome;
using TestSupport::probedCodes;
using TestSupport::Reflected;
using TestSupport::stateOf;
using World = TestSupport::ReflectedWorld;

/// The arguments with which a code must succeed.
using Given = std::function<Arguments(World const &)>;
using Codes = std::map<int, Given>;

struct Row {
    int number;
    std::string name;
    Codes codes;
};

struct TypeRows {
    std::string type;
    std::vector<Row> rows;
};

void PrintTo(TypeRows const &rows, std::ostream *out) {
    *out << rows.type;
}

Given texts(Arguments arguments = {}) {
    return [arguments](World const &) { return arguments; };
}
template <class Member> Given part(Member World::*member) {
    return [member](World const &world) { return Arguments{Value::of(world.*member)}; };
}
Given subIntf() {
    return [](World const &world) { return Arguments{Value::of(world.subIntf())}; };
}
Given newTask() {
    return [](World const &world) {
        return Arguments{Value::of(world.scheduler), "high", "a task"};
    };
}

Codes readOnly() {
    return {{0, texts()}};
}
Codes computed() {
    return {{10, texts()}};
}
Codes method(Arguments const &arguments = {}) {
    return {{10, texts(arguments)}};
}
Codes writable(char const *value) {
    return {{0, texts()}, {1, texts({value})}};
}
Codes flag() {
    return writable("true");
}
Codes pointer(Given const &write) {
    return {{0, texts()}, {1, write}, {2, texts()}};
}
Codes collection(Given const &key, Given const &write) {
    return {{0, key}, {1, write}, {2, key}, {3, texts()}, {4, texts()}, {5, key}};
}
Codes orderAndText(char const *text) {
    return {{10, texts({text})}, {11, texts({text})}};
}

constexpr char const *configIntfKey =
    "Value('VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType', ** "
    "{'k0': 100, 'k1': 'PortChannel10.100', 'k0Valid': True, 'k1Valid': True})";
constexpr char const *lagPhyIntfKey =
    "Value('VlanSubIntfConfigLib::ConfigSm::"
    "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType', ** "
    "{'k0': 'Ethernet1', 'k0Valid': True})";

TypeRows configSm() {
    auto const newScanState = [](World const &) {
        return Arguments{Value::of(Qor::make<ConfigSm::InputSmScanState>())};
    };
    return {
        "VlanSubIntfConfigLib::ConfigSm",
        {{130, "bridgingConfig", pointer(part(&World::bridging))},
         {131, "lagPhyIntfMapping", pointer(part(&World::lagMapping))},
         {132, "vlanSubIntfConfigDir", pointer(part(&World::dir))},
         {133, "inputSmScanState", pointer(newScanState)},
         {134, "outputState", pointer(texts())},
         {135, "lagPhyIntfConfigSm2", pointer(part(&World::lagMapping))},
         {136, "vlanConfigSm0", pointer(part(&World::bridging))},
         {137, "handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady", method()},
         {138, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen",
          collection(subIntf(), subIntf())},
         {139, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrBookmark", pointer(subIntf())},
         {140, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask",
          pointer(newTask())},
         {141, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputBookmark",
          writable(lagPhyIntfKey)},
         {142, "handleLagVlanStatusIntfToVlanMapOutputInputReady", method()},
         {143, "handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady",
          method()},
         {144, "handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady", method()},
         {145, "handleVlanSubIntfConfigDirConfigIntfOutputInputReady", method()},
         {146, "vlanSubIntfConfigDirConfigIntfOutputSeen",
          collection(texts({configIntfKey}), texts({configIntfKey}))},
         {147, "vlanSubIntfConfigDirConfigIntfOutputReconciliationTask", pointer(newTask())},
         {148, "vlanSubIntfConfigDirConfigIntfOutputBookmark", writable(configIntfKey)},
         {149, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling", flag()},
         {150, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputUseBookmark", flag()},
         {151, "vlanSubIntfConfigDirConfigIntfOutputReconciling", flag()},
         {152, "vlanSubIntfConfigDirConfigIntfOutputUseBookmark", flag()},
         {153, "doDeleteAll", method()},
         {154,
          "dovraControl",
          {{0, texts()},
           {1, [](World const &) { return Arguments{Value::of(Quam::SmControl())}; }}}},
         {155, "codefEnabled", readOnly()},
         {156, "synchronous", flag()},
         {157, "defaultSynchronous", readOnly()},
         {158, "scheduler", pointer(part(&World::scheduler))},
         {159, "priority", writable("low")},
         {160, "version", readOnly()},
         {161, "idle", computed()},
         {162, "ready", computed()},
         {163, "initialScanDone", flag()},
         {164, "handleInitialScanDone", method()},
         {165, "initialized", flag()},
         {166, "handleInitialized", method()},
         {167, "eventToQuam_pipeline0", method({"100", "PortChannel10.100", "Ethernet1", "true"})},
         {168, "eventToVlanConfigStream", method({"100", "PortChannel10.100", "None"})},
         {169, "eventToLagUpdateStream", method({"PortChannel10", "Ethernet1", "null"})},
         {170, "localAttrStore", pointer(texts())}}};
}

TypeRows seenColl() {
    return {"VlanSubIntfConfigLib::ConfigSm::"
            "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputCollType",
            {{130, "vlanSubIntf", readOnly()},
             {131, "seen", collection(texts({lagPhyIntfKey}), texts({lagPhyIntfKey}))}}};
}

TypeRows configIntfOutputKey() {
    return {"VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType",
            {{0, "k0", writable("100")},
             {1, "k1", writable("Ethernet4.20")},
             {2, "k0Valid", flag()},
             {3, "k1Valid", flag()},
             {4, "operator<", orderAndText(configIntfKey)}}};
}

TypeRows lagPhyIntfOutputKey() {
    return {"VlanSubIntfConfigLib::ConfigSm::"
            "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType",
            {{0, "k0", writable("Ethernet4")},
             {1, "k0Valid", flag()},
             {2, "operator<", orderAndText(lagPhyIntfKey)}}};
}

TypeRows inputSmScanState() {
    return {"VlanSubIntfConfigLib::DovraCode::ConfigSm::InputSmScanState",
            {{130, "handleIdle", method()},
             {131, "lagUpdateStreamScan", flag()},
             {132, "vlanConfigStreamScan", flag()},
             {133, "idle", flag()}}};
}

TypeRows outputState() {
    return {"VlanSubIntfConfigLib::DovraCode::ConfigSm::OutputState",
            {{130, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReady", flag()},
             {131, "lagVlanStatusIntfToVlanMapOutputReady", flag()},
             {132, "vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReady", flag()},
             {133, "vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReady", flag()},
             {134, "vlanSubIntfConfigDirConfigIntfOutputReady", flag()},
             {135, "ready", flag()},
             {136, "handleReady", method()}}};
}

TypeRows localAttrStore() {
    auto const key = texts({"PortChannel10"});
    return {"VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore",
            {{130, "lagVlanStatus", collection(key, key)}}};
}

TypeRows localAttr() {
    return {"VlanSubIntfConfigLib::DovraCode::ConfigSm::"
            "LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr",
            {{130, "key", readOnly()}, {131, "value", pointer(texts())}}};
}

/// The two parents differ in names and keys only.
TypeRows inputParent(std::string const &name, std::string const &handler, char const *key,
                     Given const &child) {
    return {"VlanSubIntfConfigLib::DovraCode::ConfigSm::" + name,
            {{258, "en", readOnly()},
             {259, "root", readOnly()},
             {260, "parent", readOnly()},
             {261, "scanState", readOnly()},
             {262, "inputScanComplete", computed()},
             {263, "doDeleteAll", method()},
             {264, "inputScanBookmark", writable(key)},
             {265, "childSm", collection(texts({key}), child)},
             {266, handler, method({key})},
             {267, handler + "Reactor", method({key})},
             {268, "scanning", readOnly()},
             {269, "task", pointer(newTask())}}};
}

TypeRows inputChild(std::string const &name, std::string const &handler, char const *key) {
    return {"VlanSubIntfConfigLib::DovraCode::ConfigSm::" + name,
            {{258, "en", readOnly()},
             {259, "root", readOnly()},
             {260, "parent", readOnly()},
             {261, "scanState", readOnly()},
             {262, "inputScanComplete", computed()},
             {263, "doDeleteAll", method()},
             {264, "inputScanBookmark", writable(key)},
             {265, "intfVersionSeen", readOnly()},
             {266, handler, method({key})},
             {267, handler + "Reactor", method({key})}}};
}

std::vector<TypeRows> generatedTypes() {
    auto const vlan = [](World const &world) {
        return Arguments{"100", Value::of(*world.bridging->vlanConfig(Bridging::VlanId(100)))};
    };
    auto const lag = [](World const &world) {
        return Arguments{"PortChannel10",
                         Value::of(*world.lagMapping->lagPhyIntfConfig(world.po10))};
    };
    return {configSm(),
            seenColl(),
            configIntfOutputKey(),
            lagPhyIntfOutputKey(),
            inputSmScanState(),
            outputState(),
            localAttrStore(),
            localAttr(),
            inputParent("VlanConfigSm0", "handleVlanConfig", "100", vlan),
            inputParent("LagPhyIntfConfigSm2", "handleLagPhyIntfConfig", "PortChannel10", lag),
            inputChild("IntfSm1", "handleIntf", "PortChannel10.100"),
            inputChild("PhyIntfSm3", "handlePhyIntf", "Ethernet1")};
}

class ReflectionCodes : public TestSupport::CensusTest,
                        public testing::WithParamInterface<TypeRows> {
  protected:
    ~ReflectionCodes() override { Osk::TaskSchedulerRoot::schedulerDelForTest(); }
};

TEST_P(ReflectionCodes, NumbersAndNamesAreThoseOfTheInterface) {
    std::vector<std::pair<int, std::string>> expected;
    for (Row const &row : GetParam().rows) {
        expected.emplace_back(row.number, row.name);
    }
    std::vector<std::pair<int, std::string>> actual;
    World const world;
    for (Qor::Attribute const &attribute : world.first(GetParam().type).type().attributes()) {
        actual.emplace_back(attribute.number, attribute.name);
    }
    EXPECT_EQ(actual, expected);
}

TEST_P(ReflectionCodes, EveryListedCodeIsDone) {
    for (Row const &row : GetParam().rows) {
        for (auto const &[code, given] : row.codes) {
            World const world;
            Outcome const outcome =
                world.first(GetParam().type).operate(row.number, code, given(world));
            EXPECT_EQ(outcome.name, "done") << row.name << " code " << code << ": " << outcome;
        }
    }
}

TEST_P(ReflectionCodes, AnyOtherCodeIsNotAcceptedAndDoesNothing) {
    World const world;
    Reflected at = world.first(GetParam().type);
    auto const before = stateOf(world.root());
    for (Row const &row : GetParam().rows) {
        for (int const code : probedCodes) {
            if (row.codes.contains(code)) {
                continue;
            }
            for (Arguments const &arguments : {Arguments{}, Arguments{Value::of(true)}}) {
                Outcome const outcome = at.operate(row.number, code, arguments);
                EXPECT_EQ(outcome.name, "notAccepted") << row.name << " code " << code;
                EXPECT_TRUE(outcome.result.empty()) << row.name << " code " << code;
            }
        }
    }
    EXPECT_EQ(stateOf(world.root()), before);
}

TEST_P(ReflectionCodes, AnyOtherNumberIsUnknownAndDoesNothing) {
    World const world;
    Reflected at = world.first(GetParam().type);
    auto const before = stateOf(world.root());
    for (int number = -1; number < 300; ++number) {
        bool const isListed = std::ranges::count(GetParam().rows, number, &Row::number) != 0;
        EXPECT_EQ(Qor::GenericIf::attribute(at.type(), number) != nullptr, isListed) << number;
        for (int const code : meaningfulCodes) {
            if (!isListed) {
                EXPECT_EQ(at.operate(number, code).name, "unknownAttribute") << number;
            }
        }
    }
    EXPECT_EQ(stateOf(world.root()), before);
}

std::string lastName(testing::TestParamInfo<TypeRows> const &tested) {
    return tested.param.type.substr(tested.param.type.rfind(':') + 1);
}
INSTANTIATE_TEST_SUITE_P(Types, ReflectionCodes, testing::ValuesIn(generatedTypes()), lastName);

TEST(ReflectionCodesTable, CoversEveryTypeOfTheModule) {
    std::vector<std::string> listed;
    for (TypeRows const &rows : generatedTypes()) {
        listed.push_back(rows.type);
    }
    std::vector<std::string> registered;
    for (Qor::Module const *const module : Qor::modules()) {
        // The directory's entities are a module of the platform that shares the namespace.
        if (module->name == "VlanSubIntfConfigLib") {
            for (Qor::TypeImpl const *const type : module->types) {
                registered.emplace_back(type->name());
            }
        }
    }
    EXPECT_THAT(listed, testing::UnorderedElementsAreArray(registered));
}

} // namespace
} // namespace VlanSubIntfConfigLib
