#include "tests/exploration/StateSpace.h"

#include <stdexcept>

namespace Exploration {
namespace {

constexpr double stillOpen = -1;

} // namespace

bool StateSpace::isKnown(Histories::Digest const &state, Choices const &choices) {
    auto const [found, isFirst] = known_.try_emplace(state, stillOpen);
    if (isFirst) {
        open_.push_back({state, choices.depth()});
        return false;
    }
    if (found->second == stillOpen) {
        throw std::logic_error("a state follows itself at " + choices.text());
    }
    count(found->second);
    return true;
}

void StateSpace::backTo(std::size_t choice) {
    while (!open_.empty() && open_.back().depth > choice) {
        close();
    }
}

void StateSpace::end() {
    while (!open_.empty()) {
        close();
    }
}

void StateSpace::close() {
    Open const done = open_.back();
    open_.pop_back();
    known_[done.state] = done.histories;
    count(done.histories);
}

void StateSpace::count(double histories) {
    (open_.empty() ? histories_ : open_.back().histories) += histories;
}

} // namespace Exploration
