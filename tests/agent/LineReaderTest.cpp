#include "agent/LineReader.h"

#include "agent/Error.h"
#include "tests/agent/MessageOf.h"
#include "tests/agent/TempDir.h"
#include "tests/agent/Terminal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace Agent {
namespace {

using testing::EndsWith;

TEST(LineReaderOfAFile, GivesLinesWithTheirPlaces) {
    TempDir const dir;
    std::string const path = dir.write("script", "one\n\n three \nlast");
    auto const lines = fileLines(path);
    EXPECT_EQ(lines->next(), "one");
    EXPECT_EQ(lines->place(), path + ":1: ");
    EXPECT_EQ(lines->next(), "");
    EXPECT_EQ(lines->next(), " three ");
    EXPECT_EQ(lines->place(), path + ":3: ");
    EXPECT_EQ(lines->next(), "last");
    EXPECT_EQ(lines->next(), std::nullopt);
    EXPECT_FALSE(lines->interactive());
}

TEST(LineReaderOfAFile, AnEmptyFileHasNoLines) {
    TempDir const dir;
    EXPECT_EQ(fileLines(dir.write("script", ""))->next(), std::nullopt);
}

TEST(LineReaderOfAFile, WhatCannotBeReadIsAnError) {
    TempDir const dir;
    EXPECT_EQ(messageOf([&] { static_cast<void>(fileLines(dir.file("none"))); }, dir.file("")),
              "none: cannot be opened: No such file or directory");
    auto const folder = fileLines(dir.file(""));
    EXPECT_THROW(static_cast<void>(folder->next()), Error);
}

class TerminalSession : public testing::Test {
  protected:
    static std::string capture(char const *file) {
        return std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/captures/small/" + file;
    }
    Terminal terminal{
        {"inspect", "--links", capture("links.json"), "--vlans", capture("vlans.json")}};

    void SetUp() override { ASSERT_TRUE(terminal.shows("vlan-subintf> ")) << terminal.screen(); }
    /// Type, see `answer` on lines of its own and the next prompt.
    void expectAnswer(std::string_view keys, std::string const &answer) {
        terminal.type(keys);
        ASSERT_TRUE(terminal.shows("\n" + answer + "\r\n")) << terminal.screen();
        ASSERT_TRUE(terminal.shows("vlan-subintf> ")) << terminal.screen();
    }
};

TEST_F(TerminalSession, ACommandIsAnswered) {
    expectAnswer("get ready\r", "true");
}

TEST_F(TerminalSession, TabCompletesCommandsAndPaths) {
    terminal.type("siz\tvlanCon\tchi\t");
    ASSERT_TRUE(terminal.shows("size vlanConfigSm0/childSm/")) << terminal.screen();
    expectAnswer("\r", "13 entries, capacity 32");
    terminal.type("get vlanConfigSm0/childSm/[1\tinputScanC\t");
    ASSERT_TRUE(terminal.shows("vlanConfigSm0/childSm/[100]/inputScanComplete "))
        << terminal.screen();
    expectAnswer("\r", "true");
    terminal.type("attrs 134/rea\t");
    ASSERT_TRUE(terminal.shows("134/ready ")) << terminal.screen();
    expectAnswer("\r", "134/ready: bool has no attributes");
    terminal.type("set 148/k0 @vlanC\tinputScanB\t");
    ASSERT_TRUE(terminal.shows("@vlanConfigSm0/inputScanBookmark ")) << terminal.screen();
}

TEST_F(TerminalSession, WhatCannotBeCompletedStaysAsItIs) {
    expectAnswer("get ready/\t\r", "true");
    expectAnswer("frob\t\r", "no command \"frob\"; `help` lists them");
}

TEST_F(TerminalSession, AFailedCommandDoesNotEndIt) {
    expectAnswer("get redy\r", "redy: VlanSubIntfConfigLib::ConfigSm has no attribute \"redy\"");
    expectAnswer("get ready\r", "true");
}

TEST_F(TerminalSession, TheArrowBringsTheLastLineBack) {
    expectAnswer("get idle\r", "true");
    expectAnswer("\x10\r", "true"); // control-P
}

TEST_F(TerminalSession, ControlDLeavesWithStatusZero) {
    expectAnswer("get ready\r", "true");
    terminal.type("\x04");
    EXPECT_EQ(terminal.exitStatus(), 0);
    EXPECT_THAT(terminal.screen(), EndsWith("\r\n"));
}

TEST_F(TerminalSession, QuitLeavesWithStatusZero) {
    terminal.type("quit\r");
    EXPECT_EQ(terminal.exitStatus(), 0);
}

} // namespace
} // namespace Agent
