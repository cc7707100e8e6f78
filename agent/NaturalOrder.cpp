#include "agent/NaturalOrder.h"

#include <algorithm>
#include <cstddef>

namespace Agent {
namespace {

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

/// Cut the run of digits off the front of `text`, without its leading zeros.
std::string_view cutNumber(std::string_view &text) noexcept {
    auto const end = std::find_if_not(text.begin(), text.end(), isDigit);
    auto const length = static_cast<std::size_t>(end - text.begin());
    std::string_view number = text.substr(0, length);
    text.remove_prefix(length);
    number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
    return number;
}

} // namespace

bool naturallyBefore(std::string_view a, std::string_view b) noexcept {
    std::string_view restA = a;
    std::string_view restB = b;
    while (!restA.empty() && !restB.empty()) {
        if (isDigit(restA.front()) && isDigit(restB.front())) {
            std::string_view const numberA = cutNumber(restA);
            std::string_view const numberB = cutNumber(restB);
            if (numberA.size() != numberB.size()) {
                return numberA.size() < numberB.size();
            }
            if (int const order = numberA.compare(numberB); order != 0) {
                return order < 0;
            }
        } else if (restA.front() != restB.front()) {
            return static_cast<unsigned char>(restA.front()) <
                   static_cast<unsigned char>(restB.front());
        } else {
            restA.remove_prefix(1);
            restB.remove_prefix(1);
        }
    }
    if (restA.empty() != restB.empty()) {
        return restA.empty();
    }
    // Only leading zeros tell them apart: fewer come first.
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

} // namespace Agent
