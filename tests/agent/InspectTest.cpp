// `vlan-subintf inspect` as a user runs it: where commands come from, and what their failures do.
// What the commands print: tests/scenarios/.
#include "tests/agent/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class InspectTest : public testing::Test {
  protected:
    TempDir dir;

    static Program inspect(std::vector<std::string> const &further) {
        std::string const capture =
            std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/captures/small/";
        std::vector<std::string> arguments = {"inspect", "--links", capture + "links.json",
                                              "--vlans", capture + "vlans.json"};
        arguments.insert(arguments.end(), further.begin(), further.end());
        return Program(arguments);
    }
    static void expect(ProgramResult const &result, int status, std::string const &out,
                       std::string const &err) {
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.out, out);
        EXPECT_EQ(result.err, err);
    }
};

TEST_F(InspectTest, CommandsComeFromTheArgumentsWithASemicolonBetweenThem) {
    expect(inspect({"get", "ready", ";", ";", "size", "136/265", ";"}).run(), 0,
           "true\n13 entries, capacity 32\n", "");
}

TEST_F(InspectTest, AWordOfTheArgumentsStaysOneWord) {
    std::string const key = "Value('VlanSubIntfConfigLib::ConfigSm::"
                            "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType', ** {'k0': "
                            "'eth1', 'k0Valid': True})";
    expect(inspect({"set", "141", key, ";", "get", "141"}).run(), 0, key + "\n", "");
    expect(inspect({"get", "a \"b\\"}).run(), 1, "",
           "vlan-subintf: a \\\"b\\\\: VlanSubIntfConfigLib::ConfigSm has no attribute "
           "\"a \\\"b\\\\\"\n");
}

TEST_F(InspectTest, WhatFollowsTheFirstWordIsNoOption) {
    expect(inspect({"-j", "get", "-j"}).run(), 1, "",
           "vlan-subintf: -j: VlanSubIntfConfigLib::ConfigSm has no attribute \"-j\"\n");
}

TEST_F(InspectTest, AFailedCommandOfTheArgumentsEndsThem) {
    expect(inspect({"get", "ready", ";", "get", "redy", ";", "get", "ready"}).run(), 1, "true\n",
           "vlan-subintf: redy: VlanSubIntfConfigLib::ConfigSm has no attribute \"redy\"\n");
}

TEST_F(InspectTest, AScriptsFailureIsNamedByFileAndLineAndNothingIsDoneAfterIt) {
    std::string const script =
        dir.write("commands", "# first\nget ready\n\nget redy\nset 163 false\nget ready\n");
    expect(inspect({"--script", script}).run(), 1, "true\n",
           "vlan-subintf: " + script +
               ":4: redy: VlanSubIntfConfigLib::ConfigSm has no attribute \"redy\"\n");
}

TEST_F(InspectTest, AScriptThatCannotBeReadIsAnError) {
    expect(inspect({"--script", dir.file("none")}).run(), 1, "",
           "vlan-subintf: " + dir.file("none") + ": cannot be opened: No such file or directory\n");
    EXPECT_THAT(inspect({"--script", dir.file("")}).run().err, HasSubstr("Is a directory"));
}

TEST_F(InspectTest, WithoutCommandsTheyComeFromStandardInput) {
    expect(inspect({}).inputIs("get ready\nget idle").run(), 0, "true\ntrue\n", "");
    expect(inspect({"--script", "-"}).inputIs("get ready\n").run(), 0, "true\n", "");
    expect(inspect({}).inputIs("").run(), 0, "", "");
    expect(inspect({}).inputIs("get ready\nfrob\nget ready\n").run(), 1, "true\n",
           "vlan-subintf: standard input:2: no command \"frob\"; `help` lists them\n");
}

TEST_F(InspectTest, QuitEndsAScript) {
    expect(inspect({}).inputIs("get ready\nquit\nfrob\n").run(), 0, "true\n", "");
}

TEST_F(InspectTest, CommandsComeFromOnePlace) {
    ProgramResult const both = inspect({"--script", "x", "get", "ready"}).run();
    expect(both, 2, "",
           "vlan-subintf: commands come from the arguments or from --script\n"
           "Try `vlan-subintf inspect --help`.\n");
}

TEST_F(InspectTest, StandardInputCannotHoldInputsAndCommands) {
    ProgramResult const result = Program({"inspect", "--input", "-"}).inputIs("{}").run();
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("standard input (-) can be only one of the files"));
}

TEST_F(InspectTest, InputsMayComeFromStandardInputWhereCommandsDoNot) {
    std::string const native =
        readFile(std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/native/inputs.json");
    expect(Program({"inspect", "--input", "-", "get", "ready"}).inputIs(native).run(), 0, "true\n",
           "");
}

TEST_F(InspectTest, BadInputsEndItBeforeAnyCommand) {
    ProgramResult const result =
        Program({"inspect", "--input", dir.write("bad.json", "{"), "get", "ready"}).run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("vlan-subintf: " + dir.file("bad.json")));
}

TEST_F(InspectTest, OutputThatCannotBeWrittenIsAnError) {
    expect(inspect({"get", "ready"}).outputTo("/dev/full").run(), 1, "",
           "vlan-subintf: standard output: cannot write: No space left on device\n");
    EXPECT_EQ(inspect({"get", "ready"}).outputToClosedPipe().run().status, 1);
}

TEST_F(InspectTest, TheHelpListsEveryCommand) {
    std::string const help = Program({"inspect", "--help"}).run().out;
    for (char const *const command : {"types", "attrs", "get", "set", "del", "list", "size",
                                      "invoke", "run", "show", "trace", "census", "quit"}) {
        EXPECT_THAT(help, HasSubstr(command));
    }
    EXPECT_THAT(help, HasSubstr("136/265/[100]/266"));
    EXPECT_THAT(help, HasSubstr("Exit status"));
}

TEST_F(InspectTest, TheDocumentsSessionGoesAsItSays) {
    std::string const root = PROJECT_SOURCE_DIR_FOR_TESTS;
    std::string const scenario = readFile(root + "/tests/scenarios/documentation.txt");
    std::string const session = scenario.substr(scenario.find("\n> ") + 1);
    EXPECT_THAT(readFile(root + "/docs/inspect.md"), HasSubstr("```\n" + session + "```\n"));
}

} // namespace
} // namespace Agent
