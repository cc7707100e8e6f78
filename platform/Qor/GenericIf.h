// The generic interface: read, write, walk and invoke the attributes of any object by number.
//
// A caller needs no compiled knowledge of the type: it asks an object for its fwkType(), the type
// for its attributes, and operates on them with Values. The object is held until the operation
// returns, so an operation may release the last other reference on it.
//
//     Qor::Value const arguments[] = {Qor::Value::of(true)};
//     Qor::Operation write{Qor::OpCode::write, arguments, {}};
//     Qor::Status const status = Qor::GenericIf::operate(*object, 131, write);
//
// What each code does, the statuses and the exceptions: platform/Qor/Attribute.h.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/PtrInterface.h"
#include "platform/Qor/Type.h"
#include "platform/Qor/Value.h"

#include <memory>
#include <string_view>

namespace Qor {

class NUVIO_EXPORT GenericIf {
  public:
    /// The attribute of a type; null if there is none.
    [[nodiscard]] static Attribute const *attribute(TypeImpl const &type, int number) noexcept;
    [[nodiscard]] static Attribute const *attribute(TypeImpl const &type,
                                                    std::string_view name) noexcept;

    /// Operate on one attribute of an object.
    static Status operate(PtrInterface &object, int number, Operation &operation);
    /// Operate on one attribute of an object, or of a value that has attributes (a key). The value
    /// is changed in place.
    static Status operate(Value &target, int number, Operation &operation);

    /// A walk over a collection of an object; null for what is no collection. It holds nothing: the
    /// object must live as long.
    [[nodiscard]] static std::unique_ptr<GenericIterator> genericIfIterator(PtrInterface &object,
                                                                            int number);

    /// The type of the attributes of a value: of the object that it points to, or of the value
    /// type itself; null where there are none.
    [[nodiscard]] static TypeImpl const *typeOf(Value const &value) noexcept;
};

} // namespace Qor
