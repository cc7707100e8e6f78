#include "tests/exploration/Exploration.h"

#include "tests/world/Frame.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace Exploration {
namespace {

using Histories::Digest;
using Histories::Frame;
using Histories::Mismatch;
using Histories::World;

/// Every yield test is a choice.
class ChosenShare final : public Osk::Share {
  public:
    explicit ChosenShare(Choices &choices) : choices_(choices) {}
    void runBegins() noexcept override {}
    bool isUsed() noexcept override { return choices_.choose(2) == 1; }

  private:
    Choices &choices_;
};

/// One history, from the machine's making to its rest or its end.
class Play {
  public:
    Play(Setting const &setting, Choices &choices, StateSpace *states, Figures &figures)
        : setting_(setting), choices_(choices), states_(states), figures_(figures),
          world_(setting.world) {
        world_.shareIs(std::make_unique<ChosenShare>(choices));
        // A step is new at its end when one of its choices is another than before.
        world_.checksAre([this] { return !states_ || choices_.isNew(); });
    }

    void play() {
        world_.machineIs();
        note("start");
        do {
            if (choices_.isNew() && states_ && states_->isKnown(digest(), choices_)) {
                return;
            }
        } while (step());
        if (world_.hasMachine()) {
            world_.finish();
            ++figures_.rests;
            if (world_.keptMembers() > 0) {
                ++figures_.kept;
            }
            world_.machineDel();
        }
        if (states_) {
            states_->historyEnds();
        }
    }

    [[nodiscard]] std::string const &steps() const { return steps_; }

  private:
    /// One step on; false at the end.
    bool step() {
        auto const ready = world_.readyTasks();
        std::size_t const ends = ready.empty() ? 1 : 0;
        bool const mayChange = world_.hasMachine() && changesMade_ < setting_.budget;
        std::size_t const changes = mayChange ? setting_.changes.size() : 0;
        std::size_t const way = choices_.choose(ready.size() + ends + changes);
        if (way < ready.size()) {
            note("run " + std::string(ready[way]->taskName().view()));
            world_.run(ready[way]);
            return true;
        }
        if (way < ready.size() + ends) {
            return false;
        }
        ++changesMade_;
        auto const &change = setting_.changes[way - ready.size() - ends];
        note(text(change, setting_.world.pools()));
        world_.apply(change);
        return true;
    }
    void note(std::string const &step) {
        if (choices_.isNew() || !states_) {
            steps_ += "  " + step + '\n';
        }
    }
    [[nodiscard]] Digest digest() const {
        Digest digest;
        world_.addTo(digest);
        digest.add(changesMade_);
        return digest;
    }

    Setting const &setting_;
    Choices &choices_;
    StateSpace *states_; ///< null: one history is played
    Figures &figures_;
    World world_;
    unsigned changesMade_ = 0;
    std::string steps_; ///< those that are new
};

void playOne(Setting const &setting, Choices &choices, StateSpace *states, Figures &figures) {
    Frame const frame(setting.world.manner.seed);
    {
        Play history(setting, choices, states, figures);
        try {
            history.play();
        } catch (Mismatch const &mismatch) {
            throw Mismatch(std::string(mismatch.what()) + "\nEXPLORATION_CHOICES=" +
                           choices.text() + "\nlast steps:\n" + history.steps());
        }
    }
    frame.expectNothingLeft();
}

} // namespace

std::ostream &operator<<(std::ostream &out, Figures const &figures) {
    return out << figures.histories << " histories over " << figures.states << " states, "
               << figures.played << " played, the longest with " << figures.longest << " choices; "
               << figures.rests << " ended at rest, " << figures.kept
               << " of them with members kept";
}

Figures explore(Setting const &setting) {
    Figures figures;
    if (char const *const chosen = std::getenv("EXPLORATION_CHOICES")) {
        Choices choices{std::string(chosen)};
        playOne(setting, choices, nullptr, figures);
        return figures;
    }
    Choices choices;
    StateSpace states;
    std::string words;
    Histories::lastWordsAre(&words);
    bool more = true;
    while (more) {
        words = "EXPLORATION_CHOICES=" + choices.text() + " and what follows first\n";
        playOne(setting, choices, &states, figures);
        ++figures.played;
        figures.longest = std::max(figures.longest, choices.depth());
        more = choices.next();
        more ? states.backTo(choices.changedAt()) : states.end();
    }
    Histories::lastWordsAre(nullptr);
    figures.histories = states.histories();
    figures.states = states.states();
    return figures;
}

} // namespace Exploration
