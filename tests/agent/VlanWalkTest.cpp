#include "agent/VlanWalk.h"

#include "platform/VlanSubIntfConfigDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

class VlanWalkTest : public testing::Test {
  protected:
    void entryIs(std::uint16_t vlan, char const *intf) {
        directory_->configIs(Bridging::VlanId(vlan))->intfIs(Iftel::IntfId(intf));
    }
    /// One step, to the end of VLAN `last`, that a pause ends wherever it may.
    bool stepOne(VlanWalk &walk, std::uint16_t last = lastVlan) {
        return walk.step(
            directory_->config(), last, [] { return true; },
            [this](Bridging::VlanId vlan, auto const &node) {
                visited_.push_back(std::to_string(vlan.value()) + " " +
                                   std::string(node.key().stringValue().view()));
            });
    }

    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> const directory_ =
        VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    std::vector<std::string> visited_;
};

TEST_F(VlanWalkTest, VisitsTheVlansByNumberFromTheFirstToTheLast) {
    for (std::uint16_t const vlan : {lastVlan, std::uint16_t{20}, firstVlan, std::uint16_t{10}}) {
        entryIs(vlan, "PortChannel1.10");
    }
    VlanWalk walk;
    while (!stepOne(walk)) {
    }
    EXPECT_THAT(visited_, ElementsAre("1 PortChannel1.10", "10 PortChannel1.10",
                                      "20 PortChannel1.10", "4094 PortChannel1.10"));
}

TEST_F(VlanWalkTest, AStepEndsWhereItIsToPauseAndTheNextOneGoesOnThere) {
    entryIs(10, "PortChannel1.10");
    entryIs(10, "PortChannel1.11");
    VlanWalk walk(10);
    EXPECT_FALSE(stepOne(walk));
    EXPECT_THAT(visited_, SizeIs(1));
    EXPECT_EQ(walk.vlan(), 10);
    EXPECT_FALSE(stepOne(walk));
    EXPECT_THAT(visited_, SizeIs(2));
    EXPECT_NE(visited_.front(), visited_.back());
    EXPECT_EQ(walk.vlan(), 11);
}

TEST_F(VlanWalkTest, AStepToAVlanDoesNotGoBeyondIt) {
    entryIs(10, "PortChannel1.10");
    entryIs(11, "PortChannel1.11");
    VlanWalk walk(10);
    EXPECT_TRUE(stepOne(walk, 10));
    EXPECT_TRUE(stepOne(walk, 10));
    EXPECT_THAT(visited_, ElementsAre("10 PortChannel1.10"));
    EXPECT_TRUE(stepOne(walk, 11));
    EXPECT_THAT(visited_, ElementsAre("10 PortChannel1.10", "11 PortChannel1.11"));
}

TEST_F(VlanWalkTest, VisitsOnceWhatStaysWhileOthersGo) {
    std::vector<std::string> stay;
    for (int i = 10; i < 30; ++i) {
        stay.push_back("10 PortChannel1." + std::to_string(i));
        entryIs(10, ("PortChannel1." + std::to_string(i)).c_str());
        entryIs(10, ("PortChannel2." + std::to_string(i)).c_str());
    }
    VlanWalk walk(10);
    for (int i = 10; i < 30; ++i) {
        EXPECT_FALSE(stepOne(walk, 10));
        directory_->configIs(Bridging::VlanId(10))
            ->intfDel(Iftel::IntfId(("PortChannel2." + std::to_string(i)).c_str()));
    }
    while (!stepOne(walk, 10)) {
    }
    std::erase_if(visited_, [](std::string const &visit) {
        return visit.find("Channel2.") != std::string::npos;
    });
    EXPECT_THAT(visited_, UnorderedElementsAreArray(stay));
}

TEST_F(VlanWalkTest, BehindAVlanThatGoesItBeginsTheNextOne) {
    entryIs(10, "PortChannel1.10");
    entryIs(10, "PortChannel1.11");
    VlanWalk walk(10);
    EXPECT_FALSE(stepOne(walk, 11));
    directory_->configDel(Bridging::VlanId(10));
    entryIs(11, "PortChannel1.10");
    entryIs(11, "PortChannel1.11");
    while (!stepOne(walk, 11)) {
    }
    EXPECT_THAT(visited_, SizeIs(3));
}

} // namespace
} // namespace Agent
