// Runs the built program as a user does.
#pragma once

#include "tests/agent/TempDir.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

/// Become the program, in a process that was forked for it.
[[noreturn]] void executeProgram(std::vector<std::string> arguments);

struct ProgramResult {
    int status = -1; ///< exit status; -1 for one that a signal ended
    std::string out; ///< empty where it went elsewhere
    std::string err;
    /// Of the processor, from start to exit. The program has one thread, so on an idle machine that
    /// is how long it takes, and on a busy one a test of it still holds.
    double seconds = 0;
    std::uint64_t peakBytes = 0; ///< largest resident set
};

/// A program that goes on; it is killed with this object.
class RunningProgram {
  public:
    /// Takes over the process, which writes into the files "out" and "err" of the folder.
    RunningProgram(int process, std::unique_ptr<TempDir> dir)
        : process_(process), dir_(std::move(dir)) {}
    ~RunningProgram();
    RunningProgram(RunningProgram const &) = delete;
    RunningProgram &operator=(RunningProgram const &) = delete;

    [[nodiscard]] int process() const noexcept { return process_; }
    void signal(int number) const;
    /// Whether it has ended, without waiting for that.
    [[nodiscard]] bool ended() const;
    /// What it has printed, and said, so far.
    [[nodiscard]] std::string out() const { return readFile(dir_->file("out")); }
    [[nodiscard]] std::string err() const { return readFile(dir_->file("err")); }
    /// Wait for its end. To be called once.
    [[nodiscard]] ProgramResult wait();

  private:
    int process_;
    std::unique_ptr<TempDir> dir_;
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
    /// Run it beside the test.
    [[nodiscard]] std::unique_ptr<RunningProgram> start() const;

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
