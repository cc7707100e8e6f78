#include "agent/JsonText.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace Agent {
namespace {

constexpr std::size_t longestQuote = 100;

/// Control characters, quote and backslash; what is not ASCII is left to the library's judgement.
bool needsEscape(char c) noexcept {
    return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' ||
           static_cast<unsigned char>(c) >= 0x7F;
}

bool isControl(unsigned char byte) noexcept {
    return byte < 0x20 || byte == 0x7F;
}

/// Escape the control characters of a text in UTF-8, as JSON does. It has two sets of them: the
/// second one follows the byte 0xC2, and terminals obey both.
std::string escapeControls(std::string_view utf8) {
    std::string text;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        auto byte = static_cast<unsigned char>(utf8[i]);
        auto const next = static_cast<unsigned char>(i + 1 < utf8.size() ? utf8[i + 1] : 0);
        bool const isSecondSet = byte == 0xC2 && next >= 0x80 && next < 0xA0;
        if (isSecondSet) {
            byte = next;
            ++i;
        }
        if (isSecondSet || isControl(byte)) {
            fmt::format_to(std::back_inserter(text), "\\u{:04x}", byte);
        } else {
            text += utf8[i];
        }
    }
    return text;
}

/// In UTF-8, with no control character.
std::string dump(nlohmann::json const &value) {
    return escapeControls(value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
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

std::string visible(std::string_view text) {
    return escapeControls(nlohmann::json::parse(dump(text)).get_ref<std::string const &>());
}

} // namespace Agent
