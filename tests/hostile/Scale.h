// How large the sizes are in this build: as they are meant where the code is optimised and nothing
// instruments it, a fraction of that elsewhere. Every number that a test expects is computed from
// its sizes.
#pragma once

#include "tests/support/Build.h"

#include <cstdint>

namespace Hostile {

inline constexpr std::uint32_t scale = TestSupport::optimised ? 1 : 8;

} // namespace Hostile
