// Start-up: the order in which a machine comes to life.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/VlanSubIntfConfigLib/StartUpFixture.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <initializer_list>

namespace VlanSubIntfConfigLib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

class StartUpTest : public StartUpFixture {
  protected:
    static std::string root(int level, std::string const &function, std::string const &message) {
        return fmt::format("{} ConfigSm::{} {}", level, function, message);
    }
    static void append(Lines &lines, std::initializer_list<std::string> more) {
        lines.insert(lines.end(), more);
    }
    static void appendFive(Lines &lines) {
        for (std::string const handler : fiveHandlers) {
            lines.push_back(root(9, handler, ""));
        }
    }
    /// The lines of handleInitialized() up to the children.
    static Lines beforeChildren(bool reconcilesConfigIntf) {
        return {root(8, "handleInitialized", ""),
                root(9, "handleInitialized",
                     "Reconciling vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutput: true"),
                root(9, "handleInitialized",
                     fmt::format("Reconciling vlanSubIntfConfigDirConfigIntfOutput: {}",
                                 reconcilesConfigIntf)),
                root(9, "handleInitialized", "create local SMs"),
                root(9, "handleInitialized", "create non-public arg SMs")};
    }
    static void appendEmptyScan(Lines &lines, std::string const &parent,
                                std::string const &initial) {
        append(lines, {fmt::format("9 {}::doInputScan ", parent),
                       fmt::format("9 {}::doInputScan  scan complete: false resumed: false scan: "
                                   "false",
                                   parent),
                       fmt::format("9 {}::doInputScan {}{} scan, and parent scan, complete.",
                                   parent, parent, initial)});
    }
};

// handleInitialized.

TEST_F(StartUpTest, AnInterruptedStartTracesItsSteps) {
    vlan(1);
    vlan(2);
    traceIs();
    startAsynchronous();
    int const first = vlanOrder()[0];
    Lines expected = beforeChildren(false);
    appendEmptyScan(expected, "LagPhyIntfConfigSm2", " initial");
    append(expected,
           {"9 VlanConfigSm0::doInputScan ",
            "9 VlanConfigSm0::doInputScan  scan complete: false resumed: false scan: false",
            fmt::format("8 VlanConfigSm0::handleVlanConfig k: {}", first),
            fmt::format("9 IntfSm1::doInputScan {}", first),
            "9 IntfSm1::doInputScan IntfSm1 initial scan complete. Processed 0 children. ",
            "8 VlanConfigSm0::doInputScan   yielding after 1 iterations (2 remaining)",
            root(9, "handleInitialized", "initialized")});
    appendFive(expected);
    EXPECT_EQ(traced(), expected);
}

TEST_F(StartUpTest, AStartOverEmptyInputsRunsOnToTheSecondScans) {
    traceIs();
    startAsynchronous();
    Lines expected = beforeChildren(false);
    appendEmptyScan(expected, "LagPhyIntfConfigSm2", " initial");
    appendEmptyScan(expected, "VlanConfigSm0", " initial");
    append(expected, {root(9, "handleInitialized", "initialized"), root(9, lagPhyIntfHandler, ""),
                      root(9, "handleInitialScanDone",
                           "Initial scan done for child SMs. Now scanning with events triggered."),
                      // lagUpdateStreamScan is cleared, then vlanConfigStreamScan
                      root(9, lagPhyIntfHandler, "")});
    appendFive(expected);
    appendFive(expected); // the end of handleInitialScanDone
    for (std::string const handler : fiveHandlers) {
        if (handler != lagPhyIntfHandler) { // the rest of those of handleInitialized
            expected.push_back(root(9, handler, ""));
        }
    }
    EXPECT_EQ(traced(), expected);
}

TEST_F(StartUpTest, StartUpLinesPointToTheMachinesStatement) {
    traceIs();
    startAsynchronous();
    for (TestSupport::TraceLine const &line : trace->records()) {
        EXPECT_EQ(line.source, "VlanSubIntfConfigLib");
        if (line.function == "handleInitialized" || line.function == "handleInitialScanDone") {
            EXPECT_EQ(line.line, 15U) << line;
        }
    }
}

TEST_F(StartUpTest, ASecondCallChangesNothing) {
    startReady();
    auto const scanState = machine->inputSmScanState();
    auto const outputState = machine->outputState();
    auto const store = machine->localAttrStore();
    auto const vlanSm = machine->vlanConfigSm0();
    traceIs();
    machine->handleInitialized();
    EXPECT_THAT(traced(), IsEmpty());
    EXPECT_EQ(machine->inputSmScanState(), scanState);
    EXPECT_EQ(machine->outputState(), outputState);
    EXPECT_EQ(machine->localAttrStore(), store);
    EXPECT_EQ(machine->vlanConfigSm0(), vlanSm);
    EXPECT_FALSE(scheduler->hasWork());
}

TEST_F(StartUpTest, OwnedObjectsAreMadeInTheirOrder) {
    startInterrupted();
    std::vector<std::uint32_t> const serials{
        machine->creationSerial(),
        machine->inputSmScanState()->creationSerial(),
        machine->outputState()->creationSerial(),
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask()
            ->creationSerial(),
        machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask()->creationSerial(),
        machine->localAttrStore()->creationSerial(),
        machine->lagPhyIntfConfigSm2()->creationSerial(),
        machine->vlanConfigSm0()->creationSerial()};
    EXPECT_TRUE(std::ranges::is_sorted(serials));
    EXPECT_TRUE(machine->inputSmScanState()->hasNotificationActive());
    EXPECT_TRUE(machine->outputState()->hasNotificationActive());
    EXPECT_TRUE(machine->lagPhyIntfConfigSm2()->hasNotificationActive());
    EXPECT_TRUE(machine->vlanConfigSm0()->hasNotificationActive());
}

TEST_F(StartUpTest, ReconciliationTasksHaveTheirNamesAndTheControlsPriority) {
    control.priorityIs(Osk::TaskPriority::background);
    startInterrupted();
    auto const &lagTask =
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask();
    auto const &configTask = machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask();
    EXPECT_EQ(lagTask->taskName(),
              "ConfigSm-vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputTask");
    EXPECT_EQ(configTask->taskName(), "ConfigSm-vlanSubIntfConfigDirConfigIntfOutputTask");
    for (auto const &task : {lagTask, configTask}) {
        EXPECT_EQ(task->taskScheduler(), scheduler);
        EXPECT_EQ(task->taskPriority(), Osk::TaskPriority::background);
        EXPECT_FALSE(task->taskQueued());
    }
}

TEST_F(StartUpTest, ASynchronousMachineHasNoTask) {
    stale(1, "Ethernet1.1");
    startSynchronous();
    EXPECT_FALSE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask());
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask());
    EXPECT_FALSE(machine->lagPhyIntfConfigSm2()->task());
    EXPECT_FALSE(machine->vlanConfigSm0()->task());
    EXPECT_EQ(TestSupport::liveCount("Osk::Task"), TestSupport::LiveCount());
}

TEST_F(StartUpTest, AnEmptyDirectoryNeedsNoDeletionWalkOverItsEntries) {
    startInterrupted();
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling());
}

TEST_F(StartUpTest, ADirectoryWithEntriesIsReconciled) {
    stale(1, "Ethernet1.1");
    traceIs();
    startInterrupted();
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling());
    auto const lines = traced();
    auto const expected = beforeChildren(true);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 5), expected);
}

TEST_F(StartUpTest, ReconcilingEndsWithReadiness) {
    stale(1, "Ethernet1.1");
    startReady();
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
    EXPECT_FALSE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling());
}

// handleInitialScanDone.

TEST_F(StartUpTest, TheInitialScanWaitsForTheLagStream) {
    startInterrupted();
    traceIs();
    machine->handleInitialScanDone();
    EXPECT_THAT(traced(),
                ElementsAre(root(9, "handleInitialScanDone", " lagUpdateStream scan is false")));
    EXPECT_FALSE(machine->initialScanDone());
}

TEST_F(StartUpTest, TheInitialScanWaitsForTheVlanStream) {
    startInterrupted();
    machine->inputSmScanState()->lagUpdateStreamScanIs(true);
    traceIs();
    machine->handleInitialScanDone();
    EXPECT_THAT(traced(),
                ElementsAre(root(9, "handleInitialScanDone", " vlanConfigStream scan is false")));
    EXPECT_FALSE(machine->initialScanDone());
}

TEST_F(StartUpTest, TheInitialScanWaitsForTheVlanStreamUntraced) {
    startInterrupted();
    machine->inputSmScanState()->lagUpdateStreamScanIs(true);
    machine->handleInitialScanDone();
    EXPECT_FALSE(machine->initialScanDone());
}

TEST_F(StartUpTest, TheInitialScanWaitsForBothChildren) {
    for (bool const withoutLag : {true, false}) {
        startInterrupted();
        withoutLag ? void(machine->lagPhyIntfConfigSm2Del()) : void(machine->vlanConfigSm0Del());
        machine->inputSmScanState()->lagUpdateStreamScanIs(true);
        machine->inputSmScanState()->vlanConfigStreamScanIs(true);
        traceIs();
        machine->handleInitialScanDone();
        EXPECT_THAT(traced(), ElementsAre(root(9, "handleInitialScanDone",
                                               "Initial scan yielding for child SM ConfigSm.")));
        EXPECT_FALSE(machine->initialScanDone());
    }
}

TEST_F(StartUpTest, AfterTheInitialScanACallChangesNothing) {
    startReady();
    traceIs();
    machine->handleInitialScanDone();
    EXPECT_THAT(traced(), IsEmpty());
}

TEST_F(StartUpTest, TheEndOfTheInitialScanClearsBothFlagsThenSaysIdle) {
    startInterrupted();
    TestSupport::Observer<> observer(*machine->inputSmScanState());
    std::vector<std::string> published;
    observer.reactionIs([&](auto const &notice) {
        auto const &state = *machine->inputSmScanState();
        published.push_back(fmt::format("{} lag={} vlan={} done={}", notice.attribute,
                                        state.lagUpdateStreamScan(), state.vlanConfigStreamScan(),
                                        machine->initialScanDone()));
    });
    while (!machine->initialScanDone() && scheduler->runOne()) {
    }
    // The root hears of a completed first scan before the observer does, and acts inside.
    EXPECT_THAT(published, ElementsAre("131 lag=true vlan=false done=false",
                                       "131 lag=false vlan=true done=true",
                                       "132 lag=false vlan=false done=true",
                                       "133 lag=false vlan=false done=true",
                                       "132 lag=false vlan=false done=true"));
    EXPECT_TRUE(machine->lagPhyIntfConfigSm2()->task()->taskQueued());
    EXPECT_TRUE(machine->vlanConfigSm0()->task()->taskQueued());
}

TEST_F(StartUpTest, TheSecondScansStartWithTheLagStream) {
    startInterrupted();
    while (!machine->initialScanDone() && scheduler->runOne()) {
    }
    traceIs();
    scheduler->runOne();
    EXPECT_EQ(trace->records().front().machine, "LagPhyIntfConfigSm2");
    trace->clear();
    scheduler->runOne();
    EXPECT_EQ(trace->records().front().machine, "VlanConfigSm0");
}

TEST_F(StartUpTest, ASynchronousMachineRunsItsSecondScansInline) {
    traceIs();
    startSynchronous();
    auto const lines = traced();
    auto const done = std::ranges::find(
        lines, root(9, "handleInitialScanDone",
                    "Initial scan done for child SMs. Now scanning with events triggered."));
    ASSERT_NE(done, lines.end());
    auto const lag = std::find(
        done, lines.end(),
        "9 LagPhyIntfConfigSm2::doInputScan LagPhyIntfConfigSm2 scan, and parent scan, complete.");
    auto const vlan =
        std::find(done, lines.end(),
                  "9 VlanConfigSm0::doInputScan VlanConfigSm0 scan, and parent scan, complete.");
    ASSERT_NE(lag, lines.end());
    ASSERT_NE(vlan, lines.end());
    EXPECT_LT(lag, vlan);
}

TEST_F(StartUpTest, AChildWithoutATaskRunsItsSecondScanInline) {
    member(1, "PortChannel1.1");
    vlan(2);
    lagMember("PortChannel1", "Ethernet1");
    startAsynchronous();
    ASSERT_FALSE(machine->initialScanDone());
    machine->lagPhyIntfConfigSm2()->taskDel();
    traceIs();
    scheduler->runOne(); // the VLAN stream's first scan ends
    ASSERT_TRUE(machine->initialScanDone());
    EXPECT_EQ(machine->lagPhyIntfConfigSm2()->scanState(), Quam::Gen::ScanState::complete);
    EXPECT_TRUE(machine->inputSmScanState()->lagUpdateStreamScan());
    run();
    EXPECT_TRUE(machine->ready());
}

} // namespace
} // namespace VlanSubIntfConfigLib
