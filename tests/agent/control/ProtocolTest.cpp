#include "agent/control/Protocol.h"

#include "tests/agent/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Agent {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string refusalOf(std::string_view line) {
    return messageOf([&] { ControlRequest const request(line); });
}

TEST(ControlRequest, HasItsNameAndParameters) {
    ControlRequest const request(
        R"({"request": "show", "version": 1, "vlan": 100, "intf": "bond0.100"})");
    EXPECT_EQ(request.name(), "show");
    EXPECT_EQ(request.vlan("vlan"), 100);
    EXPECT_EQ(request.text("intf"), "bond0.100");
    EXPECT_EQ(request.text("lag"), std::nullopt);
    EXPECT_EQ(request.vlan("other"), std::nullopt);
}

TEST(ControlRequest, RefusesWhatIsNoJson) {
    EXPECT_THAT(refusalOf(""), StartsWith("the request is not JSON: parse error at line 1"));
    EXPECT_THAT(refusalOf("{\"version\": 1"), HasSubstr("not JSON"));
    EXPECT_THAT(refusalOf("{} {}"), HasSubstr("not JSON"));
    EXPECT_THAT(refusalOf(R"({"version": 1e999})"), HasSubstr("not JSON"));
}

TEST(ControlRequest, RefusesWhatIsNotUtf8WithAPrintableMessage) {
    std::string const message = refusalOf("{\"request\": \"\xff\x1b\"}");
    EXPECT_THAT(message, HasSubstr("not JSON"));
    EXPECT_EQ(message.find('\x1b'), std::string::npos);
}

TEST(ControlRequest, RefusesWhatIsNoObject) {
    EXPECT_EQ(refusalOf("[1]"), "expected a request, an object, found an array");
    EXPECT_EQ(refusalOf("7"), "expected a request, an object, found 7");
}

TEST(ControlRequest, RefusesDeepNesting) {
    std::string const deep = std::string(30'000, '[') + std::string(30'000, ']');
    EXPECT_EQ(refusalOf(deep), "the request is nested deeper than 8 levels");
    EXPECT_EQ(refusalOf("{\"version\":1,\"request\":\"a\",\"x\":[[[[[[[1]]]]]]]}"), "no error");
}

TEST(ControlRequest, RefusesAnotherVersion) {
    EXPECT_EQ(refusalOf(R"({"request": "show"})"), "the request has no version, expected 1");
    EXPECT_EQ(refusalOf(R"({"request": "show", "version": 2})"), "version: expected 1, found 2");
    EXPECT_EQ(refusalOf(R"({"request": "show", "version": "1"})"),
              "version: expected 1, found \"1\"");
}

TEST(ControlRequest, RefusesAMissingOrWrongName) {
    EXPECT_EQ(refusalOf(R"({"version": 1})"), "request is missing");
    EXPECT_EQ(refusalOf(R"({"version": 1, "request": 5})"), "request: expected a text, found 5");
    EXPECT_EQ(refusalOf(R"({"version": 1, "request": ""})"),
              "request: expected a text, found \"\"");
}

TEST(ControlRequest, RefusesAParameterThatIsNotAllowed) {
    ControlRequest const request(R"({"version": 1, "request": "show", "vlans": 1})");
    EXPECT_EQ(messageOf([&] { request.allowOnly({"vlan"}); }), "show has no parameter \"vlans\"");
    EXPECT_EQ(messageOf([&] { request.allowOnly({"vlan", "vlans"}); }), "no error");
}

class ControlRequestVlan : public testing::TestWithParam<char const *> {};

TEST_P(ControlRequestVlan, IsRefusedUnlessItIsANumberOfAVlan) {
    ControlRequest const request(std::string(R"({"version": 1, "request": "show", "vlan": )") +
                                 GetParam() + "}");
    EXPECT_THAT(messageOf([&] { static_cast<void>(request.vlan("vlan")); }),
                StartsWith("vlan: expected a VLAN number from 1 to 4094, found "));
}

INSTANTIATE_TEST_SUITE_P(All, ControlRequestVlan,
                         testing::Values("0", "4095", "-1", "1.5", "\"7\"", "null", "[1]", "true",
                                         "18446744073709551615", "65637"));

TEST(LastLine, SaysStatusAndMessage) {
    EXPECT_EQ(lastLine({}), R"({"status":"done","version":1})");
    EXPECT_EQ(lastLine(failed("no \xff")),
              "{\"message\":\"no \xEF\xBF\xBD\",\"status\":\"failed\",\"version\":1}");
    EXPECT_EQ(lastLine({Status::differs, "m", {{"ready", false}}}),
              R"({"message":"m","ready":false,"status":"differs","version":1})");
}

TEST(LastLine, StatusWordsAreReadBack) {
    for (Status const status : {Status::done, Status::failed, Status::differs}) {
        EXPECT_EQ(statusOf(statusWord(status)), status);
    }
    EXPECT_EQ(statusOf("ready"), std::nullopt);
}

} // namespace
} // namespace Agent
