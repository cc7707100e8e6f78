#include "agent/JsonText.h"

#include <fmt/format.h>

#include <algorithm>

namespace Agent {
namespace {

constexpr std::size_t longestQuote = 100;

/// Control characters, quote and backslash; what is not ASCII is left to the library's judgement.
bool needsEscape(char c) noexcept {
    return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' ||
           static_cast<unsigned char>(c) >= 0x7F;
}

std::string dump(nlohmann::json const &value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// Cut at most to `size` bytes, not inside a character.
std::size_t characterBoundary(std::string_view text, std::size_t size) noexcept {
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80) {
        --size;
    }
    return size;
}

} // namespace

void appendJsonString(std::string &to, std::string_view text) {
    if (std::none_of(text.begin(), text.end(), needsEscape)) {
        to += '"';
        to += text;
        to += '"';
    } else {
        to += dump(nlohmann::json(text));
    }
}

std::string quote(nlohmann::json const &value) {
    if (value.is_object() || value.is_array()) {
        return fmt::format("an {}", value.type_name());
    }
    std::string text = dump(value);
    if (text.size() > longestQuote) {
        text.resize(characterBoundary(text, longestQuote));
        text += "...";
    }
    return text;
}

std::string printable(std::string_view name) {
    std::string text;
    appendJsonString(text, name);
    return text.substr(1, text.size() - 2);
}

} // namespace Agent
