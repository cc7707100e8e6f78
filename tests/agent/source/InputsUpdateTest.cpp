#include "agent/source/InputsUpdate.h"

#include "agent/loop/Worker.h"
#include "tests/agent/source/InputShape.h"
#include "tests/support/Random.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Agent {
namespace {

using Bridging::AllowedTrafficDirection;
using Bridging::VlanId;
using Iftel::IntfId;

void member(Inputs const &inputs, std::uint16_t vlan, char const *intf, bool tag = true) {
    inputs.bridgingConfig->vlanConfigIs(VlanId(vlan))
        ->intfIs(IntfId(intf), {tag, false, AllowedTrafficDirection::both});
}

void lagMember(Inputs const &inputs, char const *lag, char const *intf) {
    inputs.lagPhyIntfMapping->lagPhyIntfConfigIs(IntfId(lag))
        ->phyIntfIs(IntfId(intf), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
}

class InputsUpdateTest : public testing::Test {
  protected:
    /// Bring the inputs level, `tests` items a run; returns the number of runs.
    std::uint64_t update(Inputs const &wanted, std::uint64_t tests) {
        scheduler_->shareIs(std::make_unique<Osk::CountShare>(tests));
        InputsUpdate update(inputs_, wanted);
        Worker worker(scheduler_, Osk::TaskPriority::normal, "update", [&](Osk::Task const &task) {
            return update.step(task) ? Worker::More::no : Worker::More::yes;
        });
        worker.wake();
        auto const runs = scheduler_->runUntilIdle();
        changes_ = update.changes();
        return runs;
    }

    Qor::Ptr<Osk::TaskScheduler> scheduler_ = Osk::TaskScheduler::TaskSchedulerIs();
    Inputs inputs_ = emptyInputs();
    std::uint64_t changes_ = 0;
};

TEST_F(InputsUpdateTest, FillsEmptyInputs) {
    Inputs const wanted = emptyInputs();
    member(wanted, 100, "PortChannel1.10");
    lagMember(wanted, "PortChannel1", "Ethernet1");
    update(wanted, 1000);
    EXPECT_EQ(shapeOf(inputs_), shapeOf(wanted));
    EXPECT_EQ(changes_, 2U);
}

TEST_F(InputsUpdateTest, LeavesWhatStaysAlone) {
    member(inputs_, 100, "PortChannel1.10");
    lagMember(inputs_, "PortChannel1", "Ethernet1");
    auto const vlan = *inputs_.bridgingConfig->vlanConfig(VlanId(100));
    auto const stamp = vlan->intf().stamp();
    Inputs const wanted = emptyInputs();
    member(wanted, 100, "PortChannel1.10");
    lagMember(wanted, "PortChannel1", "Ethernet1");
    update(wanted, 1000);
    EXPECT_EQ(changes_, 0U);
    EXPECT_EQ(vlan->intf().stamp(), stamp);
    EXPECT_EQ(*inputs_.bridgingConfig->vlanConfig(VlanId(100)), vlan);
}

TEST_F(InputsUpdateTest, RemovesWhatIsNotWanted) {
    member(inputs_, 100, "PortChannel1.10");
    member(inputs_, 100, "PortChannel1.11");
    member(inputs_, 200, "PortChannel1.11");
    lagMember(inputs_, "PortChannel1", "Ethernet1");
    lagMember(inputs_, "PortChannel2", "Ethernet2");
    Inputs const wanted = emptyInputs();
    member(wanted, 100, "PortChannel1.10");
    lagMember(wanted, "PortChannel1", "Ethernet3");
    update(wanted, 1000);
    EXPECT_EQ(shapeOf(inputs_), shapeOf(wanted));
    EXPECT_EQ(changes_, 5U);
}

TEST_F(InputsUpdateTest, ChangesAnotherConfigurationInPlace) {
    member(inputs_, 100, "PortChannel1.10", true);
    Inputs const wanted = emptyInputs();
    member(wanted, 100, "PortChannel1.10", false);
    update(wanted, 1000);
    EXPECT_EQ(shapeOf(inputs_), shapeOf(wanted));
    EXPECT_EQ(changes_, 1U);
}

TEST_F(InputsUpdateTest, TakesOneItemARunWhenThatIsTheShare) {
    Inputs const wanted = emptyInputs();
    for (std::uint16_t vlan = 1; vlan <= 10; ++vlan) {
        member(wanted, vlan, "PortChannel1.10");
    }
    EXPECT_GE(update(wanted, 1), 10U);
    EXPECT_EQ(shapeOf(inputs_), shapeOf(wanted));
}

void fillRandomly(Inputs const &inputs, TestSupport::Random &random) {
    for (auto i = random.below(41); i > 0; --i) {
        auto const vlan = static_cast<std::uint16_t>(1 + random.below(6));
        auto const intf = "PortChannel1." + std::to_string(1 + random.below(13));
        member(inputs, vlan, intf.c_str(), random.below(2) == 0);
    }
    for (auto i = random.below(13); i > 0; --i) {
        lagMember(inputs, ("PortChannel" + std::to_string(1 + random.below(4))).c_str(),
                  ("Ethernet" + std::to_string(1 + random.below(7))).c_str());
    }
}

TEST_F(InputsUpdateTest, EndsWithWhatIsWantedFromAnythingInSlicesOfAnySize) {
    TestSupport::Random random(2611);
    for (int round = 0; round < 500; ++round) {
        Inputs const wanted = emptyInputs();
        fillRandomly(wanted, random);
        update(wanted, 1 + random.below(20));
        ASSERT_EQ(shapeOf(inputs_), shapeOf(wanted)) << "round " << round;
    }
}

} // namespace
} // namespace Agent
