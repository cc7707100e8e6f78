// Teardown: switching notices, the deletion mark, withdrawal, the removers and the destructor.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/MachineFixture.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace VlanSubIntfConfigLib {
namespace {

using testing::IsEmpty;
using TestSupport::Output;

class TeardownTest : public TestSupport::MachineTest {
  protected:
    void fillInputs() {
        member(100, "PortChannel10.100", {true, both});
        member(200, "Ethernet7.200");
        lagMember("PortChannel10", "Ethernet1");
    }
    static Output derived() {
        return {{100, {{"PortChannel10.100", {true, both, {"Ethernet1"}}}}},
                {200, {{"Ethernet7.200", {}}}}};
    }
    void startReady() {
        fillInputs();
        startAsynchronous();
        run();
        ASSERT_TRUE(machine->ready());
    }
    /// A machine with tasks of all four kinds.
    void startInterrupted() {
        for (std::uint16_t number = 1; number <= 3; ++number) {
            member(number, fmt::format("Ethernet1.{}", number));
            lagMember(fmt::format("PortChannel{}", number), "Ethernet1");
        }
        startAsynchronous();
        ASSERT_FALSE(machine->initialScanDone());
    }
    [[nodiscard]] std::vector<Qor::Ptr<Osk::Task>> tasks() const {
        return {machine->lagPhyIntfConfigSm2()->task(), machine->vlanConfigSm0()->task(),
                machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask(),
                machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask()};
    }
    /// Nobody listens to any input.
    [[nodiscard]] bool inputsAreUnobserved() const {
        for (auto const &[vlanId, config] : bridging->vlanConfig()) {
            if (config->publisher().hasSubscribers()) {
                return false;
            }
        }
        for (auto const &[lagId, config] : lagMapping->lagPhyIntfConfig()) {
            if (config->publisher().hasSubscribers()) {
                return false;
            }
        }
        return !bridging->publisher().hasSubscribers() && !lagMapping->publisher().hasSubscribers();
    }
};

// hasNotificationActiveIs.

TEST_F(TeardownTest, SwitchingNoticesOffLeavesEverythingThatIsHeard) {
    startInterrupted();
    auto const allTasks = tasks();
    machine->hasNotificationActiveIs(false);
    EXPECT_FALSE(machine->hasNotificationActive());
    EXPECT_FALSE(machine->inputSmScanState()->publisher().hasSubscribers());
    EXPECT_FALSE(machine->outputState()->publisher().hasSubscribers());
    EXPECT_FALSE(machine->lagPhyIntfConfigSm2()->hasNotificationActive());
    EXPECT_FALSE(machine->vlanConfigSm0()->hasNotificationActive());
    EXPECT_TRUE(inputsAreUnobserved());
    for (auto const &task : allTasks) {
        EXPECT_FALSE(task->publisher().hasSubscribers());
    }
}

TEST_F(TeardownTest, SwitchingNoticesOnAgainHearsEverything) {
    startInterrupted();
    machine->hasNotificationActiveIs(false);
    machine->hasNotificationActiveIs(true);
    EXPECT_TRUE(machine->hasNotificationActive());
    EXPECT_TRUE(machine->inputSmScanState()->publisher().hasSubscribers());
    EXPECT_TRUE(machine->outputState()->publisher().hasSubscribers());
    EXPECT_TRUE(bridging->publisher().hasSubscribers());
    EXPECT_TRUE(lagMapping->publisher().hasSubscribers());
    for (auto const &task : tasks()) {
        EXPECT_TRUE(task->publisher().hasSubscribers());
    }
    run();
    EXPECT_TRUE(machine->ready());
}

TEST_F(TeardownTest, SwitchingToWhatIsSetAlreadyDoesNothing) {
    startReady();
    machine->vlanConfigSm0()->hasNotificationActiveIs(false);
    machine->hasNotificationActiveIs(true);
    EXPECT_FALSE(machine->vlanConfigSm0()->hasNotificationActive()) << "not passed on";
    machine->hasNotificationActiveIs(false);
    machine->lagPhyIntfConfigSm2()->hasNotificationActiveIs(true);
    machine->hasNotificationActiveIs(false);
    EXPECT_TRUE(machine->lagPhyIntfConfigSm2()->hasNotificationActive()) << "not passed on";
}

TEST_F(TeardownTest, SwitchingWorksWithoutOwnedObjects) {
    startReady();
    machine->inputSmScanStateDel();
    machine->outputStateDel();
    machine->lagPhyIntfConfigSm2Del();
    machine->vlanConfigSm0Del();
    machine->hasNotificationActiveIs(false);
    machine->hasNotificationActiveIs(true);
    EXPECT_TRUE(machine->hasNotificationActive());
}

TEST_F(TeardownTest, WhatChangesWhileNoticesAreOffStaysMissed) {
    startReady();
    machine->hasNotificationActiveIs(false);
    member(100, "Ethernet8.100");
    lagMember("PortChannel10", "Ethernet2");
    machine->hasNotificationActiveIs(true);
    EXPECT_EQ(output(), derived());
    member(100, "Ethernet9.100");
    auto expected = derived();
    expected[100]["Ethernet9.100"] = {};
    EXPECT_EQ(output(), expected);
}

TEST_F(TeardownTest, ARequestedRunWaitsWhileNoticesAreOff) {
    startInterrupted();
    machine->hasNotificationActiveIs(false);
    EXPECT_FALSE(scheduler->hasWork());
    EXPECT_EQ(run(), 0U);
    EXPECT_TRUE(machine->vlanConfigSm0()->task()->taskQueued());
    machine->hasNotificationActiveIs(true);
    EXPECT_TRUE(scheduler->hasWork());
    run();
    EXPECT_TRUE(machine->ready());
}

// The deletion mark.

TEST_F(TeardownTest, TheDeletionMarkIsSetOnTheRootAlone) {
    startReady();
    machine->qorDoZombieReactors(true);
    EXPECT_TRUE(machine->qorMarkedForDeletion());
    EXPECT_FALSE(machine->vlanConfigSm0()->qorMarkedForDeletion());
    machine->qorDoZombieReactors(true);
    EXPECT_TRUE(machine->qorMarkedForDeletion());
}

TEST_F(TeardownTest, AMarkedRootIgnoresItsInputs) {
    startReady();
    machine->qorDoZombieReactors(true);
    traceIs();
    member(100, "Ethernet8.100");
    memberDel(200, "Ethernet7.200");
    vlan(300);
    vlanDel(200);
    lagMember("PortChannel10", "Ethernet2");
    lagMember("PortChannel11", "Ethernet3");
    lagDel("PortChannel10");
    EXPECT_THAT(traced(), IsEmpty());
    EXPECT_EQ(output(), derived());
}

TEST_F(TeardownTest, AMarkedRootsTasksDoNothing) {
    startInterrupted();
    machine->qorDoZombieReactors(true);
    traceIs();
    run();
    EXPECT_THAT(traced(), IsEmpty());
    EXPECT_FALSE(machine->initialScanDone());
}

// doDeleteAll.

TEST_F(TeardownTest, WithdrawalEmptiesTheOutputTheLagChildFirst) {
    startReady();
    traceIs(TestSupport::levels(9, 9));
    machine->doDeleteAll();
    EXPECT_TRUE(output().empty());
    EXPECT_TRUE(machine->localAttrStore()->lagVlanStatus().empty());
    std::vector<std::string> withdrawn;
    for (TestSupport::TraceLine const &line : trace->records()) {
        if (line.function == "doDeleteAll") {
            EXPECT_EQ(line.message, "");
            withdrawn.push_back(line.machine);
        }
    }
    EXPECT_THAT(withdrawn, testing::ElementsAre("LagPhyIntfConfigSm2", "PhyIntfSm3",
                                                "VlanConfigSm0", "IntfSm1", "IntfSm1"));
}

TEST_F(TeardownTest, WithdrawalTakesTheMembersOutBeforeTheEntries) {
    startReady();
    auto const subIntf = *(*dir->config(Bridging::VlanId(100)))->intf(id("PortChannel10.100"));
    TestSupport::Observer<Iftel::IntfId> members(*subIntf, {VlanSubIntf::lagPhyIntfAttribute});
    bool entryWasThere = false;
    members.reactionIs([&](auto const & /*notice*/) { entryWasThere = output().contains(100); });
    machine->doDeleteAll();
    EXPECT_THAT(members.notices(), testing::ElementsAre(members.notice(
                                       VlanSubIntf::lagPhyIntfAttribute, id("Ethernet1"))));
    EXPECT_TRUE(entryWasThere);
}

TEST_F(TeardownTest, WithdrawalWorksWithoutChildren) {
    startReady();
    machine->lagPhyIntfConfigSm2Del();
    machine->doDeleteAll();
    EXPECT_TRUE(output().empty());
    machine->vlanConfigSm0Del();
    machine->doDeleteAll();
}

TEST_F(TeardownTest, WithdrawalDuringStartUpEndsReadyAllTheSame) {
    startInterrupted();
    countShareIs(1);
    while (!machine->initialScanDone() && scheduler->runOne()) {
    }
    scheduler->runOne();
    machine->doDeleteAll();
    run();
    EXPECT_TRUE(machine->ready());
}

// Removers.

TEST_F(TeardownTest, ARemoverHandsBackWhatWasThereAndThenNull) {
    startReady();
    auto const scanState = machine->inputSmScanState();
    auto const outputState = machine->outputState();
    auto const store = machine->localAttrStore();
    Qor::Ptr<ConfigSm::LagPhyIntfConfigSm2> const lagSm = machine->lagPhyIntfConfigSm2();
    Qor::Ptr<ConfigSm::VlanConfigSm0> const vlanSm = machine->vlanConfigSm0();
    EXPECT_EQ(machine->inputSmScanStateDel(), scanState);
    EXPECT_EQ(machine->outputStateDel(), outputState);
    EXPECT_EQ(machine->localAttrStoreDel(), store);
    EXPECT_EQ(machine->lagPhyIntfConfigSm2Del(), lagSm);
    EXPECT_EQ(machine->vlanConfigSm0Del(), vlanSm);
    for (int again = 0; again < 2; ++again) {
        EXPECT_FALSE(machine->inputSmScanState());
        EXPECT_FALSE(machine->outputState());
        EXPECT_FALSE(machine->localAttrStore());
        EXPECT_FALSE(machine->lagPhyIntfConfigSm2());
        EXPECT_FALSE(machine->vlanConfigSm0());
        EXPECT_FALSE(machine->inputSmScanStateDel());
        EXPECT_FALSE(machine->outputStateDel());
        EXPECT_FALSE(machine->localAttrStoreDel());
        EXPECT_FALSE(machine->lagPhyIntfConfigSm2Del());
        EXPECT_FALSE(machine->vlanConfigSm0Del());
    }
}

TEST_F(TeardownTest, ARemovedStateObjectIsNotHeardAnyMore) {
    startReady();
    auto const scanState = machine->inputSmScanStateDel();
    auto const outputState = machine->outputStateDel();
    EXPECT_FALSE(scanState->publisher().hasSubscribers());
    EXPECT_FALSE(outputState->publisher().hasSubscribers());
}

TEST_F(TeardownTest, ARemovedChildMachineIsSwitchedOff) {
    startReady();
    auto const vlanSm = machine->vlanConfigSm0Del();
    auto const lagSm = machine->lagPhyIntfConfigSm2Del();
    EXPECT_FALSE(vlanSm->hasNotificationActive());
    EXPECT_FALSE(lagSm->hasNotificationActive());
    EXPECT_TRUE(inputsAreUnobserved());
    EXPECT_FALSE(vlanSm->childSm().empty()) << "its children stay, silent";
}

TEST_F(TeardownTest, ARemovedChildMachineMayOutliveTheRoot) {
    startReady();
    auto const vlanSm = machine->vlanConfigSm0Del();
    auto const lagSm = machine->lagPhyIntfConfigSm2Del();
    machine = nullptr;
    member(100, "Ethernet8.100");
    vlanSm->doInputScan();
    vlanSm->handleVlanConfig(Bridging::VlanId(100));
    vlanSm->doDeleteAll();
    lagSm->doInputScan();
    lagSm->doDeleteAll();
    EXPECT_FALSE(vlanSm->synchronous());
    EXPECT_FALSE(vlanSm->traceHandle());
    EXPECT_EQ(output(), derived());
}

// The destructor.

TEST_F(TeardownTest, TheOutputStaysAsItStands) {
    startReady();
    machine = nullptr;
    EXPECT_EQ(output(), derived());
}

TEST_F(TeardownTest, NothingIsTracedAndNobodyListensAfterwards) {
    startInterrupted();
    traceIs();
    machine = nullptr;
    EXPECT_THAT(traced(), IsEmpty());
    EXPECT_TRUE(inputsAreUnobserved());
    EXPECT_FALSE(scheduler->hasWork());
    EXPECT_EQ(TestSupport::liveCount("Osk::Task"), TestSupport::LiveCount());
}

TEST_F(TeardownTest, TheStoreGoesWhenTheRootIsMarkedAndItsOtherPartsAreGone) {
    startReady();
    ConfigSm *const root = machine.get();
    // Not held: the store says that it loses its entries when it is destroyed.
    TestSupport::Observer<> observer(*machine->localAttrStore());
    std::string alive;
    observer.reactionIs([&](auto const & /*notice*/) {
        alive = root->qorMarkedForDeletion() ? "marked" : "not marked";
        for (auto const &[type, count] : TestSupport::liveCounts()) {
            if (type.starts_with("VlanSubIntfConfigLib::DovraCode::") || type == "Osk::Task") {
                alive += ' ' + type.substr(type.rfind(':') + 1);
            }
        }
    });
    machine = nullptr;
    EXPECT_EQ(alive, "marked InputSmScanState LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr"
                     " LocalAttrStore");
}

TEST_F(TeardownTest, AStoreThatSomebodyHoldsOutlivesTheMachine) {
    startReady();
    auto const store = machine->localAttrStore();
    machine = nullptr;
    EXPECT_EQ(store->lagVlanStatus().size(), 1U);
}

TEST_F(TeardownTest, TasksOfADestroyedMachineThatAreHeldRunForNobody) {
    startInterrupted();
    auto const held = tasks();
    machine = nullptr;
    for (auto const &task : held) {
        EXPECT_FALSE(task->publisher().hasSubscribers());
        task->scheduleTask();
    }
    EXPECT_EQ(run(), 0U);
}

TEST_F(TeardownTest, ANewMachineTakesOverWhatTheOldOneLeft) {
    startReady();
    machine = nullptr;
    memberDel(200, "Ethernet7.200");
    startSynchronous();
    auto expected = derived();
    expected.erase(200);
    EXPECT_EQ(output(), expected);
}

} // namespace
} // namespace VlanSubIntfConfigLib
