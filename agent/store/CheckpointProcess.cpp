#include "agent/store/CheckpointProcess.h"

#include "agent/ChildProcess.h"
#include "agent/Descriptor.h"
#include "agent/Errno.h"
#include "agent/Error.h"
#include "platform/Nuvio/Assert.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {
namespace {

[[noreturn]] void failToStart(std::string const &path, int code) {
    fail("{}: starting the process that copies its write-ahead log: {}", path, errnoText(code));
}

/// What a new process has open: nothing to read, and standard error into `words`.
class FileActions {
  public:
    explicit FileActions(int words) {
        ::posix_spawn_file_actions_init(&actions_);
        // First, as `words` may have the number of a stream that the agent was started without.
        ::posix_spawn_file_actions_adddup2(&actions_, words, STDERR_FILENO);
        ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    FileActions(FileActions const &) = delete;
    FileActions &operator=(FileActions const &) = delete;

    [[nodiscard]] posix_spawn_file_actions_t const *get() const noexcept { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

/// The agent's environment and that variable of it, "NAME=value", as pointers into both.
std::vector<char *> environmentWith(std::string &agent) {
    std::string_view const name(agent.data(), agent.find('=') + 1);
    std::vector<char *> variables{agent.data()};
    for (char **at = environ; *at; ++at) {
        if (!std::string_view(*at).starts_with(name)) {
            variables.push_back(*at);
        }
    }
    variables.push_back(nullptr);
    return variables;
}

/// Signals that are blocked here are blocked there: those that end the agent do not make its
/// checkpoint fail first.
pid_t spawn(std::string const &program, std::string path, int words) {
    std::string name = "vlan-subintf";
    std::string command = checkpointCommand;
    std::string endOfOptions = "--";
    std::array<char *, 5> arguments{name.data(), command.data(), endOfOptions.data(), path.data(),
                                    nullptr};
    std::string agent = fmt::format("{}={}", agentVariable, ::getpid());
    pid_t process = 0;
    int const code = ::posix_spawn(&process, program.c_str(), FileActions(words).get(), nullptr,
                                   arguments.data(), environmentWith(agent).data());
    if (code != 0) {
        failToStart(path, code);
    }
    return process;
}

/// Negative where the system has none. <sys/pidfd.h> of glibc 2.36 does not declare it for C++.
Descriptor endOf(pid_t process) {
    return Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
}

/// What has been said so far: a line, so one read has it.
std::string read(Descriptor const &words) {
    std::array<char, 4096> text{};
    auto const count = ::read(words.number(), text.data(), text.size());
    return {text.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
}

/// The process that started this one as the agent does; its parent where nobody says.
pid_t agentNumber() {
    pid_t number = ::getppid();
    if (char const *const text = std::getenv(agentVariable)) {
        std::from_chars(text, text + std::string_view(text).size(), number);
    }
    return number;
}

} // namespace

struct CheckpointProcess::Run {
    explicit Run(pid_t process) noexcept : child(process) {}

    ChildProcess child;
    Descriptor words; ///< its standard error
    Descriptor end;   ///< can be read when it has ended
    std::optional<Loop::Watch> watch;
};

CheckpointProcess::CheckpointProcess(Loop &loop, std::string path, std::string program)
    : loop_(loop), path_(std::move(path)), program_(std::move(program)) {
    std::signal(SIGCHLD, SIG_DFL); // if it were ignored, as inherited, an end would leave no status
}

CheckpointProcess::~CheckpointProcess() {
    stop();
}

void CheckpointProcess::start(Done done) {
    NUVIO_ASSERT(!running());
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        failToStart(path_, errno);
    }
    Descriptor words(ends[0]);
    Descriptor const theirs(ends[1]);
    auto run = std::make_unique<Run>(spawn(program_, path_, theirs.number()));
    run->words = std::move(words);
    run->end = endOf(run->child.number());
    if (!run->end) {
        failToStart(path_, errno);
    }
    run->watch.emplace(loop_, run->end.number(), EPOLLIN, "checkpoint",
                       [this](std::uint32_t /*events*/) { handleEnd(); });
    done_ = std::move(done);
    run_ = std::move(run);
}

void CheckpointProcess::stop() noexcept {
    run_.reset();
}

void CheckpointProcess::handleEnd() {
    auto const run = std::move(run_);
    int const status = run->child.wait();
    std::exchange(done_, {})(problemOf(status, read(run->words)));
}

std::string CheckpointProcess::problemOf(int status, std::string words) const {
    if (WIFEXITED(status) && WEXITSTATUS(status) == static_cast<int>(ExitCode::done)) {
        return "";
    }
    words.erase(words.find_last_not_of('\n') + 1);
    if (!words.empty()) {
        return words;
    }
    return fmt::format("{}: the process that copies its write-ahead log has ended by {} {}", path_,
                       WIFEXITED(status) ? "status" : "signal",
                       WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status));
}

ExitCode runCheckpoint(std::string const &path) {
    endWith(agentNumber());
    checkpointStore(path);
    return ExitCode::done;
}

} // namespace Agent
