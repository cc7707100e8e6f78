#include "platform/Quam/SmControl.h"

#include "tests/support/Census.h"

namespace Quam {
namespace {

class SmControlTest : public TestSupport::CensusTest {
  protected:
    SmControl control;
};

TEST_F(SmControlTest, ByDefaultEverythingIsLeftToTheMachine) {
    EXPECT_EQ(control.scheduler(), nullptr);
    EXPECT_EQ(control.jlHandle(), nullptr);
    EXPECT_TRUE(control.name().empty());
    EXPECT_EQ(control.priority(), Osk::TaskPriority::normal);
    EXPECT_EQ(control.synchronous(), Synchronous::machineDefault);
}

TEST_F(SmControlTest, SharesTheSchedulerThatItIsGiven) {
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    control.schedulerIs(scheduler);
    EXPECT_EQ(control.scheduler(), scheduler);
    EXPECT_EQ(scheduler->refCount(), 2U);
}

TEST_F(SmControlTest, BorrowsTheTraceHandle) {
    Jotlog::TraceHandle handle("agent");
    control.jlHandleIs(&handle);
    EXPECT_EQ(control.jlHandle(), &handle);
}

TEST_F(SmControlTest, KeepsTheName) {
    control.nameIs("ConfigSm-2");
    EXPECT_EQ(control.name(), Nuvio::String("ConfigSm-2"));
}

TEST_F(SmControlTest, KeepsThePriority) {
    control.priorityIs(Osk::TaskPriority::background);
    EXPECT_EQ(control.priority(), Osk::TaskPriority::background);
}

TEST_F(SmControlTest, KeepsTheSynchronousSetting) {
    control.synchronousIs(Synchronous::asynchronous);
    EXPECT_EQ(control.synchronous(), Synchronous::asynchronous);
}

TEST_F(SmControlTest, TheSynchronousSettingsHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(Synchronous::machineDefault), 0);
    EXPECT_EQ(static_cast<int>(Synchronous::synchronous), 1);
    EXPECT_EQ(static_cast<int>(Synchronous::asynchronous), 2);
}

TEST_F(SmControlTest, ACopyIsIndependent) {
    SmControl copy = control;
    copy.priorityIs(Osk::TaskPriority::high);
    EXPECT_EQ(control.priority(), Osk::TaskPriority::normal);
}

} // namespace
} // namespace Quam
