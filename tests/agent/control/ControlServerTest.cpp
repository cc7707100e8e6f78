#include "agent/control/ControlServer.h"

#include "agent/Error.h"
#include "tests/agent/control/ControlTest.h"

#include <fmt/format.h>

#include <random>
#include <set>
#include <vector>

namespace Agent {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// Sends so many numbered lines, each with a text of some length.
class ManyLines final : public Job {
  public:
    ManyLines(std::uint64_t count, std::size_t length, Reply &reply, std::uint64_t &made)
        : count_(count), text_(length, 'x'), reply_(reply), made_(made) {}

    std::optional<Ending> step(Osk::Task const &task) override {
        while (next_ < count_) {
            reply_.document({{"number", next_++}, {"text", text_}});
            ++made_;
            if (!reply_.room() || task.taskShouldYield()) {
                return std::nullopt;
            }
        }
        Ending ending;
        ending.fields = {{"count", count_}};
        return ending;
    }

  private:
    std::uint64_t count_;
    std::string text_;
    Reply &reply_;
    std::uint64_t &made_;
    std::uint64_t next_ = 0;
};

/// Waits until somebody opens its gate; counts those that are there.
class Waiting final : public Job {
  public:
    struct Gate {
        bool open = false;
        std::set<Reply *> waiting;
    };
    Waiting(Gate &gate, Reply &reply) : gate_(gate), reply_(reply) {
        gate_.waiting.insert(&reply_);
    }
    ~Waiting() override { gate_.waiting.erase(&reply_); }

    [[nodiscard]] bool hasWork() const noexcept override { return gate_.open; }
    std::optional<Ending> step(Osk::Task const & /*task*/) override { return Ending(); }

  private:
    Gate &gate_;
    Reply &reply_;
};

class Failing final : public Job {
  public:
    std::optional<Ending> step(Osk::Task const & /*task*/) override { fail("it does not work"); }
};

class ControlServerTest : public LoopTest {
  protected:
    std::unique_ptr<Job> start(ControlRequest const &request, Reply &reply) {
        started.push_back(request.name());
        if (request.name() == "many") {
            return std::make_unique<ManyLines>(manyCount, manyLength, reply, made);
        }
        if (request.name() == "wait") {
            return std::make_unique<Waiting>(gate, reply);
        }
        if (request.name() == "failing") {
            return std::make_unique<Failing>();
        }
        fail("there is no request {}", request.name());
    }
    ControlServer &serve(ControlLimits const &limits = {}) {
        return server.emplace(
            loop, ControlServer::Options{path, "", limits},
            [this](ControlRequest const &request, Reply &reply) { return start(request, reply); },
            statistics);
    }
    bool hasClients(std::size_t count) {
        return turnUntil([&] { return server->clients() == count; });
    }

    std::string const path = dir.file("control.sock");
    ControlStatistics statistics;
    Waiting::Gate gate;
    std::uint64_t manyCount = 3;
    std::size_t manyLength = 1;
    std::uint64_t made = 0;
    std::vector<std::string> started;
    std::optional<ControlServer> server;
};

TEST_F(ControlServerTest, AnswersARequestWithLinesAndALastOne) {
    serve();
    Peer peer(path);
    peer.send(requestLine("many"));
    EXPECT_EQ(lineFrom(peer), R"({"number":0,"text":"x"})");
    EXPECT_EQ(lineFrom(peer), R"({"number":1,"text":"x"})");
    EXPECT_EQ(lineFrom(peer), R"({"number":2,"text":"x"})");
    EXPECT_EQ(lineFrom(peer), R"({"count":3,"status":"done","version":1})");
}

TEST_F(ControlServerTest, AnswersRequestsOfOneClientInTheirOrder) {
    serve();
    Peer peer(path);
    peer.send(requestLine("wait") + requestLine("many") + requestLine("nonsense"));
    ASSERT_TRUE(turnUntil([&] { return !gate.waiting.empty(); }));
    EXPECT_EQ(started, std::vector<std::string>{"wait"});
    gate.open = true;
    (*gate.waiting.begin())->wake();
    EXPECT_EQ(endingFrom(peer), json({{"status", "done"}, {"version", 1}}));
    EXPECT_EQ(endingFrom(peer)["count"], 3);
    EXPECT_EQ(endingFrom(peer)["message"], "there is no request nonsense");
}

TEST_F(ControlServerTest, ARequestMayComeInPieces) {
    serve();
    Peer peer(path);
    for (char const c : requestLine("many")) {
        peer.send(std::string_view(&c, 1));
        loop.turn(std::chrono::milliseconds(0));
    }
    EXPECT_EQ(endingFrom(peer)["status"], "done");
}

TEST_F(ControlServerTest, AnErrorOfAJobIsTheLastLine) {
    serve();
    Peer peer(path);
    peer.send(requestLine("failing"));
    EXPECT_EQ(endingFrom(peer),
              json({{"status", "failed"}, {"message", "it does not work"}, {"version", 1}}));
    peer.send(requestLine("many"));
    EXPECT_EQ(endingFrom(peer)["status"], "done");
}

TEST_F(ControlServerTest, AMalformedRequestIsToldAndTheNextIsAnswered) {
    serve();
    Peer peer(path);
    peer.send("hello\n" + requestLine("many"));
    auto const refusal = endingFrom(peer);
    EXPECT_EQ(refusal["status"], "failed");
    EXPECT_THAT(refusal["message"].get<std::string>(), HasSubstr("not JSON"));
    EXPECT_EQ(endingFrom(peer)["status"], "done");
    EXPECT_EQ(statistics.malformedRequests, 1U);
    EXPECT_EQ(statistics.requests, 1U);
}

TEST_F(ControlServerTest, AfterManyMalformedRequestsTheClientIsClosed) {
    ControlLimits limits;
    limits.malformedRequests = 3;
    serve(limits);
    Peer peer(path);
    peer.send("a\nb\nc\n" + requestLine("many"));
    EXPECT_TRUE(endsFor(peer));
    EXPECT_THAT(peer.received(), HasSubstr("closed after 3 malformed requests"));
    EXPECT_TRUE(started.empty());
}

TEST_F(ControlServerTest, ALineThatIsTooLongIsToldAndClosed) {
    ControlLimits limits;
    limits.requestBytes = 1000;
    serve(limits);
    Peer peer(path);
    peer.send(std::string(1001, ' '));
    EXPECT_EQ(endingFrom(peer)["message"], "the request is longer than 1000 bytes");
    EXPECT_TRUE(endsFor(peer));
    EXPECT_TRUE(hasClients(0));
}

TEST_F(ControlServerTest, ALineOfJustTheLimitIsAnswered) {
    ControlLimits limits;
    limits.requestBytes = 1000;
    serve(limits);
    Peer peer(path);
    auto line = requestLine("many");
    peer.send(std::string(1001 - line.size(), ' ') + line);
    EXPECT_EQ(endingFrom(peer)["status"], "done");
}

TEST_F(ControlServerTest, AHalfClosedClientGetsItsAnswers) {
    serve();
    Peer peer(path);
    peer.send(requestLine("many") + requestLine("many"));
    peer.endInput();
    EXPECT_EQ(endingFrom(peer)["status"], "done");
    EXPECT_EQ(endingFrom(peer)["status"], "done");
    EXPECT_TRUE(endsFor(peer));
    EXPECT_TRUE(hasClients(0));
}

TEST_F(ControlServerTest, AHalfClosedClientWithHalfARequestIsToldAndClosed) {
    serve();
    Peer peer(path);
    peer.send("{\"version\"");
    peer.endInput();
    EXPECT_EQ(endingFrom(peer)["message"], "the request has no line end");
    EXPECT_TRUE(endsFor(peer));
}

TEST_F(ControlServerTest, WhenAClientLeavesItsJobGoes) {
    serve();
    Peer peer(path);
    peer.send(requestLine("wait"));
    ASSERT_TRUE(turnUntil([&] { return gate.waiting.size() == 1; }));
    peer.close();
    EXPECT_TRUE(hasClients(0));
    EXPECT_TRUE(gate.waiting.empty());
}

TEST_F(ControlServerTest, AClientThatLeavesInTheMiddleOfAnAnswerHarmsNobody) {
    manyCount = 100'000;
    manyLength = 100;
    serve();
    Peer leaving(path);
    Peer other(path);
    leaving.send(requestLine("many"));
    ASSERT_NE(lineFrom(leaving), "nothing");
    leaving.close();
    EXPECT_TRUE(hasClients(1));
    other.send(requestLine("failing"));
    EXPECT_EQ(endingFrom(other)["status"], "failed");
}

TEST_F(ControlServerTest, ForASlowReaderNoMoreIsMadeThanTheBuffersTake) {
    manyCount = 20'000;
    manyLength = 1000;
    serve();
    Peer slow(path);
    slow.send(requestLine("many"));
    Peer quick(path);
    // As many turns as the whole answer would take, several times.
    for (int i = 0; i < 1000; ++i) {
        loop.turn(std::chrono::milliseconds(0));
    }
    EXPECT_LT(made * manyLength, std::uint64_t{2} << 20); // the limit, and the socket's buffer
    auto const madeWhileStopped = made;
    quick.send(requestLine("failing"));
    EXPECT_EQ(endingFrom(quick)["status"], "failed");
    EXPECT_EQ(made, madeWhileStopped);
    for (std::uint64_t i = 0; i < manyCount; ++i) {
        ASSERT_EQ(documentFrom(slow)["number"], i);
    }
    EXPECT_EQ(endingFrom(slow)["count"], manyCount);
}

TEST_F(ControlServerTest, AnAnswerThatTakesLongDoesNotHoldUpOthers) {
    manyCount = 50'000;
    manyLength = 100;
    serve();
    Peer big(path);
    big.send(requestLine("many"));
    ASSERT_NE(lineFrom(big), "nothing");
    Peer small(path);
    small.send(requestLine("failing"));
    ASSERT_TRUE(turnUntil([&] {
        big.receive();
        small.receive();
        return small.hasLine();
    }));
    EXPECT_LT(made, manyCount);
}

TEST_F(ControlServerTest, ErrorsThatAClientDoesNotReadStopItsRequests) {
    ControlLimits limits;
    limits.outputBytes = 1000;
    serve(limits);
    Peer peer(path);
    std::size_t sent = 0;
    auto const line = requestLine("nonsense");
    for (int i = 0; i < 20'000; ++i) {
        sent += peer.send(line) > 0 ? 1U : 0U;
        loop.turn(std::chrono::milliseconds(0));
    }
    EXPECT_LT(started.size(), 10'000U);
    for (std::size_t i = 0; i < sent; ++i) {
        ASSERT_EQ(endingFrom(peer)["status"], "failed") << i;
    }
}

TEST_F(ControlServerTest, OneClientTooManyIsToldAndClosed) {
    ControlLimits limits;
    limits.clients = 2;
    serve(limits);
    Peer first(path);
    auto second = std::make_optional<Peer>(path);
    ASSERT_TRUE(hasClients(2));
    Peer third(path);
    EXPECT_EQ(endingFrom(third)["message"], "there are 2 clients already");
    EXPECT_TRUE(endsFor(third));
    EXPECT_EQ(statistics.refusedClients, 1U);
    second.reset();
    ASSERT_TRUE(hasClients(1));
    Peer fourth(path);
    fourth.send(requestLine("many"));
    EXPECT_EQ(endingFrom(fourth)["status"], "done");
}

TEST_F(ControlServerTest, AnIdleClientIsToldAndClosed) {
    ControlLimits limits;
    limits.idle = std::chrono::milliseconds(1);
    serve(limits);
    Peer peer(path);
    EXPECT_EQ(endingFrom(peer)["message"], "closed after 1 s without a request");
    EXPECT_TRUE(endsFor(peer));
    EXPECT_EQ(statistics.timedOutClients, 1U);
}

TEST_F(ControlServerTest, ARequestThatNeverEndsDoesNotKeepAClientFromBeingIdle) {
    ControlLimits limits;
    limits.idle = std::chrono::milliseconds(20);
    serve(limits);
    Peer peer(path);
    EXPECT_TRUE(turnUntil([&] {
        peer.send(" ");
        peer.receive();
        return peer.ended();
    }));
}

TEST_F(ControlServerTest, AClientThatWaitsForItsAnswerIsNotIdle) {
    ControlLimits limits;
    limits.idle = std::chrono::milliseconds(1);
    serve(limits);
    Peer waiting(path);
    waiting.send(requestLine("wait"));
    Peer idle(path);
    EXPECT_TRUE(endsFor(idle));
    EXPECT_TRUE(hasClients(1));
    EXPECT_EQ(gate.waiting.size(), 1U);
}

TEST_F(ControlServerTest, AClientThatTakesNothingIsClosed) {
    ControlLimits limits;
    limits.stalled = std::chrono::milliseconds(10);
    manyCount = 100'000;
    manyLength = 1000;
    serve(limits);
    Peer peer(path);
    peer.send(requestLine("many"));
    ASSERT_TRUE(hasClients(1));
    EXPECT_TRUE(hasClients(0));
    EXPECT_EQ(statistics.timedOutClients, 1U);
    EXPECT_TRUE(endsFor(peer));
}

TEST_F(ControlServerTest, WithoutClientsTheLoopIsNotWoken) {
    serve();
    {
        Peer const peer(path);
        ASSERT_TRUE(hasClients(1));
    }
    ASSERT_TRUE(hasClients(0));
    while (loop.scheduler()->runOne()) {
    }
    auto const before = Loop::Clock::now();
    loop.turn(std::chrono::milliseconds(50));
    EXPECT_GE(Loop::Clock::now() - before, std::chrono::milliseconds(50));
}

TEST_F(ControlServerTest, TenThousandRequestsOfManyClientsWithATenthOfThemBroken) {
    ControlLimits limits;
    limits.malformedRequests = 1'000'000;
    serve(limits);
    constexpr std::size_t clients = 50;
    constexpr std::size_t requestsPerClient = 200;
    auto const seed = std::random_device()();
    SCOPED_TRACE(fmt::format("seed {}", seed));
    std::mt19937 random(seed);
    std::vector<Peer> peers;
    std::vector<std::string> toSend(clients);
    std::vector<std::vector<bool>> broken(clients);
    for (std::size_t i = 0; i < clients; ++i) {
        peers.emplace_back(path);
        for (std::size_t j = 0; j < requestsPerClient; ++j) {
            broken[i].push_back(random() % 10 == 0);
            auto line = requestLine("many");
            if (broken[i].back()) {
                line[random() % 10] = static_cast<char>(random() % 2 == 0 ? '\xff' : '[');
            }
            toSend[i] += line;
        }
    }
    std::vector<std::size_t> answered(clients);
    ASSERT_TRUE(turnUntil([&] {
        bool all = true;
        for (std::size_t i = 0; i < clients; ++i) {
            auto const piece = std::string_view(toSend[i]).substr(0, random() % 500);
            if (auto const count = peers[i].send(piece); count > 0) {
                toSend[i].erase(0, static_cast<std::size_t>(count));
            }
            peers[i].receive();
            while (peers[i].hasLine()) {
                auto const line = json::parse(peers[i].takeLine());
                if (line.contains("status")) {
                    EXPECT_EQ(line["status"], broken[i].at(answered[i]++) ? "failed" : "done");
                }
            }
            all = all && answered[i] == requestsPerClient;
        }
        return all;
    }));
    EXPECT_EQ(statistics.requests + statistics.malformedRequests, clients * requestsPerClient);
    EXPECT_EQ(server->clients(), clients);
}

} // namespace
} // namespace Agent
