#include "platform/Qor/Value.h"

#include <limits>

namespace Qor {
namespace {

std::uint64_t number(std::string_view text, std::uint64_t limit) {
    CharRange range(text);
    std::uint64_t const value = range.needNumber(limit);
    range.checkAllDataConsumed();
    return value;
}

} // namespace

Value Value::parse(ValueType const &type, std::string_view text) {
    if (!type.parse) {
        throw RangeException(fmt::format("{}: cannot be entered as text", type.name));
    }
    Value result;
    result.type_ = &type;
    result.any_ = type.parse(text);
    return result;
}

std::string Value::text() const {
    return empty() ? "-" : type_->text(any_);
}

bool ValueTraits<bool>::parse(std::string_view text) {
    if (text == "true" || text == "false") {
        return text == "true";
    }
    CharRange(text).fail("true or false");
}

std::uint32_t ValueTraits<std::uint32_t>::parse(std::string_view text) {
    return static_cast<std::uint32_t>(number(text, std::numeric_limits<std::uint32_t>::max()));
}

std::uint64_t ValueTraits<std::uint64_t>::parse(std::string_view text) {
    return number(text, std::numeric_limits<std::uint64_t>::max());
}

std::string ValueTraits<ObjectPtr>::text(ObjectPtr const &value) {
    return std::string(value ? value->fwkType().type().name() : std::string_view("null"));
}

ObjectPtr ValueTraits<ObjectPtr>::parse(std::string_view text) {
    if (text != "null") {
        CharRange(text).fail("null");
    }
    return nullptr;
}

} // namespace Qor
