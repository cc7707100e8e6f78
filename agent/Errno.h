// What the system says about a call that failed.
#pragma once

#include "agent/Error.h"

#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>

namespace Agent {

/// "No such file or directory": of the call that failed last, or of that code.
[[nodiscard]] inline std::string errnoText(int code = errno) {
    return std::generic_category().message(code);
}

/// Throw an Error for the call that failed last: "links.json: cannot read: Input/output error".
[[noreturn]] inline void failWithErrno(std::string_view subject, std::string_view problem) {
    fail("{}: {}: {}", subject, problem, errnoText());
}

} // namespace Agent
