// The numbers that a VLAN may have (IEEE 802.1Q).
#pragma once

#include <cstdint>

namespace Agent {

inline constexpr std::uint16_t firstVlan = 1;
inline constexpr std::uint16_t lastVlan = 4094;

} // namespace Agent
