#include "agent/ShellWord.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace Agent {
namespace {

bool isPlain(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("._-+:@%,/").find(c) != std::string_view::npos;
}

bool isPrintable(char c) noexcept {
    return c >= ' ' && c <= '~';
}

} // namespace

std::string shellWord(std::string_view name) {
    if (!name.empty() && std::ranges::all_of(name, isPlain)) {
        return std::string(name);
    }
    std::string text = std::ranges::all_of(name, isPrintable) ? "'" : "$'";
    bool const escapes = text.size() > 1;
    for (char const c : name) {
        if (!isPrintable(c)) {
            fmt::format_to(std::back_inserter(text), "\\x{:02x}", static_cast<unsigned char>(c));
        } else if (c == '\'') {
            text += escapes ? "\\'" : "'\\''";
        } else {
            text += escapes && c == '\\' ? "\\\\" : std::string(1, c);
        }
    }
    return text + "'";
}

} // namespace Agent
