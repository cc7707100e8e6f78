#include "agent/VlanRanges.h"

#include <gtest/gtest.h>

#include <vector>

namespace Agent {
namespace {

std::string ranges(std::vector<std::uint16_t> const &vlans) {
    return vlanRanges(vlans);
}

TEST(VlanRanges, NumbersInARowAreJoined) {
    EXPECT_EQ(ranges({1, 2, 3, 5, 7, 8}), "1-3 5 7-8");
    EXPECT_EQ(ranges({4094}), "4094");
}

TEST(VlanRanges, NoNumberIsNoText) {
    EXPECT_EQ(ranges({}), "");
}

} // namespace
} // namespace Agent
