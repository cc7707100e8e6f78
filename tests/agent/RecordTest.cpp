#include "agent/Record.h"

#include "tests/agent/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using nlohmann::json;
using testing::ElementsAre;

class RecordTest : public testing::Test {
  protected:
    RecordOrigin const origin{"f.json", [] { return std::string("$[3]"); }};
    json object;

    Record record(char const *text) {
        object = json::parse(text);
        return {object, origin, object.empty()};
    }
};

TEST_F(RecordTest, MembersAreReadByTheirTypes) {
    Record const r = record(R"({"n":"eth1","b":true,"i":7,"v":4094})");
    EXPECT_EQ(r.name("n"), "eth1");
    EXPECT_TRUE(r.boolean("b"));
    EXPECT_EQ(r.integer("i", 0, 9, "a digit"), 7);
    EXPECT_EQ(r.vlan("v"), 4094);
    EXPECT_EQ(r.path(), "$[3]");
}

TEST_F(RecordTest, OptionalMembersMayBeMissingOrNull) {
    Record const r = record(R"({"x":null})");
    for (char const *member : {"x", "y"}) {
        EXPECT_EQ(r.stringIf(member), nullptr);
        EXPECT_FALSE(r.integerIf(member));
        EXPECT_FALSE(r.recordIf(member));
        r.stringsIf(member, [](std::string const &) { FAIL(); });
    }
}

TEST_F(RecordTest, StringsComeInTheirOrder) {
    std::vector<std::string> strings;
    record(R"({"s":["b","a"]})").stringsIf("s", [&](std::string const &s) {
        strings.push_back(s);
    });
    EXPECT_THAT(strings, ElementsAre("b", "a"));
}

TEST_F(RecordTest, AMissingMemberIsNamedWithWhatWasExpected) {
    Record const r = record("{}");
    EXPECT_EQ(messageOf([&] { static_cast<void>(r.name("n")); }),
              "f.json: $[3].n: expected a name, but the member is missing");
    EXPECT_EQ(messageOf([&] { r.need("n"); }),
              "f.json: $[3].n: expected a value, but the member is missing");
}

TEST_F(RecordTest, AWrongTypeIsNamedWithItsValue) {
    Record const r = record(R"({"a":1,"b":"x","c":{},"d":""})");
    EXPECT_EQ(messageOf([&] { static_cast<void>(r.name("a")); }),
              "f.json: $[3].a: expected a name, found 1");
    EXPECT_EQ(messageOf([&] { static_cast<void>(r.name("d")); }),
              "f.json: $[3].d: expected a name, found \"\"");
    EXPECT_EQ(messageOf([&] { static_cast<void>(r.boolean("a")); }),
              "f.json: $[3].a: expected true or false, found 1");
    EXPECT_EQ(messageOf([&] { static_cast<void>(r.stringIf("c")); }),
              "f.json: $[3].c: expected a string, found an object");
    EXPECT_EQ(messageOf([&] { static_cast<void>(r.integerIf("b")); }),
              "f.json: $[3].b: expected a whole number, found \"x\"");
    EXPECT_EQ(messageOf([&] { static_cast<void>(r.recordIf("b")); }),
              "f.json: $[3].b: expected an object, found \"x\"");
    EXPECT_EQ(messageOf([&] { r.stringsIf("b", [](std::string const &) {}); }),
              "f.json: $[3].b: expected an array of strings, found \"x\"");
}

TEST_F(RecordTest, AWrongElementIsNamedWithItsIndex) {
    Record const r = record(R"({"s":["a",2]})");
    EXPECT_EQ(messageOf([&] { r.stringsIf("s", [](std::string const &) {}); }),
              "f.json: $[3].s[1]: expected a string, found 2");
}

TEST_F(RecordTest, AVlanNumberIsWholeAndFrom1To4094) {
    for (char const *value :
         {"0", "4095", "-1", "65636", "100.5", "1e2", "18446744073709551615", "\"100\"", "null"}) {
        std::string const text = std::string(R"({"v":)") + value + "}";
        Record const r = record(text.c_str());
        EXPECT_THAT(
            messageOf([&] { static_cast<void>(r.vlan("v")); }),
            testing::StartsWith("f.json: $[3].v: expected a VLAN number from 1 to 4094, found "))
            << value;
    }
}

TEST_F(RecordTest, AnotherVersionIsRefused) {
    Record const r = record(R"({"version":2})");
    EXPECT_EQ(messageOf([&] { r.needVersion(1); }),
              "f.json: $[3].version: expected version 1 of the format, found 2");
}

TEST_F(RecordTest, AnInnerRecordKnowsItsPath) {
    Record const r = record(R"({"linkinfo":{"info_kind":5}})");
    EXPECT_EQ(messageOf([&] { static_cast<void>(r.recordIf("linkinfo")->stringIf("info_kind")); }),
              "f.json: $[3].linkinfo.info_kind: expected a string, found 5");
}

} // namespace
} // namespace Agent
