#include "agent/store/Checkpointer.h"
#include "tests/agent/store/StoreTest.h"

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace Agent {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// Nobody's rights, so that permissions count; root has no use for them.
class AsNobody {
  public:
    explicit AsNobody(std::string const &folder) {
        constexpr ::uid_t nobody = 65534;
        if (::geteuid() == 0) {
            EXPECT_EQ(::chown(folder.c_str(), nobody, nobody), 0);
            EXPECT_EQ(::seteuid(nobody), 0);
            wasRoot_ = true;
        }
    }
    ~AsNobody() {
        if (wasRoot_) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
    AsNobody(AsNobody const &) = delete;
    AsNobody &operator=(AsNobody const &) = delete;

  private:
    bool wasRoot_ = false;
};

/// No file of this process grows beyond so many bytes.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(::rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &before_);
        ::rlimit const limit{bytes, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
    FileSizeLimit(FileSizeLimit const &) = delete;
    FileSizeLimit &operator=(FileSizeLimit const &) = delete;

  private:
    ::rlimit before_{};
};

class SqliteStoreFailureTest : public StoreTest {
  protected:
    SqliteStoreFailureTest() { journal.readerIs(recorder); }

    void put(std::string const &name, std::string_view bytes) const {
        static_cast<void>(dir.write(name, bytes));
    }
    std::string openMessage(std::string const &name = "store.db") {
        return messageOf([&] { static_cast<void>(openSqliteStore(dir.file(name))); });
    }
    /// Opening fails with this message and leaves the file as it is.
    void expectRefused(testing::Matcher<std::string> const &message) {
        auto const before = readFile(path);
        EXPECT_THAT(openMessage(), message);
        EXPECT_EQ(readFile(path), before);
    }
    std::string loadMessage() {
        auto const other = Directory::VlanSubIntfConfigDirIs();
        return messageOf([&] { load(*openSqliteStore(path), *other); });
    }
    /// What so many of the recorded changes make of a store.
    Lines linesAfter(Lines const &before, std::size_t changes) const {
        StoreModel model;
        model.linesAre(before);
        for (auto const &change : std::span(recorder.changes).first(changes)) {
            model.apply(change);
        }
        return model.lines();
    }
    /// A store of some dozen pages, in one file.
    void makeStore() {
        for (std::uint16_t vlan = 1; vlan <= 200; ++vlan) {
            entryIs(vlan, "bond0.100", {"eth1", "eth2", "eth3", "eth4"});
            entryIs(vlan, "bond1.100", {"eth5", "eth6", "eth7", "eth8"});
        }
        write(*openSqliteStore(path), std::exchange(recorder.changes, {}));
    }
};

TEST_F(SqliteStoreFailureTest, RefusesWhatIsNoDatabase) {
    put("store.db", "some notes of mine\n");
    expectRefused("store.db: is not a database");
}

TEST_F(SqliteStoreFailureTest, RefusesTheDatabaseOfAnotherProgram) {
    makeStore();
    Reader(path).run("PRAGMA application_id = 4711");
    Reader(path).run("PRAGMA wal_checkpoint(TRUNCATE)");
    expectRefused("store.db: is a database of another program (application_id 4711, expected "
                  "1448298819)");
}

TEST_F(SqliteStoreFailureTest, RefusesOtherVersions) {
    for (auto const *const version : {"0", "2"}) {
        std::filesystem::remove(path);
        makeStore();
        Reader(path).run(fmt::format("PRAGMA user_version = {}", version));
        Reader(path).run("PRAGMA wal_checkpoint(TRUNCATE)");
        expectRefused(fmt::format("store.db: has version {} of the store's tables, this program "
                                  "has version 1",
                                  version));
    }
}

TEST_F(SqliteStoreFailureTest, RefusesAVersionThatIsOnlyInTheLogYet) {
    makeStore();
    std::string const copy = dir.file("copy.db");
    {
        Reader newer(path);
        newer.run("PRAGMA user_version = 2");
        std::filesystem::copy_file(path, copy);
        std::filesystem::copy_file(path + "-wal", copy + "-wal");
    }
    auto const before = readFile(copy);
    auto const log = readFile(copy + "-wal");
    EXPECT_THAT(openMessage("copy.db"), HasSubstr("has version 2"));
    EXPECT_EQ(readFile(copy), before);
    EXPECT_EQ(readFile(copy + "-wal"), log);
}

TEST_F(SqliteStoreFailureTest, RefusesAStoreWithoutItsTables) {
    makeStore();
    Reader(path).run("DROP TABLE members");
    expectRefused(HasSubstr("no such table: members"));
}

TEST_F(SqliteStoreFailureTest, RefusesATruncatedHeader) {
    makeStore();
    std::filesystem::resize_file(path, 60);
    expectRefused("store.db: damaged: it ends within its first 100 bytes");
}

TEST_F(SqliteStoreFailureTest, RefusesAnEmptyFileWhoseLogIsNot) {
    put("store.db", "");
    put("store.db-wal", "something");
    EXPECT_THAT(openMessage(), StartsWith("store.db: damaged: it is empty, but"));
    EXPECT_EQ(readFile(path + "-wal"), "something");
}

TEST_F(SqliteStoreFailureTest, LoadingATruncatedStoreSaysThatItIsDamaged) {
    makeStore();
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2 / 4096 * 4096);
    auto const before = readFile(path);
    EXPECT_THAT(loadMessage(), StartsWith("store.db: damaged: "));
    EXPECT_EQ(readFile(path), before);
}

TEST_F(SqliteStoreFailureTest, NoDamagedPageIsWrittenOver) {
    makeStore();
    auto const whole = readFile(path);
    entryIs(300, "bond9.100"); // there is something to write
    for (std::size_t page = 1; page < whole.size() / 4096; ++page) {
        SCOPED_TRACE(fmt::format("page {}", page + 1));
        std::string damaged = whole;
        std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(page * 4096), 4096, '\xa5');
        put("store.db", damaged);
        EXPECT_THAT(loadMessage(), StartsWith("store.db: damaged: "));
        EXPECT_THAT(messageOf([&] {
                        auto const store = openSqliteStore(path);
                        replace(*store);
                    }),
                    StartsWith("store.db: damaged: "));
        EXPECT_EQ(readFile(path), damaged);
    }
}

TEST_F(SqliteStoreFailureTest, ImpossibleValuesAreNamed) {
    makeStore();
    struct Case {
        char const *sql;
        char const *message;
    };
    Case const cases[] = {
        {"UPDATE entries SET vlan = 5000 WHERE vlan = 7 AND intf = 'bond0.100'",
         "table entries, VLAN 5000, interface bond0.100: vlan: expected a VLAN number from 1 to "
         "4094, found \"5000\""},
        {"UPDATE entries SET direction = 'sideways' WHERE vlan = 7",
         "table entries, VLAN 7, interface bond0.100: direction: expected none, ingress, egress or "
         "both, found \"sideways\""},
        {"UPDATE entries SET tagOnEgress = 2 WHERE vlan = 7",
         "table entries, VLAN 7, interface bond0.100: tagOnEgress: expected 0 or 1, found \"2\""},
        {"UPDATE entries SET intf = '' WHERE vlan = 7 AND intf = 'bond0.100'",
         "table entries, VLAN 7, interface : intf: expected a name, found \"\""},
        {"UPDATE members SET member = '' WHERE vlan = 7 AND member = 'eth1'",
         "table members, VLAN 7, interface bond0.100: member: expected a name, found \"\""},
        {"UPDATE members SET vlan = 0 WHERE vlan = 7 AND member = 'eth1'",
         "table members, VLAN 0, interface bond0.100: vlan: expected a VLAN number from 1 to "
         "4094, found \"0\""}};
    auto const good = readFile(path);
    for (Case const &bad : cases) {
        put("store.db", good);
        Reader(path).run(fmt::format("PRAGMA ignore_check_constraints = 1; {}", bad.sql));
        EXPECT_EQ(loadMessage(), std::string("store.db: ") + bad.message);
        EXPECT_EQ(messageOf([&] { replace(*openSqliteStore(path)); }),
                  std::string("store.db: ") + bad.message);
    }
}

TEST_F(SqliteStoreFailureTest, AReadOnlyFileIsNamed) {
    makeStore();
    ::chmod(path.c_str(), 0444);
    std::filesystem::remove(path + ".lock");
    AsNobody const nobody(dir.file(""));
    expectRefused("store.db: opening it for writing: Permission denied");
}

TEST_F(SqliteStoreFailureTest, AReadOnlyFolderIsNamed) {
    std::filesystem::create_directory(dir.file("folder"));
    AsNobody const nobody(dir.file(""));
    ::chmod(dir.file("folder").c_str(), 0500);
    EXPECT_EQ(openMessage("folder/store.db"),
              "folder/store.db: opening folder/store.db.lock: Permission denied");
    EXPECT_EQ(openMessage("folder/sub/store.db"),
              "folder/sub/store.db: making the folder folder/sub: Permission denied");
    ::chmod(dir.file("folder").c_str(), 0700);
}

TEST_F(SqliteStoreFailureTest, AFolderAndWhatIsNoFileAreRefused) {
    std::filesystem::create_directory(dir.file("folder"));
    EXPECT_EQ(openMessage("folder"), "folder: is a folder, the store is to be a file");
    ASSERT_EQ(::mkfifo(dir.file("fifo").c_str(), 0600), 0);
    EXPECT_EQ(openMessage("fifo"), "fifo: is not a regular file");
    put("file", "x");
    EXPECT_EQ(openMessage("file/store.db"),
              "file/store.db: opening file/store.db.lock: Not a directory");
}

TEST_F(SqliteStoreFailureTest, ALockOfAnotherProcessIsNotWaitedFor) {
    entryIs(1, "bond0.1");
    auto const store = openSqliteStore(path);
    Reader other(path);
    other.run("BEGIN IMMEDIATE");
    EXPECT_EQ(messageOf([&] { write(*store, recorder.changes); }),
              "store.db: beginning to write: another process holds a lock on it");
    EXPECT_FALSE(store->lost());
    other.run("COMMIT");
    write(*store, recorder.changes);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
}

TEST_F(SqliteStoreFailureTest, WithNoRoomATransactionIsNotThereAndIsWrittenWhenThereIsRoom) {
    makeStore();
    auto const store = openSqliteStore(path);
    entryIs(1, "eth9.1");
    write(*store, std::exchange(recorder.changes, {})); // the log exists
    auto const before = linesOf(path);
    for (std::uint16_t vlan = 1; vlan <= 200; ++vlan) {
        entryIs(vlan, "bond2.100", {"eth1", "eth2", "eth3", "eth4"});
    }
    std::size_t written = 0;
    for (::rlim_t const limit : {40000U, 45056U, 60000U, 80000U}) {
        SCOPED_TRACE(fmt::format("limit {}", limit));
        FileSizeLimit const noRoom(limit);
        EXPECT_THAT(messageOf([&] { writeFrom(written, *store, recorder.changes); }),
                    StartsWith("store.db: "));
        EXPECT_FALSE(store->lost());
        EXPECT_EQ(linesOf(path), linesAfter(before, written));
    }
    writeFrom(written, *store, recorder.changes);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
    checkpointStore(path);
    EXPECT_EQ(Reader(path).rows("PRAGMA integrity_check"), std::vector<std::string>{"ok"});
}

TEST_F(SqliteStoreFailureTest, AFullDiskIsNamedAndNothingIsLost) {
    std::string const disk = dir.file("disk");
    std::filesystem::create_directory(disk);
    if (::mount("none", disk.c_str(), "tmpfs", 0, "size=256k") != 0) {
        GTEST_SKIP() << "no permission to mount a small file system";
    }
    {
        std::string const name = disk + "/store.db";
        auto const store = openSqliteStore(name);
        entryIs(1, "bond0.1", {"eth1"});
        write(*store, std::exchange(recorder.changes, {}));
        auto const before = linesOf(name);
        for (std::uint16_t vlan = 1; vlan <= 2000; ++vlan) {
            entryIs(vlan, "bond2.100", {"eth1", "eth2", "eth3", "eth4"});
        }
        std::size_t written = 0;
        EXPECT_EQ(messageOf([&] { writeFrom(written, *store, recorder.changes); }),
                  "disk/store.db: writing: database or disk is full");
        EXPECT_EQ(linesOf(name), linesAfter(before, written));
        // With room for the log of any number of transactions: how many it takes is the machine's
        // speed, and the log grows to a thousand pages before it begins anew.
        ASSERT_EQ(::mount("none", disk.c_str(), "tmpfs", MS_REMOUNT, "size=64m"), 0);
        writeFrom(written, *store, recorder.changes);
        EXPECT_EQ(linesOf(name), linesOf(*directory));
    }
    EXPECT_EQ(::umount(disk.c_str()), 0);
}

} // namespace
} // namespace Agent
