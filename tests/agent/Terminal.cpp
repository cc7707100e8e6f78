#include "tests/agent/Terminal.h"

#include "tests/agent/Program.h"

#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Agent {
namespace {

/// The program answers at once; a busy machine may take its time.
constexpr int patienceMs = 30'000;

} // namespace

Terminal::Terminal(std::vector<std::string> arguments) {
    struct winsize const size{40, 200, 0, 0};
    int master = -1;
    pid_t const child = ::forkpty(&master, nullptr, nullptr, &size);
    if (child < 0) {
        throw std::runtime_error("cannot open a terminal");
    }
    if (child == 0) {
        ::setenv("TERM", "dumb", 1); // lines are edited, and no cursor is moved about
        executeProgram(std::move(arguments));
    }
    master_ = Descriptor(master);
    child_.emplace(child);
}

/// The line editor prints its prompt before it takes the terminal over; a key typed in between is
/// still the terminal's own, which swallows a control-D.
void Terminal::awaitEditor() const {
    constexpr auto pause = std::chrono::milliseconds(1);
    struct termios mode {};
    for (int waitedMs = 0; waitedMs < patienceMs; ++waitedMs) {
        if (::tcgetattr(master_.number(), &mode) == 0 && (mode.c_lflag & ICANON) == 0) {
            return;
        }
        std::this_thread::sleep_for(pause);
    }
    throw std::runtime_error("the program does not edit lines");
}

void Terminal::type(std::string_view keys) const {
    awaitEditor();
    if (::write(master_.number(), keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("cannot type");
    }
}

bool Terminal::read() {
    struct pollfd ready {
        master_.number(), POLLIN, 0
    };
    if (::poll(&ready, 1, patienceMs) <= 0) {
        ::kill(child_->number(), SIGKILL); // it hangs
        return false;
    }
    char buffer[4096];
    ssize_t const count = ::read(master_.number(), buffer, sizeof buffer);
    if (count > 0) {
        screen_.append(buffer, static_cast<std::size_t>(count));
    }
    return count > 0;
}

bool Terminal::shows(std::string_view text) {
    for (;;) {
        if (auto const found = screen_.find(text, seen_); found != std::string::npos) {
            seen_ = found + text.size();
            return true;
        }
        if (!read()) {
            return false;
        }
    }
}

int Terminal::exitStatus() {
    while (read()) {
    }
    int const status = child_->wait();
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace Agent
