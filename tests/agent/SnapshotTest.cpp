#include "agent/Snapshot.h"

#include "tests/agent/DirectoryTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;

class SnapshotTest : public DirectoryTest {
  protected:
    static std::vector<std::string> compare(Snapshot const &before, Snapshot const &after) {
        std::vector<std::string> lines;
        Snapshot::compare(before, after,
                          [&](Snapshot::Entry const &entry, Snapshot::Change change) {
                              char const *const words[] = {"kept", "added", "changed", "deleted"};
                              lines.push_back(std::to_string(entry.vlan.value()) + " " +
                                              std::string(entry.intf.stringValue().view()) + " " +
                                              words[static_cast<std::size_t>(change)]);
                          });
        return lines;
    }
};

TEST_F(SnapshotTest, EveryEntryHasItsFate) {
    add(1, "a.1", true, Direction::both, {"m1", "m2"});
    add(1, "b.1", true, Direction::both, {});
    add(2, "a.1", true, Direction::both, {});
    Snapshot const before(*directory);
    del(1, "b.1");
    add(2, "a.1", false, Direction::both, {});
    add(3, "c.1", true, Direction::both, {});
    EXPECT_THAT(compare(before, Snapshot(*directory)),
                ElementsAre("1 a.1 kept", "1 b.1 deleted", "2 a.1 changed", "3 c.1 added"));
}

TEST_F(SnapshotTest, EachAttributeCountsAsAChange) {
    add(1, "tag.1", true, Direction::both, {"m1"});
    add(1, "direction.1", true, Direction::both, {"m1"});
    add(1, "more.1", true, Direction::both, {"m1"});
    add(1, "same.1", true, Direction::both, {"m1"});
    Snapshot const before(*directory);
    add(1, "tag.1", false, Direction::both, {});
    add(1, "direction.1", true, Direction::none, {});
    add(1, "more.1", true, Direction::both, {"m2"});
    add(1, "same.1", true, Direction::both, {"m1"});
    EXPECT_THAT(compare(before, Snapshot(*directory)),
                ElementsAre("1 tag.1 changed", "1 direction.1 changed", "1 more.1 changed",
                            "1 same.1 kept"));
}

TEST_F(SnapshotTest, AnExchangedMemberIsAChange) {
    add(1, "a.1", true, Direction::both, {"m1"});
    Snapshot const before(*directory);
    auto const subIntf =
        (*directory->config(Bridging::VlanId(1)))->intf(earlierSubIntf("a.1")).value();
    subIntf->lagPhyIntfDel(earlierMember("m1"));
    subIntf->lagPhyIntfIs(earlierMember("m2"));
    EXPECT_THAT(compare(before, Snapshot(*directory)), ElementsAre("1 a.1 changed"));
}

TEST_F(SnapshotTest, EmptyDirectoriesCompare) {
    Snapshot const empty(*directory);
    EXPECT_EQ(empty.size(), 0U);
    add(1, "a.1", true, Direction::both, {});
    Snapshot const one(*directory);
    EXPECT_EQ(one.size(), 1U);
    EXPECT_THAT(compare(empty, one), ElementsAre("1 a.1 added"));
    EXPECT_THAT(compare(one, empty), ElementsAre("1 a.1 deleted"));
    EXPECT_THAT(compare(empty, empty), ElementsAre());
}

} // namespace
} // namespace Agent
