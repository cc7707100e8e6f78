#include "platform/Qor/Exceptions.h"

#include <fmt/format.h>

namespace Qor {

void throwTypeException(QorTypeBase const &type, std::string_view attribute,
                        std::string_view expected, std::string_view actual) {
    throw TypeException(
        fmt::format("{}.{}: wants {}, got {}", type.name(), attribute, expected, actual));
}

void throwSetFalseValueException(QorTypeBase const &type, std::string_view attribute) {
    throw SetFalseValueException(
        fmt::format("{}.{}: can be set but not cleared", type.name(), attribute));
}

void throwMutatorArgNullPointerException(QorTypeBase const &type, int attributeId,
                                         std::string_view argument) {
    throw MutatorArgNullPointerException(
        fmt::format("{} attribute {}: argument {} is null", type.name(), attributeId, argument));
}

void Impl::throwMutatorReinstantiating(QorTypeBase const &type, int attributeId) {
    throw MutatorReinstantiatingException(
        fmt::format("{} attribute {}: an object with another value exists under this key",
                    type.name(), attributeId));
}

void Impl::throwBadOptionalAccess() {
    throw BadOptionalAccess("bad optional access");
}

} // namespace Qor
