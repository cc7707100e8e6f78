#include "agent/store/ChangeQueue.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace Agent {
namespace {

using Kind = DirectoryChange::Kind;

DirectoryChange entryIs(std::uint16_t vlan, bool isNew, bool tag) {
    return {.intf = Iftel::IntfId("Ethernet1.5"),
            .member = {},
            .vlan = Bridging::VlanId(vlan),
            .kind = Kind::entryIs,
            .isNew = isNew,
            .tagOnEgress = tag};
}

DirectoryChange memberIs(std::uint16_t vlan) {
    return {.intf = Iftel::IntfId("Ethernet1.5"),
            .member = Iftel::IntfId("Ethernet7"),
            .vlan = Bridging::VlanId(vlan),
            .kind = Kind::memberIs};
}

TEST(ChangeQueue, HandsChangesOutInTheirOrder) {
    ChangeQueue queue;
    constexpr std::uint16_t changes = 20000;
    for (std::uint16_t i = 0; i < changes; ++i) {
        queue.append(memberIs(i));
    }
    for (std::uint16_t next = 0; next < changes;) {
        ASSERT_FALSE(queue.empty());
        auto const front = queue.front();
        auto const taken = (front.size() + 2) / 3;
        for (auto const &change : front.first(taken)) {
            ASSERT_EQ(change.vlan.value(), next++);
        }
        queue.pop(taken);
        ASSERT_EQ(queue.size(), static_cast<std::size_t>(changes - next));
    }
    EXPECT_TRUE(queue.empty());
    EXPECT_TRUE(queue.front().empty());
}

TEST(ChangeQueue, PutsAttributesIntoTheEntryRightBeforeThem) {
    ChangeQueue queue;
    queue.append(entryIs(1, true, false));
    queue.append(entryIs(1, false, true));
    ASSERT_EQ(queue.size(), 1U);
    EXPECT_TRUE(queue.front()[0].isNew);
    EXPECT_TRUE(queue.front()[0].tagOnEgress);
}

TEST(ChangeQueue, MergesNothingElse) {
    ChangeQueue queue;
    queue.append(entryIs(1, true, false));
    queue.append(memberIs(1));
    queue.append(entryIs(1, false, true)); // behind a member
    queue.append(entryIs(2, false, true)); // of another entry
    queue.append(entryIs(2, true, true));  // one that came
    EXPECT_EQ(queue.size(), 5U);
}

TEST(ChangeQueue, WhatWasTakenOffIsNotChangedAnyMore) {
    ChangeQueue queue;
    queue.append(entryIs(1, true, false));
    queue.pop(1);
    queue.append(entryIs(1, false, true));
    EXPECT_EQ(queue.size(), 1U);
    EXPECT_FALSE(queue.front()[0].isNew);
}

TEST(ChangeQueue, CanBeUsedAgainAfterItWasCleared) {
    ChangeQueue queue;
    queue.append(memberIs(1));
    queue.append(memberIs(2));
    queue.pop(1);
    queue.clear();
    EXPECT_TRUE(queue.empty());
    queue.append(memberIs(3));
    ASSERT_EQ(queue.front().size(), 1U);
    EXPECT_EQ(queue.front()[0].vlan.value(), 3);
}

} // namespace
} // namespace Agent
