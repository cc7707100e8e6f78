#include "agent/DefaultPaths.h"

#include "agent/Error.h"
#include "tests/agent/TempDir.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

namespace Agent {
namespace {

/// What the function says to that user, in a process of its own.
std::string pathFor(uid_t user, std::map<std::string, std::string> const &environment,
                    std::string (*pathOf)() = defaultControlPath) {
    TempDir const dir;
    std::string const file = dir.write("path", "");
    std::ofstream out(file);
    pid_t const child = ::fork();
    if (child == 0) {
        for (auto const *const name : {"XDG_RUNTIME_DIR", "XDG_STATE_HOME", "HOME"}) {
            ::unsetenv(name);
        }
        for (auto const &[name, value] : environment) {
            ::setenv(name.c_str(), value.c_str(), 1);
        }
        if (::geteuid() != user && ::setuid(user) != 0) {
            ::_exit(1);
        }
        try {
            out << pathOf() << std::flush;
        } catch (Error const &error) {
            out << error.what() << std::flush;
        }
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return readFile(file);
}

/// A user that this process is or can become, but root.
uid_t someUser() {
    return ::geteuid() == 0 ? 65534 : ::geteuid();
}

TEST(ControlPath, OfRootIsInRun) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "this is not root";
    }
    EXPECT_EQ(pathFor(0, {{"XDG_RUNTIME_DIR", "/somewhere"}}), "/run/vlan-subintf/control.sock");
}

TEST(ControlPath, OfAUserIsInTheRuntimeFolder) {
    EXPECT_EQ(pathFor(someUser(), {{"XDG_RUNTIME_DIR", "/run/user/7"}, {"HOME", "/home/x"}}),
              "/run/user/7/vlan-subintf/control.sock");
}

TEST(ControlPath, WithoutARuntimeFolderIsInTheStateFolder) {
    EXPECT_EQ(pathFor(someUser(), {{"XDG_STATE_HOME", "/state"}, {"HOME", "/home/x"}}),
              "/state/vlan-subintf/control.sock");
    EXPECT_EQ(pathFor(someUser(), {{"XDG_RUNTIME_DIR", "relative"}, {"HOME", "/home/x"}}),
              "/home/x/.local/state/vlan-subintf/control.sock");
}

TEST(ControlPath, WithoutAnyFolderIsAnErrorThatSaysWhatToDo) {
    EXPECT_NE(pathFor(someUser(), {}).find("give --control PATH"), std::string::npos);
}

TEST(StorePath, OfRootIsInVarLib) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "this is not root";
    }
    EXPECT_EQ(pathFor(0, {{"XDG_STATE_HOME", "/somewhere"}}, defaultStorePath),
              "/var/lib/vlan-subintf/directory.db");
}

TEST(StorePath, OfAUserIsInTheStateFolder) {
    EXPECT_EQ(
        pathFor(someUser(), {{"XDG_STATE_HOME", "/state"}, {"HOME", "/home/x"}}, defaultStorePath),
        "/state/vlan-subintf/directory.db");
    EXPECT_EQ(pathFor(someUser(), {{"HOME", "/home/x"}}, defaultStorePath),
              "/home/x/.local/state/vlan-subintf/directory.db");
}

TEST(StorePath, OfAUserWithoutAHomeHasToBeGiven) {
    EXPECT_EQ(pathFor(someUser(), {}, defaultStorePath),
              "neither XDG_STATE_HOME nor HOME is set: give --store PATH");
}

} // namespace
} // namespace Agent
