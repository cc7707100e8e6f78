// RapidCheck's generators of histories.
#pragma once

#include "tests/world/History.h"

#include <rapidcheck.h>

#include <cstddef>
#include <vector>

namespace Histories {

/// Kinds of steps, each as often as it is to come.
using Kinds = std::vector<Kind>;
Kinds operator*(std::size_t times, Kind kind);
Kinds operator+(Kinds a, Kinds const &b);

/// Changes of the inputs, in a mixture that grows them slowly.
[[nodiscard]] Kinds inputChanges();

[[nodiscard]] rc::Gen<Manner> genManner();
/// `kinds` are those of the history's steps. One history in 61 is large.
[[nodiscard]] rc::Gen<History> genHistory(Kinds const &kinds);

} // namespace Histories
