// Diagnostics counters of the hash tables: how often a table was rebuilt, and how often a resumable
// iterator had to look its place up again. Whoever hunts a slow walk reads them first.
#pragma once

#include "platform/Nuvio/Export.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Nuvio {

class NUVIO_EXPORT HTCnt {
  public:
    enum class Counter : std::uint8_t {
        rehash,         ///< a table moved to a larger array
        iteratorSought, ///< an iterator looked its key up because its table had changed
        count_
    };

    /// Bump `counter` by one. Atomic when ThreadControl::tsp_ is set.
    static void incCount(Counter counter) noexcept;

    /// The counts since the process started.
    static std::uint64_t count(Counter counter) noexcept;

  private:
    static std::array<std::uint64_t, static_cast<std::size_t>(Counter::count_)> counts_;
};

} // namespace Nuvio
