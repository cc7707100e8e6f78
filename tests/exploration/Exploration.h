// Every history of a small world.
//
// What is chosen, everywhere and in every way:
//   - which ready task runs next, whichever the scheduler would take,
//   - at each yield test of a run, whether it says yes,
//   - between two runs, and once nothing is left to run, whether one of the world's changes happens
//     now, and which, as long as some are left.
// After every step the world is compared with the model; at the end of each history the machine has
// come to rest or is gone, and nothing is left alive.
//
// Histories that come to one state between two steps share what follows (StateSpace.h). A history
// that fails is named by its choices: EXPLORATION_CHOICES=<choices> in the environment plays that
// one alone, with the machine's traces as NUVIO_TRACE says.
#pragma once

#include "tests/exploration/StateSpace.h"
#include "tests/world/World.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

namespace Exploration {

struct Setting {
    Histories::History world;             ///< its steps are not used
    std::vector<Histories::Step> changes; ///< each may happen at any time, and again
    unsigned budget = 0;                  ///< changes in one history
};

/// What was explored.
struct Figures {
    double histories = 0;
    std::uint64_t states = 0;
    std::uint64_t played = 0; ///< from the beginning
    std::uint64_t rests = 0;  ///< of those: at the end of which a machine was at rest
    std::uint64_t kept = 0;   ///< and an entry had members of the earlier run
    std::size_t longest = 0;  ///< choices in one history

    friend std::ostream &operator<<(std::ostream &out, Figures const &figures);
};

/// Throws Histories::Mismatch for a history that goes wrong, with its choices and steps.
[[nodiscard]] Figures explore(Setting const &setting);

} // namespace Exploration
