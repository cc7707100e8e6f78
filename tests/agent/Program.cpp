#include "tests/agent/Program.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace Agent {
namespace {

void redirect(int descriptor, std::string const &path, int flags) {
    int const file = ::open(path.c_str(), flags, 0600);
    if (file < 0 || ::dup2(file, descriptor) < 0) {
        ::_exit(126);
    }
}

void redirectToClosedPipe(int descriptor) {
    int ends[2];
    if (::pipe(ends) != 0 || ::dup2(ends[1], descriptor) < 0) {
        ::_exit(126);
    }
    ::close(ends[0]);
    ::close(ends[1]);
}

double secondsOf(struct timeval const &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

} // namespace

void executeProgram(std::vector<std::string> arguments) {
    std::string program = VLAN_SUBINTF_PROGRAM;
    std::vector<char *> pointers{program.data()};
    for (std::string &argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    ::execv(program.c_str(), pointers.data());
    ::_exit(126);
}

void Program::execute(std::string const &input, std::string const &out,
                      std::string const &err) const {
    redirect(STDIN_FILENO, input, O_RDONLY);
    redirect(STDOUT_FILENO, out, O_WRONLY | O_CREAT);
    redirect(STDERR_FILENO, err, O_WRONLY | O_CREAT);
    if (closedPipe_) {
        redirectToClosedPipe(STDOUT_FILENO);
    }
    if (closedErrors_) {
        redirectToClosedPipe(STDERR_FILENO);
    }
    for (auto const &[name, value] : environment_) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    executeProgram(arguments_);
}

ProgramResult Program::run() const {
    return start()->wait();
}

std::unique_ptr<RunningProgram> Program::start() const {
    auto dir = std::make_unique<TempDir>();
    std::string const input = dir->write("input", input_);
    std::string const out = outputPath_.empty() ? dir->file("out") : outputPath_;
    static_cast<void>(dir->write("out", "")); // to be read before the program has made it
    static_cast<void>(dir->write("err", ""));
    pid_t const child = ::fork();
    if (child == 0) {
        execute(input, out, dir->file("err"));
    }
    if (child < 0) {
        throw std::runtime_error("cannot run the program");
    }
    return std::make_unique<RunningProgram>(child, std::move(dir));
}

RunningProgram::~RunningProgram() {
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
}

void RunningProgram::signal(int number) const {
    ::kill(process_, number);
}

bool RunningProgram::ended() const {
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid != 0;
}

ProgramResult RunningProgram::wait() {
    int status = 0;
    struct rusage usage {};
    if (::wait4(std::exchange(process_, 0), &status, 0, &usage) < 0) {
        throw std::runtime_error("the program is lost");
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out(), err(),
            secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
            static_cast<std::uint64_t>(usage.ru_maxrss) * 1024};
}

} // namespace Agent
