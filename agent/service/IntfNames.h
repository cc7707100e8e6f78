// Interfaces in the words of people.
#pragma once

#include "platform/Iftel.h"

#include <span>
#include <string>
#include <vector>

namespace Agent {

/// The name of an interface, printable; "(unknown)" for the identifier that stands for none.
[[nodiscard]] std::string printableName(Iftel::IntfId id);
/// The names of interfaces in natural order, as they are.
[[nodiscard]] std::vector<std::string> namesInOrder(std::span<Iftel::IntfId const> ids);
/// The same on one line, printable: "eth2, eth10".
[[nodiscard]] std::string printableNames(std::span<Iftel::IntfId const> ids);

} // namespace Agent
