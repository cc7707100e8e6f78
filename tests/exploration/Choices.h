// Every way through a tree of choices, one after the other.
//
// A history asks choose() wherever it could go one way or another. It is played again and again
// from its beginning, each time along another way, in the order of depth first, until none is left;
// so what is explored needs no snapshots, only that it repeats.
//
//     Choices choices;
//     do {
//         play(choices);
//     } while (choices.next());
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Exploration {

class Choices {
  public:
    Choices() = default;
    /// Only the history that text() named.
    explicit Choices(std::string const &text);

    /// Which of `ways` is taken, from 0. Requires: not 0, and the same whenever the choices before
    /// it are the same. Throws std::logic_error otherwise: the history does not repeat.
    std::size_t choose(std::size_t ways);
    /// Choices made in this history.
    [[nodiscard]] std::size_t depth() const noexcept { return depth_; }
    /// The history has left the one before it: from here on everything is new.
    [[nodiscard]] bool isNew() const noexcept { return depth_ >= repeated_; }

    /// Take the next way; false when every one was taken.
    bool next();
    /// After next(): the choices before this one are as they were, this one is another.
    [[nodiscard]] std::size_t changedAt() const noexcept { return repeated_ - 1; }

    /// The ways taken in this history, such as "0.2.1".
    [[nodiscard]] std::string text() const;

  private:
    struct Choice {
        std::size_t way;
        std::size_t ways; ///< 0: not known yet
    };

    std::vector<Choice> path_;
    std::size_t depth_ = 0;
    std::size_t repeated_ = 0;
};

} // namespace Exploration
