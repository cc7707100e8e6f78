// The creators that a host may call on a machine that works, and memory runs out in them: every
// allocation fails, one after the other.
//
// Nothing is replaced then: the machine has what it had, hears what it heard, and goes on to
// readiness and to the output that the model derives.
#include "tests/allocation/AllocationFixture.h"

namespace Allocation {
namespace {

using VlanSubIntfConfigLib::ConfigIntfOutputKey;
using VlanSubIntfConfigLib::ConfigSm;

class CreatorFailureTest : public AllocationTest, public testing::WithParamInterface<Memory> {
  protected:
    /// A machine in its second scans: it owns everything that it ever owns.
    void SetUp() override {
        fillSmallWorld();
        for (std::uint16_t number = 3; number <= 6; ++number) {
            member(number, "Ethernet7");
        }
        startAsynchronous();
        while (!machine->initialScanDone()) {
            ASSERT_TRUE(scheduler->runOne());
        }
        ASSERT_FALSE(machine->ready());
        leftBehind_ = Model::read(*dir);
    }
    /// Every failure of one creator.
    Ends create(std::function<void()> const &act) {
        owned_ = owned();
        auto const ends = failEach(
            GetParam(), act, [this] { return undone(); }, [this] { return goesOn(); });
        if (GetParam() == Memory::pool) {
            EXPECT_GT(ends.undone, 0);
        }
        return ends;
    }

  private:
    [[nodiscard]] std::vector<void const *> owned() const {
        std::vector<void const *> objects{
            machine->inputSmScanState().get(), machine->outputState().get(),
            machine->localAttrStore().get(), machine->lagPhyIntfConfigSm2().get(),
            machine->vlanConfigSm0().get()};
        for (auto const &task : TestSupport::EveryNotice::tasksOf(*machine)) {
            objects.push_back(task.get());
        }
        return objects;
    }
    [[nodiscard]] bool hearsItsParts() const {
        for (auto const &task : TestSupport::EveryNotice::tasksOf(*machine)) {
            if (task && !task->publisher().hasSubscribers()) {
                return false;
            }
        }
        return machine->inputSmScanState()->publisher().hasSubscribers() &&
               machine->outputState()->publisher().hasSubscribers();
    }
    Complaint undone() {
        if (owned() != owned_) {
            return "something was replaced";
        }
        return hearsItsParts() ? goesOn() : "something is not heard any more";
    }
    Complaint goesOn() {
        run();
        if (!machine->ready()) {
            return "it does not get ready";
        }
        auto const expected = Model::afterStartUp(Model::read(*bridging, *lagMapping), leftBehind_);
        return Model::differences(expected, Model::read(*dir));
    }

    Model::Output leftBehind_;
    std::vector<void const *> owned_;
};
INSTANTIATE_TEST_SUITE_P(Of, CreatorFailureTest,
                         testing::Values(Memory::pool, Memory::plain, Memory::plainOnwards),
                         memoryName);

TEST_P(CreatorFailureTest, TheScanStateStays) {
    create([this] { machine->inputSmScanStateIs(Qor::make<ConfigSm::InputSmScanState>()); });
}

TEST_P(CreatorFailureTest, TheOutputStateStays) {
    create([this] { machine->outputStateIs(); });
}

TEST_P(CreatorFailureTest, TheStoreStays) {
    create([this] { machine->localAttrStoreIs(); });
}

TEST_P(CreatorFailureTest, TheScanTaskOfTheLagsStays) {
    Nuvio::String const name("another");
    create(
        [&] { machine->lagPhyIntfConfigSm2()->taskIs(scheduler, Osk::TaskPriority::low, name); });
}

TEST_P(CreatorFailureTest, AVlanMachineThatIsCompleteStaysWithoutATask) {
    run(); // a new task starts with a slice, which takes memory of its own unless all is scanned
    Nuvio::String const name("another");
    create([&] { machine->vlanConfigSm0()->taskIs(scheduler, Osk::TaskPriority::low, name); });
}

TEST_P(CreatorFailureTest, TheTaskOfTheMembersStays) {
    Nuvio::String const name("another");
    create([&] {
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskIs(
            scheduler, Osk::TaskPriority::low, name);
    });
}

TEST_P(CreatorFailureTest, TheTaskOfTheEntriesStays) {
    Nuvio::String const name("another");
    create([&] {
        machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskIs(
            scheduler, Osk::TaskPriority::low, name);
    });
}

TEST_P(CreatorFailureTest, TheLagMachineStays) {
    create([this] { machine->lagPhyIntfConfigSm2Is(lagMapping, machine.get()); });
}

TEST_P(CreatorFailureTest, TheVlanMachineStays) {
    create([this] { machine->vlanConfigSm0Is(bridging, machine.get()); });
}

TEST_P(CreatorFailureTest, AKeyIsNotMarkedAsSeen) {
    ConfigIntfOutputKey const key{Bridging::VlanId(77), id("Ethernet7.77"), true, true};
    machine->vlanSubIntfConfigDirConfigIntfOutputSeenDelAll();
    create([&] { machine->vlanSubIntfConfigDirConfigIntfOutputSeenIs(key); });
}

TEST_P(CreatorFailureTest, ASubinterfaceIsNotMarkedAsSeen) {
    auto const subIntf = Qor::make<VlanSubIntfConfigLib::VlanSubIntf>(id("Ethernet7.77"));
    create([&] { machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf); });
}

} // namespace
} // namespace Allocation
