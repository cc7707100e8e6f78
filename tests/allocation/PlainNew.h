// The operator new of this executable, which can fail on purpose and counts what it gave out.
//
// It stands for what the pool does not hand out: strings, functions, containers, and the pool's own
// slabs. Under AddressSanitizer the pool steps aside, so its blocks are among these, too. One
// thread only.
#pragma once

#include <cstdint>

namespace Allocation {

struct PlainNew {
    enum class Failing { once, onwards };

    /// Let the allocation after the next `count` ones throw std::bad_alloc, and those behind it as
    /// well when it is onwards; a negative count switches it off.
    static void failAfter(std::int64_t count, Failing failing) noexcept;
    /// An allocation has failed since failAfter().
    [[nodiscard]] static bool hasFailed() noexcept;
    /// Blocks given out and not given back, slabs left out.
    [[nodiscard]] static std::int64_t liveBlocks() noexcept;
};

} // namespace Allocation
