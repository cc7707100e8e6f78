// What a machine works with is taken away inside a notice: everything at once, its tasks, its input
// machines, those who listen. Enumerated over the notices of a whole life where that says more than
// single cases do.
#include "tests/VlanSubIntfConfigLib/LifeFixture.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <memory>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::EveryNotice;
using TestSupport::LiveCount;
using TestSupport::Observer;
using TestSupport::Pace;

// The host lets go of everything that it holds.

class EverythingVanishesTest : public TestSupport::LifeTest {
  protected:
    void SetUp() override {
        LifeTest::SetUp();
        startSynchronous(); // what the process keeps for good is made now
        letGo();
        baseline_ = TestSupport::liveCounts();
    }
    void happened(std::string_view what) override {
        if (taken()) {
            EXPECT_EQ(TestSupport::liveCounts(), baseline_) << where << ", then " << what;
            throw Ended();
        }
    }

  private:
    std::map<std::string, LiveCount> baseline_;
};
INSTANTIATE_TEST_SUITE_P(Lives, EverythingVanishesTest, TestSupport::allLives,
                         TestSupport::lifeName);

TEST_P(EverythingVanishesTest, InEachNoticeOfALifeAndNothingIsLeftWhenItsEntryReturns) {
    EXPECT_GT(livesEndingIn([this] { letGo(); }), 50);
}

// Those who listen leave or are destroyed, and the host lets go of entries that it held.

class ListenersVanishTest : public TestSupport::LifeTest {
  protected:
    void begun() override {
        others_.emplace([](Qor::Entity const & /*entity*/, short /*attribute*/) {});
        others_->hear(*bridging);
        others_->hear(*lagMapping);
        others_->hear(*dir);
        held_.clear();
    }
    void leave() {
        notices->leave();
        others_.reset();
        held_.clear();
    }
    void happened(std::string_view what) override {
        if (!machine || !machine->ready() || what == "doDeleteAll()") {
            return;
        }
        auto const derived = Model::derive(Model::read(*bridging, *lagMapping));
        EXPECT_EQ(Model::differences(derived, Model::read(*dir)), "") << where << ", then " << what;
        if (!taken()) {
            hold();
        }
    }
    void lifeEnded() override { EXPECT_TRUE(dir->config().empty()) << where; }

  private:
    void hold() {
        for (auto const &[vlanId, config] : dir->config()) {
            held_.emplace_back(config);
            for (auto const &[intfId, subIntf] : config->intf()) {
                held_.emplace_back(subIntf);
            }
        }
    }

    std::optional<EveryNotice> others_;
    std::vector<Qor::Ptr<Qor::Entity>> held_;
};
INSTANTIATE_TEST_SUITE_P(Lives, ListenersVanishTest, TestSupport::allLives, TestSupport::lifeName);

TEST_P(ListenersVanishTest, InEachNoticeOfALifeAndTheMachineGoesOn) {
    EXPECT_GT(livesEndingIn([this] { leave(); }), 50);
}

// A task is deleted: in its own run, while it waits for one, before and after it.

class TaskVanishesTest : public TestSupport::LifeTest {
  protected:
    static constexpr std::size_t tasks = 4;

    void taskDel(std::size_t task) {
        switch (task) {
        case 0:
            machine->lagPhyIntfConfigSm2()->taskDel();
            break;
        case 1:
            machine->vlanConfigSm0()->taskDel();
            break;
        case 2:
            machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDel();
            break;
        default:
            machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDel();
        }
    }
    /// Install another in its place.
    void taskIs(std::size_t task) {
        auto const priority = Osk::TaskPriority::low;
        switch (task) {
        case 0:
            machine->lagPhyIntfConfigSm2()->taskIs(scheduler, priority, "another");
            break;
        case 1:
            machine->vlanConfigSm0()->taskIs(scheduler, priority, "another");
            break;
        case 2:
            machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskIs(
                scheduler, priority, "another");
            break;
        default:
            machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskIs(scheduler, priority,
                                                                              "another");
        }
    }
    /// A life up to readiness, or as far as it comes without the task.
    void happened(std::string_view /*what*/) override {
        if (!scheduler->hasWork()) {
            throw Ended();
        }
    }
    void lifeEnded() override {
        stalled_ += machine->ready() ? 0 : 1;
        taskIs(task_);
        run();
        EXPECT_TRUE(machine->ready()) << where;
        auto const inputs = Model::read(*bridging, *lagMapping);
        auto const derived = Model::derive(inputs);
        EXPECT_EQ(Model::differences(derived, Model::read(*dir)), "") << where;
    }

    std::size_t task_ = 0; ///< the one that is deleted
    int stalled_ = 0;      ///< lives in which the machine was not ready without it
};
INSTANTIATE_TEST_SUITE_P(Lives, TaskVanishesTest,
                         testing::Combine(testing::Values(Pace::oneItemASlice, Pace::wholeScans),
                                          testing::Values(TestSupport::Place::first,
                                                          TestSupport::Place::last)),
                         TestSupport::lifeName);

TEST_P(TaskVanishesTest, InEachNoticeOfALifeAndAnotherTaskGoesOnWhereItStood) {
    for (task_ = 0; task_ < tasks; ++task_) {
        SCOPED_TRACE(fmt::format("task {}", task_));
        stalled_ = 0;
        EXPECT_GT(livesEndingIn([this] { taskDel(task_); }), 30);
        EXPECT_GT(stalled_, 0) << "the task was never deleted while it was needed";
        EXPECT_TRUE(kinds.contains("Osk::Task 131")) << "nor in a run";
    }
}

// An input machine that is removed while it reacts to a notice.

class ReactingMachineVanishesTest : public TestSupport::MachineTest {};

TEST_F(ReactingMachineVanishesTest, ItsParentYieldsAgainAfterwards) {
    for (std::uint16_t number = 1; number <= 3; ++number) {
        member(number, fmt::format("Ethernet1.{}", number));
    }
    countShareIs(1);
    startAsynchronous();
    while (dir->config().empty()) {
        ASSERT_TRUE(scheduler->runOne());
    }
    ASSERT_FALSE(machine->ready());
    auto const parent = machine->vlanConfigSm0();
    Observer<> observer(*dir->config().iterator().node()->value());
    observer.reactionIs([&](auto const & /*notice*/) {
        EXPECT_TRUE(parent->inReactor());
        parent->childSmDelAll();
    });
    member(dir->config().iterator().key().value(), "Ethernet2.1");
    EXPECT_EQ(observer.notices().size(), 1U);
    EXPECT_FALSE(parent->inReactor());
}

} // namespace
} // namespace VlanSubIntfConfigLib
