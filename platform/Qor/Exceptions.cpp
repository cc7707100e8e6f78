#include "platform/Qor/Exceptions.h"

#include <fmt/format.h>

namespace Qor {

void throwTypeException(FwkType type, std::string_view attribute, std::string_view expected,
                        std::string_view actual) {
    throw TypeException(
        fmt::format("{}.{}: wants {}, got {}", type.type().name(), attribute, expected, actual));
}

void throwSetFalseValueException(FwkType type, std::string_view attribute) {
    throw SetFalseValueException(
        fmt::format("{}.{}: can be set but not cleared", type.type().name(), attribute));
}

void throwMutatorArgNullPointerException(FwkType type, int attributeId, std::string_view argument) {
    throw MutatorArgNullPointerException(fmt::format("{} attribute {}: argument {} is null",
                                                     type.type().name(), attributeId, argument));
}

void Impl::throwMutatorReinstantiating(FwkType type, int attributeId) {
    throw MutatorReinstantiatingException(
        fmt::format("{} attribute {}: an object with another value exists under this key",
                    type.type().name(), attributeId));
}

void Impl::throwBadOptionalAccess() {
    throw BadOptionalAccess("bad optional access");
}

} // namespace Qor
