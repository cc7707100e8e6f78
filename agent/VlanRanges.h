// VLAN numbers for people.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace Agent {

/// Ascending numbers, rows of them joined: "100", "400-409", "1-5 7".
[[nodiscard]] std::string vlanRanges(std::span<std::uint16_t const> vlans);

} // namespace Agent
