// Start-up over whatever an earlier run left, undisturbed and disturbed.
#include "tests/model/Entities.h"
#include "tests/random/Generate.h"
#include "tests/world/Frame.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
// RapidCheck's frame is made of gtest's macros.
#include <rapidcheck/gtest.h>

namespace Histories {
namespace {

RC_GTEST_PROP(StartUp, TakesOverWhatAnEarlierRunLeft, ()) {
    History const history = *genHistory({Kind::run});
    inFrame(history, [&history] {
        World world(history);
        world.machineIs();
        world.settle();
        RC_CLASSIFY(world.keptMembers() > 0, "members are kept");
        RC_ASSERT(Model::differences(Model::afterStartUp(world.inputs(), history.leftBehind),
                                     world.output()) == "");
    });
}

RC_GTEST_PROP(StartUp, IsRightAfterEveryStepWhileInputsChange, ()) {
    History history =
        *genHistory(12 * Kind::run + inputChanges() + 1 * Kind::quiet + 2 * Kind::vlanNotice +
                    1 * Kind::lagNotice + 2 * Kind::reprioritise);
    history.manner.synchronous = false;
    playInFrame(history);
}

RC_GTEST_PROP(StartUp, LosesNoChangeThatComesBetweenTwoSlicesOfOneItem, ()) {
    History history = *genHistory(40 * Kind::run + inputChanges());
    history.manner.synchronous = false;
    history.manner.cut = Cut::everyTest;
    playInFrame(history);
}

RC_GTEST_PROP(StartUp, SucceedsOverTheOutputOfAnyEarlierMoment, ()) {
    playInFrame(*genHistory(20 * Kind::run + inputChanges() + 8 * Kind::restart));
}

} // namespace
} // namespace Histories
