// A machine that is ready: every change of an input is in the output when its notice returns.
#include "tests/random/Generate.h"
#include "tests/world/Frame.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
// RapidCheck's frame is made of gtest's macros.
#include <rapidcheck/gtest.h>

namespace Histories {
namespace {

void playSettled(History const &history) {
    inFrame(history, [&history] {
        World world(history);
        world.settleAfterRestartIs(true);
        play(world, history);
    });
}

RC_GTEST_PROP(SteadyState, FollowsEveryChangeAtOnce, ()) {
    playSettled(*genHistory(inputChanges()));
}

RC_GTEST_PROP(SteadyState, FollowsChangesBetweenRestartsAndSilences, ()) {
    playSettled(*genHistory(inputChanges() + 2 * Kind::quiet + 2 * Kind::restart));
}

} // namespace
} // namespace Histories
