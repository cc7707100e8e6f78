#include "platform/Qor/Attribute.h"

#include <fmt/format.h>

namespace Qor::Impl {

void needArguments(Attribute const &attribute, TypeImpl const &type, Operation const &operation,
                   std::size_t count) {
    if (operation.arguments.size() != count) {
        throwTypeException(type, attribute.name,
                           fmt::format("{} argument{}", count, count == 1 ? "" : "s"),
                           fmt::format("{}", operation.arguments.size()));
    }
}

void wrongType(Attribute const &attribute, TypeImpl const &type, std::string_view expected,
               Value const &actual) {
    ObjectPtr const object = actual.object();
    throwTypeException(type, attribute.name, expected,
                       object           ? object->fwkType().type().name()
                       : actual.empty() ? std::string_view("nothing")
                                        : actual.type()->name);
}

void nullPointer(Attribute const &attribute, TypeImpl const &type, std::size_t argument) {
    throwMutatorArgNullPointerException(type, attribute.number,
                                        attribute.argumentTypes[argument]->name);
}

} // namespace Qor::Impl
