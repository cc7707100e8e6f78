// What the C library's allocator has handed out. One of the two programs counts (HeapCounted.cpp),
// the other does not (HeapUncounted.cpp), since counting takes time.
#pragma once

#include <cstdint>

namespace Bench {

struct Heap {
    std::uint64_t now = 0;  ///< bytes not given back, with the allocator's header
    std::uint64_t peak = 0; ///< most since the last reset
};

[[nodiscard]] bool heapIsCounted() noexcept;
/// Zeros where it is not counted.
[[nodiscard]] Heap heap() noexcept;
void heapPeakReset() noexcept;

} // namespace Bench
