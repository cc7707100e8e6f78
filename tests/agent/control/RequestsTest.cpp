#include "agent/control/Requests.h"

#include "agent/control/AuditJob.h"
#include "platform/Nuvio/DebugHandler.h"
#include "tests/agent/control/FakeAgent.h"

#include <algorithm>
#include <set>

namespace Agent {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::SizeIs;
using testing::StartsWith;

class RequestsTest : public FakeAgentTest {
  protected:
    /// "100 bond0.100", in order.
    std::vector<std::string> shown(json const &parameters) {
        std::vector<std::string> entries;
        for (auto const &line : answers("show", parameters)) {
            if (!line.contains("status")) {
                entries.push_back(fmt::format("{} {}", line.at("vlanId").get<int>(),
                                              line.at("intfId").get<std::string>()));
            }
        }
        std::sort(entries.begin(), entries.end());
        return entries;
    }
    std::string messageOf(std::string const &request, json const &parameters = json::object()) {
        return ending(request, parameters).value("message", "no message");
    }
};

TEST_F(RequestsTest, ShowHasEveryEntryWithItsMembersInNaturalOrder) {
    makeReady();
    EXPECT_THAT(shown({}),
                ElementsAre("100 bond0.100", "100 bond1.100", "200 bond0.200", "200 bond1.200"));
    auto const lines = answers("show", {{"intf", "bond0.200"}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(lines[0], json({{"vlanId", 200},
                              {"intfId", "bond0.200"},
                              {"tagOnEgress", true},
                              {"allowedTrafficDirection", "none"},
                              {"lagPhyIntf", {"eth2", "eth10"}}}));
    EXPECT_EQ(lines[1], json({{"status", "done"}, {"ready", true}, {"version", 1}}));
}

TEST_F(RequestsTest, ShowCanBeLimitedToAVlanAnInterfaceAndALag) {
    makeReady();
    EXPECT_THAT(shown({{"vlan", 100}}), ElementsAre("100 bond0.100", "100 bond1.100"));
    EXPECT_THAT(shown({{"vlan", 101}}), ElementsAre());
    EXPECT_THAT(shown({{"lag", "bond1"}}), ElementsAre("100 bond1.100", "200 bond1.200"));
    EXPECT_THAT(shown({{"lag", "bond1"}, {"vlan", 200}}), ElementsAre("200 bond1.200"));
    EXPECT_THAT(shown({{"intf", "bond1.100"}, {"lag", "bond0"}}), ElementsAre());
    EXPECT_THAT(shown({{"lag", "eth2"}}), ElementsAre());
}

TEST_F(RequestsTest, ShowRefusesANameThatNobodyHas) {
    makeReady();
    EXPECT_EQ(messageOf("show", {{"intf", "bond7"}}), "there is no interface \"bond7\"");
    EXPECT_EQ(messageOf("show", {{"lag", "bond7"}}), "there is no interface \"bond7\"");
}

TEST_F(RequestsTest, ShowBeforeReadyHasWhatIsThereAndSaysSo) {
    make({{7, "old.7", ""}});
    auto const before = answers("show");
    EXPECT_THAT(before, SizeIs(1));
    EXPECT_EQ(before.back()["status"], "differs");
    source->holdBack();
    service->start();
    ASSERT_TRUE(turnUntil([&] { return !service->directory().config().empty(); }));
    EXPECT_THAT(shown({}), ElementsAre("7 old.7"));
    auto const last = ending("show");
    EXPECT_EQ(last["status"], "differs");
    EXPECT_EQ(last["ready"], false);
    EXPECT_THAT(last["message"].get<std::string>(),
                StartsWith("the agent is starting, waiting for first full view of test"));
}

TEST_F(RequestsTest, ShowOfALargeDirectoryHasEveryEntryThatStaysOnce) {
    make();
    auto const bond = lag("bond0");
    lagMember(bond, "eth0");
    std::vector<Iftel::IntfId> ids;
    for (int i = 0; i < 300; ++i) {
        ids.push_back(subIntf(fmt::format("bond0.{}", i), bond));
    }
    for (std::uint16_t vlan = 1; vlan <= 100; ++vlan) {
        for (auto const id : ids) {
            member(vlan, id);
        }
    }
    startReady();
    Peer peer(path);
    peer.send(requestLine("show"));
    std::set<std::pair<int, std::string>> seen;
    std::uint16_t gone = 0;
    for (auto line = documentFrom(peer); !line.contains("status"); line = documentFrom(peer)) {
        EXPECT_TRUE(seen.emplace(line.at("vlanId"), line.at("intfId")).second);
        if (seen.size() % 3000 == 0) { // entries of all VLANs go while it is under way
            for (std::uint16_t vlan = 1; vlan <= 100; ++vlan) {
                bridging().vlanConfigIs(Bridging::VlanId(vlan))->intfDel(ids.at(gone));
            }
            ++gone;
        }
    }
    EXPECT_GT(gone, 5);
    for (std::size_t i = gone; i < ids.size(); ++i) {
        for (int vlan = 1; vlan <= 100; ++vlan) {
            EXPECT_TRUE(seen.contains({vlan, fmt::format("bond0.{}", i)}));
        }
    }
}

TEST_F(RequestsTest, StatusSaysWhatIsReadyAndWhatIsWaitedFor) {
    make();
    fillSmall();
    source->holdBack();
    service->start();
    std::vector<std::string> const blockers = {"first full view of test \x1b[1m"};
    ASSERT_TRUE(turnUntil([&] { return service->waitingFor() == blockers; }));
    auto status = answers("status").front();
    EXPECT_EQ(status["state"], "starting");
    EXPECT_EQ(status["ready"], false);
    EXPECT_EQ(status["waitingFor"], json(blockers));
    EXPECT_EQ(status["outputs"]["configIntf"], false);
    EXPECT_EQ(status["streams"]["lagUpdateStream"], false);
    EXPECT_FALSE(status["source"].contains("lastView"));
    source->letGo();
    ASSERT_TRUE(turnUntil([&] { return service->ready(); }));
    source->fails("cannot follow");
    status = answers("status").front();
    EXPECT_EQ(status["state"], "ready");
    EXPECT_EQ(status["waitingFor"], json::array());
    EXPECT_EQ(status["outputs"]["configIntf"], true);
    EXPECT_EQ(status["streams"]["lagUpdateStream"], true);
    EXPECT_EQ(status["directory"]["entries"], 4);
    EXPECT_EQ(status["source"]["lastView"]["why"], "start");
    EXPECT_EQ(status["source"]["problem"], "cannot follow");
    EXPECT_EQ(status["store"]["name"], "store");
    EXPECT_EQ(status["control"]["requests"], 2);
}

TEST_F(RequestsTest, WaitReadyIsAnsweredWhenTheAgentBecomesReady) {
    make();
    source->holdBack();
    service->start();
    Peer peer(path);
    peer.send(requestLine("wait-ready"));
    ASSERT_TRUE(turnUntil([&] { return control->server().clients() == 1; }));
    for (int i = 0; i < 100; ++i) {
        loop.turn(std::chrono::milliseconds(0));
    }
    peer.receive();
    EXPECT_EQ(peer.received(), "");
    source->letGo();
    EXPECT_EQ(endingFrom(peer)["status"], "done");
    EXPECT_EQ(ending("wait-ready")["status"], "done");
}

TEST_F(RequestsTest, ExplainTellsTheStepsOfAnEntryAndTheFactsOfTheSource) {
    makeReady();
    auto const lines = answers("explain", {{"intf", "bond0.100"}, {"vlan", 100}});
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines.front().dump(), HasSubstr("vlanConfigStream"));
    EXPECT_THAT(lines.front().dump(), HasSubstr("a link of the test named bond0.100"));
    EXPECT_EQ(lines.back()["status"], "done");
    EXPECT_EQ(ending("explain", {{"intf", "nobody"}})["status"], "failed");
    EXPECT_EQ(messageOf("explain"), "intf is missing");
}

TEST_F(RequestsTest, WatchTellsChangesAsTheyHappen) {
    makeReady();
    Peer peer(path);
    peer.send(requestLine("watch"));
    ASSERT_TRUE(turnUntil([&] { return control->statistics().requests == 1; }));
    member(300, subIntf("bond0.300", lag("bond0")));
    auto line = documentFrom(peer);
    EXPECT_EQ(line["change"], "entryNew");
    EXPECT_EQ(line["vlanId"], 300);
    EXPECT_EQ(line["intfId"], "bond0.300");
    std::set<std::string> rest;
    while (rest.size() < 3) {
        line = documentFrom(peer);
        ASSERT_TRUE(line.is_object());
        rest.insert(line.at("change").get<std::string>() + " " + line.value("member", ""));
    }
    EXPECT_THAT(rest, IsSupersetOf({"entryChanged ", "memberNew eth2", "memberNew eth10"}));
    bridging().vlanConfigDel(Bridging::VlanId(300));
    do {
        line = documentFrom(peer);
    } while (line.is_object() && line["change"] != "entryGone");
    EXPECT_EQ(line, json({{"change", "entryGone"}, {"vlanId", 300}, {"intfId", "bond0.300"}}));
}

TEST_F(RequestsTest, AWatcherThatDoesNotReadIsToldHowManyChangesItMissed) {
    makeReady();
    auto const id = subIntf("bond0.300", lag("bond0"));
    Peer peer(path);
    peer.send(requestLine("watch"));
    ASSERT_TRUE(turnUntil([&] { return control->statistics().requests == 1; }));
    auto const before = service->journal().counts().changes;
    for (int i = 0; i < 20'000; ++i) {
        member(300, id, i % 2 == 0);
        if (i % 10 == 0) {
            loop.turn(std::chrono::milliseconds(0));
        }
    }
    auto const changes = service->journal().counts().changes - before;
    std::uint64_t heard = 0;
    std::uint64_t lost = 0;
    while (heard + lost < changes) {
        auto const line = documentFrom(peer);
        ASSERT_TRUE(line.is_object()) << heard << " " << lost << " of " << changes;
        if (line["change"] == "lost") {
            lost += line["count"].get<std::uint64_t>();
        } else {
            ++heard;
        }
    }
    EXPECT_EQ(heard + lost, changes);
    EXPECT_GT(lost, 0U);
    // It hears what comes from here on.
    bridging().vlanConfigDel(Bridging::VlanId(300));
    json line;
    do {
        line = documentFrom(peer);
    } while (line.is_object() && line["change"] != "entryGone");
    EXPECT_EQ(line["intfId"], "bond0.300");
}

TEST_F(RequestsTest, TraceSetsTheLevelsOfTheMachine) {
    makeReady();
    auto const handle = Nuvio::Platform::getDebugHandler("VlanSubIntfConfigLib", false);
    EXPECT_EQ(answers("trace", {{"levels", "14-15"}}).front(),
              json({{"levels", "14-15"}, {"mask", 0xC000}}));
    EXPECT_EQ(handle->levelMask(), 0xC000);
    EXPECT_EQ(messageOf("trace", {{"levels", "16"}}),
              "levels: expected levels from 0 to 15, such as 9 or 6-9, or off, found \"16\"");
    EXPECT_EQ(handle->levelMask(), 0xC000);
    EXPECT_EQ(ending("trace", {{"levels", "off"}})["status"], "done");
    EXPECT_EQ(handle->levelMask(), 0);
}

TEST_F(RequestsTest, AuditFindsNoDriftInWhatTheMachineDerived) {
    makeReady();
    EXPECT_EQ(ending("audit"), json({{"status", "done"},
                                     {"version", 1},
                                     {"entries", 4},
                                     {"drift", 0},
                                     {"keptMembers", 0},
                                     {"listed", 0}}));
}

TEST_F(RequestsTest, AuditFindsWhatSomebodyElseChanged) {
    makeReady();
    auto &directory = const_cast<Service::Directory &>(service->directory());
    auto const vlan = *directory.config(Bridging::VlanId(100));
    (*vlan->intf(subIntf("bond0.100", lag("bond0"))))->lagPhyIntfDel(ethernet("eth2"));
    auto const lines = answers("audit");
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(lines[0], json({{"finding", "missingMember"},
                              {"vlanId", 100},
                              {"intfId", "bond0.100"},
                              {"member", "eth2"}}));
    EXPECT_EQ(lines[1]["status"], "differs");
    EXPECT_EQ(lines[1]["drift"], 1);
    EXPECT_THAT(lines[1]["message"].get<std::string>(), StartsWith("1 of the directory's"));
}

TEST_F(RequestsTest, AuditListsKeptMembersApart) {
    make({{100, "eth9.100", "eth1"}});
    member(100, subIntf("eth9.100", ethernet("eth9")));
    startReady();
    auto const lines = answers("audit");
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(
        lines[0],
        json({{"finding", "kept"}, {"vlanId", 100}, {"intfId", "eth9.100"}, {"member", "eth1"}}));
    EXPECT_EQ(lines[1]["status"], "done");
    EXPECT_EQ(lines[1]["keptMembers"], 1);
}

/// A client that takes lines when the test says so.
class SlowReply final : public Reply {
  public:
    std::vector<json> lines;
    bool takes = false;

    void line(std::string_view text) override { lines.push_back(json::parse(text)); }
    [[nodiscard]] bool room() const noexcept override { return takes; }
    void wake() noexcept override {}
};

TEST_F(RequestsTest, AuditHasNamesThatAreReleasedBeforeItTellsThem) {
    makeReady();
    auto &directory = const_cast<Service::Directory &>(service->directory());
    auto const surplus = subIntf("bond7.100", lag("bond7"));
    directory.configIs(Bridging::VlanId(100))->intfIs(surplus);
    SlowReply reply;
    AuditJob job(*service, ControlRequest(R"({"version": 1, "request": "audit"})"), reply);
    std::optional<Ending> ending;
    Worker worker(loop.scheduler(), Osk::TaskPriority::normal, "audit", [&](Osk::Task const &task) {
        ending = job.step(task);
        return Worker::More::no;
    });
    worker.wake();
    ASSERT_TRUE(turnUntil([&] { return !loop.scheduler()->hasWork(); }));
    ASSERT_FALSE(ending.has_value());
    directory.configIs(Bridging::VlanId(100))->intfDel(surplus);
    Iftel::NameTable::instance().intfDel(surplus);
    reply.takes = true;
    worker.wake();
    ASSERT_TRUE(turnUntil([&] { return ending.has_value(); }));
    ASSERT_THAT(reply.lines, SizeIs(1));
    EXPECT_EQ(reply.lines[0],
              json({{"finding", "surplus"}, {"vlanId", 100}, {"intfId", "bond7.100"}}));
}

TEST_F(RequestsTest, BeforeReadyAuditAndWithdrawAreRefused) {
    make();
    source->holdBack();
    service->start();
    for (auto const *const request : {"audit", "withdraw"}) {
        EXPECT_THAT(messageOf(request), StartsWith("refused: the agent is starting"));
    }
    EXPECT_THAT(messageOf("resync"), StartsWith("refused: the agent is starting"));
    EXPECT_THAT(messageOf("resume"), StartsWith("refused: the agent is starting"));
}

TEST_F(RequestsTest, WithdrawEmptiesTheDirectoryAndResumeFillsItAgain) {
    makeReady();
    auto const withdrawn = ending("withdraw");
    EXPECT_EQ(withdrawn["status"], "done");
    EXPECT_EQ(withdrawn["entries"], 4);
    EXPECT_EQ(service->journal().counts().entries, 0U);
    EXPECT_EQ(messageOf("withdraw"), "refused: the agent is withdrawn");
    EXPECT_EQ(messageOf("resync"), "refused: the agent is withdrawn");
    EXPECT_EQ(answers("status").front()["state"], "withdrawn");
    fillSmall(); // the inputs are empty, as after a start
    EXPECT_EQ(ending("resume")["status"], "done");
    EXPECT_EQ(ending("wait-ready")["status"], "done");
    EXPECT_THAT(shown({}), SizeIs(4));
    EXPECT_EQ(messageOf("resume"), "refused: the agent is ready, not withdrawn");
}

TEST_F(RequestsTest, AResumeThatFailsSaysWhyAndMayBeAskedForAgain) {
    makeReady();
    EXPECT_EQ(ending("withdraw")["status"], "done");
    startProblem = "there is no namespace blue";
    EXPECT_EQ(messageOf("resume"), "there is no namespace blue");
    ASSERT_EQ(answers("status").front()["state"], "withdrawn");
    startProblem.clear();
    EXPECT_EQ(ending("resume")["status"], "done");
    EXPECT_EQ(ending("wait-ready")["status"], "done");
}

TEST_F(RequestsTest, WithdrawForTwoClientsAtOnceIsRefusedForOne) {
    makeReady();
    Peer first(path);
    Peer second(path);
    first.send(requestLine("withdraw"));
    second.send(requestLine("withdraw"));
    std::multiset<std::string> const statuses = {endingFrom(first)["status"],
                                                 endingFrom(second)["status"]};
    EXPECT_THAT(statuses, ElementsAre("done", "failed"));
}

TEST_F(RequestsTest, ResyncReachesTheSource) {
    makeReady();
    EXPECT_EQ(ending("resync")["status"], "done");
    ASSERT_TRUE(turnUntil([&] { return service->resync().why != "start"; }));
    auto const status = answers("status").front();
    EXPECT_EQ(status["source"]["resyncs"], 1);
    EXPECT_EQ(status["source"]["lastView"]["why"], "asked for on the control socket");
}

TEST_F(RequestsTest, UnknownRequestsAndParametersAreRefusedByName) {
    makeReady();
    EXPECT_EQ(messageOf("shut-down"), "there is no request \"shut-down\"");
    for (auto const *const request : {"audit", "explain", "metrics", "resume", "resync", "show",
                                      "status", "trace", "wait-ready", "watch", "withdraw"}) {
        EXPECT_EQ(messageOf(request, {{"colour", 1}}),
                  fmt::format("{} has no parameter \"colour\"", request));
    }
    EXPECT_TRUE(service->ready());
}

TEST_F(RequestsTest, NoAnswerDependsOnHowWorkIsCut) {
    loop.scheduler()->shareIs(std::make_unique<Osk::CountShare>(1));
    makeReady();
    EXPECT_THAT(shown({}), SizeIs(4));
    EXPECT_EQ(ending("audit")["entries"], 4);
}

TEST_F(RequestsTest, TenThousandRequestsOfAllKindsWithATenthOfThemBroken) {
    makeReady();
    constexpr std::size_t clients = 40;
    constexpr std::size_t requests = 250;
    std::vector<std::string> const good = {requestLine("show", {{"vlan", 100}}),
                                           requestLine("status"),
                                           requestLine("explain", {{"intf", "bond0.100"}}),
                                           requestLine("metrics"),
                                           requestLine("audit"),
                                           requestLine("wait-ready"),
                                           requestLine("trace", {{"levels", "off"}}),
                                           requestLine("show")};
    std::vector<std::string> const broken = {
        requestLine("none"), requestLine("show", {{"vlan", 0}}),
        requestLine("explain", {{"intf", "x"}}), requestLine("withdraw", {{"x", 1}})};
    std::vector<Peer> peers;
    std::vector<std::string> toSend(clients);
    std::vector<std::size_t> answered(clients);
    for (std::size_t i = 0; i < clients; ++i) {
        peers.emplace_back(path);
        for (std::size_t j = 0; j < requests; ++j) {
            auto const number = i + j;
            toSend[i] +=
                number % 10 == 9 ? broken[number / 10 % broken.size()] : good[number % good.size()];
        }
    }
    ASSERT_TRUE(turnUntil([&] {
        bool all = true;
        for (std::size_t i = 0; i < clients; ++i) {
            if (auto const count = peers[i].send(toSend[i]); count > 0) {
                toSend[i].erase(0, static_cast<std::size_t>(count));
            }
            peers[i].receive();
            while (peers[i].hasLine()) {
                auto const line = peers[i].takeLine();
                if (line.find("\"version\":1}") != std::string::npos) {
                    bool const isBroken = (i + answered[i]++) % 10 == 9;
                    EXPECT_EQ(json::parse(line)["status"], isBroken ? "failed" : "done") << line;
                }
            }
            all = all && answered[i] == requests;
        }
        return all;
    }));
    EXPECT_TRUE(service->ready());
    EXPECT_EQ(control->server().clients(), clients);
}

TEST_F(RequestsTest, WhenTheAgentEndsItsClientsAreLetGo) {
    makeReady();
    Peer watching(path);
    watching.send(requestLine("watch"));
    ASSERT_TRUE(turnUntil([&] { return control->server().clients() == 1; }));
    control.reset();
    EXPECT_TRUE(endsFor(watching));
    EXPECT_FALSE(Peer(path).connected());
}

} // namespace
} // namespace Agent
