// The frame in which histories are played: a process as good as fresh.
//
// A history gets the hash seed that it names, serials of creation start anew, and nothing may be
// alive at its end that was not at its beginning. An assertion or an exception in a notice ends the
// process; then the history under way is printed.
#pragma once

#include "tests/world/History.h"

#include <functional>

namespace Histories {

/// Run `body` for `history`, in the frame. Throws what is wrong.
void inFrame(History const &history, std::function<void()> const &body);

/// Play the history as it is.
void playInFrame(History const &history);

} // namespace Histories
