// The runtime's typed exceptions.
//
// They report misuse that the runtime can detect (a text that does not parse, a value of the wrong
// type in the reflective interface, the reading of an absent value). None of them crosses a
// notification callback: callbacks are noexcept.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Qor/Type.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace Qor {

/// Base of all of them.
class NUVIO_EXPORT Exception : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A text form does not parse: says what was expected, where, and in which attribute.
class NUVIO_EXPORT RangeException : public Exception {
  public:
    using Exception::Exception;
};

/// The value of an empty Optional, or of an entry that must exist, was asked for.
class NUVIO_EXPORT BadOptionalAccess : public Exception {
  public:
    using Exception::Exception;
};

/// A value of the wrong type was handed to the reflective interface.
class NUVIO_EXPORT TypeException : public Exception {
  public:
    using Exception::Exception;
};

/// An attribute that can only be set was told to be false.
class NUVIO_EXPORT SetFalseValueException : public Exception {
  public:
    using Exception::Exception;
};

/// A null pointer was handed to a mutator argument that takes none.
class NUVIO_EXPORT MutatorArgNullPointerException : public Exception {
  public:
    using Exception::Exception;
};

/// A creator was called for a key that another object holds.
class NUVIO_EXPORT MutatorReinstantiatingException : public Exception {
  public:
    using Exception::Exception;
};

/// A value of type `actual` was given where `attribute` of `type` wants `expected`.
[[noreturn]] NUVIO_EXPORT void throwTypeException(QorTypeBase const &type,
                                                  std::string_view attribute,
                                                  std::string_view expected,
                                                  std::string_view actual);
/// `attribute` of `type` was written with false.
[[noreturn]] NUVIO_EXPORT void throwSetFalseValueException(QorTypeBase const &type,
                                                           std::string_view attribute);
/// The argument named `argument` of the mutator of `attributeId` of `type` was null.
[[noreturn]] NUVIO_EXPORT void throwMutatorArgNullPointerException(QorTypeBase const &type,
                                                                   int attributeId,
                                                                   std::string_view argument);

namespace Impl {

/// An object of `type` exists already under the key, made for another `attributeId`.
[[noreturn]] NUVIO_EXPORT void throwMutatorReinstantiating(QorTypeBase const &type,
                                                           int attributeId);
[[noreturn]] NUVIO_EXPORT void throwBadOptionalAccess();

} // namespace Impl
} // namespace Qor
