#include "agent/VlanRanges.h"

#include <fmt/format.h>

#include <cstddef>
#include <iterator>

namespace Agent {

std::string vlanRanges(std::span<std::uint16_t const> vlans) {
    std::string text;
    for (std::size_t i = 0; i < vlans.size();) {
        std::size_t last = i;
        while (last + 1 < vlans.size() && vlans[last + 1] == vlans[last] + 1) {
            ++last;
        }
        fmt::format_to(std::back_inserter(text), "{}{}", i == 0 ? "" : " ", vlans[i]);
        if (last != i) {
            fmt::format_to(std::back_inserter(text), "-{}", vlans[last]);
        }
        i = last + 1;
    }
    return text;
}

} // namespace Agent
