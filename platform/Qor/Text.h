// Text forms of values: the runtime's generic representation, and its parsing.
//
// A value prints as the runtime's "Value('Type', ** {'attribute': form, ...})", numbers as
// decimals, flags as True and False, names in single quotes. The parser reads exactly this form
// back from a CharRange; whatever does not fit throws a RangeException that says what was expected,
// at which offset, and in which attribute.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/String.h"
#include "platform/Qor/Exceptions.h"

#include <fmt/printf.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace Qor {

/// The runtime's name of the string type.
using String = Nuvio::String;

/// The rest of a text being parsed. It borrows the text; a successful read moves it forward, a
/// failed one leaves it where it was.
class NUVIO_EXPORT CharRange {
  public:
    explicit CharRange(std::string_view text) noexcept : text_(text) {}

    /// Read exactly `literal`; throws RangeException when something else stands there.
    void needString(std::string_view literal);
    /// Throws RangeException when characters are left.
    void checkAllDataConsumed() const;
    /// Read a decimal number of at most `limit`; throws RangeException.
    [[nodiscard]] std::uint64_t needNumber(std::uint64_t limit);
    /// Read a name in single quotes, where \' and \\ stand for ' and \; throws RangeException.
    [[nodiscard]] std::string needQuoted();
    /// Read `literal` if it stands there.
    [[nodiscard]] bool takeString(std::string_view literal) noexcept;

    [[nodiscard]] std::string_view rest() const noexcept { return text_.substr(position_); }
    /// Characters read so far.
    [[nodiscard]] std::size_t offset() const noexcept { return position_; }
    [[noreturn]] void fail(std::string_view expected) const;

  private:
    std::string_view text_;
    std::size_t position_ = 0;
};

/// "True" or "False".
NUVIO_EXPORT String valueToStrep(bool value);
/// `name` in single quotes, as needQuoted() reads it.
NUVIO_EXPORT String quotedStrep(std::string_view name);

/// Throw `error` again, naming the attribute in whose value it arose.
[[noreturn]] NUVIO_EXPORT void rethrowFromDeserializeAttr(RangeException const &error,
                                                          std::string_view attribute);
namespace Impl {

NUVIO_EXPORT bool boolFromStrep(CharRange &range);

} // namespace Impl

/// Parse the value of one attribute; a RangeException names the attribute.
template <class T>
    requires std::same_as<T, bool> || std::constructible_from<T, CharRange &>
[[nodiscard]] T deserializeAttr(CharRange &range, std::string_view attribute) {
    try {
        if constexpr (std::same_as<T, bool>) {
            return Impl::boolFromStrep(range);
        } else {
            return T(range);
        }
    } catch (RangeException const &error) {
        rethrowFromDeserializeAttr(error, attribute);
    }
}

/// Parse a whole text as one T; characters left over are an error. The pointer only names the type.
template <std::constructible_from<CharRange &> T>
[[nodiscard]] T strepToValue(String const &text, T const * /*type*/) {
    CharRange range(text.view());
    T value(range);
    range.checkAllDataConsumed();
    return value;
}

/// printf-style formatter over the text forms of fields.
template <std::same_as<String>... Texts>
[[nodiscard]] String _fmt(char const *format, Texts const &...texts) {
    return String(fmt::sprintf(format, texts.view()...));
}

} // namespace Qor
