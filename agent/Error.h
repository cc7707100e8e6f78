// What an operator, a file or the environment can cause: a message that names the file, the place
// and the value. It ends the program's job: main() prints it on standard error and exits with 1.
#pragma once

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace Agent {

class Error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Throw an Error with the formatted message.
template <class... Args>
[[noreturn]] void fail(fmt::format_string<Args...> format, Args &&...args) {
    throw Error(fmt::format(format, std::forward<Args>(args)...));
}

} // namespace Agent
