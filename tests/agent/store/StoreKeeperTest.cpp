#include "agent/store/StoreKeeper.h"

#include "tests/agent/loop/TurnUntil.h"
#include "tests/agent/store/FakeCheckpointer.h"
#include "tests/agent/store/StoreTest.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace Agent {
namespace {

using Bridging::VlanId;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// What stands for a file in the tests, and what is to go wrong with it.
struct FakeFile {
    StoreModel contents;
    std::string openProblem; ///< "" for none, like the others
    std::string loadProblem;
    std::string writeProblem;
    std::string replaceProblem;
    bool lost = false;
    int opened = 0;
    int replaced = 0;
    int logPages = 0;
    std::vector<std::size_t> transactions; ///< their sizes
};

/// A store in memory; transactions are copies.
class FakeStore final : public Store {
  public:
    explicit FakeStore(FakeFile &file) : file_(file) {
        failIf(file.openProblem);
        ++file.opened;
    }

    [[nodiscard]] bool load(Directory &directory, Osk::Task const & /*task*/) override {
        failIf(file_.loadProblem);
        for (std::string const &line : file_.contents.lines()) {
            auto const words = line.find(' ');
            directory
                .configIs(VlanId(static_cast<std::uint16_t>(std::stoi(line.substr(0, words)))))
                ->intfIs(
                    earlierSubIntf(line.substr(words + 1, line.find(' ', words + 1) - words - 1)));
        }
        return true;
    }
    std::size_t write(std::span<DirectoryChange const> changes, Osk::Task const &task) override {
        failIf(file_.writeProblem);
        std::size_t done = 0;
        while (done < changes.size()) {
            (replacing_ ? replacement_ : file_.contents).apply(changes[done++]);
            if (task.taskShouldYield()) {
                break;
            }
        }
        if (!replacing_) {
            file_.transactions.push_back(done);
        }
        return done;
    }
    [[nodiscard]] bool replace(Directory const &directory, Osk::Task const & /*task*/) override {
        failIf(file_.replaceProblem);
        replacement_.linesAre(linesOf(directory));
        return std::exchange(replacing_, true);
    }
    void replaceDone() override {
        ++file_.replaced;
        file_.contents = replacement_;
        replacing_ = false;
    }
    void replaceUndone() noexcept override { replacing_ = false; }
    [[nodiscard]] int logPages() const noexcept override { return file_.logPages; }
    [[nodiscard]] bool lost() const noexcept override { return file_.lost; }

  private:
    static void failIf(std::string const &problem) {
        if (!problem.empty()) {
            fail("fake: {}", problem);
        }
    }

    FakeFile &file_;
    StoreModel replacement_;
    bool replacing_ = false;
};

class StoreKeeperTest : public StoreTest {
  protected:
    StoreKeeper::Open openFake() {
        return [this] { return std::make_unique<FakeStore>(file); };
    }
    /// A keeper that has loaded what there is.
    StoreKeeper &loadedKeeper(StoreKeeper::Open open) {
        keeper = std::make_unique<StoreKeeper>(loop, journal, "fake", std::move(open), checkpointer,
                                               [this](auto const &text) { said.push_back(text); });
        keeper->load([this] { ++loads; });
        EXPECT_TRUE(turnUntil(loop, [this] { return loads == 1; }));
        return *keeper;
    }
    StoreKeeper &loadedKeeper() { return loadedKeeper(openFake()); }
    void turns(int count) {
        for (int i = 0; i < count; ++i) {
            loop.turn(std::chrono::milliseconds(0));
        }
    }
    /// Changes that are not merged in the queue.
    void makeChanges(std::size_t count) {
        auto const entry = directory->configIs(VlanId(1))->intfIs(earlierSubIntf("bond0.1"));
        auto const member = earlierMember("eth1");
        for (std::size_t i = 0; i < count; ++i) {
            if (entry->lagPhyIntf(member)) {
                entry->lagPhyIntfDel(member);
            } else {
                entry->lagPhyIntfIs(member);
            }
        }
    }

    FakeFile file;
    Loop loop{scheduler};
    FakeCheckpointer checkpointer;
    std::unique_ptr<StoreKeeper> keeper;
    std::vector<std::string> said;
    int loads = 0;
};

TEST_F(StoreKeeperTest, DoesNothingBeforeItIsAskedTo) {
    StoreKeeper idle(loop, journal, "fake", openFake(), checkpointer, [](auto const &) {});
    entryIs(1, "bond0.1");
    turns(3);
    EXPECT_EQ(file.opened, 0);
    EXPECT_TRUE(idle.flush());
}

TEST_F(StoreKeeperTest, LoadsTheDirectoryAndDoesNotWriteWhatItLoaded) {
    file.contents.linesAre({"1 bond0.1 untagged none", "2 bond0.2 untagged none"});
    loadedKeeper();
    EXPECT_EQ(linesOf(*directory), file.contents.lines());
    turns(3);
    EXPECT_THAT(file.transactions, IsEmpty());
    EXPECT_THAT(said, IsEmpty());
    EXPECT_EQ(keeper->status().problem, "");
}

TEST_F(StoreKeeperTest, WritesWhatHasGatheredOneTransactionATurn) {
    loadedKeeper();
    scheduler->shareIs(std::make_unique<Osk::CountShare>(3));
    entryIs(1, "bond0.1", {"eth1", "eth2", "eth3"});
    EXPECT_EQ(keeper->status().queued, 4U); // the attributes are in the first one
    turns(1);
    EXPECT_THAT(file.transactions, ElementsAre(3U));
    entryIs(2, "bond0.1");
    turns(1);
    EXPECT_THAT(file.transactions, ElementsAre(3U, 2U));
    turns(3);
    EXPECT_EQ(file.transactions.size(), 2U);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
    EXPECT_EQ(keeper->status().written, 5U);
    EXPECT_EQ(keeper->status().transactions, 2U);
    EXPECT_EQ(keeper->status().queued, 0U);
}

TEST_F(StoreKeeperTest, WhileTheStoreFailsChangesWaitAndTheyAreWrittenLater) {
    loadedKeeper();
    file.writeProblem = "disk full";
    entryIs(1, "bond0.1", {"eth1"});
    turns(3);
    entryIs(2, "bond0.1", {"eth1"});
    turns(3); // tried again only after a while
    EXPECT_EQ(keeper->status().failures, 1U);
    EXPECT_EQ(keeper->status().problem, "fake: disk full");
    EXPECT_EQ(keeper->status().queued, 4U);
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().failures == 2; }));
    EXPECT_THAT(said, ElementsAre(StartsWith("fake: disk full")));
    file.writeProblem.clear();
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().problem.empty(); }));
    EXPECT_THAT(said, ElementsAre(StartsWith("fake: disk full"), "fake: works again"));
    turns(3);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
    EXPECT_EQ(file.replaced, 0);
    EXPECT_EQ(file.opened, 1);
}

TEST_F(StoreKeeperTest, AStoreThatCouldNotBeLoadedIsLeftAloneUntilTheDirectoryIsComplete) {
    Lines const old = {"7 bond7.7 untagged none"};
    file.contents.linesAre(old);
    for (auto *const problem : {&file.openProblem, &file.loadProblem}) {
        *problem = "locked";
        loads = 0;
        loadedKeeper(); // told although it failed
        EXPECT_EQ(keeper->status().problem, "fake: locked");
        problem->clear();
        entryIs(1, "bond0.1", {"eth1"});
        auto const end = Loop::Clock::now() + StoreKeeper::firstRetry * 2;
        turnUntil(loop, [&] { return Loop::Clock::now() > end; });
        EXPECT_EQ(file.contents.lines(), old);
        EXPECT_FALSE(keeper->flush());
        EXPECT_EQ(file.contents.lines(), old);
        keeper->directoryComplete();
        EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().problem.empty(); }));
        EXPECT_EQ(file.contents.lines(), linesOf(*directory));
        keeper.reset();
        file.contents.linesAre(old);
    }
}

TEST_F(StoreKeeperTest, ALostStoreIsOpenedAnewAndReplaced) {
    loadedKeeper();
    entryIs(1, "bond0.1");
    turns(3);
    file.lost = true;
    file.writeProblem = "moved";
    entryIs(2, "bond0.1");
    turns(3);
    EXPECT_EQ(keeper->status().queued, 0U);
    file = FakeFile();
    entryIs(3, "bond0.1");
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().problem.empty(); }));
    EXPECT_EQ(file.opened, 1);
    EXPECT_EQ(file.replaced, 1);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
}

TEST_F(StoreKeeperTest, AFailureOfAReplacementBeginsItAnew) {
    file.openProblem = "away";
    loadedKeeper();
    keeper->directoryComplete();
    file.openProblem.clear();
    file.replaceProblem = "cannot be read";
    entryIs(1, "bond0.1");
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().failures == 2; }));
    EXPECT_EQ(keeper->status().problem, "fake: cannot be read");
    file.replaceProblem.clear();
    entryIs(2, "bond0.1");
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().problem.empty(); }));
    EXPECT_EQ(file.opened, 2);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
}

TEST_F(StoreKeeperTest, ChangesDuringAReplacementGoIntoIt) {
    file.openProblem = "away";
    loadedKeeper();
    keeper->directoryComplete();
    file.openProblem.clear();
    entryIs(1, "bond0.1", {"eth1"});
    EXPECT_TRUE(turnUntil(loop, [&] { return file.opened == 1; }));
    entryIs(2, "bond0.1", {"eth1"}); // between two slices
    EXPECT_EQ(file.replaced, 0);
    turns(5);
    EXPECT_EQ(file.replaced, 1);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
    EXPECT_THAT(file.transactions, IsEmpty());
}

TEST_F(StoreKeeperTest, ChangesBehindAReplacementAreCountedWhenItIsDone) {
    file.openProblem = "away";
    loadedKeeper();
    keeper->directoryComplete();
    file.openProblem.clear();
    entryIs(1, "bond0.1", {"eth1"}); // in the replacement itself
    scheduler->shareIs(std::make_unique<Osk::CountShare>(1));
    EXPECT_TRUE(turnUntil(loop, [&] { return file.opened == 1; }));
    entryIs(2, "bond0.1", {"eth1", "eth2"});
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().queued == 1; }));
    EXPECT_EQ(keeper->status().written, 0U);
    file.writeProblem = "disk full"; // it begins anew: what was written is not in the store
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().failures == 2; }));
    file.writeProblem.clear();
    EXPECT_TRUE(turnUntil(loop, [&] { return file.opened == 2; }));
    entryIs(3, "bond0.1", {"eth1"});
    EXPECT_TRUE(turnUntil(loop, [&] { return file.replaced == 1; }));
    EXPECT_EQ(keeper->status().written, 2U);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
}

TEST_F(StoreKeeperTest, AStoreThatIsFarBehindIsReplaced) {
    loadedKeeper();
    makeChanges(StoreKeeper::maxBehind + 10);
    EXPECT_EQ(keeper->status().queued, 0U);
    EXPECT_TRUE(keeper->status().replacing);
    EXPECT_EQ(keeper->status().problem, "");
    EXPECT_TRUE(turnUntil(loop, [&] { return file.replaced == 1; }));
    EXPECT_FALSE(keeper->status().replacing);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
    EXPECT_THAT(file.transactions, IsEmpty());
    entryIs(2, "bond0.1");
    turns(3);
    EXPECT_EQ(file.transactions.size(), 1U);
}

TEST_F(StoreKeeperTest, FlushWritesAllWithoutTheLoop) {
    loadedKeeper();
    scheduler->shareIs(std::make_unique<Osk::CountShare>(1));
    makeChanges(10000);
    EXPECT_TRUE(keeper->flush());
    EXPECT_EQ(keeper->status().queued, 0U);
    EXPECT_LE(file.transactions.size(), 4U);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
    makeChanges(StoreKeeper::maxBehind + 10);
    EXPECT_TRUE(keeper->flush());
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
    EXPECT_EQ(file.replaced, 1);
}

TEST_F(StoreKeeperTest, FlushSaysWhenItIsNotPossible) {
    loadedKeeper();
    file.writeProblem = "disk full";
    makeChanges(3);
    EXPECT_FALSE(keeper->flush());
    EXPECT_EQ(keeper->status().problem, "fake: disk full");
    file.writeProblem.clear();
    EXPECT_TRUE(keeper->flush()); // at once, whenever the next try would be
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
}

// The write-ahead log.

TEST_F(StoreKeeperTest, CopiesALongLogAndWritesNothingMeanwhile) {
    loadedKeeper();
    file.logPages = StoreKeeper::pagesBeforeCheckpoint - 1;
    entryIs(1, "bond0.1");
    turns(3);
    EXPECT_EQ(checkpointer.started, 0);
    file.logPages = StoreKeeper::pagesBeforeCheckpoint;
    entryIs(2, "bond0.1");
    turns(3);
    EXPECT_EQ(checkpointer.started, 1);
    entryIs(3, "bond0.1");
    turns(3);
    EXPECT_EQ(keeper->status().queued, 1U);
    EXPECT_FALSE(loop.scheduler()->hasWork());
    file.logPages = 3;
    checkpointer.finish();
    turns(3);
    EXPECT_EQ(keeper->status().queued, 0U);
    EXPECT_EQ(checkpointer.started, 1);
    EXPECT_EQ(keeper->status().checkpoints, 1U);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
}

TEST_F(StoreKeeperTest, WhileAReaderKeepsTheLogItIsCopiedAgainOnlyWhenAsMuchHasCome) {
    loadedKeeper();
    int const pages = file.logPages = StoreKeeper::pagesBeforeCheckpoint;
    entryIs(1, "bond0.1");
    turns(3);
    checkpointer.finish();
    file.logPages = 2 * pages - 1;
    entryIs(2, "bond0.1");
    turns(3);
    EXPECT_EQ(checkpointer.started, 1);
    file.logPages = 2 * pages;
    entryIs(3, "bond0.1");
    turns(3);
    EXPECT_EQ(checkpointer.started, 2);
}

TEST_F(StoreKeeperTest, CopiesAShorterLogOnceWhenNothingWasWrittenForAWhile) {
    loadedKeeper();
    file.logPages = StoreKeeper::pagesBeforeCheckpointAtRest;
    entryIs(1, "bond0.1");
    turns(3);
    EXPECT_EQ(checkpointer.started, 0);
    EXPECT_TRUE(turnUntil(loop, [&] { return checkpointer.started == 1; }));
    checkpointer.finish();
    turns(3);
    auto const turnsBefore = loop.statistics().turns;
    loop.turn(std::chrono::milliseconds(1500)); // nothing wakes it
    EXPECT_EQ(loop.statistics().turns, turnsBefore + 1);
    EXPECT_EQ(checkpointer.started, 1);
}

TEST_F(StoreKeeperTest, AShortLogWakesNobody) {
    loadedKeeper();
    file.logPages = StoreKeeper::pagesBeforeCheckpointAtRest - 1;
    entryIs(1, "bond0.1");
    turns(3);
    auto const turnsBefore = loop.statistics().turns;
    loop.turn(std::chrono::milliseconds(1500));
    EXPECT_EQ(loop.statistics().turns, turnsBefore + 1);
    EXPECT_EQ(checkpointer.started, 0);
}

TEST_F(StoreKeeperTest, ACheckpointThatFailsIsSaidOnceAndWritesGoOn) {
    loadedKeeper();
    for (int round = 1; round <= 2; ++round) {
        file.logPages += StoreKeeper::pagesBeforeCheckpoint;
        entryIs(1, "bond0.1", {}, round == 1);
        turns(3);
        checkpointer.finish("no room");
    }
    checkpointer.startProblem = "no process";
    file.logPages += StoreKeeper::pagesBeforeCheckpoint;
    entryIs(2, "bond0.1");
    turns(3);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
    EXPECT_EQ(keeper->status().checkpointFailures, 3U);
    EXPECT_EQ(keeper->status().problem, "");
    EXPECT_THAT(said, ElementsAre("no room"));
    checkpointer.startProblem.clear();
    file.logPages += StoreKeeper::pagesBeforeCheckpoint;
    entryIs(3, "bond0.1");
    turns(3);
    checkpointer.finish();
    EXPECT_THAT(said, ElementsAre("no room", "fake: its write-ahead log is copied again"));
}

TEST_F(StoreKeeperTest, NoLogIsCopiedDuringAReplacementButBehindIt) {
    loadedKeeper();
    file.logPages = StoreKeeper::pagesBeforeCheckpoint;
    makeChanges(StoreKeeper::maxBehind + 10);
    EXPECT_TRUE(turnUntil(loop, [&] {
        EXPECT_EQ(checkpointer.started, file.replaced);
        return file.replaced == 1;
    }));
    EXPECT_EQ(checkpointer.started, 1);
}

TEST_F(StoreKeeperTest, FlushDoesNotWaitForACheckpointNorBeginOne) {
    loadedKeeper();
    file.logPages = StoreKeeper::pagesBeforeCheckpoint;
    entryIs(1, "bond0.1");
    turns(3);
    ASSERT_TRUE(checkpointer.running());
    file.logPages *= 2;
    entryIs(2, "bond0.1");
    EXPECT_TRUE(keeper->flush());
    EXPECT_EQ(checkpointer.stopped, 1);
    EXPECT_EQ(checkpointer.started, 1);
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
}

TEST_F(StoreKeeperTest, AFloodIsOverBeforeTheStoreIsReplaced) {
    loadedKeeper();
    makeChanges(StoreKeeper::maxBehind + 1); // it is stale now
    auto const end = Loop::Clock::now() + StoreKeeper::firstRetry * 5 / 2;
    EXPECT_TRUE(turnUntil(loop, [&] {
        makeChanges(1);
        return Loop::Clock::now() > end;
    }));
    EXPECT_EQ(file.replaced, 0);
    EXPECT_TRUE(turnUntil(loop, [&] { return file.replaced == 1; }));
    EXPECT_EQ(file.contents.lines(), linesOf(*directory));
}

TEST_F(StoreKeeperTest, TheNameOfAnInterfaceThatHasChangedItsKindStaysWithTheNewOne) {
    loadedKeeper();
    auto &names = Iftel::NameTable::instance();
    auto const old = names.subIntfIs("x.1", names.intfIs("x", Iftel::IntfKind::ethernet));
    auto const oldMember = names.intfIs("m", Iftel::IntfKind::ethernet);
    auto const config = directory->configIs(VlanId(1));
    config->intfIs(old)->lagPhyIntfIs(oldMember);
    auto const current = names.subIntfIs("x.1", names.intfIs("y", Iftel::IntfKind::ethernet));
    auto const currentMember = names.intfIs("m", Iftel::IntfKind::portChannel);
    config->intfIs(current)->lagPhyIntfIs(oldMember);
    (*config->intf(current))->lagPhyIntfIs(currentMember);
    (*config->intf(current))->lagPhyIntfDel(oldMember);
    config->intfDel(old);
    turns(5);
    EXPECT_THAT(file.contents.lines(), ElementsAre("1 x.1 + m", "1 x.1 untagged none"));
    config->intfDel(current);
    turns(3);
    EXPECT_THAT(file.contents.lines(), IsEmpty());
}

// With a file.

TEST_F(StoreKeeperTest, WhenADamagedFileIsMovedAwayANewOneIsMade) {
    static_cast<void>(dir.write("store.db", "not a database"));
    loadedKeeper([this] { return openSqliteStore(path); });
    keeper->directoryComplete();
    entryIs(1, "bond0.1", {"eth1"});
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().failures == 2; }));
    EXPECT_THAT(keeper->status().problem, HasSubstr("store.db: is not a database"));
    EXPECT_EQ(readFile(path), "not a database");
    std::filesystem::rename(path, dir.file("old"));
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().problem.empty(); }));
    EXPECT_EQ(linesOf(path), linesOf(*directory));
}

TEST_F(StoreKeeperTest, WhenTheFileIsDeletedUnderTheAgentANewOneIsMade) {
    loadedKeeper([this] { return openSqliteStore(path); });
    entryIs(1, "bond0.1", {"eth1"});
    turns(3);
    auto const log = readFile(path + "-wal");
    std::filesystem::remove(path);
    entryIs(2, "bond0.1", {"eth1"});
    turns(3);
    EXPECT_THAT(keeper->status().problem, HasSubstr("was moved or deleted"));
    EXPECT_TRUE(turnUntil(loop, [&] { return keeper->status().problem.empty(); }));
    EXPECT_EQ(linesOf(path), linesOf(*directory));
    EXPECT_EQ(readFile(path + "-wal.left"), log);
}

} // namespace
} // namespace Agent
