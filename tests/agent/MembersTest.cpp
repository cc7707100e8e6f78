#include "agent/Members.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

using Bridging::AllowedTrafficDirection;
using Bridging::VlanId;
using Bridging::VlanPortConfig;

TEST(Members, AMemberIsEnteredInItsVlan) {
    auto const config = Bridging::Config::ConfigIs();
    Iftel::IntfId const intf("Ethernet1");
    VlanPortConfig const member{true, false, AllowedTrafficDirection::both};
    EXPECT_FALSE(memberIs(*config, VlanId(5), intf, member));
    ASSERT_TRUE(config->vlanConfig(VlanId(5)));
    EXPECT_EQ(*(*config->vlanConfig(VlanId(5)))->intf(intf), member);
}

TEST(Members, TheSameAgainChangesNothing) {
    auto const config = Bridging::Config::ConfigIs();
    Iftel::IntfId const intf("Ethernet1");
    VlanPortConfig const member{true, false, AllowedTrafficDirection::both};
    EXPECT_FALSE(memberIs(*config, VlanId(5), intf, member));
    EXPECT_FALSE(memberIs(*config, VlanId(5), intf, member));
    EXPECT_EQ((*config->vlanConfig(VlanId(5)))->intf().size(), 1U);
}

TEST(Members, AContradictionReturnsTheFirstAndKeepsIt) {
    auto const config = Bridging::Config::ConfigIs();
    Iftel::IntfId const intf("Ethernet1");
    VlanPortConfig const first{true, false, AllowedTrafficDirection::both};
    VlanPortConfig const second{false, false, AllowedTrafficDirection::both};
    EXPECT_FALSE(memberIs(*config, VlanId(5), intf, first));
    EXPECT_EQ(memberIs(*config, VlanId(5), intf, second), first);
    EXPECT_EQ(*(*config->vlanConfig(VlanId(5)))->intf(intf), first);
    EXPECT_EQ(contradiction("Ethernet1", VlanId(5), first, second),
              "Ethernet1 is in VLAN 5 twice, tagged with direction both and untagged with "
              "direction both");
}

TEST(Members, EveryDirectionHasAWord) {
    for (auto const direction : {AllowedTrafficDirection::none, AllowedTrafficDirection::ingress,
                                 AllowedTrafficDirection::egress, AllowedTrafficDirection::both}) {
        EXPECT_EQ(directionOf(directionWord(direction)), direction);
    }
    EXPECT_EQ(directionWord(AllowedTrafficDirection::egress), "egress");
    EXPECT_FALSE(directionOf("Both"));
    EXPECT_FALSE(directionOf(""));
}

} // namespace
} // namespace Agent
