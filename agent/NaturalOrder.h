// The order of names for people: eth2 before eth10.
#pragma once

#include <string_view>

namespace Agent {

/// Whether `a` comes before `b`: runs of digits compare as numbers of any length, all else byte by
/// byte. A strict total order: "eth1" before "eth01", which are different names.
[[nodiscard]] bool naturallyBefore(std::string_view a, std::string_view b) noexcept;

} // namespace Agent
