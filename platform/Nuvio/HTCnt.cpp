#include "platform/Nuvio/HTCnt.h"

#include "platform/Nuvio/Ptr.h"

#include <atomic>

namespace Nuvio {

std::array<std::uint64_t, static_cast<std::size_t>(HTCnt::Counter::count_)> HTCnt::counts_;

void HTCnt::incCount(Counter counter) noexcept {
    Impl::countAdd(counts_[static_cast<std::size_t>(counter)], std::uint64_t{1},
                   ThreadControl::tsp_);
}

std::uint64_t HTCnt::count(Counter counter) noexcept {
    std::uint64_t &counted = counts_[static_cast<std::size_t>(counter)];
    return ThreadControl::tsp_ ? std::atomic_ref(counted).load(std::memory_order_relaxed) : counted;
}

} // namespace Nuvio
