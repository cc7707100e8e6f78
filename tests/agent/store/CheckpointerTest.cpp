#include "agent/store/Checkpointer.h"

#include "tests/agent/store/StoreTest.h"

#include <filesystem>

namespace Agent {
namespace {

using testing::HasSubstr;

class CheckpointerTest : public StoreTest {
  protected:
    CheckpointerTest() { journal.readerIs(recorder); }

    void flip(int transactions) {
        for (int i = 0; i < transactions; ++i) {
            entryIs(1, "bond0.1", {}, i % 2 == 0);
            write(*store, std::exchange(recorder.changes, {}));
        }
    }
    [[nodiscard]] std::uintmax_t logSize() const {
        return std::filesystem::file_size(path + "-wal");
    }
    /// What the database holds without its log.
    [[nodiscard]] Lines linesWithoutLog() const {
        auto const copy = dir.file("copy.db");
        std::filesystem::copy_file(path, copy);
        return linesOf(copy);
    }

    std::unique_ptr<Store> store = openSqliteStore(path);
};

TEST_F(CheckpointerTest, CopiesTheLogOfAStoreInUseAndBeginsItAnew) {
    flip(50);
    auto const size = logSize();
    auto const pages = store->logPages();
    checkpointStore(path);
    EXPECT_EQ(linesWithoutLog(), linesOf(*directory));
    flip(20);
    EXPECT_LT(store->logPages(), pages);
    EXPECT_EQ(logSize(), size);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
    EXPECT_EQ(Reader(path).rows("PRAGMA user_version"), std::vector<std::string>{"1"});
}

TEST_F(CheckpointerTest, CutsALargeLog) {
    flip(8400);
    EXPECT_GT(logSize(), std::uintmax_t{32} << 20);
    checkpointStore(path);
    EXPECT_LT(logSize(), 10000U);
    EXPECT_EQ(linesOf(path), linesOf(*directory));
}

TEST_F(CheckpointerTest, LeavesAReaderWhatItLooksAt) {
    flip(10);
    Reader reader(path);
    reader.run("BEGIN");
    auto const before = reader.lines();
    directory->configDel(Bridging::VlanId(1));
    write(*store, std::exchange(recorder.changes, {}));
    auto const pages = store->logPages();
    checkpointStore(path);
    EXPECT_EQ(reader.lines(), before);
    flip(1);
    EXPECT_GT(store->logPages(), pages); // not begun anew
    EXPECT_EQ(reader.lines(), before);
    reader.run("COMMIT");
    EXPECT_EQ(reader.lines(), linesOf(*directory));
}

TEST_F(CheckpointerTest, TouchesNoDatabaseOfAnotherProgram) {
    auto const other = dir.write("other.db", "");
    Reader(other).run("CREATE TABLE t (x)");
    auto const before = readFile(other);
    EXPECT_EQ(messageOf([&] { checkpointStore(other); }),
              "other.db: opening it to copy its write-ahead log: is no store");
    EXPECT_EQ(readFile(other), before);
}

TEST_F(CheckpointerTest, MakesNoFile) {
    EXPECT_THAT(messageOf([&] { checkpointStore(dir.file("none.db")); }),
                HasSubstr("none.db: opening it: unable to open database file"));
    EXPECT_FALSE(std::filesystem::exists(dir.file("none.db")));
}

} // namespace
} // namespace Agent
