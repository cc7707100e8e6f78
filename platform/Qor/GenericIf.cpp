#include "platform/Qor/GenericIf.h"

#include <algorithm>

namespace Qor {
namespace {

template <class Field, class Wanted>
Attribute const *find(TypeImpl const &type, Field field, Wanted const &wanted) noexcept {
    auto const table = type.attributes();
    auto const found = std::ranges::find(table, wanted, field);
    return found == table.end() ? nullptr : &*found;
}

Status operateOn(TypeImpl const &type, void *object, int number, Operation &operation) {
    Attribute const *const attribute = GenericIf::attribute(type, number);
    return attribute ? attribute->operate(*attribute, type, object, operation)
                     : Status::unknownAttribute;
}

} // namespace

Attribute const *GenericIf::attribute(TypeImpl const &type, int number) noexcept {
    return find(type, &Attribute::number, number);
}

Attribute const *GenericIf::attribute(TypeImpl const &type, std::string_view name) noexcept {
    return find(type, &Attribute::name, name);
}

Status GenericIf::operate(PtrInterface &object, int number, Operation &operation) {
    ObjectPtr const hold(&object);
    TypeImpl const &type = object.fwkType().type();
    return type.attributes().empty() ? Status::unknownAttribute
                                     : operateOn(type, type.self(object), number, operation);
}

Status GenericIf::operate(Value &target, int number, Operation &operation) {
    if (ObjectPtr const object = target.object()) {
        return operate(*object, number, operation);
    }
    TypeImpl const *const type = typeOf(target);
    return type ? operateOn(*type, target.address(), number, operation) : Status::unknownAttribute;
}

std::unique_ptr<GenericIterator> GenericIf::genericIfIterator(PtrInterface &object, int number) {
    TypeImpl const &type = object.fwkType().type();
    Attribute const *const found = attribute(type, number);
    return found && found->iterate ? found->iterate(type.self(object)) : nullptr;
}

TypeImpl const *GenericIf::typeOf(Value const &value) noexcept {
    if (ObjectPtr const object = value.object()) {
        return &object->fwkType().type();
    }
    return value.type() && value.type()->attributes ? value.type()->attributes() : nullptr;
}

} // namespace Qor
