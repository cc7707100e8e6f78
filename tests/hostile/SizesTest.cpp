// Every VLAN that there is, a VLAN of 65,536 members, a LAG of 1,000 members under every VLAN:
// derived, changed, restarted over and withdrawn. Each result is compared entry by entry; each cost
// is a count with a closed formula (notices), or with a bound that follows from the data (items of
// a run, bytes).
#include "tests/hostile/SizeFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace Hostile {
namespace {

class EveryVlan : public SizeTest {
  protected:
    static constexpr std::uint32_t vlans = 4094 / scale;
    static constexpr std::uint32_t lags = 4;
    static constexpr std::uint32_t membersPerLag = 4;
    static constexpr std::uint32_t plainSubIntfs = 4;
    static constexpr std::uint32_t otherIntfs = 8;
    static constexpr std::uint64_t entries = vlans * (lags + plainSubIntfs);
    static constexpr std::uint64_t members = vlans * lags * membersPerLag;

    void SetUp() override {
        for (std::uint32_t number = 1; number <= vlans; ++number) {
            fillVlan(number);
        }
        for (std::uint32_t number = 1; number <= lags; ++number) {
            lagMembers(number, 100 * number, membersPerLag);
        }
    }
    void fillVlan(std::uint32_t number) {
        for (std::uint32_t i = 1; i <= lags; ++i) {
            add(number, lagSubIntf(i, number));
        }
        for (std::uint32_t i = 1; i <= plainSubIntfs; ++i) {
            add(number, portSubIntf(i, number));
        }
        for (std::uint32_t i = 1; i <= otherIntfs; ++i) {
            intf(number, portId(i)); // no subinterface: of no concern to the machine
        }
    }
    void add(std::uint32_t number, Iftel::IntfId id) {
        intf(number, id);
        attributes_ += attributeNotices(number, id);
    }
    /// Notices of a start with an empty directory.
    [[nodiscard]] std::uint64_t noticesOfAll() const {
        return vlans + entries + members + attributes_;
    }

    std::uint64_t attributes_ = 0;
};

TEST_P(EveryVlan, IsDerivedWithOneNoticeForEachThingThatIsNew) {
    startUntilReady();
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(dir->config().size(), vlans);
    EXPECT_EQ(notices->take(), noticesOfAll());
    expectBoundedRuns({0, 0, vlans * lags, members});
    expectBoundedNotices(4 + membersPerLag);
    EXPECT_LE(bytesMade(), readyBytes(vlans, entries, members, vlans * lags, lags));
    EXPECT_GE(bytesMade(), entries * 64 + members * 12) << "the census counts them";
    RecordProperty("bytesPerEntry", std::to_string(bytesMade() / entries));
}

TEST_P(EveryVlan, IsDerivedAnewWithoutANoticeWhereNothingChanged) {
    startUntilReady();
    machine = nullptr;
    startUntilReady();
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(notices->take(), 0U);
    expectBoundedRuns({vlans, entries, vlans * lags, members});
}

TEST_P(EveryVlan, GoesAndComesAgainVlanByVlan) {
    startUntilReady();
    notices->take();
    for (std::uint32_t number = 1; number <= vlans; ++number) {
        bridging->vlanConfigDel(vlanId(number));
    }
    attributes_ = 0;
    EXPECT_EQ(notices->take(), vlans + entries);
    EXPECT_TRUE(dir->config().empty());
    EXPECT_TRUE(machine->localAttrStore()->lagVlanStatus().empty());
    for (std::uint32_t number = 1; number <= vlans; ++number) {
        fillVlan(number);
    }
    EXPECT_EQ(notices->take(), noticesOfAll());
    EXPECT_EQ(difference(), "");
}

class LargeVlan : public SizeTest {
  protected:
    static constexpr std::uint32_t vlanNumber = 7;
    static constexpr std::uint32_t members = 65536 / scale;
    static constexpr std::uint32_t lags = 16;
    static constexpr std::uint32_t membersPerLag = 2;
    static constexpr std::uint32_t onLags = members / 2;

    void SetUp() override {
        for (std::uint32_t i = 0; i < onLags; ++i) {
            add(lagSubIntf(1 + i % lags, i));
            add(portSubIntf(1 + i % 48, i));
        }
        for (std::uint32_t number = 1; number <= lags; ++number) {
            lagMembers(number, 100 * number, membersPerLag);
        }
        intf(vlanNumber + 1, portSubIntf(1, 1)); // a neighbour that has nothing to do with it
        attributes_ += attributeNotices(vlanNumber + 1, portSubIntf(1, 1));
    }
    void add(Iftel::IntfId id) {
        intf(vlanNumber, id);
        attributes_ += attributeNotices(vlanNumber, id);
    }

    std::uint64_t attributes_ = 0;
};

TEST_P(LargeVlan, IsDerivedInRunsOfTheShare) {
    startUntilReady();
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(notices->take(), 2 + members + 1 + onLags * membersPerLag + attributes_);
    expectBoundedRuns({0, 0, onLags, onLags * membersPerLag});
    expectBoundedNotices(4 + membersPerLag); // the VLAN, the entry, two attributes and the members
    EXPECT_LE(bytesMade(), readyBytes(2, members + 1, onLags * membersPerLag, onLags, lags));
    RecordProperty("bytesPerEntry", std::to_string(bytesMade() / members));
    RecordProperty("runs", std::to_string(runs.runs));
    RecordProperty("mostNotices", std::to_string(runs.mostNotices));
}

TEST_P(LargeVlan, GoesWithOneNoticeForEachEntry) {
    startUntilReady();
    std::uint64_t const before = liveBytes();
    notices->take();
    bridging->vlanConfigDel(vlanId(vlanNumber));
    EXPECT_EQ(notices->take(), members + 1);
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(dir->config().size(), 1U);
    EXPECT_TRUE(machine->localAttrStore()->lagVlanStatus().empty());
    EXPECT_LE(liveBytes() + members * 64, before) << "the entries' memory is free";
}

TEST_P(LargeVlan, IsRestartedOverATenthOfStaleEntries) {
    startUntilReady();
    machine = nullptr;
    auto const config = bridging->vlanConfigIs(vlanId(vlanNumber));
    std::uint32_t stale = 0;
    for (std::uint32_t i = 0; i < onLags; i += 10, stale += 2) {
        config->intfDel(lagSubIntf(1 + i % lags, i));
        config->intfDel(portSubIntf(1 + i % 48, i));
    }
    startUntilReady();
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(notices->take(), stale) << "what stays is not touched";
    std::uint64_t const left = onLags - stale / 2;
    expectBoundedRuns({2, members + 1, left, left * membersPerLag});
    expectBoundedNotices(1);
}

class LargeLag : public SizeTest {
  protected:
    static constexpr std::uint32_t vlans = 4094 / scale;
    static constexpr std::uint32_t lagMemberCount = 1000;
    static constexpr std::uint64_t members = std::uint64_t{vlans} * lagMemberCount;
    static constexpr std::uint32_t lagNumber = 1;

    void SetUp() override {
        for (std::uint32_t number = 1; number <= vlans; ++number) {
            intf(number, lagSubIntf(lagNumber, number));
            attributes_ += attributeNotices(number, lagSubIntf(lagNumber, number));
        }
        lagMembers(lagNumber, 1, lagMemberCount);
    }
    std::uint64_t attributes_ = 0;
};

TEST_P(LargeLag, IsMergedIntoEveryVlanWithinItsMemory) {
    startUntilReady();
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(notices->take(), 2 * vlans + attributes_ + members) << "each member is added once";
    expectBoundedRuns({0, 0, vlans, members});
    expectBoundedNotices(4 + lagMemberCount);
    std::uint64_t const bound = readyBytes(vlans, vlans, members, vlans, 1);
    EXPECT_LE(bytesMade(), bound);
    EXPECT_LE(runs.mostBytes, bytesBefore() + bound + seenBytes(members, vlans));
    EXPECT_GE(bytesMade(), members * 12);
    RecordProperty("bytesPerMember", std::to_string(bytesMade() / members));
    RecordProperty("boundPerMember", std::to_string(bound / members));
    RecordProperty("mostBytes", std::to_string(runs.mostBytes));
    RecordProperty("runs", std::to_string(runs.runs));
}

TEST_P(LargeLag, EachChangeOfItIsOneNoticeAVlan) {
    startUntilReady();
    notices->take();
    std::uint64_t const before = liveBytes();
    auto const config = lagMapping->lagPhyIntfConfigIs(lagId(lagNumber));
    config->phyIntfIs(portId(lagMemberCount + 1), nullptr);
    EXPECT_EQ(notices->take(), vlans);
    EXPECT_EQ(difference(), "");
    config->phyIntfDel(portId(500));
    EXPECT_EQ(notices->take(), vlans);
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(liveBytes(), before) << "1,000 members again";

    lagMapping->lagPhyIntfConfigDel(lagId(lagNumber));
    EXPECT_EQ(notices->take(), members);
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(dir->config().size(), vlans) << "the subinterfaces stay";
}

TEST_P(LargeLag, IsRestartedOverATenthOfStaleMembersAndWithdrawn) {
    constexpr std::uint32_t goneMembers = lagMemberCount / 10;
    constexpr std::uint32_t goneVlans = vlans / 10;
    startUntilReady();
    machine = nullptr;
    auto const config = lagMapping->lagPhyIntfConfigIs(lagId(lagNumber));
    for (std::uint32_t number = 1; number <= goneMembers; ++number) {
        config->phyIntfDel(portId(10 * number));
    }
    for (std::uint32_t number = 1; number <= goneVlans; ++number) {
        bridging->vlanConfigDel(vlanId(10 * number));
    }
    startUntilReady();
    EXPECT_EQ(difference(), "");
    constexpr std::uint64_t left = vlans - goneVlans;
    EXPECT_EQ(notices->take(), 2 * goneVlans + left * goneMembers) << "what stays is not touched";
    expectBoundedRuns({vlans, vlans, left, left * lagMemberCount});
    expectBoundedNotices(1);
    EXPECT_LE(runs.mostBytes, bytesBefore() + readyBytes(vlans, vlans, 0, 0, 1) +
                                  seenBytes(left * (lagMemberCount - goneMembers), left) +
                                  tableBytes(16, left, 1));
    EXPECT_EQ(TestSupport::liveCount(
                  std::string(VlanSubIntfConfigLib::LagPhyIntfOutputColl::qorTypeName)),
              TestSupport::LiveCount())
        << "and forgotten";

    machine->doDeleteAll();
    EXPECT_EQ(notices->take(), left * (lagMemberCount - goneMembers) + 2 * left);
    EXPECT_TRUE(dir->config().empty());
}

INSTANTIATE_TEST_SUITE_P(Sizes, EveryVlan, modes, nameOfMode);
INSTANTIATE_TEST_SUITE_P(Sizes, LargeVlan, modes, nameOfMode);
INSTANTIATE_TEST_SUITE_P(Sizes, LargeLag, modes, nameOfMode);

} // namespace
} // namespace Hostile
