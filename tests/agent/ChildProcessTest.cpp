#include "agent/ChildProcess.h"

#include <gtest/gtest.h>
#include <unistd.h>

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
