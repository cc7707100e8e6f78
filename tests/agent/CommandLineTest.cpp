#include "agent/CommandLine.h"

#include "tests/agent/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

ProgramResult run(std::vector<std::string> arguments) {
    return Program(std::move(arguments)).run();
}

TEST(CommandLine, HelpHasExamplesOnStandardOutput) {
    ProgramResult const result = run({"derive", "--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, AllOf(HasSubstr("--links"), HasSubstr("--vlans"), HasSubstr("--input"),
                                  HasSubstr("--previous"), HasSubstr("--sync"),
                                  HasSubstr("--trace"), HasSubstr("Exit status")));
    EXPECT_THAT(result.out,
                HasSubstr("vlan-subintf derive --links links.json --vlans vlans.json\n"));
    EXPECT_THAT(run({"--help"}).out, HasSubstr("derive"));
}

TEST(CommandLine, TheVersionIsPrinted) {
    ProgramResult const result = run({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, MatchesRegex("vlan-subintf [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(CommandLine, HelpThatCannotBeWrittenFails) {
    ProgramResult const result = Program({"derive", "--help"}).outputTo("/dev/full").run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "vlan-subintf: standard output: cannot write: No space left on device\n");
}

struct WrongUsage {
    std::vector<std::string> arguments;
    std::string message;
};

class CommandLineUsage : public testing::TestWithParam<WrongUsage> {};

TEST_P(CommandLineUsage, WrongUsageIsStatus2WithAMessageAndNoOutput) {
    ProgramResult const result = run(GetParam().arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("vlan-subintf: " + GetParam().message));
    EXPECT_THAT(result.err, HasSubstr("--help"));
}

INSTANTIATE_TEST_SUITE_P(
    All, CommandLineUsage,
    testing::Values(
        WrongUsage{{}, "A subcommand is required"},
        WrongUsage{{"deride"}, "there is no subcommand deride"},
        WrongUsage{{"derive"}, "--links and --vlans, or --input, must be given"},
        WrongUsage{{"derive", "--links", "a"}, "--links and --vlans, or --input, must be given"},
        WrongUsage{{"derive", "--vlans", "a"}, "--links and --vlans, or --input, must be given"},
        WrongUsage{{"derive", "--links", "a", "--vlans", "b", "--input", "c"},
                   "--input stands instead of --links and --vlans"},
        WrongUsage{{"derive", "--links", "-", "--vlans", "-"},
                   "standard input (-) can be only one of the files"},
        WrongUsage{{"derive", "--input", "-", "--previous", "-"},
                   "standard input (-) can be only one of the files"},
        WrongUsage{{"derive", "--input", ""}, "--input: expected a file name"},
        WrongUsage{{"derive", "--input"}, "--input: 1 required FILE missing"},
        WrongUsage{{"derive", "--input", "a", "--trace", "10-20"},
                   "--trace: expected levels from 0 to 15, such as 9 or 6-9, found \"10-20\""},
        WrongUsage{{"derive", "--input", "a", "--share", "0"},
                   "--share: expected a number from 1 to 18446744073709551615, found \"0\""},
        WrongUsage{{"derive", "--input", "a", "--share", "x"},
                   "--share: expected a number from 1 to 18446744073709551615, found \"x\""},
        WrongUsage{{"derive", "--input", "a", "--share", "00"},
                   "--share: expected a number from 1 to 18446744073709551615 without zeros in "
                   "front, found \"00\""},
        WrongUsage{{"inspect", "--input", "a", "--share", "0x10"},
                   "--share: expected a number from 1 to 18446744073709551615 without zeros in "
                   "front, found \"0x10\""},
        WrongUsage{{"agent", "--share", "010"},
                   "--share: expected a number from 1 to 1000 without zeros in front, found "
                   "\"010\""},
        WrongUsage{{"agent", "--receive-buffer", "0100000"},
                   "--receive-buffer: expected a number from 1 to 1073741824 without zeros in "
                   "front, found \"0100000\""},
        WrongUsage{{"show", "--vlan", "0100"},
                   "--vlan: expected a VLAN number from 1 to 4094, found \"0100\""},
        WrongUsage{{"explain", "bond0", "010"},
                   "VLAN: expected a VLAN number from 1 to 4094, found \"010\""},
        WrongUsage{{"derive", "--input", "a", "b"}, "The following argument was not expected: b"},
        WrongUsage{{"derive", "--bogus"}, "The following argument was not expected: --bogus"}));

} // namespace
} // namespace Agent
