// A child process with an owner.
#pragma once

#include <sys/types.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>

namespace Agent {

class ChildProcess {
  public:
    /// Takes over a child of this process that nobody else waits for.
    explicit ChildProcess(pid_t number) noexcept : number_(number) {}
    /// Kills it and waits for its end, unless wait() has.
    ~ChildProcess() {
        if (number_ > 0) {
            ::kill(number_, SIGKILL);
            static_cast<void>(wait());
        }
    }
    ChildProcess(ChildProcess const &) = delete;
    ChildProcess &operator=(ChildProcess const &) = delete;

    /// 0 when wait() was called.
    [[nodiscard]] pid_t number() const noexcept { return number_; }
    /// Wait for its end; returns its status, as waitpid() has it. Requires: it was not called.
    [[nodiscard]] int wait() noexcept {
        int status = 0;
        while (::waitpid(number_, &status, 0) < 0 && errno == EINTR) {
        }
        number_ = 0;
        return status;
    }

  private:
    pid_t number_;
};

} // namespace Agent
