#include "platform/Qor/Text.h"

#include <charconv>

namespace Qor {

void CharRange::fail(std::string_view expected) const {
    constexpr std::size_t shown = 24;
    auto const found = rest().substr(0, shown);
    throw RangeException(
        found.empty() ? fmt::format("offset {}: expected {}, found the end", position_, expected)
                      : fmt::format("offset {}: expected {}, found \"{}{}\"", position_, expected,
                                    found, rest().size() > shown ? "..." : ""));
}

bool CharRange::takeString(std::string_view literal) noexcept {
    bool const there = rest().starts_with(literal);
    position_ += there ? literal.size() : 0;
    return there;
}

void CharRange::needString(std::string_view literal) {
    if (!takeString(literal)) {
        fail(fmt::format("\"{}\"", literal));
    }
}

void CharRange::checkAllDataConsumed() const {
    if (!rest().empty()) {
        fail("the end");
    }
}

std::uint64_t CharRange::needNumber(std::uint64_t limit) {
    std::uint64_t number = 0;
    auto const text = rest();
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number > limit) {
        fail(fmt::format("a number from 0 to {}", limit));
    }
    position_ += static_cast<std::size_t>(end - text.data());
    return number;
}

std::string CharRange::needQuoted() {
    auto const text = rest();
    std::string name;
    bool const quoted = text.starts_with('\'');
    for (std::size_t i = 1; quoted && i < text.size(); ++i) {
        if (text[i] == '\'') {
            position_ += i + 1;
            return name;
        }
        if (text[i] == '\\' && ++i == text.size()) {
            break;
        }
        name += text[i];
    }
    fail("a name in single quotes");
}

String valueToStrep(bool value) {
    return value ? "True" : "False";
}

String quotedStrep(std::string_view name) {
    std::string text = "'";
    for (char const c : name) {
        if (c == '\'' || c == '\\') {
            text += '\\';
        }
        text += c;
    }
    return String(text + '\'');
}

void rethrowFromDeserializeAttr(RangeException const &error, std::string_view attribute) {
    throw RangeException(fmt::format("{}: {}", attribute, error.what()));
}

bool Impl::boolFromStrep(CharRange &range) {
    if (range.takeString("True")) {
        return true;
    }
    if (range.takeString("False")) {
        return false;
    }
    range.fail("True or False");
}

} // namespace Qor
