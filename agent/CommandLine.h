// The command line: options to structures, usage errors to messages.
#pragma once

namespace Agent {

/// Run the program; returns its exit status. Every Error ends here, as a message on standard error.
[[nodiscard]] int run(int argc, char const *const *argv);

} // namespace Agent
