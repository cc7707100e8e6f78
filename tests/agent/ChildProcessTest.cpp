#include "agent/ChildProcess.h"

#include "agent/Descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>

namespace Agent {
namespace {

/// A process that ends with that status, or waits for a signal.
pid_t endsWith(int status) {
    pid_t const process = ::fork();
    if (process == 0) {
        ::_exit(status);
    }
    return process;
}
pid_t stays() {
    pid_t const process = ::fork();
    if (process == 0) {
        for (;;) {
            ::pause();
        }
    }
    return process;
}

TEST(ChildProcess, TellsHowItHasEnded) {
    ChildProcess child(endsWith(7));
    ASSERT_GT(child.number(), 0);
    int const status = child.wait();
    EXPECT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_EQ(child.number(), 0);
}

TEST(ChildProcess, IsGoneWithItsOwner) {
    pid_t number = 0;
    {
        ChildProcess const child(stays());
        number = child.number();
        ASSERT_EQ(::kill(number, 0), 0);
    }
    EXPECT_EQ(::kill(number, 0), -1); // nor is it there for somebody to wait for
    EXPECT_EQ(errno, ESRCH);
}

/// In a process that was forked: fork one that waits until `begins( this one )`, and then holds the
/// descriptors that it has for good. This one ends.
[[noreturn]] void leaveChild(auto const &begins) {
    pid_t const parent = ::getpid();
    if (::fork() == 0) {
        begins(parent);
        for (;;) {
            ::pause();
        }
    }
    ::_exit(0);
}

TEST(ChildProcess, EndsAtOnceWhereItsParentHadEndedBeforeItAskedForThat) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    Descriptor const here(ends[0]);
    {
        Descriptor const there(ends[1]); // theirs alone is open from here on
        pid_t const process = ::fork();
        if (process == 0) {
            leaveChild([](pid_t parent) {
                while (::getppid() == parent) {
                    ::usleep(1000);
                }
                endWith(parent);
            });
        }
        ChildProcess parent(process);
        EXPECT_EQ(parent.wait(), 0);
    }
    pollfd end{here.number(), POLLIN, 0};
    EXPECT_EQ(::poll(&end, 1, 20000), 1);
    EXPECT_NE(end.revents & POLLHUP, 0);
}

TEST(ChildProcess, LivesOnWhileItsParentDoes) {
    pid_t const parent = ::getpid();
    pid_t const process = ::fork();
    if (process == 0) {
        endWith(parent);
        ::_exit(7);
    }
    ChildProcess child(process);
    int const status = child.wait();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
}

TEST(ChildProcess, IsGoneWithItsOwnerWhenItHadEnded) {
    pid_t number = 0;
    {
        ChildProcess const child(endsWith(0));
        number = child.number();
    }
    EXPECT_EQ(::waitpid(number, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

} // namespace
} // namespace Agent
