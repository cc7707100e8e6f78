// Whole lives: machines that come and go at any moment.
#include "tests/random/Generate.h"
#include "tests/world/Frame.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
// RapidCheck's frame is made of gtest's macros.
#include <rapidcheck/gtest.h>

namespace Histories {
namespace {

RC_GTEST_PROP(Life, AgreesWithTheModelAfterEveryStep, ()) {
    playInFrame(*genHistory(15 * Kind::run + inputChanges() + 1 * Kind::settle + 1 * Kind::quiet +
                            2 * Kind::vlanNotice + 1 * Kind::lagNotice + 2 * Kind::restart +
                            1 * Kind::release + 1 * Kind::releaseInside + 1 * Kind::withdraw +
                            1 * Kind::reprioritise));
}

RC_GTEST_PROP(Life, EndsCleanlyWhereverTheMachineIsReleased, ()) {
    History const history =
        *genHistory(20 * Kind::run + inputChanges() + 4 * Kind::release + 8 * Kind::restart);
    inFrame(history, [&history] {
        World world(history);
        world.machineIs();
        world.apply(history.steps);
        world.machineDel();
    });
}

RC_GTEST_PROP(Life, EndsCleanlyWhenReleasedInsideANotice, ()) {
    playInFrame(*genHistory(12 * Kind::run + inputChanges() + 8 * Kind::releaseInside +
                            10 * Kind::restart + 2 * Kind::settle));
}

RC_GTEST_PROP(Life, CanWithdrawEverythingAtAnyMoment, ()) {
    playInFrame(*genHistory(15 * Kind::run + inputChanges() + 3 * Kind::withdraw +
                            6 * Kind::restart + 2 * Kind::settle));
}

} // namespace
} // namespace Histories
