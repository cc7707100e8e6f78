#include "agent/Summary.h"

#include "tests/agent/DirectoryTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Agent {
namespace {

class SummaryTest : public DirectoryTest {
  protected:
    static constexpr std::uint16_t longRow[] = {400, 401, 402, 500, 7};

    std::string summary(Snapshot const &before) {
        return summaryOf("old.json", before, Snapshot(*directory), *mapping);
    }
};

TEST_F(SummaryTest, CountsAndNamesAreGiven) {
    add(1, "a.2", true, Direction::both, {});
    for (std::uint16_t const vlan : longRow) {
        add(vlan, "a.10", true, Direction::both, {});
    }
    add(9, "a.2", true, Direction::both, {});
    Snapshot const before(*directory);
    for (std::uint16_t const vlan : longRow) {
        del(vlan, "a.10");
    }
    del(9, "a.2");
    add(1, "b.1", true, Direction::both, {});
    add(1, "a.2", false, Direction::both, {});
    EXPECT_EQ(summary(before),
              "compared with old.json: 0 kept, 1 added, 1 changed, 6 deleted as stale\n"
              "  added: b.1 in VLAN 1\n"
              "  changed: a.2 in VLAN 1\n"
              "  deleted as stale: a.2 in VLAN 9\n"
              "  deleted as stale: a.10 in VLANs 7 400-402 500\n");
}

TEST_F(SummaryTest, WithoutChangesThereIsOneLine) {
    add(1, "a.2", true, Direction::both, {});
    EXPECT_EQ(summary(Snapshot(*directory)),
              "compared with old.json: 1 kept, 0 added, 0 changed, 0 deleted as stale\n");
}

TEST_F(SummaryTest, EntriesThatKeepOldMembersAreNamed) {
    auto const bond = Iftel::NameTable::instance().intfIs("bond0", Iftel::IntfKind::portChannel);
    auto const empty = Iftel::NameTable::instance().intfIs("bond1", Iftel::IntfKind::portChannel);
    Iftel::NameTable::instance().subIntfIs("bond0.1", bond);
    Iftel::NameTable::instance().subIntfIs("bond1.1", empty);
    mapping->lagPhyIntfConfigIs(bond)->phyIntfIs(earlierMember("m1"), nullptr);
    mapping->lagPhyIntfConfigIs(empty);
    add(1, "bond0.1", true, Direction::both, {"m1"});
    add(1, "bond1.1", true, Direction::both, {"m2"});
    add(1, "eth1.1", true, Direction::both, {"m3"});
    add(1, "eth2.1", true, Direction::both, {});
    EXPECT_EQ(summary(Snapshot(*directory)),
              "compared with old.json: 4 kept, 0 added, 0 changed, 0 deleted as stale\n"
              "  keeps its old LAG members, for it got none in this run: bond1.1 in VLAN 1\n"
              "  keeps its old LAG members, for it got none in this run: eth1.1 in VLAN 1\n");
}

} // namespace
} // namespace Agent
