#include "platform/Nuvio/HTCnt.h"

#include "platform/Nuvio/Ptr.h"

namespace Nuvio {

std::array<std::uint64_t, static_cast<std::size_t>(HTCnt::Counter::count_)> HTCnt::counts_;

void HTCnt::incCount(Counter counter) noexcept {
    Impl::countAdd(counts_[static_cast<std::size_t>(counter)], std::uint64_t{1},
                   ThreadControl::tsp_);
}

std::uint64_t HTCnt::count(Counter counter) noexcept {
    return counts_[static_cast<std::size_t>(counter)];
}

} // namespace Nuvio
