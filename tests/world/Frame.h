// The frame in which histories are played: a process as good as fresh.
//
// A history gets the hash seed that it names, serials of creation start anew, and nothing may be
// alive at its end that was not at its beginning. An assertion or an exception in a notice ends the
// process; then the history under way is printed.
#pragma once

#include "tests/support/Census.h"
#include "tests/world/History.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace Histories {

/// The process as good as fresh, as long as this lives.
class Frame {
  public:
    explicit Frame(std::uint32_t hashSeed);
    ~Frame();
    Frame(Frame const &) = delete;
    Frame &operator=(Frame const &) = delete;

    /// Throws Mismatch when something is alive that was not before.
    void expectNothingLeft() const;

  private:
    std::uint32_t formerSeed_;
    std::map<std::string, TestSupport::LiveCount> baseline_;
};

/// What stands on standard error when an assertion ends the process; its caller keeps it.
void lastWordsAre(std::string const *words);

/// Run `body` for `history`, in a frame. Throws what is wrong.
void inFrame(History const &history, std::function<void()> const &body);

/// Play the history as it is.
void playInFrame(History const &history);

} // namespace Histories
