// The root: its factory, its control, what it answers, and its arguments.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/MachineFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::Output;

class ConfigSmTest : public TestSupport::MachineTest {
  protected:
    void fillInputs() {
        member(100, "PortChannel10.100", {true, both});
        member(100, "Ethernet7.100", {false, ingress});
        member(200, "PortChannel10.200", {false, egress});
        member(200, "Ethernet8"); // no subinterface
        lagMember("PortChannel10", "Ethernet1");
        lagMember("PortChannel10", "Ethernet2");
        lagMember("PortChannel11", "Ethernet3");
    }
    static Output derived() {
        return {{100,
                 {{"PortChannel10.100", {true, both, {"Ethernet1", "Ethernet2"}}},
                  {"Ethernet7.100", {false, ingress, {}}}}},
                {200, {{"PortChannel10.200", {false, egress, {"Ethernet1", "Ethernet2"}}}}}};
    }
};

// The factory.

TEST_F(ConfigSmTest, TheFactoryReturnsAnInitializedMachineWithNotificationsOn) {
    startAsynchronous();
    EXPECT_TRUE(machine->initialized());
    EXPECT_TRUE(machine->hasNotificationActive());
    EXPECT_FALSE(machine->qorMarkedForDeletion());
    EXPECT_EQ(machine->refCount(), 1U);
}

TEST_F(ConfigSmTest, TheCreatorReturnsAnInitializedMachineWithNotificationsOn) {
    machine = ConfigSm::ConfigSmIs(bridging, lagMapping, dir, control);
    EXPECT_TRUE(machine->initialized());
    EXPECT_TRUE(machine->hasNotificationActive());
}

TEST_F(ConfigSmTest, TheMachineSharesItsArguments) {
    auto const before = dir->refCount();
    startAsynchronous();
    EXPECT_EQ(machine->bridgingConfig(), bridging);
    EXPECT_EQ(machine->lagPhyIntfMapping(), lagMapping);
    EXPECT_EQ(machine->vlanSubIntfConfigDir(), dir);
    EXPECT_EQ(dir->refCount(), before + 1);
    machine = nullptr;
    EXPECT_EQ(dir->refCount(), before);
    EXPECT_EQ(bridging->refCount(), 1U);
    EXPECT_EQ(lagMapping->refCount(), 1U);
}

TEST_F(ConfigSmTest, ASynchronousMachineOverFilledInputsIsReadyWhenTheFactoryReturns) {
    fillInputs();
    startSynchronous();
    EXPECT_TRUE(machine->ready());
    EXPECT_TRUE(machine->idle());
    EXPECT_EQ(output(), derived());
}

TEST_F(ConfigSmTest, AnAsynchronousMachineIsReadyWhenTheSchedulerIsIdle) {
    fillInputs();
    startAsynchronous();
    EXPECT_FALSE(machine->ready());
    EXPECT_TRUE(output().empty());
    EXPECT_GT(run(), 0U);
    EXPECT_TRUE(machine->ready());
    EXPECT_TRUE(machine->idle());
    EXPECT_EQ(output(), derived());
    EXPECT_FALSE(scheduler->hasWork());
}

TEST_F(ConfigSmTest, AnAsynchronousMachineOverEmptyInputsIsReadyAfterItsTasksRan) {
    startAsynchronous();
    EXPECT_FALSE(machine->ready());
    run();
    EXPECT_TRUE(machine->ready());
    EXPECT_TRUE(output().empty());
}

TEST_F(ConfigSmTest, StaleEntriesAreGoneWhenTheMachineIsReady) {
    fillInputs();
    stale(100, "Ethernet9.100", {true, none, {}});
    stale(300, "PortChannel10.300", {false, both, {"Ethernet1"}});
    stale(200, "PortChannel10.200", {true, none, {"Ethernet1", "Ethernet44"}});
    for (Synchronous const setting : {Synchronous::synchronous, Synchronous::asynchronous}) {
        start(setting);
        run();
        EXPECT_TRUE(machine->ready());
        EXPECT_EQ(output(), derived());
    }
}

// The control.

TEST_F(ConfigSmTest, TheControlIsCopied) {
    Jotlog::TraceHandle handle("agent");
    control.nameIs("ConfigSmTest-copied");
    control.priorityIs(Osk::TaskPriority::high);
    control.jlHandleIs(&handle);
    startAsynchronous();
    EXPECT_EQ(machine->dovraControl().name(), "ConfigSmTest-copied");
    EXPECT_EQ(machine->scheduler(), scheduler);
    EXPECT_EQ(machine->priority(), Osk::TaskPriority::high);
    EXPECT_EQ(machine->dovraControl().jlHandle(), &handle);
}

TEST_F(ConfigSmTest, ARemovedSchedulerIsHandedBackAndGone) {
    startAsynchronous();
    EXPECT_EQ(machine->schedulerDel(), scheduler);
    EXPECT_EQ(machine->scheduler(), nullptr);
    EXPECT_EQ(machine->schedulerDel(), nullptr);
}

TEST_F(ConfigSmTest, TheTraceHandleOfTheControlCanBeSetLater) {
    startSynchronous();
    EXPECT_EQ(machine->dovraControl().jlHandle(), nullptr);
    Jotlog::TraceHandle handle("agent");
    machine->jlHandleIs(&handle);
    EXPECT_EQ(machine->dovraControl().jlHandle(), &handle);
    EXPECT_EQ(control.jlHandle(), nullptr);
}

TEST_F(ConfigSmTest, WithoutANameTheMachineTracesToTheLibrarysHandle) {
    startSynchronous();
    EXPECT_EQ(machine->debugHandler(),
              Nuvio::Platform::getDebugHandler("VlanSubIntfConfigLib", false));
}

TEST_F(ConfigSmTest, WithANameTheMachineHasItsOwnHandle) {
    control.nameIs("ConfigSmTest-own");
    traceIs();
    startSynchronous();
    EXPECT_EQ(machine->debugHandler(), Nuvio::Platform::getDebugHandler("ConfigSmTest-own", false));
    EXPECT_FALSE(traced().empty());
}

TEST_F(ConfigSmTest, AHandleThatTheMachineMakesStartsWithEveryLevelOff) {
    if (std::getenv("NUVIO_TRACE")) {
        GTEST_SKIP() << "NUVIO_TRACE says which levels a new handle has";
    }
    control.nameIs("ConfigSmTest-quiet");
    startSynchronous();
    EXPECT_EQ(machine->debugHandler()->levelMask(), 0);
    // Made when the library was loaded.
    EXPECT_EQ(Nuvio::Platform::getDebugHandler("VlanSubIntfConfigLib", true)->levelMask(), 0);
}

TEST_F(ConfigSmTest, WithoutASchedulerAnAsynchronousMachineTakesTheProcesssOwn) {
    fillInputs();
    control.schedulerIs(nullptr);
    startAsynchronous();
    auto const shared = Osk::TaskSchedulerRoot::findOrCreateScheduler();
    EXPECT_EQ(machine->scheduler(), shared);
    EXPECT_EQ(machine->dovraControl().scheduler(), shared);
    EXPECT_FALSE(control.scheduler());
    shared->runUntilIdle();
    EXPECT_EQ(output(), derived());
}

TEST_F(ConfigSmTest, ASynchronousMachineNeedsNoScheduler) {
    control.schedulerIs(nullptr);
    startSynchronous();
    EXPECT_FALSE(machine->scheduler());
    EXPECT_TRUE(machine->ready());
}

TEST_F(ConfigSmTest, SettingZeroLeavesTheMachinesDefault) {
    start(Synchronous::machineDefault);
    EXPECT_FALSE(machine->synchronous());
    EXPECT_TRUE(machine->lagPhyIntfConfigSm2()->task());
}

TEST_F(ConfigSmTest, SettingOneIsSynchronous) {
    start(static_cast<Synchronous>(1));
    EXPECT_TRUE(machine->synchronous());
    EXPECT_FALSE(scheduler->hasWork());
}

TEST_F(ConfigSmTest, SettingTwoIsAsynchronous) {
    start(static_cast<Synchronous>(2));
    EXPECT_FALSE(machine->synchronous());
    EXPECT_TRUE(scheduler->hasWork());
}

// What it answers.

TEST_F(ConfigSmTest, DefaultSynchronousIsFalseInEveryState) {
    startSynchronous();
    EXPECT_FALSE(machine->defaultSynchronous());
    startAsynchronous();
    EXPECT_FALSE(machine->defaultSynchronous());
    run();
    EXPECT_FALSE(machine->defaultSynchronous());
}

TEST_F(ConfigSmTest, WithoutItsOutputStateItIsNeitherReadyNorIdle) {
    startSynchronous();
    ASSERT_TRUE(machine->ready());
    machine->outputStateDel();
    EXPECT_FALSE(machine->ready());
    EXPECT_FALSE(machine->idle());
}

TEST_F(ConfigSmTest, ASynchronousMachineIsIdleWhenItIsReady) {
    startSynchronous();
    machine->inputSmScanState()->idleIs(false);
    EXPECT_TRUE(machine->idle());
}

TEST_F(ConfigSmTest, AnAsynchronousMachineIsIdleWhenItsScanStateIsToo) {
    startAsynchronous();
    EXPECT_TRUE(machine->inputSmScanState()->idle());
    EXPECT_FALSE(machine->idle()) << "not ready";
    run();
    EXPECT_TRUE(machine->idle());
    machine->inputSmScanState()->idleIs(false);
    EXPECT_FALSE(machine->idle());
}

TEST_F(ConfigSmTest, ItsTypeIsNumberElevenOfTheLibrarysModule) {
    startSynchronous();
    EXPECT_EQ(machine->fwkType().kind, 11U);
    EXPECT_EQ(machine->fwkType().module->name, "VlanSubIntfConfigLib");
    EXPECT_EQ(machine->fwkType().type().name(), "VlanSubIntfConfigLib::ConfigSm");
}

TEST_F(ConfigSmTest, BookmarksAndFlagsOfTheOutputsStartEmpty) {
    startAsynchronous();
    EXPECT_EQ(machine->vlanSubIntfConfigDirConfigIntfOutputBookmark(), ConfigIntfOutputKey());
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputBookmark(),
              LagPhyIntfOutputKey());
    EXPECT_FALSE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrBookmark());
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputUseBookmark());
    EXPECT_FALSE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputUseBookmark());
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().empty());
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().empty());
}

TEST_F(ConfigSmTest, TwoMachinesOverTheSameInputsDoNotDisturbEachOther) {
    fillInputs();
    startSynchronous();
    auto const otherDir = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    auto other = configSmFactory(bridging, lagMapping, otherDir, control);
    member(100, "Ethernet9.100");
    EXPECT_EQ(output(), TestSupport::outputOf(*otherDir));
    other = nullptr;
    memberDel(100, "Ethernet9.100");
    EXPECT_EQ(output(), derived());
    EXPECT_NE(output(), TestSupport::outputOf(*otherDir));
}

// Arguments.

/// Which arguments are null, and the first of them that is reported.
struct NullArguments {
    bool bridging;
    bool lagMapping;
    bool dir;
    char const *reported;
};

class ConfigSmNullArgumentTest : public TestSupport::MachineTest,
                                 public testing::WithParamInterface<NullArguments> {};
INSTANTIATE_TEST_SUITE_P(Arguments, ConfigSmNullArgumentTest,
                         testing::Values(NullArguments{true, false, false, "bridgingConfig"},
                                         NullArguments{false, true, false, "lagPhyIntfMapping"},
                                         NullArguments{false, false, true, "vlanSubIntfConfigDir"},
                                         NullArguments{true, true, true, "bridgingConfig"},
                                         NullArguments{true, false, true, "bridgingConfig"},
                                         NullArguments{false, true, true, "lagPhyIntfMapping"}));

TEST_P(ConfigSmNullArgumentTest, TheFirstNullArgumentIsAnAssertion) {
    NullArguments const &null = GetParam();
    for (Synchronous const setting : {Synchronous::synchronous, Synchronous::asynchronous}) {
        EXPECT_DEATH(
            {
                bridging = null.bridging ? nullptr : bridging;
                lagMapping = null.lagMapping ? nullptr : lagMapping;
                dir = null.dir ? nullptr : dir;
                start(setting);
            },
            fmt::format("void VlanSubIntfConfigLib::ConfigSm::handleInitialized\\(\\): Assertion "
                        "`{}\\(\\) && \"Pointer SM args cannot be null unless they are marked "
                        "Optional\"' failed",
                        null.reported));
    }
}

TEST_P(ConfigSmNullArgumentTest, TheCheckComesBeforeTheChildrenAndBehindTheRest) {
    // The hook runs when the assertion fails: what is alive then was made before the check.
    NullArguments const &null = GetParam();
    EXPECT_DEATH(
        {
            bridging = null.bridging ? nullptr : bridging;
            lagMapping = null.lagMapping ? nullptr : lagMapping;
            dir = null.dir ? nullptr : dir;
            Nuvio::assertionHookIs([](Nuvio::AssertionFailure const & /*failure*/) {
                std::string const nested = "VlanSubIntfConfigLib::DovraCode::ConfigSm::";
                for (std::string const type :
                     {nested + "InputSmScanState", nested + "OutputState",
                      nested + "LocalAttrStore", std::string("Osk::Task"),
                      nested + "LagPhyIntfConfigSm2", nested + "VlanConfigSm0"}) {
                    std::cerr << TestSupport::liveCount(type).objects << ' ';
                }
                std::cerr << "alive\n";
            });
            startAsynchronous();
        },
        "1 1 1 2 0 0 alive");
}

} // namespace
} // namespace VlanSubIntfConfigLib
