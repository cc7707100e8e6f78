// The built program on a terminal of its own, with somebody typing.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class Terminal {
  public:
    /// Start the program; its three standard streams are the terminal.
    explicit Terminal(std::vector<std::string> arguments);
    /// Ends the program, if it still runs.
    ~Terminal();
    Terminal(Terminal const &) = delete;
    Terminal &operator=(Terminal const &) = delete;

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

    pid_t child_ = -1;
    int master_ = -1;
    std::string screen_;
    std::size_t seen_ = 0;
};

} // namespace Agent
