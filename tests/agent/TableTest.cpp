#include "agent/Table.h"

#include "tests/agent/DirectoryTest.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

class TableTest : public DirectoryTest {
  protected:
    std::string table() {
        return written([&](Output &output) { writeTable(output, DirectoryView(*directory)); });
    }
};

TEST_F(TableTest, ColumnsAreAligned) {
    add(100, "bond0.100", false, Direction::both, {"eth2", "eth1"});
    add(4094, "averylongname.4094", true, Direction::ingress, {});
    EXPECT_EQ(table(), "VLAN  SUBINTERFACE        EGRESS    DIRECTION  LAG MEMBERS\n"
                       " 100  bond0.100           untagged  both       eth1 eth2\n"
                       "4094  averylongname.4094  tagged    ingress    -\n");
}

TEST_F(TableTest, AnEmptyDirectoryPrintsNothing) {
    EXPECT_EQ(table(), "");
}

TEST_F(TableTest, NoControlCharacterReachesTheTerminal) {
    add(1, "\033[2J", false, Direction::both, {"\a"});
    EXPECT_EQ(table().find_first_of("\033\a"), std::string::npos);
}

} // namespace
} // namespace Agent
