// Runs the built program as a user does.
#pragma once

#include "tests/agent/TempDir.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

struct ProgramResult {
    int status = -1; ///< exit status; -1 for one that a signal ended
    std::string out; ///< empty where it went elsewhere
    std::string err;
    /// Of the processor, from start to exit. The program has one thread, so on an idle machine that
    /// is how long it takes, and on a busy one a test of it still holds.
    double seconds = 0;
    std::uint64_t peakBytes = 0; ///< largest resident set
};

class Program {
  public:
    explicit Program(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}

    /// What stands on its standard input; empty by default.
    Program &inputIs(std::string text) {
        input_ = std::move(text);
        return *this;
    }
    Program &environmentIs(std::string name, std::string value) {
        environment_.emplace_back(std::move(name), std::move(value));
        return *this;
    }
    /// Send standard output to that file, which stays.
    Program &outputTo(std::string path) {
        outputPath_ = std::move(path);
        return *this;
    }
    /// Let standard output be a pipe that nobody reads any more.
    Program &outputToClosedPipe() {
        closedPipe_ = true;
        return *this;
    }
    /// The same for standard error.
    Program &errorsToClosedPipe() {
        closedErrors_ = true;
        return *this;
    }

    [[nodiscard]] ProgramResult run() const;

  private:
    [[noreturn]] void execute(std::string const &input, std::string const &out,
                              std::string const &err) const;

    std::vector<std::string> arguments_;
    std::vector<std::pair<std::string, std::string>> environment_;
    std::string input_;
    std::string outputPath_;
    bool closedPipe_ = false;
    bool closedErrors_ = false;
};

} // namespace Agent
