#include "agent/AttributeView.h"

#include "agent/AttributePath.h"
#include "tests/agent/SmallMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace Agent {
namespace {

using Qor::Value;

class AttributeViewTest : public SmallMachine {
  protected:
    [[nodiscard]] Value at(std::string_view path) const {
        return AttributePath(Value::of(run.machine), path).read();
    }
    [[nodiscard]] std::vector<std::string> keysAt(std::string_view path) const {
        auto const walk = AttributePath(Value::of(run.machine), path).walk();
        std::vector<std::string> keys;
        for (Entry const &entry : entriesOf(*walk)) {
            keys.push_back(entry.key);
        }
        return keys;
    }
};

TEST_F(AttributeViewTest, FlagsAndNumbersAreJsonsOwn) {
    EXPECT_EQ(jsonOf(Value::of(true)), Json(true));
    EXPECT_EQ(jsonOf(Value::of(std::uint32_t{7})), Json(7));
    EXPECT_EQ(jsonOf(Value::of(std::uint64_t{1} << 40)), Json(std::uint64_t{1} << 40));
    EXPECT_EQ(jsonOf(Value::of(Bridging::VlanId(7))), Json("7"));
}

TEST_F(AttributeViewTest, NothingAndNullPointersAreNull) {
    EXPECT_EQ(jsonOf(Value()), Json(nullptr));
    EXPECT_EQ(jsonOf(at("139")), Json(nullptr));
    EXPECT_EQ(jsonOf(at("136")), Json("VlanSubIntfConfigLib::DovraCode::ConfigSm::VlanConfigSm0"));
}

TEST_F(AttributeViewTest, EntriesComeInNaturalOrderOfTheirKeys) {
    EXPECT_THAT(keysAt("136/265"),
                testing::ElementsAre("100", "200", "300", "400", "401", "402", "403", "404", "405",
                                     "406", "407", "408", "409"));
    EXPECT_THAT(keysAt("132/130/[100]/130"),
                testing::ElementsAre("bond0.100", "bond1.100", "eth5.100", "eth6.300"));
}

TEST_F(AttributeViewTest, ATreeHoldsCollectionsAndValuesAndSetsAsLists) {
    EXPECT_EQ(treeOf(at("132/130/[200]")), Json::parse(R"({"intf": {"bond0.200": {
        "lagPhyIntf": ["eth1", "eth2"], "tagOnEgress": false, "allowedTrafficDirection": "both"}}})"));
    EXPECT_EQ(treeOf(at("ready")), Json(true));
    EXPECT_EQ(treeOf(at("139")), Json(nullptr));
}

TEST_F(AttributeViewTest, ATreeForPeopleIsIndentedAndShowsNoControlCharacters) {
    std::string text = "before\n";
    appendTree(text, Json::parse(R"({"a\u001b": {"set": ["x", "y\n"], "empty": [], "n": 1}})"), 1);
    EXPECT_EQ(text, "before\n"
                    "  a\\u001b\n"
                    "    set: x y\\n\n"
                    "    empty:\n"
                    "    n: 1\n");
}

} // namespace
} // namespace Agent
