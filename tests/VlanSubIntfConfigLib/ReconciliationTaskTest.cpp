// The tasks of the two walks: one scheme, tested for both.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/JournalFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace VlanSubIntfConfigLib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ConfigIntf {
    static constexpr char const *taskName = "ConfigSm-vlanSubIntfConfigDirConfigIntfOutputTask";
    static constexpr char const *entered =
        "9 ConfigSm::handleVlanSubIntfConfigDirConfigIntfOutputInputReady ";
    static Qor::Ptr<Osk::Task> task(ConfigSm const &sm) {
        return sm.vlanSubIntfConfigDirConfigIntfOutputReconciliationTask();
    }
    static void taskIs(ConfigSm &sm, Qor::Ptr<Osk::TaskScheduler> const &scheduler,
                       Osk::TaskPriority priority, Nuvio::String const &name) {
        sm.vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskIs(scheduler, priority, name);
    }
    static Qor::Ptr<Osk::Task> taskDel(ConfigSm &sm) {
        return sm.vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDel();
    }
};

struct LagPhyIntf {
    static constexpr char const *taskName =
        "ConfigSm-vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputTask";
    static constexpr char const *entered =
        "9 ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady ";
    static Qor::Ptr<Osk::Task> task(ConfigSm const &sm) {
        return sm.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask();
    }
    static void taskIs(ConfigSm &sm, Qor::Ptr<Osk::TaskScheduler> const &scheduler,
                       Osk::TaskPriority priority, Nuvio::String const &name) {
        sm.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskIs(scheduler,
                                                                                  priority, name);
    }
    static Qor::Ptr<Osk::Task> taskDel(ConfigSm &sm) {
        return sm.vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDel();
    }
};

/// An asynchronous machine whose second scans wait, so that its handlers trace their entry alone.
template <class Output> class ReconciliationTask : public TestSupport::JournalTest {
  protected:
    void SetUp() override {
        control.priorityIs(Osk::TaskPriority::low);
        startUntilInitialScanDone();
    }
    [[nodiscard]] Qor::Ptr<Osk::Task> task() const { return Output::task(*machine); }
};
using Outputs = testing::Types<ConfigIntf, LagPhyIntf>;
TYPED_TEST_SUITE(ReconciliationTask, Outputs);

TYPED_TEST(ReconciliationTask, IsInstalledAtStartUpWithWhatTheControlSays) {
    auto const task = this->task();
    ASSERT_TRUE(task);
    EXPECT_EQ(task->taskName(), TypeParam::taskName);
    EXPECT_EQ(task->taskScheduler(), this->scheduler);
    EXPECT_EQ(task->taskPriority(), Osk::TaskPriority::low);
    EXPECT_TRUE(task->hasNotificationActive());
    EXPECT_TRUE(task->publisher().hasSubscribers());
    EXPECT_FALSE(task->taskQueued());
}

TYPED_TEST(ReconciliationTask, IsNotMadeInSynchronousMode) {
    this->machine = nullptr;
    this->startSynchronous();
    EXPECT_EQ(this->task(), nullptr);
}

TYPED_TEST(ReconciliationTask, OfTheSameSchedulerAndNameGetsTheNewPriorityAndNothingElse) {
    auto const task = this->task();
    TypeParam::taskIs(*this->machine, this->scheduler, Osk::TaskPriority::high,
                      TypeParam::taskName);
    EXPECT_EQ(this->task(), task);
    EXPECT_EQ(task->taskPriority(), Osk::TaskPriority::high);
    EXPECT_TRUE(task->publisher().hasSubscribers());
    EXPECT_THAT(this->heard(), IsEmpty()) << "the handler is not called";
}

TYPED_TEST(ReconciliationTask, OfAnotherNameReplacesItAndCallsTheHandler) {
    auto const former = this->task();
    TypeParam::taskIs(*this->machine, this->scheduler, Osk::TaskPriority::high, "another");
    EXPECT_THAT(this->heard(), ElementsAre(TypeParam::entered));
    ASSERT_TRUE(this->task());
    EXPECT_NE(this->task(), former);
    EXPECT_EQ(this->task()->taskName(), "another");
    EXPECT_EQ(this->task()->taskPriority(), Osk::TaskPriority::high);
    EXPECT_TRUE(this->task()->hasNotificationActive());
    EXPECT_FALSE(former->publisher().hasSubscribers());
    EXPECT_EQ(former->taskPriority(), Osk::TaskPriority::high) << "set before anything else";
    this->task()->publisher().publishChange(Osk::Task::runAttribute);
    EXPECT_THAT(this->heard(), ElementsAre(TypeParam::entered)) << "the new one is heard";
}

TYPED_TEST(ReconciliationTask, OfAnotherSchedulerReplacesItAndCallsTheHandler) {
    auto const other = Osk::TaskScheduler::TaskSchedulerIs();
    auto const former = this->task();
    TypeParam::taskIs(*this->machine, other, Osk::TaskPriority::low, TypeParam::taskName);
    EXPECT_THAT(this->heard(), ElementsAre(TypeParam::entered));
    EXPECT_NE(this->task(), former);
    EXPECT_EQ(this->task()->taskScheduler(), other);
    EXPECT_FALSE(former->publisher().hasSubscribers());
}

TYPED_TEST(ReconciliationTask, IsHandedOutUnheardAndThenThereIsNone) {
    auto const task = this->task();
    EXPECT_EQ(TypeParam::taskDel(*this->machine), task);
    EXPECT_EQ(this->task(), nullptr);
    EXPECT_FALSE(task->publisher().hasSubscribers());
    EXPECT_EQ(TypeParam::taskDel(*this->machine), nullptr);
    TypeParam::taskIs(*this->machine, this->scheduler, Osk::TaskPriority::low, TypeParam::taskName);
    EXPECT_TRUE(this->task());
    EXPECT_NE(this->task(), task);
    EXPECT_THAT(this->heard(), ElementsAre(TypeParam::entered));
}

TYPED_TEST(ReconciliationTask, CallsTheHandlerForItsRunsOnly) {
    this->task()->publisher().publishChange(130);
    this->task()->publisher().publishChange(132);
    EXPECT_THAT(this->heard(), IsEmpty());
    this->task()->publisher().publishChange(131);
    EXPECT_THAT(this->heard(), ElementsAre(TypeParam::entered));
}

TYPED_TEST(ReconciliationTask, CallsNoHandlerOfAMachineThatIsMarkedForDeletion) {
    this->machine->qorDoZombieReactors(true);
    this->task()->publisher().publishChange(131);
    EXPECT_THAT(this->heard(), IsEmpty());
    this->machine->qorDoZombieReactors(false);
    this->task()->publisher().publishChange(131);
    EXPECT_THAT(this->heard(), ElementsAre(TypeParam::entered));
}

} // namespace
} // namespace VlanSubIntfConfigLib
