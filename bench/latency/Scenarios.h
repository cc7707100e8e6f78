// What is measured. Each scenario runs in a process of its own, for memory that an earlier one left
// behind would spare it page faults.
#pragma once

#include "bench/latency/Record.h"
#include "platform/Osk.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace Latency {

struct Settings {
    std::uint32_t members = 1'000'000;
    std::uint32_t changes = 10'000;
    std::chrono::nanoseconds share = Osk::TaskScheduler::defaultShare;
    bool items = false; ///< see Watch
};

struct Scenario {
    std::string_view name;
    bool hasShare; ///< to be run with each share; otherwise the share plays no part
    /// Throws std::runtime_error when the machine ends not ready or with another output than the
    /// inputs call for.
    std::vector<Record> (*run)(Settings const &);
};

[[nodiscard]] std::span<Scenario const> scenarios() noexcept;

/// What one reaction takes whose size is fixed by contract. [Reactions.cpp]
[[nodiscard]] std::vector<Record> reactions(Settings const &settings);

} // namespace Latency
