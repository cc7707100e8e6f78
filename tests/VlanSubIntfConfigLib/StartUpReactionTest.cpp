// The root's reactions to its state objects, and what replacing one of its parts sets off.
#include "tests/VlanSubIntfConfigLib/StartUpFixture.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

namespace VlanSubIntfConfigLib {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using InputSmScanState = ConfigSm::InputSmScanState;

class RootReactionTest : public StartUpFixture {};

// Reactions to InputSmScanState.

TEST_F(RootReactionTest, TheLagStreamsFlagRunsTheMembersHandler) {
    startInterrupted();
    traceIs();
    machine->inputSmScanState()->lagUpdateStreamScanIs(true);
    EXPECT_THAT(handlersEntered(), ElementsAre(lagPhyIntfHandler));
}

TEST_F(RootReactionTest, TheVlanStreamsFlagRunsAllFiveHandlers) {
    startInterrupted();
    traceIs();
    machine->vlanConfigSm0Del();
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    EXPECT_THAT(handlersEntered(), ElementsAreArray(fiveHandlers));
}

TEST_F(RootReactionTest, NobodyReactsToIdle) {
    startInterrupted();
    traceIs();
    machine->inputSmScanState()->idleIs(true);
    EXPECT_THAT(traced(), IsEmpty());
}

TEST_F(RootReactionTest, AMarkedRootReactsToNoneOfItsStateObjects) {
    startInterrupted();
    traceIs();
    machine->qorDoZombieReactors(true);
    machine->inputSmScanState()->lagUpdateStreamScanIs(true);
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    machine->inputSmScanState()->idleIs(true);
    machine->outputState()->vlanSubIntfConfigDirConfigIntfOutputReadyIs(true);
    EXPECT_THAT(traced(), IsEmpty());
}

TEST_F(RootReactionTest, TheHandlersStopWhenTheRootIsMarkedAmongThem) {
    startReady();
    auto const state = Qor::make<InputSmScanState>();
    machine->outputState()->lagVlanStatusIntfToVlanMapOutputReadyIs(false);
    state->vlanConfigStreamScanIs(true);
    // The second handler makes its output ready; whoever hears that marks the root.
    TestSupport::Observer<> observer(*machine->outputState());
    observer.reactionIs([&](auto const &notice) {
        if (notice.attribute == 131) {
            machine->qorDoZombieReactors(true);
        }
    });
    traceIs();
    machine->inputSmScanStateIs(state);
    EXPECT_THAT(handlersEntered(), ElementsAre(fiveHandlers[0], fiveHandlers[1]));
}

TEST_F(RootReactionTest, AnotherScanStateRunsTheFiveHandlers) {
    startReady();
    auto const before = machine->inputSmScanState();
    auto const state = Qor::make<InputSmScanState>();
    traceIs();
    machine->inputSmScanStateIs(state);
    EXPECT_EQ(machine->inputSmScanState(), state);
    EXPECT_FALSE(before->publisher().hasSubscribers());
    EXPECT_TRUE(state->publisher().hasSubscribers());
    EXPECT_THAT(handlersEntered(), ElementsAreArray(fiveHandlers));
}

TEST_F(RootReactionTest, TheSameScanStateChangesNothing) {
    startReady();
    traceIs();
    machine->inputSmScanStateIs(machine->inputSmScanState());
    EXPECT_THAT(traced(), IsEmpty());
    EXPECT_TRUE(machine->inputSmScanState()->publisher().hasSubscribers());
}

TEST_F(RootReactionTest, NoScanStateOnlyLeavesTheOldOne) {
    startReady();
    auto const before = machine->inputSmScanState();
    traceIs();
    machine->inputSmScanStateIs(nullptr);
    EXPECT_FALSE(machine->inputSmScanState());
    EXPECT_FALSE(before->publisher().hasSubscribers());
    EXPECT_THAT(traced(), IsEmpty());
}

TEST_F(RootReactionTest, AMarkedRootTakesAScanStateWithoutAReaction) {
    startReady();
    machine->qorDoZombieReactors(true);
    traceIs();
    machine->inputSmScanStateIs(Qor::make<InputSmScanState>());
    EXPECT_TRUE(machine->inputSmScanState()->publisher().hasSubscribers());
    EXPECT_THAT(traced(), IsEmpty());
}

// Reactions to OutputState.

TEST_F(RootReactionTest, ReadyEntriesRunTheMembersHandler) {
    startInterrupted();
    traceIs();
    machine->outputState()->vlanSubIntfConfigDirConfigIntfOutputReadyIs(true);
    EXPECT_THAT(handlersEntered(), ElementsAre(lagPhyIntfHandler));
}

TEST_F(RootReactionTest, NobodyReactsToTheOtherOutputs) {
    startInterrupted();
    traceIs();
    auto const &state = machine->outputState();
    state->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReadyIs(true);
    state->lagVlanStatusIntfToVlanMapOutputReadyIs(true);
    state->vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReadyIs(true);
    state->vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReadyIs(true);
    state->readyIs(true);
    EXPECT_THAT(traced(), IsEmpty());
}

TEST_F(RootReactionTest, AnotherOutputStateReplacesTheOldOneAndRunsTheMembersHandler) {
    startReady();
    auto const before = machine->outputState();
    traceIs();
    auto const made = machine->outputStateIs();
    EXPECT_EQ(machine->outputState(), made);
    EXPECT_NE(made, before);
    EXPECT_TRUE(made->hasNotificationActive());
    EXPECT_FALSE(before->publisher().hasSubscribers());
    EXPECT_TRUE(made->publisher().hasSubscribers());
    EXPECT_EQ(handlersEntered().front(), lagPhyIntfHandler);
}

TEST_F(RootReactionTest, AMarkedRootTakesAnOutputStateWithoutAReaction) {
    startReady();
    machine->qorDoZombieReactors(true);
    traceIs();
    EXPECT_TRUE(machine->outputStateIs()->publisher().hasSubscribers());
    EXPECT_THAT(traced(), IsEmpty());
}

TEST_F(RootReactionTest, TheOutputStateFactoryMakesOneThatNobodyHasYet) {
    startReady();
    auto const made = ConfigSm::outputStateFactory();
    EXPECT_NE(made, machine->outputState());
    EXPECT_TRUE(made->hasNotificationActive());
    EXPECT_FALSE(made->publisher().hasSubscribers());
}

TEST_F(RootReactionTest, AnotherStoreReplacesTheOldOne) {
    startReady();
    auto const before = machine->localAttrStore();
    auto const made = machine->localAttrStoreIs();
    EXPECT_EQ(machine->localAttrStore(), made);
    EXPECT_NE(made, before);
    EXPECT_TRUE(made->hasNotificationActive());
}

TEST_F(RootReactionTest, AnotherChildMachineReplacesTheOldOneWhichFallsSilent) {
    startReady();
    Qor::Ptr<ConfigSm::VlanConfigSm0> const before = machine->vlanConfigSm0();
    auto const made = machine->vlanConfigSm0Is(bridging, machine.get());
    run();
    EXPECT_EQ(machine->vlanConfigSm0(), made);
    EXPECT_TRUE(made->hasNotificationActive());
    traceIs(TestSupport::levels(8, 8));
    vlan(7);
    EXPECT_THAT(traced(), ElementsAre("8 VlanConfigSm0::handleVlanConfig k: 7"));
    EXPECT_FALSE(before->childSm(Bridging::VlanId(7)));
}

TEST_F(RootReactionTest, AnotherLagMachineReplacesTheOldOneWhichFallsSilent) {
    startReady();
    Qor::Ptr<ConfigSm::LagPhyIntfConfigSm2> const before = machine->lagPhyIntfConfigSm2();
    auto const made = machine->lagPhyIntfConfigSm2Is(lagMapping, machine.get());
    run();
    EXPECT_EQ(machine->lagPhyIntfConfigSm2(), made);
    EXPECT_TRUE(made->hasNotificationActive());
    traceIs(TestSupport::levels(8, 8));
    lag("PortChannel7");
    EXPECT_THAT(traced(),
                ElementsAre("8 LagPhyIntfConfigSm2::handleLagPhyIntfConfig k: PortChannel7"));
    EXPECT_FALSE(before->childSm(id("PortChannel7")));
}

} // namespace
} // namespace VlanSubIntfConfigLib
