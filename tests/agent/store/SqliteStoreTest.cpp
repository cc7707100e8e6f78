#include "agent/store/Checkpointer.h"
#include "tests/agent/store/StoreTest.h"

#include <algorithm>

namespace Agent {
namespace {

using Bridging::VlanId;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSubsetOf;

class SqliteStoreTest : public StoreTest {
  protected:
    SqliteStoreTest() { journal.readerIs(recorder); }

    /// What a new run of the agent would load.
    Lines loaded(std::uint64_t testsPerRun = all) {
        auto const other = Directory::VlanSubIntfConfigDirIs();
        load(*openSqliteStore(path), *other, testsPerRun);
        return linesOf(*other);
    }
};

TEST_F(SqliteStoreTest, ANewStoreIsEmptyAndInItsFoldersNobodyElseLooks) {
    std::string const deep = dir.file("a/b/store.db");
    auto const other = Directory::VlanSubIntfConfigDirIs();
    load(*openSqliteStore(deep), *other);
    EXPECT_THAT(linesOf(*other), IsEmpty());
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(dir.file("a")).permissions(), perms::owner_all);
    EXPECT_EQ(std::filesystem::status(dir.file("a/b")).permissions(), perms::owner_all);
    EXPECT_EQ(std::filesystem::status(deep).permissions(), perms::owner_read | perms::owner_write);
}

TEST_F(SqliteStoreTest, WhatWasWrittenIsLoadedAgain) {
    entryIs(100, "bond0.100", {"eth1", "eth2"}, true, Direction::ingress);
    entryIs(100, "eth5.100", {}, false, Direction::none);
    entryIs(4094, "bond0.100", {"eth2"}, false, Direction::egress);
    write(*openSqliteStore(path), recorder.changes);
    EXPECT_EQ(loaded(), linesOf(*directory));
}

TEST_F(SqliteStoreTest, PeopleReadItsTables) {
    entryIs(100, "bond0.100", {"eth1"}, true, Direction::both);
    write(*openSqliteStore(path), recorder.changes);
    Reader reader(path);
    EXPECT_THAT(reader.rows("SELECT vlan, intf, tagOnEgress, direction FROM entries"),
                ElementsAre("100 bond0.100 1 both"));
    EXPECT_THAT(reader.rows("SELECT vlan, intf, member FROM members"),
                ElementsAre("100 bond0.100 eth1"));
    EXPECT_THAT(reader.rows("PRAGMA application_id"), ElementsAre("1448298819"));
    EXPECT_THAT(reader.rows("PRAGMA user_version"), ElementsAre("1"));
    EXPECT_THAT(reader.rows("PRAGMA journal_mode"), ElementsAre("wal"));
    EXPECT_THAT(reader.rows("PRAGMA integrity_check"), ElementsAre("ok"));
}

TEST_F(SqliteStoreTest, KeepsOddNames) {
    std::vector<char const *> const odd = {
        "a23456789012345", "it's",       "\"quoted\"", "two words", "100%s", "m\xc3\xbcller.5",
        "\xff\xfe",        "--; DROP 1", "\\n\n",      "entries",   "NULL",  "0"};
    for (char const *const name : odd) {
        entryIs(7, name, odd);
    }
    ASSERT_EQ(linesOf(*directory).size(), odd.size() * (odd.size() + 1));
    write(*openSqliteStore(path), recorder.changes);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
    EXPECT_EQ(loaded(), linesOf(*directory));
}

TEST_F(SqliteStoreTest, ALoadedNameIsTheCurrentInterfaceOfThatName) {
    entryIs(100, "bond0.100", {"eth1"});
    write(*openSqliteStore(path), recorder.changes);
    auto &names = Iftel::NameTable::instance();
    names.resetForTest();
    auto const bond = names.intfIs("bond0", Iftel::IntfKind::portChannel);
    auto const sub = names.subIntfIs("bond0.100", bond);
    auto const member = names.intfIs("eth1", Iftel::IntfKind::ethernet);
    auto const other = Directory::VlanSubIntfConfigDirIs();
    load(*openSqliteStore(path), *other);
    auto const entry = (*other->config(VlanId(100)))->intf(sub);
    ASSERT_TRUE(entry);
    EXPECT_TRUE((*entry)->lagPhyIntf(member));
    EXPECT_EQ(names.size(), 3U);
}

TEST_F(SqliteStoreTest, LoadsInSlices) {
    entryIs(1, "bond0.1", {"eth1", "eth2"});
    entryIs(2, "bond0.1", {"eth1"});
    write(*openSqliteStore(path), recorder.changes);
    auto const other = Directory::VlanSubIntfConfigDirIs();
    auto const store = openSqliteStore(path);
    EXPECT_EQ(inRuns(1, [&](Osk::Task const &task) { return store->load(*other, task); }), 6);
    EXPECT_EQ(linesOf(*other), linesOf(*directory));
}

TEST_F(SqliteStoreTest, WritesAsManyChangesAsTheShareAllowsAtLeastOne) {
    entryIs(1, "bond0.1", {"eth1", "eth2", "eth3"});
    auto const store = openSqliteStore(path);
    std::size_t written = 0;
    inRuns(2, [&](Osk::Task const &task) {
        written = store->write(recorder.changes, task);
        return true;
    });
    EXPECT_EQ(written, 2U);
    EXPECT_THAT(linesOf(path), ElementsAre("1 bond0.1 untagged both"));
}

TEST_F(SqliteStoreTest, AnEntryThatGoesTakesItsMembersAlong) {
    entryIs(1, "bond0.1", {"eth1"});
    entryIs(2, "bond0.1", {"eth1"});
    directory->configDel(VlanId(1));
    write(*openSqliteStore(path), recorder.changes);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
}

TEST_F(SqliteStoreTest, AnEntryThatComesUnderANameThatIsThereHasNoMembers) {
    entryIs(1, "bond0.1", {"eth1"});
    auto const came = recorder.changes.front();
    ASSERT_TRUE(came.isNew);
    recorder.changes.push_back(came); // as of another interface of that name
    write(*openSqliteStore(path), recorder.changes);
    EXPECT_THAT(linesOf(path), ElementsAre("1 bond0.1 untagged none"));
}

TEST_F(SqliteStoreTest, RandomHistoriesInRandomTransactionsAreThoseOfThePlainModel) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(fmt::format("seed {}", seed));
        TestSupport::Random random(seed);
        auto const name = dir.file(fmt::format("{}.db", seed));
        auto store = openSqliteStore(name);
        StoreModel model;
        recorder.changes.clear();
        model.linesAre(linesOf(*directory));
        directory->configIs(VlanId(9)); // without entries: leaves no trace
        replace(*store);
        for (int round = 0; round < 40; ++round) {
            while (recorder.changes.size() < 1 + random.below(30)) {
                churn(*directory, random);
            }
            for (auto const &change : recorder.changes) {
                model.apply(change);
            }
            write(*store, std::exchange(recorder.changes, {}), 1 + random.below(40));
            ASSERT_EQ(model.lines(), linesOf(*directory));
            ASSERT_EQ(linesOf(name), model.lines());
            if (random.oneIn(5)) {
                checkpointStore(name);
            }
            if (random.oneIn(10)) {
                store.reset();
                store = openSqliteStore(name);
            }
        }
    }
}

TEST_F(SqliteStoreTest, AReaderSeesTheStoreAsOfOneTransaction) {
    entryIs(1, "bond0.1", {"eth1"});
    auto const store = openSqliteStore(path);
    write(*store, std::exchange(recorder.changes, {}));
    Reader reader(path);
    reader.run("BEGIN");
    auto const before = reader.lines();
    entryIs(2, "bond0.1");
    directory->configDel(VlanId(1));
    write(*store, recorder.changes);
    EXPECT_EQ(reader.lines(), before);
    reader.run("COMMIT");
    EXPECT_EQ(reader.lines(), linesOf(*directory));
}

// replace()

TEST_F(SqliteStoreTest, ReplaceMakesItWhatTheDirectoryIs) {
    entryIs(1, "bond0.1", {"eth1", "eth2"}, true);
    entryIs(2, "bond0.1", {"eth1"});
    entryIs(3, "bond0.1", {"eth1"});
    auto const store = openSqliteStore(path);
    write(*store, recorder.changes);
    directory->configDel(VlanId(2));
    entryIs(1, "bond0.1", {"eth3"}, false);
    (*(*directory->config(VlanId(1)))->intf(earlierSubIntf("bond0.1")))
        ->lagPhyIntfDel(earlierMember("eth1"));
    entryIs(4, "bond0.4", {"eth4"});
    replace(*store);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
}

TEST_F(SqliteStoreTest, ReplaceOfWhatIsThereWritesNothing) {
    entryIs(1, "bond0.1", {"eth1"});
    auto const store = openSqliteStore(path);
    write(*store, recorder.changes);
    auto const size = std::filesystem::file_size(path + "-wal");
    replace(*store);
    EXPECT_EQ(std::filesystem::file_size(path + "-wal"), size);
}

TEST_F(SqliteStoreTest, NobodySeesAReplaceUnderWayAndItCanBeUndone) {
    entryIs(1, "bond0.1", {"eth1"});
    auto const store = openSqliteStore(path);
    write(*store, recorder.changes);
    auto const before = linesOf(path);
    directory->configDel(VlanId(1));
    entryIs(2, "bond0.1");
    inRuns(1, [&](Osk::Task const &task) {
        bool const done = store->replace(*directory, task);
        EXPECT_EQ(linesOf(path), before);
        return done;
    });
    EXPECT_EQ(linesOf(path), before);
    store->replaceUndone();
    EXPECT_EQ(linesOf(path), before);
    replace(*store);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
}

TEST_F(SqliteStoreTest, ChangesBetweenTheSlicesOfAReplaceGoIntoItsTransaction) {
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(fmt::format("seed {}", seed));
        TestSupport::Random random(seed);
        auto const name = dir.file(fmt::format("{}.db", seed));
        auto const store = openSqliteStore(name);
        auto const other = Directory::VlanSubIntfConfigDirIs(); // what the store holds at first
        {
            DirectoryJournal otherJournal(other);
            ChangeRecorder otherRecorder;
            otherJournal.readerIs(otherRecorder);
            for (int i = 0; i < 100; ++i) {
                churn(*other, random);
            }
            write(*store, otherRecorder.changes);
        }
        recorder.changes.clear();
        inRuns(1 + random.below(8), [&](Osk::Task const &task) {
            bool const done = store->replace(*directory, task);
            for (auto i = random.below(6); i != 0; --i) {
                churn(*directory, random);
            }
            return done;
        });
        EXPECT_EQ(linesOf(name), linesOf(*other));
        write(*store, recorder.changes, 1 + random.below(8));
        EXPECT_EQ(linesOf(name), linesOf(*other));
        store->replaceDone();
        ASSERT_EQ(linesOf(name), linesOf(*directory));
    }
}

TEST_F(SqliteStoreTest, UnderANameStandsTheInterfaceThatItLeadsTo) {
    auto &names = Iftel::NameTable::instance();
    auto const config = directory->configIs(VlanId(1));
    auto const old =
        config->intfIs(names.subIntfIs("x.1", names.intfIs("x", Iftel::IntfKind::ethernet)));
    old->lagPhyIntfIs(earlierMember("eth1"));
    config->intfIs(names.subIntfIs("x.1", names.intfIs("y", Iftel::IntfKind::ethernet)))
        ->lagPhyIntfIs(earlierMember("eth2"));
    auto const store = openSqliteStore(path);
    replace(*store);
    EXPECT_THAT(linesOf(path), ElementsAre("1 x.1 + eth2", "1 x.1 untagged none"));
}

// The file.

TEST_F(SqliteStoreTest, ASecondAgentIsToldWhoUsesTheStore) {
    auto const store = openSqliteStore(path);
    std::filesystem::create_symlink(dir.file(""), dir.file("link"));
    auto const expected = fmt::format("in use by process {}", ::getpid());
    EXPECT_EQ(messageOf([&] { static_cast<void>(openSqliteStore(path)); }),
              "store.db: " + expected);
    EXPECT_EQ(messageOf([&] { static_cast<void>(openSqliteStore(dir.file("link/store.db"))); }),
              "link/store.db: " + expected);
}

TEST_F(SqliteStoreTest, AFileThatWasMovedAwayIsNotWrittenAnyMore) {
    entryIs(1, "bond0.1");
    auto const store = openSqliteStore(path);
    write(*store, recorder.changes);
    EXPECT_FALSE(store->lost());
    std::filesystem::rename(path, dir.file("moved.db"));
    EXPECT_TRUE(store->lost());
    EXPECT_EQ(messageOf([&] { write(*store, recorder.changes); }),
              "store.db: was moved or deleted while it was in use");
    EXPECT_EQ(messageOf([&] { replace(*store); }),
              "store.db: was moved or deleted while it was in use");
}

} // namespace
} // namespace Agent
