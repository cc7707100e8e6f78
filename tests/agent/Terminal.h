// The built program on a terminal of its own, with somebody typing.
#pragma once

#include "agent/ChildProcess.h"
#include "agent/Descriptor.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class Terminal {
  public:
    /// Start the program, which ends with this object; its three standard streams are the terminal.
    explicit Terminal(std::vector<std::string> arguments);

    void type(std::string_view keys) const;
    /// Wait until the screen shows `text` behind what was waited for before; false when the program
    /// ends or stays silent instead.
    [[nodiscard]] bool shows(std::string_view text);
    /// All that the program has written so far.
    [[nodiscard]] std::string const &screen() const noexcept { return screen_; }
    /// Wait for the end of the program; its exit status, -1 if a signal ended it.
    [[nodiscard]] int exitStatus();

  private:
    void awaitEditor() const;
    [[nodiscard]] bool read();

    Descriptor master_;
    std::optional<ChildProcess> child_;
    std::string screen_;
    std::size_t seen_ = 0;
};

} // namespace Agent
