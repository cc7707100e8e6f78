// The states that an exploration has reached, and how many histories go on from each.
//
// A history that comes to a state from which every way was taken already need not go on: all that
// could follow has been seen. It counts as many histories as went on from there. So the states are
// walked once each, and the histories, of which there are far more, are all counted.
#pragma once

#include "tests/exploration/Choices.h"
#include "tests/world/Digest.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace Exploration {

class StateSpace {
  public:
    /// A history has come to a state that it was not in before. True: all that follows was seen,
    /// and it ends here. Requires: choices.isNew(). Throws std::logic_error when a state follows
    /// itself.
    [[nodiscard]] bool isKnown(Histories::Digest const &state, Choices const &choices);
    /// A history has come to its end.
    void historyEnds() { count(1); }
    /// The next history goes another way at that choice.
    void backTo(std::size_t choice);
    /// There is no next history.
    void end();

    [[nodiscard]] std::uint64_t states() const noexcept { return known_.size(); }
    /// After end(). A number beyond 2^53 is not exact.
    [[nodiscard]] double histories() const noexcept { return histories_; }

  private:
    /// A state of the history under way.
    struct Open {
        Histories::Digest state;
        std::size_t depth = 0;
        double histories = 0; ///< that went on from it so far
    };

    void close();
    void count(double histories);

    std::unordered_map<Histories::Digest, double> known_; ///< with the histories that go on there
    std::vector<Open> open_;
    double histories_ = 0;
};

} // namespace Exploration
