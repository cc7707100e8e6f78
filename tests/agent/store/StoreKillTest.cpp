// A store whose agent is killed at random instants and started again, over and over.
#include "agent/store/CheckpointProcess.h"
#include "agent/store/StoreKeeper.h"
#include "tests/agent/store/StoreTest.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <new>

namespace Agent {
namespace {

using testing::ElementsAre;

constexpr std::uint16_t steadyVlan = 4000;

class StoreKillTest : public StoreTest {
  protected:
    /// What a child tells until it is killed.
    struct Told {
        std::atomic<std::uint64_t> written; ///< so much is in the store, or more
        std::atomic<std::uint64_t> made;    ///< and no more than that
    };

    StoreKillTest()
        : told_(*new (::mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Told()) {}
    ~StoreKillTest() override { ::munmap(&told_, sizeof(Told)); }

    /// Run `child` in a process of its own and kill it so long after its start or, `atWork`, after
    /// it has written for the first time; `meanwhile` is called until then.
    void killAfter(std::chrono::microseconds time, bool atWork, auto const &child,
                   auto const &meanwhile) {
        told_.written = told_.made = 0;
        ::pid_t const process = ::fork();
        ASSERT_GE(process, 0);
        if (process == 0) {
            try {
                child();
            } catch (Error const &error) {
                static_cast<void>(fprintf(stderr, "child: %s\n", error.what()));
            }
            ::_exit(1);
        }
        auto const start = std::chrono::steady_clock::now();
        auto end = start + time;
        for (auto now = start; now < end; now = std::chrono::steady_clock::now()) {
            meanwhile();
            if (atWork && told_.written == 0 && now < start + std::chrono::seconds(20)) {
                end = now + time;
            }
        }
        ::kill(process, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(process, &status, 0), process);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "status " << status;
    }

    /// In a child: load the store, then change the directory and write as fast as can be.
    [[noreturn]] void changeAndWrite(std::uint32_t seed) {
        TestSupport::Random random(seed);
        TestSupport::Random pace(seed + 1);
        Loop loop(scheduler);
        CheckpointProcess checkpointer(loop, path, VLAN_SUBINTF_PROGRAM);
        bool loaded = false;
        StoreKeeper keeper(
            loop, journal, path, [this] { return openSqliteStore(path); }, checkpointer,
            [](std::string const &text) { fail("{}", text); });
        keeper.load([&loaded] { loaded = true; });
        while (!loaded) {
            loop.turn(std::chrono::milliseconds(0));
        }
        auto const loadedChanges = journal.counts().changes;
        while (true) {
            for (auto steps = 1 + pace.below(20); steps != 0; --steps) {
                churn(*directory, random);
            }
            told_.made = journal.counts().changes - loadedChanges;
            loop.turn(std::chrono::milliseconds(0));
            if (keeper.status().queued == 0) {
                told_.written = told_.made.load();
            }
        }
    }
    /// The store holds what a prefix of the child's changes makes of what it was.
    void expectPrefix(Directory &was, std::uint32_t seed) const {
        TestSupport::Random random(seed);
        DirectoryJournal wasJournal{Qor::Ptr<Directory>(&was)};
        ChangeRecorder changes;
        wasJournal.readerIs(changes);
        StoreModel model;
        model.linesAre(linesOf(was));
        Lines const found = linesOf(path);
        std::uint64_t applied = 0;
        bool isPrefix = applied >= told_.written && model.lines() == found;
        while (!isPrefix && applied < told_.made) {
            churn(was, random);
            for (auto const &change : std::exchange(changes.changes, {})) {
                model.apply(change);
                isPrefix = isPrefix || (++applied >= told_.written && model.lines() == found);
            }
        }
        EXPECT_TRUE(isPrefix) << "written " << told_.written << ", made " << told_.made;
    }

    Told &told_;
};

TEST_F(StoreKillTest, HoldsAPrefixOfTheChangesAndNeverMissesWhatStays) {
    for (char const *const name : {"bond0.1", "bond0.2", "eth9.9"}) {
        entryIs(steadyVlan, name, {"eth1", "eth2"});
    }
    replace(*openSqliteStore(path));
    std::uint64_t written = 0;
    std::uint64_t polls = 0;
    TestSupport::Random instants(4711);
    for (std::uint32_t seed = 1000; seed < 1100 && !HasFailure(); ++seed) {
        SCOPED_TRACE(fmt::format("seed {}", seed));
        auto const was = Directory::VlanSubIntfConfigDirIs();
        load(*openSqliteStore(path), *was);
        // Every other time nobody is there who keeps the log's index.
        bool const polling = seed % 2 == 0;
        std::unique_ptr<Reader> reader;
        killAfter(
            std::chrono::microseconds(instants.below(20000)), !instants.oneIn(4),
            [&] { changeAndWrite(seed); },
            [&] {
                if (polling) {
                    reader = reader ? std::move(reader) : std::make_unique<Reader>(path);
                    ASSERT_THAT(reader->rows("SELECT (SELECT count(*) FROM entries WHERE vlan = "
                                             "4000), (SELECT count(*) FROM members WHERE vlan = "
                                             "4000)"),
                                ElementsAre("3 6"));
                    ++polls;
                }
            });
        reader.reset();
        expectPrefix(*was, seed);
        EXPECT_THAT(Reader(path).rows("PRAGMA integrity_check"), ElementsAre("ok"));
        written += told_.written;
    }
    EXPECT_GT(written, 1000U);
    EXPECT_GT(polls, 100U);
}

TEST_F(StoreKillTest, AReplacementIsThereAsAWholeOrNotAtAll) {
    TestSupport::Random instants(4712);
    std::uint64_t made = 0;
    for (std::uint32_t seed = 2000; seed < 2040 && !HasFailure(); ++seed) {
        SCOPED_TRACE(fmt::format("seed {}", seed));
        auto const step = [](Directory &to, TestSupport::Random &random) {
            for (int i = 0; i < 50; ++i) {
                churn(to, random);
            }
        };
        auto const before = std::filesystem::exists(path) ? linesOf(path) : Lines();
        killAfter(
            std::chrono::microseconds(instants.below(20000)), !instants.oneIn(4),
            [&] {
                TestSupport::Random random(seed);
                auto const store = openSqliteStore(path);
                while (true) {
                    step(*directory, random);
                    ++told_.made;
                    replace(*store);
                    ++told_.written;
                }
            },
            [] {});
        // Whatever was there: from the first replacement on it is the directory of this round.
        TestSupport::Random random(seed);
        auto const other = Directory::VlanSubIntfConfigDirIs();
        std::vector<Lines> states = {before};
        while (states.size() <= told_.made) {
            step(*other, random);
            states.push_back(linesOf(*other));
        }
        static_cast<void>(openSqliteStore(path)); // made, if the child had no time
        Lines const found = linesOf(path);
        EXPECT_TRUE(std::find(states.begin() + static_cast<std::ptrdiff_t>(told_.written.load()),
                              states.end(), found) != states.end())
            << "written " << told_.written << ", made " << told_.made;
        made += told_.written;
    }
    EXPECT_GE(made, 20U);
}

} // namespace
} // namespace Agent
