// The agent as a process: its signals, its supervisor, its files.
#include "tests/agent/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace Agent {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

class AgentProgram : public testing::Test {
  protected:
    AgentProgram() {
        std::string const capture =
            std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/captures/small/";
        links_ = dir_.write("links.json", readFile(capture + "links.json"));
        vlans_ = dir_.write("vlans.json", readFile(capture + "vlans.json"));
    }

    Program agent(std::vector<std::string> const &more = {}) {
        std::vector<std::string> arguments{"agent", "--source",  "files", "--links",
                                           links_,  "--vlans",   vlans_,  "--store",
                                           store_,  "--control", control_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Program(arguments);
    }
    ProgramResult ask(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--control", control_});
        return Program(std::move(arguments)).run();
    }
    /// Wait until it listens, and until it is ready. A socket may be there of one that was killed.
    [[nodiscard]] bool isReady() { return ask({"wait-ready", "--timeout", "30"}).status == 0; }
    std::string derived() {
        return Program({"derive", "--links", links_, "--vlans", vlans_, "-j"}).run().out;
    }

    TempDir dir_;
    std::string links_;
    std::string vlans_;
    std::string store_ = dir_.file("directory.db");
    std::string control_ = dir_.file("control.sock");
};

TEST_F(AgentProgram, ShowsTheDocumentThatDerivePrints) {
    auto const running = agent().start();
    ASSERT_TRUE(isReady()) << running->err();
    ProgramResult const shown = ask({"show", "-j"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.out, derived());
}

TEST_F(AgentProgram, ExplainsAsTheReadmeShows) {
    auto const running = agent().start();
    ASSERT_TRUE(isReady()) << running->err();
    std::string const readme = readFile(std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/README.md");
    ProgramResult const explained = ask({"explain", "bond0.200", "200"});
    EXPECT_EQ(explained.status, 0);
    EXPECT_THAT(readme, HasSubstr("```\n" + explained.out + "```\n"));
}

TEST_F(AgentProgram, SigtermEndsItWithStatus0AndTheStoreHasTheOutput) {
    auto const running = agent().start();
    ASSERT_TRUE(isReady()) << running->err();
    running->signal(SIGTERM);
    ProgramResult const result = running->wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_FALSE(std::filesystem::exists(control_));
    sqlite3 *database = nullptr;
    ASSERT_EQ(sqlite3_open_v2(store_.c_str(), &database, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    std::string entries;
    sqlite3_exec(
        database, "SELECT count(*) FROM entries",
        [](void *to, int, char **values, char **) {
            *static_cast<std::string *>(to) = values[0];
            return 0;
        },
        &entries, nullptr);
    sqlite3_close(database);
    EXPECT_EQ(entries, "16");
}

TEST_F(AgentProgram, KilledAndStartedAgainItIsReadyWithTheSameOutput) {
    for (int i = 0; i < 5; ++i) {
        auto const running = agent().start();
        ASSERT_TRUE(isReady()) << running->err();
        EXPECT_EQ(ask({"show", "-j"}).out, derived());
        running->signal(SIGKILL);
        EXPECT_EQ(running->wait().status, -1);
    }
}

TEST_F(AgentProgram, SighupMakesItTakeAFullViewAgain) {
    auto const running = agent().start();
    ASSERT_TRUE(isReady()) << running->err();
    running->signal(SIGHUP);
    std::string why;
    for (int i = 0; i < 500 && why != "SIGHUP"; ++i) {
        auto const status = nlohmann::json::parse(ask({"status", "-j"}).out);
        why = status.at("source").at("lastView").at("why").get<std::string>();
    }
    EXPECT_EQ(why, "SIGHUP");
}

TEST_F(AgentProgram, ASecondOneOnTheSameSocketIsRefused) {
    auto const running = agent().start();
    ASSERT_TRUE(isReady()) << running->err();
    ProgramResult const second = agent().run();
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.err, HasSubstr(control_));
    EXPECT_EQ(ask({"show", "-j"}).out, derived());
}

TEST_F(AgentProgram, WorksFromMemoryWhereItsStoreIsDamaged) {
    static_cast<void>(dir_.write("directory.db", std::string(4096, 'x')));
    auto const running = agent().start();
    ASSERT_TRUE(isReady()) << running->err();
    EXPECT_EQ(ask({"show", "-j"}).out, derived());
    EXPECT_THAT(running->err(), HasSubstr(store_));
    EXPECT_THAT(ask({"status"}).out, HasSubstr("directory.db"));
    running->signal(SIGTERM);
    EXPECT_EQ(running->wait().status, 0);
    EXPECT_EQ(readFile(store_), std::string(4096, 'x'));
}

TEST_F(AgentProgram, IsNotWokenUpWhileNothingHappens) {
    auto const running = agent().start();
    ASSERT_TRUE(isReady()) << running->err();
    auto const wakeups = [&] {
        std::ifstream status("/proc/" + std::to_string(running->process()) + "/status");
        std::string line;
        while (std::getline(status, line) && !line.starts_with("voluntary_ctxt_switches:")) {
        }
        return line;
    };
    // What follows the start, such as a last write, comes to an end.
    std::string before;
    for (int i = 0; i < 40 && before != wakeups(); ++i) {
        before = wakeups();
        std::this_thread::sleep_for(500ms);
    }
    EXPECT_THAT(before, StartsWith("voluntary_ctxt_switches:"));
    EXPECT_EQ(wakeups(), before);
}

/// What a supervisor hears.
class Supervisor {
  public:
    explicit Supervisor(std::string path) : path_(std::move(path)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof(address.sun_path) - 1);
        socket_ = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        timeval const patience{20, 0};
        EXPECT_EQ(::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience)), 0);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    }
    ~Supervisor() { ::close(socket_); }
    Supervisor(Supervisor const &) = delete;
    Supervisor &operator=(Supervisor const &) = delete;

    /// Listen until that line comes; false when nothing comes any more.
    [[nodiscard]] bool hears(std::string const &line) {
        std::array<char, 4096> buffer{};
        ssize_t got = 0;
        while ((got = ::recv(socket_, buffer.data(), buffer.size(), 0)) > 0) {
            std::istringstream lines(std::string(buffer.data(), static_cast<std::size_t>(got)));
            bool isThere = false;
            for (std::string one; std::getline(lines, one);) {
                heard.push_back(one);
                isThere = isThere || one == line;
            }
            if (isThere) {
                return true;
            }
        }
        return false;
    }

    std::vector<std::string> heard;

  private:
    std::string path_;
    int socket_;
};

TEST_F(AgentProgram, TellsItsSupervisorWhatItWaitsForAndOnlyThenThatItIsReady) {
    Supervisor supervisor(dir_.file("notify"));
    std::filesystem::rename(vlans_, dir_.file("later.json"));
    auto const running = agent().environmentIs("NOTIFY_SOCKET", dir_.file("notify")).start();
    ASSERT_TRUE(supervisor.hears("STATUS=waiting for links of files " + links_ + " " + vlans_))
        << running->err();
    EXPECT_THAT(supervisor.heard, testing::Not(Contains("READY=1")));
    std::filesystem::rename(dir_.file("later.json"), vlans_);
    ASSERT_TRUE(supervisor.hears("READY=1")) << running->err();
    EXPECT_TRUE(supervisor.hears("STATUS=ready: 16 entries"));
    running->signal(SIGTERM);
    EXPECT_TRUE(supervisor.hears("STOPPING=1"));
}

TEST_F(AgentProgram, FeedsTheWatchdogThatItsSupervisorAsksFor) {
    Supervisor supervisor(dir_.file("notify"));
    auto const running = agent()
                             .environmentIs("NOTIFY_SOCKET", dir_.file("notify"))
                             .environmentIs("WATCHDOG_USEC", "100000")
                             .start();
    ASSERT_TRUE(supervisor.hears("READY=1")) << running->err();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(supervisor.hears("WATCHDOG=1"));
    }
}

} // namespace
} // namespace Agent
