#include "agent/store/CheckpointProcess.h"

#include "tests/agent/Program.h"
#include "tests/agent/loop/TurnUntil.h"
#include "tests/agent/store/StoreTest.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

namespace Agent {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class CheckpointProcessTest : public StoreTest {
  protected:
    CheckpointProcessTest() { journal.readerIs(recorder); }

    /// A program that stands for the agent's own.
    std::string script(std::string const &text) {
        auto const file = dir.write("script", "#!/bin/sh\n" + text);
        ::chmod(file.c_str(), 0700);
        return file;
    }
    /// How a run of `program` went.
    std::string problemOf(std::string const &program) {
        CheckpointProcess process(loop, path, program);
        std::optional<std::string> problem;
        process.start([&](std::string const &text) { problem = text; });
        EXPECT_TRUE(process.running());
        EXPECT_TRUE(turnUntil(loop, [&] { return problem.has_value(); }));
        EXPECT_FALSE(process.running());
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // no zombie
        EXPECT_EQ(errno, ECHILD);
        return problem.value_or("not over");
    }

    Loop loop{scheduler};
};

TEST_F(CheckpointProcessTest, CopiesTheLogOfAStoreInUse) {
    auto const store = openSqliteStore(path);
    for (std::uint16_t vlan = 1; vlan <= 50; ++vlan) {
        entryIs(vlan, "bond0.1", {"eth1"});
        write(*store, std::exchange(recorder.changes, {}));
    }
    auto const pages = store->logPages();
    EXPECT_EQ(problemOf(VLAN_SUBINTF_PROGRAM), "");
    entryIs(51, "bond0.1");
    write(*store, std::exchange(recorder.changes, {}));
    EXPECT_LT(store->logPages(), pages);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
}

TEST_F(CheckpointProcessTest, AFailureIsWhatTheProcessSays) {
    EXPECT_THAT(problemOf(VLAN_SUBINTF_PROGRAM),
                StartsWith("vlan-subintf: " + path + ": opening it: unable to open database file"));
}

TEST_F(CheckpointProcessTest, AnEndWithoutWordsIsAFailureToo) {
    EXPECT_THAT(problemOf(script("exit 3\n")), HasSubstr("has ended by status 3"));
    EXPECT_THAT(problemOf(script("kill -9 $$\n")), HasSubstr("has ended by signal 9"));
}

TEST_F(CheckpointProcessTest, AProgramThatCannotBeRunIsSaid) {
    CheckpointProcess process(loop, path, dir.file("none"));
    EXPECT_EQ(messageOf([&] { process.start([](std::string const &) {}); }),
              "store.db: starting the process that copies its write-ahead log: No such file or "
              "directory");
    EXPECT_FALSE(process.running());
}

TEST_F(CheckpointProcessTest, TheProcessHasNoDescriptorOfTheAgent) {
    int const open = ::open(dir.write("marker", "").c_str(), O_RDONLY); // without O_CLOEXEC
    ASSERT_GE(open, 0);
    EXPECT_THAT(problemOf(script("ls -l /proc/$$/fd >&2; exit 1\n")),
                AllOf(HasSubstr("/dev/null"), Not(HasSubstr("marker"))));
    ::close(open);
}

TEST_F(CheckpointProcessTest, TheProcessOfAnAgentThatHasEndedDoesNothing) {
    // Whoever it is: not who runs the program, so the agent has ended before the program began.
    auto const other = std::to_string(::getppid());
    auto const result =
        Program({checkpointCommand, "--", path}).environmentIs(agentVariable, other).run();
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.err, "");
}

TEST_F(CheckpointProcessTest, TheProcessKnowsTheAgentByItsNumber) {
    auto const program = script(fmt::format("echo \"of ${}\" >&2; exit 1\n", agentVariable));
    auto const expected = fmt::format("of {}", ::getpid());
    EXPECT_EQ(problemOf(program), expected);
    ::setenv(agentVariable, "1", 1);
    EXPECT_EQ(problemOf(program), expected);
    ::unsetenv(agentVariable);
}

TEST_F(CheckpointProcessTest, StopEndsItAndNothingIsTold) {
    CheckpointProcess process(loop, path, script("sleep 1000\n"));
    bool told = false;
    process.start([&](std::string const &) { told = true; });
    process.stop();
    EXPECT_FALSE(process.running());
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    loop.turn(std::chrono::milliseconds(0));
    EXPECT_FALSE(told);
    process.start([&](std::string const &) { told = true; }); // and it can begin again
    EXPECT_TRUE(process.running());
}

/// The only child of a process; 0 while it has none.
pid_t childOf(pid_t process) {
    std::ifstream children(fmt::format("/proc/{0}/task/{0}/children", process));
    pid_t child = 0;
    children >> child;
    return child;
}

bool hasOpen(pid_t process, std::string const &path) {
    std::error_code gone;
    for (auto const &entry :
         std::filesystem::directory_iterator(fmt::format("/proc/{}/fd", process), gone)) {
        if (std::filesystem::read_symlink(entry, gone) == path) {
            return true;
        }
    }
    return false;
}

TEST_F(CheckpointProcessTest, TheProcessDiesWithTheAgent) {
    openSqliteStore(path).reset();
    Reader reader(path);
    reader.run("PRAGMA journal_mode = DELETE; BEGIN EXCLUSIVE"); // the process waits for that
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    pid_t const agent = ::fork();
    ASSERT_GE(agent, 0);
    if (agent == 0) {
        CheckpointProcess process(loop, path, VLAN_SUBINTF_PROGRAM);
        process.start([](std::string const &) {});
        ::pause();
        ::_exit(1);
    }
    pid_t process = 0;
    EXPECT_TRUE(turnUntil(loop, [&] {
        process = childOf(agent);
        return process != 0 && hasOpen(process, path);
    }));
    ::kill(agent, SIGKILL);
    EXPECT_EQ(::waitpid(agent, nullptr, 0), agent);
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "status " << status;
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

} // namespace
} // namespace Agent
