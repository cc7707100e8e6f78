// What is not to show in the result: the order of hashes, the cuts of the scheduler, the mode.
#include "tests/model/Entities.h"
#include "tests/random/Generate.h"
#include "tests/world/Frame.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
// RapidCheck's frame is made of gtest's macros.
#include <rapidcheck/gtest.h>

#include <vector>

namespace Histories {
namespace {

/// The directory at the end of the history.
Model::Output resultOf(History const &history) {
    Model::Output result;
    inFrame(history, [&] {
        World world(history);
        world.settleAfterRestartIs(true);
        play(world, history);
        result = world.output();
    });
    return result;
}

// Where old members stay depends on when a LAG had members: so inputs rest while a machine starts
// over old members (settleAfterRestartIs above), or there are none.
RC_GTEST_PROP(Result, IsTheSameForEveryHashSeedCutAndMode, ()) {
    History history =
        *genHistory(inputChanges() + 8 * Kind::run + 1 * Kind::quiet + 1 * Kind::restart);
    Model::Output const first = resultOf(history);
    for (Manner const &manner : *rc::gen::container<std::vector<Manner>>(4, genManner())) {
        history.manner = manner;
        RC_ASSERT(Model::differences(first, resultOf(history)) == "");
    }
}

/// The same without rest: inputs change while the first machine starts.
RC_GTEST_PROP(Result, IsTheSameWhenInputsChangeBetweenAnySlices, ()) {
    History history = *genHistory(inputChanges() + 12 * Kind::run);
    for (auto &[vlan, entries] : history.leftBehind) {
        for (auto &[intf, entry] : entries) {
            entry.members.clear();
        }
    }
    for (Manner const &manner : *rc::gen::container<std::vector<Manner>>(4, genManner())) {
        history.manner = manner;
        inFrame(history, [&history] {
            World world(history);
            play(world, history);
            RC_ASSERT(Model::differences(Model::derive(world.inputs()), world.output()) == "");
        });
    }
}

} // namespace
} // namespace Histories
