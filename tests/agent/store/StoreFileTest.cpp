#include "agent/store/StoreFile.h"

#include "tests/agent/MessageOf.h"
#include "tests/agent/TempDir.h"
#include "tests/agent/WorkingFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace Agent {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

unsigned modeOf(std::string const &path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

class StoreFileTest : public testing::Test {
  protected:
    TempDir dir;

    std::string refusal(std::string const &path) const {
        return messageOf([&] { StoreFile const file(path); }, dir.file(""));
    }
    /// What is said of that path in a working folder that is gone.
    std::string refusalNowhere(std::string const &path) const {
        std::string const gone = dir.file("gone");
        std::filesystem::create_directory(gone);
        WorkingFolder const working(gone);
        std::filesystem::remove(gone);
        return refusal(path);
    }
};

TEST_F(StoreFileTest, MissingFoldersAreMadeForTheOwnerAlone) {
    StoreFile const file(dir.file("a/b/store.db"));
    EXPECT_EQ(modeOf(dir.file("a")), 0700U);
    EXPECT_EQ(modeOf(dir.file("a/b")), 0700U);
}

TEST_F(StoreFileTest, ARelativePathIsInTheWorkingFolder) {
    WorkingFolder const working(dir.file(""));
    StoreFile const file("a//b/store.db");
    EXPECT_EQ(modeOf(dir.file("a")), 0700U);
    EXPECT_TRUE(std::filesystem::exists(dir.file("a/b/store.db")));
}

TEST_F(StoreFileTest, AFolderThatCannotBeMadeIsAnError) {
    static_cast<void>(dir.write("file", ""));
    EXPECT_EQ(refusal(dir.file("file/sub/store.db")),
              "file/sub/store.db: making the folder file/sub: Not a directory");
}

TEST_F(StoreFileTest, ARelativePathInAWorkingFolderThatIsGoneIsAnError) {
    EXPECT_THAT(refusalNowhere("store.db"),
                AllOf(StartsWith("store.db: "), EndsWith(": No such file or directory")));
}

TEST_F(StoreFileTest, AFolderOfARelativePathInAWorkingFolderThatIsGoneIsAnError) {
    EXPECT_EQ(refusalNowhere("a/store.db"),
              "a/store.db: making the folder a: No such file or directory");
}

} // namespace
} // namespace Agent
