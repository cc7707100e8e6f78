#include "platform/Nuvio/Assert.h"

#include <execinfo.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace Nuvio {
namespace {

AssertionHook &hook() {
    static AssertionHook installed;
    return installed;
}

void print(AssertionFailure const &failure) {
    std::string const text =
        fmt::format("{}:{}: {}: Assertion `{}' failed{}{}\n",
                    failure.file.empty() ? "?" : failure.file, failure.line, failure.function,
                    failure.expression, failure.message.empty() ? "." : ": ", failure.message);
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
    void *frames[24];
    int const depth = backtrace(frames, 24);
    backtrace_symbols_fd(frames, depth, STDERR_FILENO);
}

} // namespace

void assertionHookIs(AssertionHook newHook) {
    hook() = std::move(newHook);
}

void Impl::vfmassert(char const *expression, char const *function, char const *file, int line,
                     fmt::string_view format, fmt::format_args arguments) noexcept {
    std::string const message = fmt::vformat(format, arguments);
    AssertionFailure const failure{expression, message, function, file, line};
    print(failure);
    // Taken out first: a failure inside the hook aborts at once.
    if (AssertionHook const record = std::exchange(hook(), nullptr)) {
        record(failure);
    }
    std::abort();
}

void emitAssertNonNullPtr(char const *function) noexcept {
    Impl::vfmassert("pointer is not null", function, "", 0, {}, {});
}

} // namespace Nuvio
