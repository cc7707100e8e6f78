// The last reference on the machine is released inside a notice: inside each notice of a whole
// life, one life for each.
//
// Wherever that is, the machine goes when the entry from outside returns: no part of it is left,
// nobody listens, no task waits, and the directory stays as it stood. ConfigSmLifetimeTest.cpp has
// the same for single reactions, with names.
#include "tests/VlanSubIntfConfigLib/LifeFixture.h"

#include <gmock/gmock.h>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::Output;
using TestSupport::Pace;

class ReleaseInReactionTest : public TestSupport::LifeTest {
  protected:
    void happened(std::string_view what) override {
        if (taken() && !standing_) {
            EXPECT_FALSE(machineIsAlive()) << where << ", then " << what;
            EXPECT_FALSE(partsAreAlive()) << where << ", then " << what;
            EXPECT_FALSE(notices->othersListen()) << where << ", then " << what;
            EXPECT_FALSE(scheduler->hasWork()) << where << ", then " << what;
            standing_ = output();
        }
    }
    void lifeEnded() override {
        EXPECT_EQ(output(), *standing_) << where;
        standing_.reset();
        expectThatANewMachineTakesOver();
    }

  private:
    std::optional<Output> standing_; ///< the directory when the machine was gone
};
INSTANTIATE_TEST_SUITE_P(Lives, ReleaseInReactionTest, TestSupport::allLives,
                         TestSupport::lifeName);

TEST_P(ReleaseInReactionTest, TheMachineGoesWithTheEntryFromOutsideAndLeavesTheDirectory) {
    EXPECT_GT(livesEndingIn([this] { machine = nullptr; }), 50);
    std::vector<std::string> expected = {
        "Bridging::Config 258",
        "Bridging::VlanConfig 262",
        "Lag::LagPhyIntfMapping 131",
        "Lag::LagPhyIntfConfig 131",
        "VlanSubIntfConfigLib::VlanSubIntfConfigDir 130",
        "VlanSubIntfConfigLib::VlanSubIntfConfig 130",
        "VlanSubIntfConfigLib::VlanSubIntf 130",
        "VlanSubIntfConfigLib::VlanSubIntf 131",
        "VlanSubIntfConfigLib::VlanSubIntf 132",
        "VlanSubIntfStatusLib::VlanStatus 130",
        "VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore 130"};
    if (pace() != Pace::synchronous) { // a synchronous start is over before anybody can let go
        expected.push_back("Osk::Task 131");
        for (int const attribute : {131, 132, 133}) {
            expected.push_back(fmt::format(
                "VlanSubIntfConfigLib::DovraCode::ConfigSm::InputSmScanState {}", attribute));
        }
        for (int const attribute : {130, 131, 132, 133, 134, 135}) {
            expected.push_back(fmt::format(
                "VlanSubIntfConfigLib::DovraCode::ConfigSm::OutputState {}", attribute));
        }
    }
    EXPECT_THAT(kinds, testing::IsSupersetOf(expected));
}

} // namespace
} // namespace VlanSubIntfConfigLib
