// `vlan-subintf derive` as a user runs it, on files with known answers.
#include "tests/agent/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace Agent {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

std::string example(std::string const &path) {
    return std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/" + path;
}
std::string data(std::string const &path) {
    return std::string(TEST_DATA_DIR) + "/" + path;
}

std::vector<std::string> captureArguments(std::string const &capture) {
    return {"derive", "--links", example("captures/" + capture + "/links.json"), "--vlans",
            example("captures/" + capture + "/vlans.json")};
}

class DeriveProgramTest : public testing::Test {
  protected:
    TempDir dir;

    /// Run on the capture `small`, with further arguments.
    static Program small(std::vector<std::string> const &further) {
        auto arguments = captureArguments("small");
        arguments.insert(arguments.end(), further.begin(), further.end());
        return Program(arguments);
    }
    static std::string smallDocument() { return small({"-j"}).run().out; }
};

TEST_F(DeriveProgramTest, ASwitchWithSubinterfacesGivesTheirDocument) {
    ProgramResult const result = small({"-j"}).run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(json::parse(result.out), json::parse(readFile(data("small.output.json"))));
}

TEST_F(DeriveProgramTest, ASwitchWithoutSubinterfacesGivesAnEmptyDocument) {
    auto arguments = captureArguments("trunk");
    arguments.emplace_back("--json");
    ProgramResult const result = Program(arguments).run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(json::parse(result.out),
              json::parse(R"({"version": 1, "ready": true, "config": []})"));
}

TEST_F(DeriveProgramTest, TheTableShowsTheSameToPeople) {
    ProgramResult const result = small({}).run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, StartsWith("VLAN  SUBINTERFACE  EGRESS    DIRECTION  LAG MEMBERS\n"
                                       " 100  bond0.100     untagged  both       eth1 eth2\n"
                                       " 100  bond1.100     tagged    both       eth3 eth4\n"
                                       " 100  eth5.100      untagged  none       -\n"));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 17);
}

TEST_F(DeriveProgramTest, WhereNothingIsDerivedTheTableIsEmptyAndStandardErrorSaysSo) {
    ProgramResult const result = Program(captureArguments("trunk")).run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "nothing derived: no subinterface is a member of a VLAN\n");
}

TEST_F(DeriveProgramTest, TheNativeExampleGivesItsDocument) {
    ProgramResult const result =
        Program({"derive", "-j", "--input", example("native/inputs.json")}).run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, readFile(example("native/output.json")));
}

TEST_F(DeriveProgramTest, OneFileMayBeStandardInput) {
    std::string const links = example("captures/small/links.json");
    std::string const vlans = example("captures/small/vlans.json");
    EXPECT_EQ(Program({"derive", "-j", "--links", "-", "--vlans", vlans})
                  .inputIs(readFile(links))
                  .run()
                  .out,
              smallDocument());
    EXPECT_EQ(Program({"derive", "-j", "--links", links, "--vlans", "-"})
                  .inputIs(readFile(vlans))
                  .run()
                  .out,
              smallDocument());
}

TEST_F(DeriveProgramTest, NeitherModeNorShareNorHashSeedChangesTheDocument) {
    std::string const document = smallDocument();
    EXPECT_EQ(small({"-j", "--sync"}).run().out, document);
    EXPECT_EQ(small({"-j", "--share", "1"}).run().out, document);
    for (char const *seed : {"0", "1", "4294967295"}) {
        EXPECT_EQ(small({"-j"}).environmentIs("QOR_HASH_SEED", seed).run().out, document);
        EXPECT_EQ(small({"-j", "--share", "2"}).environmentIs("QOR_HASH_SEED", seed).run().out,
                  document);
    }
}

// An earlier run.

TEST_F(DeriveProgramTest, TheSameEarlierDocumentIsKept) {
    std::string const previous = dir.write("old.json", smallDocument());
    ProgramResult const result = small({"-j", "--previous", previous}).run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, smallDocument());
    EXPECT_EQ(result.err,
              "compared with " + previous + ": 16 kept, 0 added, 0 changed, 0 deleted as stale\n");
}

TEST_F(DeriveProgramTest, AnEarlierDocumentIsReconciledAndTheSummarySaysHow) {
    std::string const previous = dir.write("old.json", R"({"version":1,"ready":true,"config":[
        {"vlanId":100,"intf":[
          {"intfId":"bond0.100","tagOnEgress":false,"allowedTrafficDirection":"both","lagPhyIntf":["eth1","eth2"]},
          {"intfId":"bond1.100","tagOnEgress":true,"allowedTrafficDirection":"both","lagPhyIntf":["eth3","eth9"]},
          {"intfId":"eth5.100","tagOnEgress":false,"allowedTrafficDirection":"none","lagPhyIntf":["eth7"]},
          {"intfId":"bond0.200","tagOnEgress":false,"allowedTrafficDirection":"both","lagPhyIntf":[]}]},
        {"vlanId":999,"intf":[
          {"intfId":"gone.9","tagOnEgress":false,"allowedTrafficDirection":"both","lagPhyIntf":["eth1"]}]},
        {"vlanId":1000,"intf":[
          {"intfId":"gone.9","tagOnEgress":false,"allowedTrafficDirection":"both","lagPhyIntf":["eth1"]}]}]})");
    json expected = json::parse(readFile(data("small.output.json")));
    expected["config"][0]["intf"][2]["lagPhyIntf"] = {"eth7"};
    ProgramResult const result = small({"-j", "--previous", previous}).run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(json::parse(result.out), expected);
    EXPECT_EQ(
        result.err,
        "compared with " + previous +
            ": 2 kept, 13 added, 1 changed, 3 deleted as stale\n"
            "  added: bond0.200 in VLAN 200\n"
            "  added: bond1.100 in VLANs 400-409\n"
            "  added: eth6.300 in VLANs 100 300\n"
            "  changed: bond1.100 in VLAN 100\n"
            "  deleted as stale: bond0.200 in VLAN 100\n"
            "  deleted as stale: gone.9 in VLANs 999-1000\n"
            "  keeps its old LAG members, for it got none in this run: eth5.100 in VLAN 100\n");
    EXPECT_EQ(small({"-j", "--sync", "--previous", previous}).run().out, result.out);
    EXPECT_EQ(small({"-j", "--share", "1", "--previous", previous}).run().out, result.out);
}

// Streams.

TEST_F(DeriveProgramTest, TraceLinesGoToStandardError) {
    ProgramResult const result = small({"-j", "--trace", "6-9"}).run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, smallDocument());
    EXPECT_THAT(result.err,
                AllOf(ContainsRegex("(^|\n)9 ConfigSm::"), HasSubstr(" VlanSubIntfConfigLib:")));
}

TEST_F(DeriveProgramTest, OnlyTheTraceLevelsAskedForArePrinted) {
    EXPECT_THAT(small({"-j", "--trace", "9"}).run().err, Not(ContainsRegex("(^|\n)[0-8] ")));
}

TEST_F(DeriveProgramTest, ATraceLineHoldsNoControlCharacterOfAName) {
    auto const result = Program({"derive", "--input", "-", "--trace", "6-9"})
                            .inputIs(R"({"version": 1, "lagPhyIntfConfig": [], "interfaces": [
                                {"intfId": "e", "kind": "ethernet"},
                                {"intfId": "e.\u001b[2J", "kind": "subinterface", "parent": "e"}],
                                "vlanConfig": [{"vlanId": 7, "intf": [{"intfId": "e.\u001b[2J",
                                "tagOnEgress": true, "allowedTrafficDirection": "both"}]}]})")
                            .run();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr(R"(e.\u001b[2J)"));
    EXPECT_THAT(result.err, Not(HasSubstr("\x1b")));
}

TEST_F(DeriveProgramTest, AFullDiskFails) {
    for (char const *form : {"-j", "--sync"}) {
        ProgramResult const result = small({form}).outputTo("/dev/full").run();
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err,
                  "vlan-subintf: standard output: cannot write: No space left on device\n");
    }
}

TEST_F(DeriveProgramTest, AClosedPipeFails) {
    ProgramResult const result = small({"-j"}).outputToClosedPipe().run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "vlan-subintf: standard output: cannot write: Broken pipe\n");
}

TEST_F(DeriveProgramTest, AStandardErrorThatIsClosedDoesNotStopTheWork) {
    ProgramResult const result = small({"-j", "--trace", "6-9"}).errorsToClosedPipe().run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, smallDocument());
}

} // namespace
} // namespace Agent
