#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/JournalFixture.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using TestSupport::Output;

std::string line(std::string const &message) {
    return "9 ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady " +
           message;
}
std::string const entered = line("");
std::string const scansComplete =
    line("Input scans for vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutput complete");
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

class LagPhyIntfReconciliation : public TestSupport::JournalTest {
  protected:
    void handle() { machine->handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady(); }
    [[nodiscard]] LagPhyIntfOutputKey const &bookmark() const {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputBookmark();
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntf> ptrBookmark() const {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrBookmark();
    }
    [[nodiscard]] bool useBookmark() const {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputUseBookmark();
    }
    [[nodiscard]] bool isReconciling() const {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling();
    }
    [[nodiscard]] Qor::Ptr<Osk::Task> task() const {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask();
    }
    [[nodiscard]] bool isReady() const {
        return machine->outputState()->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReady();
    }
    /// Lines of this handler only.
    Lines heardHere() {
        auto lines = heard();
        std::erase_if(lines, [](std::string const &text) { return !text.starts_with(entered); });
        return lines;
    }
    /// The subinterface of VLAN 100 or 200, with three members of an earlier run.
    void staleMembers(std::uint16_t vlanId) {
        stale(vlanId, "PortChannel10.100", {false, none, {"Ethernet1", "Ethernet2", "Ethernet3"}});
        member(vlanId, "PortChannel10.100", {false, none});
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntf> entry(std::uint16_t vlanId) const {
        return *(*dir->config(VlanId(vlanId)))->intf(id("PortChannel10.100"));
    }
    /// The order in which the members of a set are walked: one order for all sets.
    [[nodiscard]] std::vector<std::string> staleOrder(std::uint16_t vlanId) const {
        return names(TestSupport::walkOrder(entry(vlanId)->lagPhyIntf()));
    }
    /// Make an asynchronous machine and let it work until the walk has made its first slice, from
    /// outside its task. Each further run is cut as early as can be.
    void startUntilFirstSlice() {
        countShareIs(1);
        startUntilInitialScanDone();
        while (!ptrBookmark() && !isReady() && scheduler->runOne()) {
        }
        ASSERT_TRUE(ptrBookmark());
    }
};

TEST_F(LagPhyIntfReconciliation, RunsOnceEvenOverAnEmptyOutput) {
    startUntilInitialScanDone();
    EXPECT_TRUE(isReconciling());
    run();
    EXPECT_TRUE(machine->ready());
    EXPECT_FALSE(isReconciling());
    EXPECT_EQ(task(), nullptr) << "unlike the other output's, its walk was owed";
    auto const lines = heardHere();
    EXPECT_THAT(lines, Contains(scansComplete).Times(1));
    EXPECT_EQ(lines.back(), scansComplete) << "no subinterface, no trace of one";
}

TEST_F(LagPhyIntfReconciliation, WaitsForBothScansWithoutAWord) {
    lagMember("PortChannel10", "Ethernet1");
    startUntilInitialScanDone();
    auto const &scans = *machine->inputSmScanState();
    ASSERT_FALSE(scans.lagUpdateStreamScan());
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    handle();
    EXPECT_THAT(heardHere(), ElementsAre(entered, entered, entered))
        << "the scan's, the config output's and this call";
    EXPECT_TRUE(machine->outputState()->vlanSubIntfConfigDirConfigIntfOutputReady());
    EXPECT_FALSE(isReady());
}

TEST_F(LagPhyIntfReconciliation, WaitsForTheConfigOutputWithoutAWord) {
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    lagMember("PortChannel10", "Ethernet1");
    countShareIs(1);
    startUntilInitialScanDone();
    auto const &scans = *machine->inputSmScanState();
    while (!(scans.lagUpdateStreamScan() && scans.vlanConfigStreamScan())) {
        ASSERT_TRUE(scheduler->runOne());
    }
    ASSERT_FALSE(machine->outputState()->vlanSubIntfConfigDirConfigIntfOutputReady());
    heard();
    handle();
    EXPECT_THAT(heard(), ElementsAre(entered));
    run();
    EXPECT_TRUE(isReady()) << "the config output's readiness brought it";
}

TEST_F(LagPhyIntfReconciliation, HandsOverToTheRootBeforeTheInitialScanIsDone) {
    startDuringInitialScan();
    machine->hasNotificationActiveIs(false); // so that no other handler is first
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    handle();
    auto const lines = heard();
    EXPECT_THAT(Lines(lines.begin(), lines.begin() + 2),
                ElementsAre(entered, "9 ConfigSm::handleInitialScanDone Initial scan done for "
                                     "child SMs. Now scanning with events triggered."));
    EXPECT_THAT(lines, Not(Contains(scansComplete)));
}

TEST_F(LagPhyIntfReconciliation, KeepsTheMembersThatWereWrittenAndDeletesTheOthers) {
    staleMembers(100);
    lagMember("PortChannel10", "Ethernet2");
    startSynchronous();
    auto const lines = heardHere();
    EXPECT_THAT(lines, Contains(done(3, 2)).Times(1));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {false, none, {"Ethernet2"}}}}}}));
    EXPECT_TRUE(isReady());
}

TEST_F(LagPhyIntfReconciliation, IsDoneInOneCallWhereItsTaskWasTakenAway) {
    staleMembers(100);
    lagMember("PortChannel10", "Ethernet2");
    countShareIs(1);
    startUntilInitialScanDone();
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDel();
    run();
    EXPECT_THAT(heardHere(), Contains(done(3, 2)).Times(1));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {false, none, {"Ethernet2"}}}}}}));
    EXPECT_TRUE(machine->ready());
}

TEST_F(LagPhyIntfReconciliation, DoesNotVisitASubinterfaceThatGotNoMemberInThisRun) {
    staleMembers(100);
    lag("PortChannel10"); // no members
    startSynchronous();
    EXPECT_TRUE(machine->ready());
    EXPECT_EQ(output(), (Output{{100,
                                 {{"PortChannel10.100",
                                   {false, none, {"Ethernet1", "Ethernet2", "Ethernet3"}}}}}}));
    auto lines = heardHere();
    std::erase_if(lines, [](auto const &text) { return text == entered || text == alreadyReady; });
    EXPECT_THAT(lines, ElementsAre(scansComplete));
}

TEST_F(LagPhyIntfReconciliation, TracesEverySubinterfaceWithRunningCounts) {
    staleMembers(100);
    staleMembers(200);
    lagMember("PortChannel10", "Ethernet2");
    startSynchronous();
    auto lines = heardHere();
    std::erase_if(lines, [](auto const &text) { return text == entered || text == alreadyReady; });
    EXPECT_THAT(lines, ElementsAre(scansComplete, done(3, 2), done(6, 4)));
}

TEST_F(LagPhyIntfReconciliation, StopsInsideASubinterfaceWithBothBookmarks) {
    staleMembers(100);
    auto const order = staleOrder(100);
    lagMember("PortChannel10", order[2]);
    startUntilFirstSlice();
    EXPECT_EQ(heardHere().back(), yielding(1, 1)) << "called from outside its task";
    EXPECT_EQ(ptrBookmark(), entry(100));
    EXPECT_EQ(bookmark(), LagPhyIntfOutputKey(id(order[1]), true));
    EXPECT_TRUE(useBookmark());
    EXPECT_TRUE(task()->taskQueued());
    EXPECT_EQ(task()->statistics().items, 1U);
    EXPECT_TRUE(isReconciling());
    EXPECT_EQ(entry(100)->lagPhyIntf().size(), 2U);
}

TEST_F(LagPhyIntfReconciliation, GoesOnSliceBySliceCountsPerRunAndGivesItsTaskUp) {
    staleMembers(100);
    auto const order = staleOrder(100);
    lagMember("PortChannel10", order[2]);
    startUntilFirstSlice();
    auto const held = task();
    heard();
    ASSERT_TRUE(scheduler->runOne());
    auto const removed = "* config 100 intf PortChannel10.100 lagPhyIntf " + order[1] + " removed";
    EXPECT_THAT(heard(), ElementsAre(entered, scansComplete, removed, yielding(1, 1)));
    EXPECT_EQ(bookmark(), LagPhyIntfOutputKey(id(order[2]), true));
    EXPECT_EQ(held->statistics().items, 2U);
    ASSERT_TRUE(scheduler->runOne());
    EXPECT_THAT(heard(), ElementsAre(entered, scansComplete, done(1, 0)));
    EXPECT_EQ(held->statistics().items, 3U);
    EXPECT_EQ(held->statistics().runs, 2U);
    EXPECT_EQ(task(), nullptr);
    EXPECT_FALSE(held->publisher().hasSubscribers());
    EXPECT_EQ(ptrBookmark(), nullptr);
    EXPECT_EQ(bookmark(), LagPhyIntfOutputKey());
    EXPECT_FALSE(useBookmark());
    EXPECT_TRUE(isReady());
}

TEST_F(LagPhyIntfReconciliation, StopsBeforeASubinterfaceWithThePointerAlone) {
    for (std::uint16_t const vlanId : {std::uint16_t{100}, std::uint16_t{200}}) {
        stale(vlanId, "PortChannel10.100");
        member(vlanId, "PortChannel10.100");
    }
    lagMember("PortChannel10", "Ethernet1");
    startUntilFirstSlice();
    auto const order = TestSupport::walkOrder(
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen());
    ASSERT_EQ(order.size(), 2U);
    auto const lines = heardHere();
    EXPECT_THAT(Lines(lines.end() - 2, lines.end()), ElementsAre(done(1, 0), yielding(1, 0)));
    EXPECT_EQ(ptrBookmark(), order[1]);
    EXPECT_EQ(bookmark(), LagPhyIntfOutputKey());
    EXPECT_FALSE(useBookmark());
    ASSERT_TRUE(scheduler->runOne());
    EXPECT_THAT(heardHere(), ElementsAre(entered, scansComplete, done(1, 0)));
    EXPECT_TRUE(isReady());
}

TEST_F(LagPhyIntfReconciliation, ForgetsTheMemberWhenItStepsToTheNextSubinterface) {
    staleMembers(100);
    staleMembers(200);
    lagMember("PortChannel10", "Ethernet2");
    startUntilFirstSlice();
    ASSERT_TRUE(useBookmark());
    ASSERT_TRUE(bookmark().k0Valid);
    auto const first = ptrBookmark();
    ASSERT_TRUE(scheduler->runOne());
    ASSERT_EQ(ptrBookmark(), first);
    ASSERT_TRUE(scheduler->runOne());
    EXPECT_NE(ptrBookmark(), first);
    EXPECT_FALSE(useBookmark());
    EXPECT_EQ(bookmark(), LagPhyIntfOutputKey());
}

TEST_F(LagPhyIntfReconciliation, AppliesTheMemberBookmarkToTheNextSubinterfaceIfItsOwnHasLeft) {
    staleMembers(100);
    staleMembers(200);
    auto const members = staleOrder(100);
    lagMember("PortChannel10", members[2]);
    startUntilFirstSlice();
    auto const order = TestSupport::walkOrder(
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen());
    ASSERT_EQ(order.size(), 2U);
    ASSERT_EQ(ptrBookmark(), order[0]);
    ASSERT_EQ(bookmark(), LagPhyIntfOutputKey(id(members[1]), true));
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(order[0]);
    unlimitedShareIs();
    heard();
    run();
    EXPECT_EQ(heardHere(), (Lines{entered, scansComplete, done(2, 1)}));
    auto const left = names(TestSupport::walkOrder(order[0]->lagPhyIntf()));
    EXPECT_THAT(left, ElementsAre(members[1], members[2])) << "it is not walked any more";
    auto const next = names(TestSupport::walkOrder(order[1]->lagPhyIntf()));
    EXPECT_THAT(next, ElementsAre(members[0], members[2])) << "the walk began at the bookmark";
    EXPECT_TRUE(isReady());
}

TEST_F(LagPhyIntfReconciliation, ForgetsItsBookmarksWhenEverySubinterfaceHasLeft) {
    staleMembers(100);
    lagMember("PortChannel10", "Ethernet2");
    startUntilFirstSlice();
    ASSERT_TRUE(bookmark().k0Valid);
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDelAll();
    run();
    EXPECT_TRUE(isReady());
    EXPECT_EQ(bookmark(), LagPhyIntfOutputKey());
    EXPECT_EQ(ptrBookmark(), nullptr);
    EXPECT_FALSE(useBookmark());
}

TEST_F(LagPhyIntfReconciliation, StartsTheSecondSubinterfaceOfARunAtItsFirstMember) {
    staleMembers(100);
    staleMembers(200);
    lagMember("PortChannel10", "Ethernet2");
    startUntilFirstSlice();
    unlimitedShareIs();
    run();
    for (std::uint16_t const vlanId : {std::uint16_t{100}, std::uint16_t{200}}) {
        EXPECT_THAT(staleOrder(vlanId), ElementsAre("Ethernet2")) << "VLAN " << vlanId;
    }
}

TEST_F(LagPhyIntfReconciliation, CalledInANoticeOfItsOwnResumedWalkWalksAllOnceMore) {
    staleMembers(100);
    staleMembers(200);
    lagMember("PortChannel10", "Ethernet2");
    startUntilFirstSlice();
    ASSERT_TRUE(useBookmark());
    auto const subIntfs = TestSupport::walkOrder(
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen());
    unsigned const left = subIntfs[0]->lagPhyIntf().size() - 1; // to be deleted of the first
    unlimitedShareIs();
    TestSupport::Observer<Iftel::IntfId> observer(*subIntfs[1]);
    observer.reactionIs([this, &observer](auto const &) {
        if (observer.notices().size() == 1) {
            handle();
        }
    });
    heard();
    run();
    // The first of the second's stale members brings the walk inside, which is through first.
    EXPECT_THAT(heardHere(), ElementsAre(entered, scansComplete, done(2, left), entered,
                                         scansComplete, done(1, 0), done(3, 1), done(4, left + 1)));
    for (auto const &subIntf : subIntfs) {
        EXPECT_THAT(names(TestSupport::walkOrder(subIntf->lagPhyIntf())), ElementsAre("Ethernet2"));
    }
    EXPECT_TRUE(machine->ready());
}

TEST_F(LagPhyIntfReconciliation, ResumesBehindABookmarkedMemberThatIsGone) {
    staleMembers(100);
    auto const order = staleOrder(100);
    lagMember("PortChannel10", order[0]);
    startUntilFirstSlice();
    entry(100)->lagPhyIntfDel(id(order[1]));
    heard();
    ASSERT_TRUE(scheduler->runOne());
    EXPECT_EQ(heardHere(), (Lines{entered, scansComplete, done(1, 1)}));
    EXPECT_THAT(staleOrder(100), ElementsAre(order[0]));
}

TEST_F(LagPhyIntfReconciliation, KeepsMembersThatAreWrittenBetweenTwoSlices) {
    staleMembers(100);
    auto const order = staleOrder(100);
    lagMember("PortChannel10", order[0]);
    startUntilFirstSlice();
    lagMember("PortChannel10", order[2]);
    lagMember("PortChannel10", "Ethernet77");
    run();
    EXPECT_TRUE(isReady());
    EXPECT_EQ(
        output(),
        (Output{
            {100, {{"PortChannel10.100", {false, none, {order[0], order[2], "Ethernet77"}}}}}}));
}

TEST_F(LagPhyIntfReconciliation, GoesOnOverASubinterfaceThatLeftTheDirectory) {
    staleMembers(100);
    lagMember("PortChannel10", "Ethernet2");
    startUntilFirstSlice();
    memberDel(100, "PortChannel10.100");
    run();
    EXPECT_TRUE(machine->ready());
    EXPECT_TRUE(dir->config().empty());
}

TEST_F(LagPhyIntfReconciliation, ANullSubinterfaceIsTheNullAssertion) {
    startUntilInitialScanDone();
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(nullptr);
    EXPECT_DEATH(run(), "pointer is not null");
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(nullptr);
    run();
    EXPECT_TRUE(isReady());
}

TEST_F(LagPhyIntfReconciliation, IsNeverDoneAgain) {
    staleMembers(100);
    lagMember("PortChannel10", "Ethernet2");
    startReady();
    entry(100)->lagPhyIntfIs(id("Ethernet9"));
    heard();
    handle();
    EXPECT_THAT(heard(), ElementsAre(entered, alreadyReady));
    EXPECT_TRUE(entry(100)->lagPhyIntf(id("Ethernet9")));
}

} // namespace
} // namespace VlanSubIntfConfigLib
