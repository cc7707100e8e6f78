#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/JournalFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;
using testing::ElementsAre;
using TestSupport::Output;

std::string line(std::string const &message) {
    return "9 ConfigSm::handleVlanSubIntfConfigDirConfigIntfOutputInputReady " + message;
}
std::string const entered = line("");
std::string const scansComplete =
    line("Input scans for vlanSubIntfConfigDirConfigIntfOutput complete");
std::string const alreadyReady = line(" already ready, not reconciling.");
std::string yielding(unsigned processed, unsigned deleted) {
    return line(fmt::format("Yielding in reconciliation processing after processing {} items, "
                            "including {} deletions .",
                            processed, deleted));
}
std::string done(unsigned processed, unsigned deleted) {
    return line(fmt::format("Deletion scan for reconciliation is done, last task run processed {} "
                            "items, deleting {} items.",
                            processed, deleted));
}

class ConfigIntfReconciliation : public TestSupport::JournalTest {
  protected:
    void handle() { machine->handleVlanSubIntfConfigDirConfigIntfOutputInputReady(); }
    [[nodiscard]] ConfigIntfOutputKey const &bookmark() const {
        return machine->vlanSubIntfConfigDirConfigIntfOutputBookmark();
    }
    [[nodiscard]] bool useBookmark() const {
        return machine->vlanSubIntfConfigDirConfigIntfOutputUseBookmark();
    }
    [[nodiscard]] Qor::Ptr<Osk::Task> task() const {
        return machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask();
    }
    [[nodiscard]] bool isReady() const {
        return machine->outputState()->vlanSubIntfConfigDirConfigIntfOutputReady();
    }
    /// Lines of this handler only.
    Lines heardHere() {
        auto lines = heard();
        std::erase_if(lines, [](std::string const &text) { return !text.starts_with(entered); });
        return lines;
    }
    /// Make an asynchronous machine and let it work until the walk has made its first slice, from
    /// outside its task. Each further run is cut as early as can be.
    void startUntilFirstSlice() {
        countShareIs(1);
        startUntilInitialScanDone();
        while (!useBookmark() && !isReady() && scheduler->runOne()) {
        }
        ASSERT_TRUE(useBookmark());
    }
    std::vector<std::string> staleOrder(std::uint16_t vlanId) {
        return names(TestSupport::walkOrder((*dir->config(VlanId(vlanId)))->intf()));
    }
};

TEST_F(ConfigIntfReconciliation, IsNotOwedOverAnEmptyDirectoryAndLeavesTheTaskAlone) {
    startUntilInitialScanDone();
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
    auto const installed = task();
    ASSERT_TRUE(installed);
    heard();
    run();
    EXPECT_TRUE(machine->ready());
    EXPECT_THAT(heardHere(), ElementsAre(entered, scansComplete))
        << "ready as soon as the VLAN scan is complete, and no deletion trace";
    EXPECT_EQ(task(), installed);
    EXPECT_EQ(installed->statistics().items, 0U);
}

TEST_F(ConfigIntfReconciliation, KeepsWhatWasWrittenAndDeletesTheRestWithVlansThatAreLeftEmpty) {
    stale(100, "PortChannel10.100", {false, none, {"Ethernet1"}});
    stale(100, "PortChannel10.999");
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    member(100, "PortChannel10.100", {true, both});
    member(200, "Ethernet4.20", {true, egress});
    lagMember("PortChannel10", "Ethernet1");
    startSynchronous();
    // Processed: the four entries of the earlier run, a new one, three VLANs. Deleted: three
    // entries and a VLAN.
    EXPECT_THAT(heardHere(), testing::Contains(done(8, 4)).Times(1));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet1"}}}}},
                                {200, {{"Ethernet4.20", {true, egress, {}}}}}}));
    EXPECT_TRUE(machine->ready());
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
}

TEST_F(ConfigIntfReconciliation, DeletesAVlanThatWasEmptyAlready) {
    dir->configIs(VlanId(300));
    startSynchronous();
    EXPECT_THAT(heardHere(), testing::Contains(done(1, 1)).Times(1));
    EXPECT_TRUE(dir->config().empty());
}

TEST_F(ConfigIntfReconciliation, KeepsAVlanWhoseEveryEntryWasWritten) {
    stale(100, "Ethernet4.20", {true, both, {}});
    stale(100, "Ethernet4.21", {true, both, {}});
    member(100, "Ethernet4.20", {true, both});
    member(100, "Ethernet4.21", {true, both});
    startSynchronous();
    EXPECT_THAT(heardHere(), testing::Contains(done(3, 0)).Times(1));
    EXPECT_THAT(output().at(100), testing::SizeIs(2));
}

TEST_F(ConfigIntfReconciliation, IsDoneInOneCallInSynchronousMode) {
    for (std::uint16_t vlanId = 1; vlanId <= 40; ++vlanId) {
        stale(vlanId, "Ethernet4.20");
    }
    startSynchronous();
    EXPECT_THAT(heardHere(), testing::Contains(done(80, 80)).Times(1));
    EXPECT_EQ(task(), nullptr);
    EXPECT_TRUE(dir->config().empty());
}

TEST_F(ConfigIntfReconciliation, IsDoneInOneCallWhereItsTaskWasTakenAway) {
    stale(100, "Ethernet4.20");
    stale(200, "Ethernet4.20");
    countShareIs(1);
    startUntilInitialScanDone();
    machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDel();
    run();
    EXPECT_THAT(heardHere(), testing::Contains(done(4, 4)).Times(1));
    EXPECT_TRUE(dir->config().empty());
    EXPECT_TRUE(machine->ready());
}

TEST_F(ConfigIntfReconciliation, WaitsForTheVlanScanWithoutAWord) {
    stale(900, "Ethernet4.90");
    startUntilInitialScanDone();
    handle();
    EXPECT_THAT(heard(), ElementsAre(entered));
    EXPECT_FALSE(isReady());
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
}

TEST_F(ConfigIntfReconciliation, DoesNotWaitForTheLagScan) {
    startUntilInitialScanDone();
    machine->inputSmScanState()->vlanConfigStreamScanIs(true); // as if the VLAN scan were done
    EXPECT_FALSE(machine->inputSmScanState()->lagUpdateStreamScan());
    EXPECT_TRUE(isReady());
}

TEST_F(ConfigIntfReconciliation, HandsOverToTheRootBeforeTheInitialScanIsDone) {
    stale(900, "Ethernet4.90");
    startDuringInitialScan();
    machine->hasNotificationActiveIs(false); // so that no other handler is first
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    handle();
    auto const lines = heard();
    EXPECT_THAT(Lines(lines.begin(), lines.begin() + 2),
                ElementsAre(entered, "9 ConfigSm::handleInitialScanDone Initial scan done for "
                                     "child SMs. Now scanning with events triggered."));
    EXPECT_THAT(lines, testing::Not(testing::Contains(scansComplete)));
    EXPECT_TRUE(machine->initialScanDone());
}

TEST_F(ConfigIntfReconciliation, CalledFromOutsideItsTaskDoesOneItemAndSchedulesTheTask) {
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    stale(900, "Ethernet4.92");
    auto const order = staleOrder(900);
    startUntilFirstSlice();
    EXPECT_THAT(heardHere(), ElementsAre(entered, scansComplete, yielding(1, 1)));
    EXPECT_EQ(bookmark(), ConfigIntfOutputKey(VlanId(900), id(order[1]), true, true));
    EXPECT_EQ(staleOrder(900), std::vector<std::string>(order.begin() + 1, order.end()));
    EXPECT_TRUE(task()->taskQueued());
    EXPECT_EQ(task()->statistics().items, 1U);
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
    EXPECT_FALSE(isReady());
    handle(); // once more from outside
    EXPECT_THAT(heard(), ElementsAre(entered, scansComplete,
                                     "* config 900 intf " + order[1] + " removed", yielding(1, 1)));
    EXPECT_EQ(bookmark(), ConfigIntfOutputKey(VlanId(900), id(order[2]), true, true));
    EXPECT_EQ(task()->statistics().items, 2U);
}

TEST_F(ConfigIntfReconciliation, StopsBeforeAVlanWithNoInterfaceInItsBookmark) {
    dir->configIs(VlanId(900));
    dir->configIs(VlanId(901));
    auto const order = TestSupport::walkOrder(dir->config());
    startUntilFirstSlice();
    EXPECT_THAT(heardHere(), ElementsAre(entered, scansComplete, yielding(1, 1)));
    EXPECT_TRUE(bookmark().k0Valid);
    EXPECT_EQ(bookmark().k0, order[1]);
    EXPECT_FALSE(bookmark().k1Valid);
    EXPECT_THAT(TestSupport::walkOrder(dir->config()), ElementsAre(order[1]));
}

TEST_F(ConfigIntfReconciliation, ForgetsTheInterfaceWhenItStepsToTheNextVlan) {
    for (std::uint16_t const vlanId : {std::uint16_t{900}, std::uint16_t{901}}) {
        stale(vlanId, "Ethernet4.90");
        stale(vlanId, "Ethernet4.91");
    }
    auto const vlans = TestSupport::walkOrder(dir->config());
    startUntilFirstSlice();
    ASSERT_TRUE(bookmark().k1Valid);
    heard();
    ASSERT_TRUE(scheduler->runOne());
    EXPECT_EQ(heardHere().back(), yielding(2, 2)) << "the second entry and its VLAN";
    EXPECT_TRUE(bookmark().k0Valid);
    EXPECT_EQ(bookmark().k0, vlans[1]);
    EXPECT_FALSE(bookmark().k1Valid);
}

TEST_F(ConfigIntfReconciliation, ForgetsTheInterfaceInItsFirstSliceToo) {
    stale(900, "Ethernet4.90");
    stale(901, "Ethernet4.90");
    auto const vlans = TestSupport::walkOrder(dir->config());
    startUntilFirstSlice();
    EXPECT_EQ(heardHere().back(), yielding(2, 2)) << "a VLAN counts with its last entry";
    EXPECT_EQ(bookmark().k0, vlans[1]);
    EXPECT_FALSE(bookmark().k1Valid);
}

TEST_F(ConfigIntfReconciliation, GoesOnSliceBySliceCountsPerRunAndGivesItsTaskUp) {
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    stale(900, "Ethernet4.92");
    auto const order = staleOrder(900);
    startUntilFirstSlice();
    auto const held = task();
    heard();
    ASSERT_TRUE(scheduler->runOne());
    EXPECT_THAT(heard(), ElementsAre(entered, scansComplete,
                                     "* config 900 intf " + order[1] + " removed", yielding(1, 1)));
    EXPECT_EQ(bookmark(), ConfigIntfOutputKey(VlanId(900), id(order[2]), true, true));
    EXPECT_EQ(held->statistics().items, 2U);
    ASSERT_TRUE(scheduler->runOne());
    auto const lines = heard();
    EXPECT_THAT(Lines(lines.begin(), lines.begin() + 5),
                ElementsAre(entered, scansComplete, "* config 900 intf " + order[2] + " removed",
                            "* config 900 removed", done(2, 2)));
    EXPECT_EQ(held->statistics().items, 4U) << "three entries and the VLAN";
    EXPECT_EQ(held->statistics().runs, 2U);
    EXPECT_EQ(task(), nullptr);
    EXPECT_FALSE(held->publisher().hasSubscribers());
    EXPECT_EQ(bookmark(), ConfigIntfOutputKey());
    EXPECT_FALSE(useBookmark());
    EXPECT_TRUE(isReady());
}

TEST_F(ConfigIntfReconciliation, KeepsEntriesThatAreWrittenBetweenTwoSlices) {
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    stale(900, "Ethernet4.92");
    startUntilFirstSlice();
    member(900, staleOrder(900).back(), {true, both});
    member(800, "Ethernet4.80", {true, both});
    auto const kept = staleOrder(900).back();
    run();
    EXPECT_TRUE(machine->ready());
    EXPECT_EQ(output(), (Output{{800, {{"Ethernet4.80", {true, both, {}}}}},
                                {900, {{kept, {true, both, {}}}}}}));
}

TEST_F(ConfigIntfReconciliation, ResumesBehindABookmarkedInterfaceThatIsGone) {
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    stale(900, "Ethernet4.92");
    auto const order = staleOrder(900);
    startUntilFirstSlice();
    (*dir->config(VlanId(900)))->intfDel(id(order[1]));
    heard();
    ASSERT_TRUE(scheduler->runOne());
    auto const lines = heard();
    EXPECT_EQ(lines[2], "* config 900 intf " + order[2] + " removed");
    EXPECT_EQ(lines[4], done(2, 2));
}

TEST_F(ConfigIntfReconciliation, DropsTheInterfaceBookmarkWhenItsVlanIsGone) {
    for (std::uint16_t const vlanId : {std::uint16_t{900}, std::uint16_t{901}}) {
        for (std::string const name : {"Ethernet4.90", "Ethernet4.91", "Ethernet4.92"}) {
            stale(vlanId, name);
        }
    }
    auto const vlans = TestSupport::walkOrder(dir->config());
    auto const order = staleOrder(vlans[1].value());
    startUntilFirstSlice();
    ASSERT_EQ(bookmark(), ConfigIntfOutputKey(vlans[0], id(order[1]), true, true));
    dir->configDel(vlans[0]);
    heard();
    ASSERT_TRUE(scheduler->runOne());
    auto const removed = fmt::format("* config {} intf {} removed", vlans[1].value(), order[0]);
    EXPECT_THAT(heard(), ElementsAre(entered, scansComplete, removed, yielding(1, 1)))
        << "the next VLAN starts with its first entry, though it lies before the bookmark";
    EXPECT_EQ(bookmark(), ConfigIntfOutputKey(vlans[1], id(order[1]), true, true));
    run();
    EXPECT_TRUE(dir->config().empty());
    EXPECT_TRUE(machine->ready());
}

TEST_F(ConfigIntfReconciliation, IsDoneWhenTheBookmarkedVlanWasTheLast) {
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    startUntilFirstSlice();
    dir->configDel(VlanId(900));
    heard();
    ASSERT_TRUE(scheduler->runOne());
    EXPECT_EQ(heardHere(), (Lines{entered, scansComplete, done(0, 0)}));
    EXPECT_TRUE(isReady());
}

TEST_F(ConfigIntfReconciliation, IsNeverDoneAgain) {
    stale(900, "Ethernet4.90");
    startReady();
    stale(900, "Ethernet4.90");
    handle();
    EXPECT_THAT(heardHere(), ElementsAre(entered, alreadyReady));
    EXPECT_EQ(output().count(900), 1U);
}

} // namespace
} // namespace VlanSubIntfConfigLib
