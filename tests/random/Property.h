// The frame of every property of this folder: one history, played in a process as good as fresh.
//
// A case sets the hash seed of its history, starts the serials of creation anew, and expects that
// nothing is alive at its end that was not at its beginning. RapidCheck prints the seed and the
// history of a case that fails, shrunk; an assertion or an exception in a notice ends the process,
// and then the history is printed as it is.
//
// How many cases each property has is set in Property.cpp; RC_PARAMS="max_success=50000" in the
// environment asks for more, RC_PARAMS="seed=..." for the same again.
#pragma once

#include "tests/random/History.h"

#include <functional>

namespace Histories {

/// Run `body` for `history`, in the frame. Throws what is wrong.
void inFrame(History const &history, std::function<void()> const &body);

/// Play the history as it is.
void playInFrame(History const &history);

} // namespace Histories
