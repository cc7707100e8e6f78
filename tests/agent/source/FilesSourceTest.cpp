#include "agent/source/FilesSource.h"

#include "tests/agent/SourceTest.h"
#include "tests/agent/loop/TurnUntil.h"
#include "tests/agent/source/InputShape.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace Agent {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

/// A native document: these subinterfaces in VLAN 100, on LAGs of one member. The elements of
/// "interfaces" are declared.
std::string documentOf(std::vector<std::string> const &subIntfs,
                       std::string const &interfaces = "") {
    std::string members;
    for (std::string const &name : subIntfs) {
        members += (members.empty() ? "" : ", ");
        members += R"({"intfId": ")" + name +
                   R"(", "tagOnEgress": true, "allowedTrafficDirection": "both"})";
    }
    return R"({"version": 1, "interfaces": [)" + interfaces +
           R"(], "vlanConfig": [{"vlanId": 100, "intf": [)" + members +
           R"(]}], "lagPhyIntfConfig": [{"intfId": "PortChannel1", "phyIntf": ["Ethernet1"]}]})";
}

/// One with more rows than a pipe holds.
std::string largeDocument() {
    std::vector<std::string> subIntfs;
    for (int i = 1; i <= 10000; ++i) {
        subIntfs.push_back("PortChannel1." + std::to_string(i));
    }
    return documentOf(subIntfs);
}

/// The only child of a process; 0 while it has none.
pid_t childOf(pid_t process) {
    auto const number = std::to_string(process);
    std::ifstream children("/proc/" + number + "/task/" + number + "/children");
    pid_t child = 0;
    children >> child;
    return child;
}

/// Reading ends of pipes that a process has open.
int readablePipesOf(pid_t process) {
    int pipes = 0;
    std::error_code gone; // it may close one meanwhile
    for (auto const &entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        struct stat link {};
        auto const target = std::filesystem::read_symlink(entry, gone);
        bool const isPipe = target.native().starts_with("pipe:");
        if (isPipe && ::lstat(entry.path().c_str(), &link) == 0 && (link.st_mode & S_IRUSR) != 0) {
            ++pipes;
        }
    }
    return pipes;
}

/// Writes down what the source tells.
class Host final : public SourceHost {
  public:
    std::vector<std::string> events;
    std::vector<std::string> left; ///< names of those that are retired

    void linksKnown() override { events.emplace_back("links"); }
    void viewComplete(std::string_view why) override {
        events.push_back("view: " + std::string(why));
    }
    void problem(std::string_view message) override {
        events.push_back("! " + std::string(message));
    }
    void problemOver() override { events.emplace_back("over"); }
    void retired(Iftel::IntfId id) override { left.emplace_back(id.stringValue().view()); }
};

class FilesSourceTest : public SourceTest {
  protected:
    void make(InputOptions files) {
        source_ = std::make_unique<FilesSource>(loop_, inputs_, std::move(files), host_);
    }
    void startNative(std::string const &text) {
        make({"", "", dir.write("inputs.json", text)});
        source_->start();
    }
    void makeFolder(std::string const &name, std::string const &text) {
        std::filesystem::create_directory(dir.file(name));
        static_cast<void>(dir.write(name + "/inputs.json", text));
    }
    void startIn(std::string const &folder, std::string const &text) {
        makeFolder(folder, text);
        make({"", "", dir.file(folder + "/inputs.json")});
        source_->start();
    }
    void rewrite(std::string const &text) { static_cast<void>(dir.write("inputs.json", text)); }
    [[nodiscard]] bool until(std::size_t events) {
        return turnUntil(loop_, [&] { return events_.size() >= events; });
    }
    [[nodiscard]] std::vector<std::string> subIntfs() const {
        std::vector<std::string> names;
        for (auto const &[vlan, members] : shapeOf(inputs_).first) {
            for (auto const &[name, port] : members) {
                names.push_back(name);
            }
        }
        return names;
    }

    Loop loop_{Osk::TaskScheduler::TaskSchedulerIs()};
    Inputs inputs_ = emptyInputs();
    Host host_;
    std::vector<std::string> const &events_ = host_.events;
    std::unique_ptr<FilesSource> source_;
};

TEST_F(FilesSourceTest, FillsTheInputsAndThenSaysSo) {
    startNative(documentOf({"PortChannel1.10"}));
    EXPECT_FALSE(source_->complete());
    ASSERT_TRUE(until(2));
    EXPECT_THAT(events_, ElementsAre("links", "view: start"));
    EXPECT_TRUE(source_->complete());
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.10"));
}

TEST_F(FilesSourceTest, ReadsWhatIproutePrintsAsDeriveDoes) {
    std::string const folder =
        std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/captures/small/";
    InputOptions const files{folder + "links.json", folder + "vlans.json", ""};
    auto const expected = shapeOf(loadInputs(files, progress));
    make(files);
    source_->start();
    ASSERT_TRUE(until(2));
    EXPECT_EQ(shapeOf(inputs_), expected);
}

TEST_F(FilesSourceTest, TakesInAFileThatIsWrittenAgain) {
    startNative(documentOf({"PortChannel1.10", "PortChannel1.11"}));
    ASSERT_TRUE(until(2));
    rewrite(documentOf({"PortChannel1.11", "PortChannel1.12"}));
    ASSERT_TRUE(until(3));
    EXPECT_EQ(events_.back(), "view: changed files");
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.11", "PortChannel1.12"));
    EXPECT_EQ(source_->counts().changes, 5U); // three at the start
    EXPECT_EQ(source_->counts().resyncs, 1U);
}

TEST_F(FilesSourceTest, TakesInAFileThatAnotherReplacesByItsName) {
    startNative(documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(2));
    std::filesystem::rename(dir.write("new.json", documentOf({"PortChannel1.12"})),
                            dir.file("inputs.json"));
    ASSERT_TRUE(until(3));
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.12"));
}

TEST_F(FilesSourceTest, DoesNotLookAtOtherFilesOfTheFolder) {
    startNative(documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(2));
    static_cast<void>(dir.write("other.json", "{}"));
    rewrite(documentOf({"PortChannel1.12"}));
    ASSERT_TRUE(until(3));
    EXPECT_EQ(source_->counts().resyncs, 1U);
}

TEST_F(FilesSourceTest, ANameThatIsNoLongerDeclaredIsNativeAgain) {
    std::string const declared = R"({"intfId": "PortChannel1", "kind": "portChannel"},
        {"intfId": "Ethernet1", "kind": "ethernet"},
        {"intfId": "PortChannel1.10", "kind": "subinterface", "parent": "PortChannel1"})";
    startNative(documentOf({"PortChannel1.10"}, declared));
    ASSERT_TRUE(until(2));
    auto const before = shapeOf(inputs_);
    rewrite(documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(3));
    EXPECT_EQ(events_.back(), "view: changed files");
    EXPECT_EQ(shapeOf(inputs_), before);
    for (char const *const name : {"PortChannel1", "Ethernet1", "PortChannel1.10"}) {
        EXPECT_EQ(Iftel::IntfId(name), Iftel::IntfId::native(name));
        EXPECT_TRUE(source_->uses(Iftel::IntfId(name))) << name;
    }
    rewrite(documentOf({"PortChannel1.10"}, declared));
    ASSERT_TRUE(until(4));
    EXPECT_EQ(events_.back(), "view: changed files");
    EXPECT_EQ(shapeOf(inputs_), before);
}

TEST_F(FilesSourceTest, ABadFileLeavesTheLastGoodStateAndIsReported) {
    startNative(documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(2));
    rewrite(documentOf({"nonsense"}));
    ASSERT_TRUE(until(3));
    EXPECT_THAT(events_.back(),
                EndsWith("inputs.json: $.vlanConfig[0].intf[0].intfId: \"nonsense\" is neither in "
                         "\"interfaces\" nor a native name"));
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.10"));
    rewrite(documentOf({"PortChannel1.12"}));
    ASSERT_TRUE(until(5));
    EXPECT_EQ(events_[3], "over");
    EXPECT_EQ(events_[4], "view: changed files");
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.12"));
}

TEST_F(FilesSourceTest, InterfacesThatAViewHasNoMoreAreRetired) {
    startNative(documentOf({"PortChannel1.10", "PortChannel1.11"}));
    ASSERT_TRUE(until(2));
    EXPECT_THAT(host_.left, IsEmpty());
    rewrite(documentOf({"PortChannel1.11", "PortChannel1.12"}));
    ASSERT_TRUE(until(3));
    EXPECT_THAT(host_.left, ElementsAre("PortChannel1.10"));
    rewrite(documentOf({"PortChannel1.11"}));
    ASSERT_TRUE(until(4));
    EXPECT_THAT(host_.left, ElementsAre("PortChannel1.10", "PortChannel1.12"));
}

TEST_F(FilesSourceTest, AFileThatIsMissingAtTheStartIsReportedAndReadWhenItComes) {
    make({"", "", dir.file("inputs.json")});
    source_->start();
    ASSERT_TRUE(until(1));
    EXPECT_THAT(events_.front(), HasSubstr("inputs.json: "));
    EXPECT_FALSE(source_->complete());
    rewrite(documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(4));
    EXPECT_EQ(events_.back(), "view: changed files");
    EXPECT_TRUE(source_->complete());
}

TEST_F(FilesSourceTest, AFolderThatIsMissingIsAnError) {
    make({"", "", dir.file("no/inputs.json")});
    EXPECT_THAT(messageOf([&] { source_->start(); }),
                HasSubstr("no/inputs.json: cannot watch its folder: No such file or directory"));
}

TEST_F(FilesSourceTest, FollowsTheFolderThatAnotherReplacesByItsName) {
    startIn("conf", documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(2));
    makeFolder("conf.new", documentOf({"PortChannel1.11"}));
    std::filesystem::rename(dir.file("conf"), dir.file("conf.old"));
    std::filesystem::rename(dir.file("conf.new"), dir.file("conf"));
    ASSERT_TRUE(until(3));
    EXPECT_EQ(events_.back(), "view: changed files");
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.11"));
    static_cast<void>(dir.write("conf/inputs.json", documentOf({"PortChannel1.12"})));
    ASSERT_TRUE(until(4));
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.12"));
}

TEST_F(FilesSourceTest, AFolderThatHasGoneIsReportedAndFollowedWhenItIsThereAgain) {
    startIn("conf", documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(2));
    std::filesystem::remove_all(dir.file("conf"));
    ASSERT_TRUE(until(3));
    EXPECT_THAT(events_.back(), HasSubstr("conf/inputs.json: cannot watch its folder: "));
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.10"));
    makeFolder("conf", documentOf({"PortChannel1.11"}));
    ASSERT_TRUE(turnUntil(loop_, [&] { return events_.back() == "view: changed files"; }));
    EXPECT_THAT(events_, Contains("over"));
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.11"));
    static_cast<void>(dir.write("conf/inputs.json", documentOf({"PortChannel1.12"})));
    ASSERT_TRUE(turnUntil(loop_, [&] { return subIntfs().front() == "PortChannel1.12"; }));
}

TEST_F(FilesSourceTest, ReadsAgainWhenItIsAskedTo) {
    startNative(documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(2));
    source_->resynchronise("SIGHUP");
    ASSERT_TRUE(until(3));
    EXPECT_EQ(events_.back(), "view: SIGHUP");
    EXPECT_EQ(source_->counts().changes, 2U); // of the start
}

TEST_F(FilesSourceTest, ReadsAgainWhatChangesWhileItReads) {
    startNative(documentOf({"PortChannel1.10"}));
    source_->resynchronise("SIGHUP"); // the first reading is under way
    ASSERT_TRUE(until(3));
    EXPECT_THAT(events_, ElementsAre("links", "view: start", "view: SIGHUP"));
    EXPECT_EQ(source_->counts().resyncs, 1U);
}

TEST_F(FilesSourceTest, TheFirstViewIsTheStartsWhateverChangesMeanwhile) {
    startNative(largeDocument()); // which takes many turns
    std::filesystem::rename(dir.write("new.json", documentOf({"PortChannel1.10"})),
                            dir.file("inputs.json"));
    ASSERT_TRUE(until(3));
    EXPECT_THAT(events_, ElementsAre("links", "view: start", "view: changed files"));
}

TEST_F(FilesSourceTest, TheProcessThatReadsCannotTakeItsOwnRows) {
    startNative(largeDocument()); // it waits for its rows to be taken
    auto const end = Loop::Clock::now() + std::chrono::seconds(20);
    auto const process = childOf(::getpid());
    ASSERT_NE(process, 0);
    while (readablePipesOf(process) != readablePipesOf(::getpid()) - 1) {
        ASSERT_LT(Loop::Clock::now(), end);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    source_->stop();
}

TEST_F(FilesSourceTest, FollowsNoLongerOnceItIsStopped) {
    startNative(documentOf({"PortChannel1.10"}));
    ASSERT_TRUE(until(2));
    source_->stop();
    rewrite(documentOf({"PortChannel1.12"}));
    for (int i = 0; i < 5; ++i) {
        loop_.turn(std::chrono::milliseconds(40));
    }
    EXPECT_EQ(events_.size(), 2U);
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.10"));
    source_->start();
    ASSERT_TRUE(until(4));
    EXPECT_THAT(subIntfs(), ElementsAre("PortChannel1.12"));
}

TEST_F(FilesSourceTest, StoppedWhileItReadsItLeavesNoProcessBehind) {
    startNative(documentOf({"PortChannel1.10"}));
    source_->stop();
    turnUntilIdle(loop_);
    EXPECT_TRUE(events_.empty());
    EXPECT_FALSE(source_->complete());
}

} // namespace
} // namespace Agent
