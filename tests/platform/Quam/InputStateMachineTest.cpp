#include "platform/Quam/InputStateMachine.h"

#include "platform/Qor.h"
#include "tests/support/Census.h"

#include <array>
#include <bit>
#include <cstddef>
#include <ostream>

namespace Quam::Gen {
namespace {

/// What a test sets about the machine before its construction ends.
struct Setting {
    bool synchronous = false;
    bool initialScanDone = false;
    bool parentIsScanning = false;
    /// What the making of a task leaves the scan in: the task's first slice runs at once.
    ScanState afterTask = ScanState::notScanned;
};

/// Counts what it is asked to do; its scan completes at once.
class TestMachine final : public InputStateMachine, public Qor::PoolAllocated<TestMachine> {
  public:
    static constexpr std::string_view qorTypeName = "InputStateMachineTest::TestMachine";

    explicit TestMachine(Setting const &given) : setting(given) {
        parentIsScanning_ = setting.parentIsScanning;
        handleInitialized();
    }

    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        static constexpr Qor::TypeImpl type(qorTypeName);
        static constexpr Qor::TypeImpl const *types[] = {&type};
        static constexpr Qor::Module module{"InputStateMachineTest", types};
        return {&module, 0};
    }
    [[nodiscard]] bool initialScanDone() const noexcept override { return setting.initialScanDone; }
    void doInputScan() override {
        ++scans;
        inReactorDuringScan = inReactor();
        scanStateIs(initialScanDone() ? ScanState::complete : ScanState::completeInitially);
    }
    void doInitializeTask() override {
        ++tasksMade;
        initializedWhenTaskWasMade = initialized();
        scanStateIs(setting.afterTask);
    }
    [[nodiscard]] bool synchronous() const noexcept override { return setting.synchronous; }
    [[nodiscard]] bool shouldYield() const noexcept override { return false; }

    using InputStateMachine::handleInitialized;
    using InputStateMachine::scanStateIs;

    Setting setting;
    int scans = 0;
    int tasksMade = 0;
    bool inReactorDuringScan = false;
    bool initializedWhenTaskWasMade = false;
};

class InputStateMachineTest : public TestSupport::CensusTest {
  protected:
    static Qor::Ptr<TestMachine> machineIs(Setting const &setting = {}) {
        return Qor::make<TestMachine>(setting);
    }
};

// Scan states.

TEST_F(InputStateMachineTest, TheScanStatesHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(ScanState::notScanned), 0);
    EXPECT_EQ(static_cast<int>(ScanState::interrupted), 1);
    EXPECT_EQ(static_cast<int>(ScanState::complete), 2);
    EXPECT_EQ(static_cast<int>(ScanState::completeInitially), 3);
}

TEST_F(InputStateMachineTest, StartsNotScanned) {
    EXPECT_EQ(machineIs()->scanState(), ScanState::notScanned);
}

struct Completeness {
    ScanState state;
    bool initialScanDone;
    bool complete;

    friend std::ostream &operator<<(std::ostream &out, Completeness const &c) {
        return out << "state " << static_cast<int>(c.state) << ", initial scan "
                   << (c.initialScanDone ? "done" : "not done");
    }
};

class CompletenessTest : public InputStateMachineTest,
                         public testing::WithParamInterface<Completeness> {};

TEST_P(CompletenessTest, FollowsFromScanStateAndInitialScan) {
    auto const machine = machineIs();
    machine->scanStateIs(GetParam().state);
    machine->setting.initialScanDone = GetParam().initialScanDone;
    EXPECT_EQ(machine->inputScanComplete(), GetParam().complete);
}

INSTANTIATE_TEST_SUITE_P(AllStates, CompletenessTest,
                         testing::Values(Completeness{ScanState::notScanned, false, false},
                                         Completeness{ScanState::notScanned, true, false},
                                         Completeness{ScanState::interrupted, false, false},
                                         Completeness{ScanState::interrupted, true, false},
                                         Completeness{ScanState::complete, false, true},
                                         Completeness{ScanState::complete, true, true},
                                         Completeness{ScanState::completeInitially, false, true},
                                         Completeness{ScanState::completeInitially, true, false}));

// The end of construction.

TEST_F(InputStateMachineTest, IsInitializedWhenItsTaskIsMade) {
    auto const machine = machineIs();
    EXPECT_TRUE(machine->initialized());
    EXPECT_EQ(machine->tasksMade, 1);
    EXPECT_TRUE(machine->initializedWhenTaskWasMade);
}

TEST_F(InputStateMachineTest, BeforeTheInitialScanItIsLeftToWhoeverMakesThat) {
    EXPECT_EQ(machineIs()->scans, 0);
}

TEST_F(InputStateMachineTest, ASynchronousMachineIsScannedAtOnce) {
    auto const machine = machineIs({.synchronous = true});
    EXPECT_EQ(machine->scans, 1);
    EXPECT_TRUE(machine->inputScanComplete());
}

TEST_F(InputStateMachineTest, ASynchronousMachineMadeInsideItsParentsScanIsLeftToThat) {
    auto const machine = machineIs({.synchronous = true, .parentIsScanning = true});
    EXPECT_EQ(machine->scans, 0);
    EXPECT_EQ(machine->tasksMade, 1);
}

TEST_F(InputStateMachineTest, AMachineWithoutTaskMadeAfterTheInitialScanIsScannedAtOnce) {
    auto const machine = machineIs({.initialScanDone = true});
    EXPECT_EQ(machine->scans, 1);
    EXPECT_EQ(machine->scanState(), ScanState::complete);
}

TEST_F(InputStateMachineTest, AMachineMadeAfterTheInitialScanInsideItsParentsScanIsLeftToThat) {
    EXPECT_EQ(machineIs({.initialScanDone = true, .parentIsScanning = true})->scans, 0);
}

TEST_F(InputStateMachineTest, AMachineWhoseTaskHasBegunToScanIsNotScannedAgain) {
    EXPECT_EQ(machineIs({.initialScanDone = true, .afterTask = ScanState::interrupted})->scans, 0);
}

TEST_F(InputStateMachineTest, AMachineWhoseTaskHasScannedItAllIsNotScannedAgain) {
    EXPECT_EQ(machineIs({.initialScanDone = true, .afterTask = ScanState::complete})->scans, 0);
}

TEST_F(InputStateMachineTest, TheScanAtOnceIsMadeInAReactorSoThatItDoesNotYield) {
    EXPECT_TRUE(machineIs({.synchronous = true})->inReactorDuringScan);
    EXPECT_TRUE(machineIs({.initialScanDone = true})->inReactorDuringScan);
}

TEST_F(InputStateMachineTest, AfterTheScanAtOnceItIsInNoReactor) {
    EXPECT_FALSE(machineIs({.synchronous = true})->inReactor());
}

TEST_F(InputStateMachineTest, ASecondEndOfConstructionDoesNothing) {
    auto const machine = machineIs({.synchronous = true});
    machine->handleInitialized();
    EXPECT_EQ(machine->tasksMade, 1);
    EXPECT_EQ(machine->scans, 1);
}

// The in-reactor flag.

TEST_F(InputStateMachineTest, IsInAReactorAsLongAsTheMarkLives) {
    auto const machine = machineIs();
    EXPECT_FALSE(machine->inReactor());
    {
        InReactor const mark(*machine);
        EXPECT_TRUE(machine->inReactor());
    }
    EXPECT_FALSE(machine->inReactor());
}

TEST_F(InputStateMachineTest, TheEndOfAnInnerReactorLeavesTheOuterMark) {
    auto const machine = machineIs();
    InReactor const outer(*machine);
    {
        InReactor const inner(*machine);
        EXPECT_TRUE(machine->inReactor());
    }
    EXPECT_TRUE(machine->inReactor());
}

TEST_F(InputStateMachineTest, TheFlagCanBeSetAndCleared) {
    auto const machine = machineIs();
    machine->inReactorIs(true);
    EXPECT_TRUE(machine->inReactor());
    machine->inReactorIs(false);
    EXPECT_FALSE(machine->inReactor());
}

// The base of all objects.

TEST_F(InputStateMachineTest, TheDeletionMarkIsSetAndTakenBack) {
    auto const machine = machineIs();
    machine->qorDoZombieReactors(true);
    EXPECT_TRUE(machine->qorMarkedForDeletion());
    machine->qorDoZombieReactors(true);
    EXPECT_TRUE(machine->qorMarkedForDeletion());
    machine->qorDoZombieReactors(false);
    EXPECT_FALSE(machine->qorMarkedForDeletion());
}

TEST_F(InputStateMachineTest, PublishesNothingItself) {
    EXPECT_EQ(machineIs()->notifieeList(), nullptr);
}

#if defined(__GXX_ABI_VERSION) && defined(__x86_64__)

/// Slot of a virtual operation, from 1. The ABI keeps 1 plus the offset into the virtual table in
/// the first word of a pointer to a virtual member.
template <class Member> std::size_t slotOf(Member member) {
    static_assert(sizeof member == 2 * sizeof(std::size_t));
    auto const words = std::bit_cast<std::array<std::size_t, 2>>(member);
    EXPECT_EQ(words[0] % 2, 1U) << "not virtual";
    return (words[0] - 1) / sizeof(void *) + 1;
}

TEST(InputStateMachineSlots, StandInTheOrderOfTheInterfaceOfGeneratedTypes) {
    using Machine = InputStateMachine;
    EXPECT_EQ(slotOf(&Machine::notifieeList), 1U);
    EXPECT_EQ(slotOf(&Machine::hasNotificationActiveIs), 2U);
    EXPECT_EQ(slotOf(&Machine::zeroReferencesIs), 3U);
    EXPECT_EQ(slotOf(&Machine::fwkType), 4U);
    // 5 and 6 are the destructors, whose address cannot be taken.
    EXPECT_EQ(slotOf(&Machine::qorDoZombieReactors), 7U);
    EXPECT_EQ(slotOf(&Machine::inputScanComplete), 8U);
    EXPECT_EQ(slotOf(&Machine::initialScanDone), 9U);
    EXPECT_EQ(slotOf(&Machine::doInputScan), 10U);
    EXPECT_EQ(slotOf(&Machine::doInitializeTask), 11U);
    EXPECT_EQ(slotOf(&Machine::inReactorIs), 12U);
    EXPECT_EQ(slotOf(&Machine::inReactor), 13U);
    EXPECT_EQ(slotOf(&Machine::synchronous), 14U);
    EXPECT_EQ(slotOf(&Machine::shouldYield), 15U);
}

#endif

} // namespace
} // namespace Quam::Gen
