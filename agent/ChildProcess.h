// A child process with an owner.
#pragma once

#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

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

/// In a child process: it is killed when `parent`, its parent, ends, or now where that has ended.
inline void endWith(pid_t parent) noexcept {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) { // it ended before, and nothing is sent any more
        ::kill(::getpid(), SIGKILL);
    }
}

} // namespace Agent
