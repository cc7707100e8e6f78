#include "agent/control/ControlSocket.h"

#include "tests/agent/MessageOf.h"
#include "tests/agent/WorkingFolder.h"
#include "tests/agent/control/ControlTest.h"

#include <grp.h>
#include <sys/stat.h>

#include <filesystem>

namespace Agent {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

unsigned modeOf(std::string const &path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

class ControlSocketTest : public testing::Test {
  protected:
    TempDir dir;
    std::string const path = dir.file("control.sock");

    /// A socket that an agent left when it was killed.
    void leaveStaleSocket() const {
        Descriptor const socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        UnixAddress const address(path);
        ASSERT_EQ(::bind(socket.number(), address.get(), address.size()), 0);
    }
    [[nodiscard]] std::string refusal() const {
        return messageOf([&] { ControlSocket const socket(path, ""); });
    }
};

TEST_F(ControlSocketTest, IsForItsOwnerAlone) {
    ControlSocket const socket(path, "");
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_TRUE(Peer(path).connected());
}

TEST_F(ControlSocketTest, MayBeForAGroup) {
    struct group const *const own = ::getgrgid(::getegid());
    if (!own) {
        GTEST_SKIP() << "this group has no name";
    }
    ControlSocket const socket(path, own->gr_name);
    EXPECT_EQ(modeOf(path), 0660U);
    struct stat status {};
    ASSERT_EQ(::lstat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_gid, ::getegid());
}

TEST_F(ControlSocketTest, AnUnknownGroupIsAnErrorAndLeavesNothing) {
    EXPECT_EQ(messageOf([&] { ControlSocket const socket(path, "no-such-group"); }),
              "there is no group no-such-group");
    EXPECT_TRUE(std::filesystem::is_empty(dir.file("")));
}

TEST_F(ControlSocketTest, MissingFoldersAreMadeForTheOwnerAlone) {
    ControlSocket const socket(dir.file("a/b/control.sock"), "");
    EXPECT_EQ(modeOf(dir.file("a")), 0700U);
    EXPECT_EQ(modeOf(dir.file("a/b")), 0700U);
}

TEST_F(ControlSocketTest, MissingFoldersOfARelativePathAreMadeInTheWorkingFolder) {
    WorkingFolder const working(dir.file(""));
    ControlSocket const socket("run/sub/control.sock", "");
    EXPECT_EQ(modeOf(dir.file("run")), 0700U);
    EXPECT_TRUE(Peer(dir.file("run/sub/control.sock")).connected());
}

TEST_F(ControlSocketTest, ASlashTooManyDoesNotMatter) {
    WorkingFolder const working(dir.file(""));
    ControlSocket const socket("a//b.sock", "");
    EXPECT_TRUE(Peer(dir.file("a/b.sock")).connected());
}

TEST_F(ControlSocketTest, AFolderThatCannotBeMadeInAWorkingFolderThatIsGoneIsAnError) {
    std::string const gone = dir.file("gone");
    std::filesystem::create_directory(gone);
    WorkingFolder const working(gone);
    std::filesystem::remove(gone);
    EXPECT_EQ(messageOf([] { ControlSocket const socket("run/control.sock", ""); }),
              "run: cannot make the folder: No such file or directory");
}

TEST_F(ControlSocketTest, NothingIsLeftAtTheEnd) {
    { ControlSocket const socket(path, ""); }
    EXPECT_TRUE(std::filesystem::is_empty(dir.file("")));
}

TEST_F(ControlSocketTest, AStaleSocketIsReplaced) {
    leaveStaleSocket();
    ControlSocket const socket(path, "");
    EXPECT_TRUE(Peer(path).connected());
}

TEST_F(ControlSocketTest, ALivingAgentIsLeftAlone) {
    ControlSocket const first(path, "");
    EXPECT_EQ(refusal(), path + ": another agent is running");
    EXPECT_TRUE(Peer(path).connected());
}

TEST_F(ControlSocketTest, SomebodyElseWhoListensIsLeftAlone) {
    Descriptor const socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    UnixAddress const address(path);
    ASSERT_EQ(::bind(socket.number(), address.get(), address.size()), 0);
    ASSERT_EQ(::listen(socket.number(), 1), 0);
    EXPECT_EQ(refusal(), path + ": somebody is listening");
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(ControlSocketTest, AFileThatIsNoSocketIsLeftAlone) {
    static_cast<void>(dir.write("control.sock", "precious"));
    EXPECT_EQ(refusal(), path + ": there is something that is no socket");
    EXPECT_EQ(readFile(path), "precious");
}

TEST_F(ControlSocketTest, ASocketThatTookItsPlaceIsNotRemoved) {
    {
        ControlSocket const socket(path, "");
        ASSERT_EQ(::unlink(path.c_str()), 0);
        leaveStaleSocket();
    }
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(ControlSocketTest, APathThatIsTooLongIsAnErrorAndMakesNoFolder) {
    std::string const longPath = dir.file(std::string(200, 'x') + "/control.sock");
    EXPECT_THAT(messageOf([&] { ControlSocket const socket(longPath, ""); }),
                HasSubstr("the path of a socket has 1 to 107 bytes"));
    EXPECT_TRUE(std::filesystem::is_empty(dir.file("")));
}

TEST_F(ControlSocketTest, AFolderThatCannotBeMadeIsAnError) {
    static_cast<void>(dir.write("file", ""));
    EXPECT_THAT(messageOf([&] { ControlSocket const socket(dir.file("file/control.sock"), ""); }),
                HasSubstr("file"));
}

} // namespace
} // namespace Agent
