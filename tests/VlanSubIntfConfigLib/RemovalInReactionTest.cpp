// An object that the root owns is taken out inside a notice: inside each notice of a whole life,
// one life for each.
//
// Without an input machine, or without the children of one, the root goes on and has less to hear.
// A state object or the store is asked for where it is needed, and a missing one is the null
// assertion there; these lives are led in processes of their own. Nothing else may happen.
#include "tests/VlanSubIntfConfigLib/LifeFixture.h"
#include "tests/support/ForkedRun.h"

#include <map>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::Pace;
using TestSupport::Place;
using TestSupport::RunEnd;

// Input machines.

class InputMachineRemovalTest : public TestSupport::LifeTest {};
INSTANTIATE_TEST_SUITE_P(Lives, InputMachineRemovalTest, TestSupport::allLives,
                         TestSupport::lifeName);

TEST_P(InputMachineRemovalTest, TheRootGoesOnWithoutItsVlanMachine) {
    EXPECT_GT(livesEndingIn([this] {
                  auto const removed = machine->vlanConfigSm0Del();
                  EXPECT_EQ(removed->root(), nullptr);
              }),
              50);
}

TEST_P(InputMachineRemovalTest, TheRootGoesOnWithoutItsLagMachine) {
    EXPECT_GT(livesEndingIn([this] {
                  auto const removed = machine->lagPhyIntfConfigSm2Del();
                  EXPECT_EQ(removed->root(), nullptr);
              }),
              50);
}

TEST_P(InputMachineRemovalTest, TheRootGoesOnWithoutTheChildrenOfItsVlanMachine) {
    EXPECT_GT(livesEndingIn([this] { machine->vlanConfigSm0()->childSmDelAll(); }), 50);
}

TEST_P(InputMachineRemovalTest, TheRootGoesOnWithoutTheChildrenOfItsLagMachine) {
    EXPECT_GT(livesEndingIn([this] { machine->lagPhyIntfConfigSm2()->childSmDelAll(); }), 50);
}

// State objects and the store.

class StateRemovalTest : public TestSupport::LifeTest {
  protected:
    /// `remove` in each notice of a life; how many of the lives ended in which way.
    std::map<RunEnd, int> livesWith(std::function<void()> const &remove) {
        std::map<RunEnd, int> ends;
        int const lives = livesEndingIn([] {});
        for (int n = 1; n <= lives; ++n) {
            RunEnd const end = TestSupport::forkedRun(
                [&] { return liveAndTake(n, remove) ? "" : "there is no such notice"; });
            ++ends[end];
            EXPECT_TRUE(end == RunEnd::returned || end == RunEnd::nullDereferenced)
                << "notice " << n << ": " << end;
        }
        return ends;
    }
    /// Some lives end in the null assertion, some do without.
    static void expectBothEnds(std::map<RunEnd, int> const &ends) {
        EXPECT_TRUE(ends.contains(RunEnd::nullDereferenced));
        EXPECT_TRUE(ends.contains(RunEnd::returned));
    }
};
INSTANTIATE_TEST_SUITE_P(Lives, StateRemovalTest,
                         testing::Combine(testing::Values(Pace::oneItemASlice),
                                          testing::Values(Place::first, Place::last)),
                         TestSupport::lifeName);

TEST_P(StateRemovalTest, AMissingScanStateIsTheNullAssertionWhereItIsNeeded) {
    expectBothEnds(livesWith([this] { machine->inputSmScanStateDel(); }));
}

TEST_P(StateRemovalTest, AMissingOutputStateIsTheNullAssertionWhereItIsNeeded) {
    expectBothEnds(livesWith([this] { machine->outputStateDel(); }));
}

TEST_P(StateRemovalTest, AMissingStoreIsTheNullAssertionWhereItIsNeeded) {
    expectBothEnds(livesWith([this] { machine->localAttrStoreDel(); }));
}

} // namespace
} // namespace VlanSubIntfConfigLib
