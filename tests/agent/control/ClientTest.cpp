// The subcommands that ask a running agent, as their user sees them.
#include "agent/control/ClientCommands.h"
#include "tests/agent/JsonSchema.h"
#include "tests/agent/Program.h"
#include "tests/agent/control/FakeAgent.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <sstream>

namespace Agent {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

json projectSchema(std::string const &name) {
    return json::parse(readFile(std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/docs/" + name));
}

/// The schema of one of the definitions of control.schema.json.
JsonSchema controlSchema(std::string const &definition) {
    json schema = projectSchema("control.schema.json");
    return JsonSchema(
        {{"$ref", "#/$defs/" + definition}, {"$defs", std::move(schema.at("$defs"))}});
}

class ClientTest : public FakeAgentTest {
  protected:
    /// Run the program with the agent's socket, until it has ended.
    ProgramResult ask(std::vector<std::string> arguments, std::string const &input = "") {
        arguments.insert(arguments.begin() + 1, {"--control", path});
        auto const process = Program(std::move(arguments)).inputIs(input).start();
        EXPECT_TRUE(turnUntil([&] { return process->ended(); }));
        return process->wait();
    }
    /// The document that it prints, which must be one of those of the schema.
    json askDocument(std::vector<std::string> arguments, std::string const &definition) {
        arguments.emplace_back("-j");
        auto const result = ask(std::move(arguments));
        EXPECT_EQ(result.err, "");
        auto const document = json::parse(result.out, nullptr, false);
        EXPECT_TRUE(controlSchema(definition).accepts(document)) << result.out;
        return document;
    }
    void expectFailure(ProgramResult const &result, std::string const &message) {
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "vlan-subintf: " + message + "\n");
    }
    void makeWaiting() {
        make();
        fillSmall();
        source->holdBack();
        service->start();
        std::vector<std::string> const blockers = {"first full view of test \x1b[1m"};
        ASSERT_TRUE(turnUntil([&] { return service->waitingFor() == blockers; }));
    }
};

TEST_F(ClientTest, ShowPrintsTheTableOfDerive) {
    makeReady();
    auto const result = ask({"show"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "VLAN  SUBINTERFACE  EGRESS    DIRECTION  LAG MEMBERS\n"
                          " 100  bond0.100     tagged    both       eth2 eth10\n"
                          " 100  bond1.100     untagged  both       eth4 eth12\n"
                          " 200  bond0.200     tagged    none       eth2 eth10\n"
                          " 200  bond1.200     tagged    none       eth4 eth12\n");
}

TEST_F(ClientTest, ShowPrintsTheDocumentOfDerive) {
    makeReady();
    auto const result = ask({"show", "-j", "--vlan", "100", "--lag", "bond1"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "{\"version\": 1, \"ready\": true, \"config\": [\n"
              "{\"vlanId\": 100, \"intf\": [\n"
              "  {\"intfId\": \"bond1.100\", \"tagOnEgress\": false, \"allowedTrafficDirection\": "
              "\"both\", \"lagPhyIntf\": [\"eth4\", \"eth12\"]}]}\n]}\n");
    EXPECT_TRUE(JsonSchema(projectSchema("output.schema.json")).accepts(json::parse(result.out)));
}

TEST_F(ClientTest, ShowBeforeReadyPrintsWhatIsThereWithStatus3) {
    makeWaiting();
    auto const result = ask({"show", "-j"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "{\"version\": 1, \"ready\": false, \"config\": []}\n");
    EXPECT_EQ(result.err,
              "the agent is starting, waiting for first full view of test \\u001b[1m\n");
}

TEST_F(ClientTest, ShowOfNothingSaysSo) {
    makeReady();
    auto const result = ask({"show", "--vlan", "7"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "nothing to show: the directory has no such entry\n");
}

TEST_F(ClientTest, ShowOfAnEmptyDirectorySaysSo) {
    make();
    startReady();
    auto const result = ask({"show"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "nothing to show: the directory is empty\n");
}

TEST_F(ClientTest, ShowOfAnUnknownNameFails) {
    makeReady();
    expectFailure(ask({"show", "--intf", "bond\x1b"}), "there is no interface \"bond\\u001b\"");
}

TEST_F(ClientTest, NamesWithControlCharactersDoNotReachATerminal) {
    make();
    auto const bond = lag("bond\x1b[2J");
    lagMember(bond, "eth\x07");
    member(100, subIntf("sub\n.1", bond));
    startReady();
    for (auto const &arguments : std::vector<std::vector<std::string>>{
             {"show"}, {"status"}, {"explain", "sub\n.1"}, {"audit"}}) {
        auto const result = ask(arguments);
        EXPECT_EQ(result.status, 0) << arguments.front();
        for (char const c : result.out) {
            EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << arguments.front();
        }
    }
    EXPECT_THAT(ask({"show"}).out, HasSubstr("sub\\n.1"));
}

TEST_F(ClientTest, StatusIsATextForPeople) {
    makeReady();
    source->fails("links.json: gone");
    auto const result = ask({"status"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, ContainsRegex("^agent      ready, version [0-9.]+, up 00:00:0"));
    EXPECT_THAT(result.out, HasSubstr("\nsource     test \\u001b[1m\n"));
    EXPECT_THAT(result.out, ContainsRegex("\n           last full view 20.* UTC: start\n"));
    EXPECT_THAT(result.out, HasSubstr("\n           problem: links.json: gone\n"));
    EXPECT_THAT(result.out, HasSubstr("\ndirectory  4 entries in 2 VLANs, "));
    EXPECT_THAT(result.out, HasSubstr("\n           configIntf               ready\n"));
}

TEST_F(ClientTest, StatusNamesWhatIsWaitedFor) {
    makeWaiting();
    EXPECT_THAT(ask({"status"}).out, HasSubstr("waiting for first full view of test"));
    auto const status = askDocument({"status"}, "status");
    EXPECT_EQ(status["state"], "starting");
}

TEST_F(ClientTest, StatusIsADocumentOfItsSchema) {
    makeReady();
    EXPECT_EQ(askDocument({"status"}, "status")["directory"]["entries"], 4);
}

TEST_F(ClientTest, WaitReadyWaitsForTheAgent) {
    makeWaiting();
    auto const process = Program({"wait-ready", "--control", path}).start();
    ASSERT_TRUE(turnUntil([&] { return control->server().clients() == 1; }));
    EXPECT_FALSE(process->ended());
    source->letGo();
    ASSERT_TRUE(turnUntil([&] { return process->ended(); }));
    auto const result = process->wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "ready\n");
    EXPECT_EQ(askDocument({"wait-ready"}, "lastLine")["status"], "done");
}

TEST_F(ClientTest, WaitReadyWithATimeoutWaitsForAnAgentThatIsYetToCome) {
    auto const process = Program({"wait-ready", "--timeout", "30", "--control", path}).start();
    loop.turn(std::chrono::milliseconds(100)); // it has asked in vain meanwhile
    EXPECT_FALSE(process->ended());
    makeReady();
    ASSERT_TRUE(turnUntil([&] { return process->ended(); }));
    EXPECT_EQ(process->wait().status, 0);
}

TEST_F(ClientTest, WaitReadyEndsWithStatus3WhenItsTimeIsOver) {
    makeWaiting();
    auto result = ask({"wait-ready", "--timeout", "0.05"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "the agent is not ready after 0.05 s\n");
    result = ask({"wait-ready", "-j", "--timeout", "0"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(json::parse(result.out)["status"], "differs");
}

TEST_F(ClientTest, ExplainPrintsTheStepsOfAnEntry) {
    makeReady();
    auto const result = ask({"explain", "bond0.100", "100"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("vlanConfigStream"));
    auto const document = json::parse(ask({"explain", "-j", "bond0.100", "100"}).out);
    EXPECT_TRUE(document.is_object());
}

TEST_F(ClientTest, ExplainOfAnUnknownInterfaceFails) {
    makeReady();
    auto const result = ask({"explain", "nobody"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("nobody"));
}

TEST_F(ClientTest, WatchPrintsChangesAtOnceUntilItIsInterrupted) {
    makeReady();
    auto const text = Program({"watch", "--control", path}).start();
    auto const lines = Program({"watch", "-j", "--control", path}).start();
    ASSERT_TRUE(turnUntil([&] { return control->statistics().requests == 2; }));
    auto const id = subIntf("bond0.300", lag("bond0"));
    member(300, id, true, Direction::ingress);
    bridging().vlanConfigDel(Bridging::VlanId(300));
    ASSERT_TRUE(turnUntil([&] {
        return text->out().ends_with("- 300 bond0.300\n") &&
               lines->out().find("entryGone") != std::string::npos;
    }));
    EXPECT_THAT(text->out(), AllOf(StartsWith("+ 300 bond0.300 untagged none\n"),
                                   HasSubstr("~ 300 bond0.300 tagged ingress\n"),
                                   HasSubstr("+ 300 bond0.300 member eth10\n")));
    auto const schema = controlSchema("change");
    std::istringstream in(lines->out());
    for (std::string line; std::getline(in, line);) {
        EXPECT_TRUE(schema.accepts(json::parse(line))) << line;
    }
    text->signal(SIGINT);
    EXPECT_TRUE(turnUntil([&] { return text->ended() && control->server().clients() == 1; }));
}

TEST_F(ClientTest, AStoppedWatcherIsToldWhatItMissedWhenItGoesOn) {
    makeReady();
    auto const process = Program({"watch", "--control", path}).start();
    ASSERT_TRUE(turnUntil([&] { return control->statistics().requests == 1; }));
    process->signal(SIGSTOP);
    auto const id = subIntf("bond0.300", lag("bond0"));
    for (int i = 0; i < 50'000; ++i) {
        member(300, id, i % 2 == 0);
        if (i % 100 == 0) {
            loop.turn(std::chrono::milliseconds(0));
        }
    }
    process->signal(SIGCONT);
    EXPECT_TRUE(turnUntil([&] {
        auto const out = process->out();
        return out.find("missed\n") != std::string::npos;
    }));
    EXPECT_THAT(process->out(), ContainsRegex("! [0-9]+ changes missed\n"));
}

TEST_F(ClientTest, WatchEndsWithAMessageWhenTheAgentDoes) {
    makeReady();
    auto const process = Program({"watch", "--control", path}).start();
    ASSERT_TRUE(turnUntil([&] { return control->statistics().requests == 1; }));
    control.reset();
    ASSERT_TRUE(turnUntil([&] { return process->ended(); }));
    expectFailure(process->wait(), path + ": the agent has left before its answer was complete");
}

TEST_F(ClientTest, TraceSaysWhichLevelsAreOn) {
    makeReady();
    EXPECT_EQ(ask({"trace", "14-15"}).out, "trace levels of the agent: 14-15\n");
    EXPECT_EQ(askDocument({"trace", "off"}, "trace"), json({{"levels", "off"}, {"mask", 0}}));
}

TEST_F(ClientTest, AuditWithoutDifferenceIsStatus0) {
    makeReady();
    auto const result = ask({"audit"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "4 entries compared with what the inputs derive: no difference\n");
    EXPECT_EQ(askDocument({"audit"}, "audit")["drift"], 0);
}

TEST_F(ClientTest, AuditListsDifferencesAndKeptMembersApart) {
    make({{100, "eth9.100", "eth1"}});
    fillSmall();
    member(100, subIntf("eth9.100", ethernet("eth9")));
    startReady();
    auto &directory = const_cast<Service::Directory &>(service->directory());
    (*directory.config(Bridging::VlanId(100)))->intfDel(subIntf("bond0.100", lag("bond0")));
    auto const result = ask({"audit"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out,
              "5 entries compared with what the inputs derive: 1 difference\n"
              "  VLAN 100 bond0.100: not in the directory, but derived\n"
              "1 member kept from an earlier run, which is no difference:\n"
              "  VLAN 100 eth9.100 member eth1: kept from an earlier run\n"
              "To clear them, take the subinterface out of the VLAN and put it in again, or "
              "`vlan-subintf\nwithdraw` and `vlan-subintf resume`.\n");
    auto const document = askDocument({"audit"}, "audit");
    EXPECT_EQ(document["drift"], 1);
    EXPECT_EQ(document["findings"].size(), 2U);
}

TEST_F(ClientTest, KeptMembersAreClearedAsAuditSays) {
    make({{100, "eth9.100", "eth1"}});
    auto const id = subIntf("eth9.100", ethernet("eth9"));
    member(100, id);
    startReady();
    EXPECT_EQ(askDocument({"audit"}, "audit")["keptMembers"], 1);
    bridging().vlanConfigIs(Bridging::VlanId(100))->intfDel(id);
    member(100, id);
    EXPECT_EQ(askDocument({"audit"}, "audit")["keptMembers"], 0);
    EXPECT_EQ(service->journal().counts().entries, 1U);
}

TEST_F(ClientTest, WithdrawAsksFirst) {
    makeReady();
    auto result = ask({"withdraw"}, "n\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "Take all 4 entries out of the directory? [y/N] "
                          "vlan-subintf: not withdrawn: not confirmed\n");
    EXPECT_EQ(ask({"withdraw"}).status, 1); // no answer is none
    EXPECT_EQ(service->journal().counts().entries, 4U);
    result = ask({"withdraw"}, "y\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "withdrawn: 4 entries\n");
    EXPECT_EQ(service->journal().counts().entries, 0U);
}

TEST_F(ClientTest, WithdrawWithYesDoesNotAskAndResumeBeginsAnew) {
    makeReady();
    EXPECT_EQ(askDocument({"withdraw", "--yes"}, "lastLine"),
              json({{"status", "done"}, {"version", 1}, {"entries", 4}}));
    expectFailure(ask({"withdraw", "--yes"}), "refused: the agent is withdrawn");
    expectFailure(ask({"withdraw"}), "refused: the agent is withdrawn");
    EXPECT_EQ(ask({"show"}).status, 3);
    EXPECT_EQ(ask({"resume"}).out, "resumed\n");
    EXPECT_EQ(ask({"wait-ready"}).status, 0);
    expectFailure(ask({"resume"}), "refused: the agent is ready, not withdrawn");
}

TEST_F(ClientTest, ResyncAsksForAFullView) {
    makeReady();
    EXPECT_EQ(ask({"resync"}).out, "resynchronising\n");
    EXPECT_EQ(askDocument({"resync"}, "lastLine")["status"], "done");
    EXPECT_EQ(service->source().counts().resyncs, 2U);
}

TEST_F(ClientTest, MetricsPrintsTheTextOfPrometheus) {
    makeReady();
    EXPECT_THAT(ask({"metrics"}).out, HasSubstr("\nvlan_subintf_ready 1\n"));
    EXPECT_THAT(askDocument({"metrics"}, "metrics")["metrics"].get<std::string>(),
                HasSubstr("\nvlan_subintf_directory_entries 4\n"));
}

TEST_F(ClientTest, WhatCannotBeWrittenFails) {
    makeReady();
    for (auto const *const command : {"show", "status", "metrics", "audit"}) {
        pid_t const child = ::fork();
        if (child == 0) {
            int const full = ::open("/dev/full", O_WRONLY);
            ::dup2(full, STDOUT_FILENO);
            ::close(STDERR_FILENO);
            ::execl(VLAN_SUBINTF_PROGRAM, VLAN_SUBINTF_PROGRAM, command, "--control", path.c_str(),
                    nullptr);
            ::_exit(126);
        }
        int status = 0;
        ASSERT_TRUE(turnUntil([&] { return ::waitpid(child, &status, WNOHANG) == child; }));
        EXPECT_EQ(WEXITSTATUS(status), 1) << command;
    }
}

TEST_F(ClientTest, EveryLineOfTheSocketFollowsTheSchema) {
    makeReady();
    auto &directory = const_cast<Service::Directory &>(service->directory());
    auto const vlan = *directory.config(Bridging::VlanId(100));
    (*vlan->intf(subIntf("bond0.100", lag("bond0"))))->tagOnEgressIs(false);
    JsonSchema const root(projectSchema("control.schema.json"));
    std::map<std::string, std::string> const definitions = {
        {"show", "row"},         {"status", "status"},   {"audit", "finding"},
        {"metrics", "metrics"},  {"resync", "lastLine"}, {"nonsense", "lastLine"},
        {"withdraw", "lastLine"}};
    for (auto const &[request, definition] : definitions) {
        EXPECT_EQ(root.accepts(json::parse(requestLine(request))), request != "nonsense");
        auto const lines = answers(request);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            bool const isLast = i + 1 == lines.size();
            EXPECT_TRUE(root.accepts(lines[i])) << lines[i];
            EXPECT_TRUE(controlSchema(isLast ? "lastLine" : definition).accepts(lines[i]))
                << lines[i];
        }
        EXPECT_EQ(lines.size() > 1, definition != "lastLine") << request;
    }
}

TEST(ControlSchema, RefusesWhatIsNoLine) {
    auto const refuses = [](std::string const &definition, json const &document) {
        return !controlSchema(definition).accepts(document);
    };
    EXPECT_TRUE(refuses("request", {{"version", 2}, {"request", "show"}}));
    EXPECT_TRUE(refuses("request", {{"version", 1}, {"request", "show"}, {"vlan", 0}}));
    EXPECT_TRUE(refuses("request", {{"version", 1}}));
    EXPECT_TRUE(refuses("lastLine", {{"version", 1}, {"status", "failed"}}));
    EXPECT_TRUE(refuses("lastLine", {{"status", "done"}}));
    EXPECT_TRUE(refuses("change", {{"change", "lost"}}));
    EXPECT_TRUE(refuses("change", {{"change", "entryNew"}, {"vlanId", 1}, {"intfId", "a"}}));
    EXPECT_TRUE(refuses("change", {{"change", "memberGone"}, {"vlanId", 1}, {"intfId", "a"}}));
    EXPECT_TRUE(refuses("finding", {{"finding", "kept"}, {"vlanId", 1}, {"intfId", "a"}}));
    EXPECT_TRUE(refuses("status", {{"state", "ready"}}));
}

// Without an agent, or with something else in its place.

class ClientAlone : public testing::Test {
  protected:
    TempDir dir;
    std::string const path = dir.file("control.sock");
};

TEST_F(ClientAlone, EverySubcommandFailsWithoutAnAgent) {
    for (auto const name : clientCommands()) {
        std::vector<std::string> arguments = {std::string(name), "--control", path};
        if (name == "explain" || name == "trace") {
            arguments.emplace_back("7");
        }
        auto const result = Program(arguments).run();
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_EQ(result.out, "") << name;
        EXPECT_EQ(result.err,
                  "vlan-subintf: " + path + ": no agent answers: No such file or directory\n");
    }
}

TEST_F(ClientAlone, TheSocketOfADeadAgentIsNamed) {
    Descriptor const socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    UnixAddress const address(path);
    ASSERT_EQ(::bind(socket.number(), address.get(), address.size()), 0);
    EXPECT_EQ(Program({"status", "--control", path}).run().err,
              "vlan-subintf: " + path + ": no agent answers: Connection refused\n");
}

TEST_F(ClientAlone, EverySubcommandHasHelpWithExamplesAndItsExitStatus) {
    for (auto const name : clientCommands()) {
        auto const result = Program({std::string(name), "--help"}).run();
        EXPECT_EQ(result.status, 0) << name;
        EXPECT_THAT(result.out, AllOf(HasSubstr("--control PATH"), HasSubstr("-j,--json"),
                                      HasSubstr("Examples:\n  vlan-subintf " + std::string(name)),
                                      HasSubstr("Exit status")))
            << name;
    }
}

struct WrongUsage {
    std::vector<std::string> arguments;
    std::string message;
};

class ClientUsage : public testing::TestWithParam<WrongUsage> {};

TEST_P(ClientUsage, IsStatus2WithAMessageAndNoOutput) {
    auto const result = Program(GetParam().arguments).run();
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("vlan-subintf: " + GetParam().message));
    EXPECT_THAT(result.err, HasSubstr("--help"));
}

INSTANTIATE_TEST_SUITE_P(
    All, ClientUsage,
    testing::Values(
        WrongUsage{{"show", "--vlan", "0"},
                   "--vlan: expected a VLAN number from 1 to 4094, found \"0\""},
        WrongUsage{{"show", "--vlan", "x\x1b"},
                   "--vlan: expected a VLAN number from 1 to 4094, found \"x\\u001b\""},
        WrongUsage{{"show", "--intf", ""}, "--intf: expected a name"},
        WrongUsage{{"show", "bond0"}, "The following argument was not expected: bond0"},
        WrongUsage{{"show", "--control", ""}, "--control: expected a file name"},
        WrongUsage{{"explain"}, "INTF is required"},
        WrongUsage{{"explain", "bond0", "4095"},
                   "VLAN: expected a VLAN number from 1 to 4094, found \"4095\""},
        WrongUsage{{"trace"}, "LEVELS is required"},
        WrongUsage{{"trace", "16"},
                   "LEVELS: expected levels from 0 to 15, such as 9 or 6-9, or off, found \"16\""},
        WrongUsage{{"wait-ready", "--timeout", "soon"},
                   "--timeout: expected a number of seconds from 0 to 1000000000, found \"soon\""},
        WrongUsage{{"wait-ready", "--timeout", "-1"},
                   "--timeout: expected a number of seconds from 0 to 1000000000, found \"-1\""},
        WrongUsage{{"wait-ready", "--timeout", "nan"},
                   "--timeout: expected a number of seconds from 0 to 1000000000, found \"nan\""},
        WrongUsage{{"withdraw", "--no"}, "The following argument was not expected: --no"}));

/// What answers says whatever the test gives it.
class ScriptedTest : public LoopTest {
  protected:
    /// What the program says to a server that answers each client so, and closes.
    ProgramResult answer(std::string const &text, std::string const &command = "status") {
        std::string const path = dir.file("control.sock");
        ControlSocket socket(path, "");
        Acceptor const acceptor(loop, socket.socketDel(), "test", [&](Descriptor client) {
            ::send(client.number(), text.data(), text.size(), MSG_NOSIGNAL);
        });
        auto const process = Program({command, "--control", path}).start();
        EXPECT_TRUE(turnUntil([&] { return process->ended(); }));
        auto result = process->wait();
        if (auto const at = result.err.find(path); at != std::string::npos) {
            result.err.erase(at, path.size());
        }
        return result;
    }
};

TEST_F(ScriptedTest, AnAnswerThatIsNoneFails) {
    for (auto const *const text : {"HTTP/1.1 400\n", "[]\n{\"status\":\"done\",\"version\":1}\n",
                                   "{\"status\":7}\n", "{\"status\":\"done\"}\n", "\xff\n",
                                   "{\"ready\":1}\n{\"status\":\"done\",\"version\":1}\n"}) {
        auto const result = answer(text);
        EXPECT_EQ(result.status, 1) << text;
        EXPECT_EQ(result.out, "") << text;
        EXPECT_THAT(result.err, StartsWith("vlan-subintf: ")) << text;
    }
}

TEST_F(ScriptedTest, AnAgentOfAnotherVersionIsNamed) {
    EXPECT_EQ(answer("{\"status\":\"done\",\"version\":2}\n").err,
              "vlan-subintf: : the agent speaks another version: "
              "{\\\"status\\\":\\\"done\\\",\\\"version\\\":2}\n");
}

TEST_F(ScriptedTest, ARefusalIsPrintedWithoutControlCharacters) {
    EXPECT_EQ(answer("{\"status\":\"failed\",\"version\":1,\"message\":\"no\\u001b[2J\"}\n").err,
              "vlan-subintf: no\\u001b[2J\n");
}

TEST_F(ScriptedTest, ARowThatNoAgentSendsFails) {
    for (auto const *const row : {R"({"vlanId": 0, "intfId": "a", "tagOnEgress": true,
                                      "allowedTrafficDirection": "both", "lagPhyIntf": []})",
                                  R"({"vlanId": 1, "intfId": "", "tagOnEgress": true,
                                      "allowedTrafficDirection": "both", "lagPhyIntf": []})",
                                  R"({"vlanId": 1, "intfId": "a", "tagOnEgress": true,
                                      "allowedTrafficDirection": "up", "lagPhyIntf": []})",
                                  R"({"vlanId": 1})"}) {
        std::string line = row;
        std::replace(line.begin(), line.end(), '\n', ' ');
        auto const result = answer(line + "\n{\"status\":\"done\",\"version\":1}\n", "show");
        EXPECT_EQ(result.status, 1) << row;
        EXPECT_EQ(result.out, "") << row;
    }
}

TEST_F(ScriptedTest, AnAgentThatLeavesIsNamed) {
    EXPECT_EQ(answer("{}\n").err,
              "vlan-subintf: : the agent has left before its answer was complete\n");
}

} // namespace
} // namespace Agent
