// A start-up that runs out of memory: every allocation from the factory to readiness fails, one
// after the other.
//
// Inside the factory the failure reaches the host. No machine is there then, nobody listens, no
// object and no block is left; the directory stands as it did after one of the start-up's writes,
// and a machine made over it takes over. Inside a run of a task, and inside a notice, the failure
// ends the process: notification callbacks are noexcept.
#include "tests/allocation/AllocationFixture.h"

#include <algorithm>

namespace Allocation {
namespace {

using TestSupport::RunEnd;

class StartUpFailureTest : public AllocationTest, public testing::WithParamInterface<Memory> {
  protected:
    /// Every failure of `act`, which ends with a machine that is ready or none.
    Ends everyFailure(std::function<void()> const &act) {
        statesBefore_ = everyStateOf(act);
        auto ends = failEach(
            GetParam(), act, [this] { return undone(); },
            [this] { return machine && machine->ready() ? "" : "there is no machine ready"; });
        return ends;
    }
    void startAndRun() {
        startAsynchronous();
        run();
    }

  private:
    /// The directory at the beginning and after each write of `act`, which is taken back.
    std::vector<Model::Output> everyStateOf(std::function<void()> const &act) {
        std::vector<Model::Output> states{Model::read(*dir)};
        TestSupport::EveryNotice writes([&](Qor::Entity const & /*entity*/, short /*attribute*/) {
            states.push_back(Model::read(*dir));
        });
        writes.hear(*dir);
        act();
        machine = nullptr;
        dir = VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
        Model::fill(*dir, states.front());
        return states;
    }
    Complaint undone() {
        if (machine) {
            return "there is a machine";
        }
        if (auto complaint = nobodyListens(); !complaint.empty()) {
            return complaint;
        }
        if (std::ranges::find(statesBefore_, Model::read(*dir)) == statesBefore_.end()) {
            return "the directory stands as it never did";
        }
        auto const complaint = aNewMachineTakesOver();
        return complaint.empty() ? nothingIsLeft() : complaint;
    }

    std::vector<Model::Output> statesBefore_;
};
INSTANTIATE_TEST_SUITE_P(Of, StartUpFailureTest,
                         testing::Values(Memory::pool, Memory::plain, Memory::plainOnwards),
                         memoryName);

/// No failure is undone after the first that ended the process.
bool endOnceAndForAll(Ends const &ends) {
    return std::ranges::is_partitioned(ends.each,
                                       [](RunEnd end) { return end == RunEnd::returned; });
}

TEST_P(StartUpFailureTest, TheFactoryOfAnAsynchronousMachineUndoesEverything) {
    fillSmallWorld();
    auto const ends = failEach(
        GetParam(), [this] { startAsynchronous(); },
        [this] { return machine ? "there is a machine" : nothingIsLeft(); });
    EXPECT_EQ(ends.ended, 0) << "its scans are cut after one item";
    if (GetParam() == Memory::pool) {
        EXPECT_GT(ends.undone, 10);
    }
}

TEST_P(StartUpFailureTest, AnAsynchronousStartUpUndoesEverythingUntilItsTasksRun) {
    fillSmallWorld();
    countShareIs(1);
    auto const ends = everyFailure([this] { startAndRun(); });
    EXPECT_TRUE(endOnceAndForAll(ends));
    if (GetParam() == Memory::pool) {
        EXPECT_GT(ends.undone, 10);
        EXPECT_GT(ends.ended, 10);
    }
}

TEST_P(StartUpFailureTest, ASynchronousStartUpUndoesEverythingButInCodeThatMayNotThrow) {
    fillSmallWorld();
    auto const ends = everyFailure([this] { startSynchronous(); });
    if (GetParam() == Memory::pool) {
        EXPECT_GT(ends.undone, 20);
        // The store's creators may not throw: its array, and for the one LAG that has
        // subinterfaces the entry and its status.
        EXPECT_EQ(ends.ended, 3);
    }
}

TEST_P(StartUpFailureTest, ATracedStartUpDoesTheSame) {
    fillSmallWorld();
    countShareIs(1);
    traceToNobody();
    auto const ends = everyFailure([this] { startAndRun(); });
    EXPECT_TRUE(endOnceAndForAll(ends));
    EXPECT_GT(ends.undone, 10);
    EXPECT_GT(ends.ended, 10);
}

TEST_P(StartUpFailureTest, AMachineIsMadeOverTheSameInputsAfterFailures) {
    fillSmallWorld();
    for (std::int64_t const allocations : {0, 5, 10}) {
        Qor::Pool::failAfterForTest(allocations);
        EXPECT_THROW(startAsynchronous(), std::bad_alloc);
    }
    EXPECT_EQ(aNewMachineTakesOver(), "");
}

} // namespace
} // namespace Allocation
