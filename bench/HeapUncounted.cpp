#include "bench/Heap.h"

namespace Bench {

bool heapIsCounted() noexcept {
    return false;
}
Heap heap() noexcept {
    return {};
}
void heapPeakReset() noexcept {}

} // namespace Bench
