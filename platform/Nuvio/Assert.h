// Assertions: the tool for one kind of error, a bug of this process.
//
// What an operator or a file can cause is answered by a message and an error return, normal absence
// by an Optional; neither ever ends here. A failed assertion prints expression, operands, function,
// place and a short backtrace to standard error and aborts the process. A host can install a hook
// that records the failure first (a crash log, say); it cannot make the assertion return.
//
// NUVIO_ASSERT is checked in every build, NUVIO_DEBUG_ASSERT only where NDEBUG is not defined.
//
//     NUVIO_ASSERT(index < size, "index={} size={}", index, size);
#pragma once

#include "platform/Nuvio/Export.h"

#include <fmt/format.h>

#include <functional>
#include <string_view>

namespace Nuvio {

/// What a failed assertion knows. The views live as long as the hook runs.
struct AssertionFailure {
    std::string_view expression; ///< text of the expression that was false
    std::string_view message;    ///< its operands, formatted; may be empty
    std::string_view function;   ///< signature of the function that asserted
    std::string_view file;       ///< source file; empty where it is not known
    int line = 0;                ///< line in it
};

using AssertionHook = std::function<void(AssertionFailure const &)>;

/// Install the hook that runs before the process aborts; an empty one removes it.
/// The hook must not throw. It is not called for a failure inside itself.
NUVIO_EXPORT void assertionHookIs(AssertionHook hook);

namespace Impl {

/// Report a failed assertion; does not return.
[[noreturn]] NUVIO_EXPORT void vfmassert(char const *expression, char const *function,
                                         char const *file, int line, fmt::string_view format,
                                         fmt::format_args arguments) noexcept;

template <class... Args>
[[noreturn]] void fmassert(char const *expression, char const *function, char const *file, int line,
                           fmt::format_string<Args const &...> format,
                           Args const &...args) noexcept {
    vfmassert(expression, function, file, line, format, fmt::make_format_args(args...));
}

[[noreturn]] inline void fmassert(char const *expression, char const *function, char const *file,
                                  int line) noexcept {
    vfmassert(expression, function, file, line, {}, {});
}

} // namespace Impl

/// Report the dereference of a null pointer in `function`; does not return.
[[noreturn]] NUVIO_EXPORT void emitAssertNonNullPtr(char const *function) noexcept;

} // namespace Nuvio

// Macros, because only they can quote the expression and name the place. The optional arguments are
// a {fmt} format string and its operands, evaluated only on failure.
#define NUVIO_ASSERT(expression, ...)                                                              \
    ((expression) ? static_cast<void>(0)                                                           \
                  : ::Nuvio::Impl::fmassert(#expression, __PRETTY_FUNCTION__, __FILE__,            \
                                            __LINE__ __VA_OPT__(, ) __VA_ARGS__))

#ifdef NDEBUG
#define NUVIO_DEBUG_ASSERT(expression, ...) static_cast<void>(0)
#else
#define NUVIO_DEBUG_ASSERT(expression, ...) NUVIO_ASSERT(expression __VA_OPT__(, ) __VA_ARGS__)
#endif
