// Runs something in a process of its own, to see how it ends.
//
// The child is a fork: it starts with everything that is there, and nothing of what it does comes
// back but its exit status. Ends that the platform defines are told from crashes: a failed
// assertion, and std::terminate(). What the child writes to standard error is shown when it
// complained or crashed.
//
//     EXPECT_EQ(TestSupport::forkedRun([&] { machine->doDeleteAll(); return ""; }),
//               TestSupport::RunEnd::returned);
//     EXPECT_EQ(TestSupport::assertionIn([&] { start(nullptr); }).expression, "input != nullptr");
#pragma once

#include "platform/Nuvio/Assert.h"

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <ostream>
#include <string>

namespace TestSupport {

/// How a run ended.
enum class RunEnd {
    returned = 10,    ///< without a complaint
    outOfMemory,      ///< std::terminate(), because of a bad_alloc
    terminated,       ///< std::terminate(), because of another exception, an unseen one or none
    nullDereferenced, ///< the assertion that a pointer is not null
    asserted,         ///< another assertion
    complained,       ///< it returned a complaint, or threw
    crashed           ///< anything else
};

inline std::ostream &operator<<(std::ostream &out, RunEnd end) {
    static constexpr char const *texts[] = {"returned",
                                            "ended by terminate() for want of memory",
                                            "ended by terminate()",
                                            "ended by the null assertion",
                                            "ended by an assertion",
                                            "complained",
                                            "crashed"};
    return out << texts[static_cast<int>(end) - static_cast<int>(RunEnd::returned)];
}

namespace Impl {

[[noreturn]] inline void leave(RunEnd end) {
    std::cout.flush();
    _exit(static_cast<int>(end));
}

[[noreturn]] inline void leaveOnTerminate() {
    try {
        if (std::current_exception()) {
            throw; // to see what it is
        }
    } catch (std::bad_alloc const &) {
        leave(RunEnd::outOfMemory);
    } catch (...) {
    }
    leave(RunEnd::terminated);
}

inline void leaveOnAssertion(Nuvio::AssertionFailure const &failure) {
    leave(failure.expression == "pointer is not null" ? RunEnd::nullDereferenced
                                                      : RunEnd::asserted);
}

[[noreturn]] inline void runAndLeave(std::function<std::string()> const &run) {
    std::set_terminate(leaveOnTerminate);
    Nuvio::assertionHookIs(leaveOnAssertion);
    std::string complaint;
    try {
        complaint = run();
    } catch (std::exception const &error) {
        complaint = fmt::format("it threw {}", error.what());
    }
    if (complaint.empty()) {
        leave(RunEnd::returned);
    }
    std::cerr << complaint << '\n';
    leave(RunEnd::complained);
}

inline RunEnd endOf(int status) {
    bool const isKnown = WIFEXITED(status) &&
                         WEXITSTATUS(status) >= static_cast<int>(RunEnd::returned) &&
                         WEXITSTATUS(status) < static_cast<int>(RunEnd::crashed);
    return isKnown ? static_cast<RunEnd>(WEXITSTATUS(status)) : RunEnd::crashed;
}

inline void show(std::FILE *errors) {
    std::rewind(errors);
    for (int c = std::fgetc(errors); c != EOF; c = std::fgetc(errors)) {
        std::cerr.put(static_cast<char>(c));
    }
}

} // namespace Impl

/// Call `run` in a process of its own. It returns what is wrong with what it found, or nothing.
inline RunEnd forkedRun(std::function<std::string()> const &run) {
    std::FILE *const errors = std::tmpfile();
    std::cout.flush();
    pid_t const child = fork();
    if (child == 0) {
        dup2(fileno(errors), STDERR_FILENO);
        Impl::runAndLeave(run);
    }
    int status = 0;
    waitpid(child, &status, 0);
    RunEnd const end = Impl::endOf(status);
    if (end == RunEnd::complained || end == RunEnd::crashed) {
        Impl::show(errors);
    }
    static_cast<void>(std::fclose(errors));
    return end;
}

/// What a failed assertion said, to the letter.
struct SaidByAssertion {
    std::string expression;
    std::string message;
    std::string function;

    friend bool operator==(SaidByAssertion const &, SaidByAssertion const &) = default;
    friend std::ostream &operator<<(std::ostream &out, SaidByAssertion const &said) {
        return out << said.function << ": " << said.expression << ": " << said.message;
    }
};

/// The assertion in which `run` ends, in a process of its own; empty when it ends otherwise.
inline SaidByAssertion assertionIn(std::function<void()> const &run) {
    std::FILE *const record = std::tmpfile();
    forkedRun([&] {
        Nuvio::assertionHookIs([record](Nuvio::AssertionFailure const &failure) {
            fmt::print(record, "{}\n{}\n{}\n", failure.expression, failure.message,
                       failure.function);
            static_cast<void>(std::fflush(record));
            Impl::leave(RunEnd::asserted);
        });
        run();
        return "";
    });
    std::rewind(record);
    SaidByAssertion said;
    for (std::string *const text : {&said.expression, &said.message, &said.function}) {
        for (int c = std::fgetc(record); c != '\n' && c != EOF; c = std::fgetc(record)) {
            text->push_back(static_cast<char>(c));
        }
    }
    static_cast<void>(std::fclose(record));
    return said;
}

} // namespace TestSupport
