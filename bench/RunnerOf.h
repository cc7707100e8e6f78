// A Runner of a subject's type.
#pragma once

#include "bench/Phases.h"
#include "bench/Subjects.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace Bench {

template <Subject S> void end(std::unique_ptr<S>, Report const &report, Ending ending) {
    if (ending == Ending::process) {
        report.print();
        std::fflush(stdout);
        std::_Exit(0);
    }
}

template <Subject S> Runner runnerOf(std::string_view name) {
    return {name,
            [](MixedSize const &size, Report &report, Ending ending) {
                end(mixed<S>(size, report), report, ending);
            },
            [](FanSize const &size, Report &report, Ending ending) {
                end(fan<S>(size, report), report, ending);
            },
            [](MixedSize const &size, Report &report, Ending ending) {
                end(memory<S>(size, report), report, ending);
            }};
}

} // namespace Bench
