// bench_peers, bench_memory: one run of one subject, or a smoke test of all.
//
//     bench_peers <subject> mixed <vlans> <members per VLAN>    W1, W2 and W4
//     bench_peers <subject> fan <pairs>                         W3
//     bench_memory <subject> memory <vlans> <members per VLAN>  bytes per entry after W1
//     either smoke                                              all, small; fails when two differ
//     either compiler                                           what built it
//
// The programs are the same, but bench_memory counts what is allocated. For figures, use
// scripts/bench: a run shares its process with no other.
#include "bench/Heap.h"
#include "bench/Subjects.h"

#include <fmt/core.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Bench {
namespace {

constexpr int success = 0;
constexpr int failure = 1;
constexpr int misuse = 2;

std::vector<Runner> allRunners() {
    std::vector<Runner> result = machineAndOthers();
    for (auto const &more : {inlineJoins(), objectJoins()}) {
        result.insert(result.end(), more.begin(), more.end());
    }
    return result;
}

std::optional<std::uint32_t> number(std::string_view text) {
    std::uint32_t value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    bool const isNumber = error == std::errc() && end == text.data() + text.size() && value != 0;
    return isNumber ? std::optional(value) : std::nullopt;
}

/// Every subject on every run, compared with the first.
int smoke() {
    constexpr MixedSize mixedSize{20, 40, 2000};
    constexpr FanSize fanSize{5, 2000};
    std::vector<Report::Check> expected;
    for (Runner const &runner : allRunners()) {
        Report report(runner.name, "smoke");
        runner.mixed(mixedSize, report, Ending::release);
        runner.fan(fanSize, report, Ending::release);
        runner.memory(mixedSize, report, Ending::release);
        report.print();
        if (expected.empty()) {
            expected = report.checks();
        } else if (report.checks() != expected) {
            fmt::print(stderr, "{} derives something else than {}.\n", runner.name,
                       allRunners().front().name);
            return failure;
        }
    }
    return success;
}

/// Requires: the words after the subject's name. Does not return when it can run.
int run(Runner const &runner, std::span<char *const> words) {
    std::string_view const what = words[0];
    auto const first = number(words[1]);
    auto const second = words.size() == 3 ? number(words[2]) : std::nullopt;
    if (what == "fan" && words.size() == 2 && first) {
        Report report(runner.name, fmt::format("F{}", *first));
        runner.fan({*first}, report, Ending::process);
    }
    if (!first || !second || *first > 4094) {
        return misuse;
    }
    MixedSize const size{*first, *second};
    Report report(runner.name, std::to_string(size.members()));
    if (what == "mixed") {
        runner.mixed(size, report, Ending::process);
    } else if (what == "memory" && heapIsCounted()) {
        runner.memory(size, report, Ending::process);
    }
    return misuse;
}

int printCompiler() {
#if defined(__clang__)
    fmt::print("{}\n", __VERSION__);
#else
    fmt::print("GCC {}\n", __VERSION__);
#endif
    return success;
}

int run(std::span<char *const> words) {
    if (words.size() == 1 && std::string_view(words[0]) == "smoke") {
        return smoke();
    }
    if (words.size() == 1 && std::string_view(words[0]) == "compiler") {
        return printCompiler();
    }
    if (words.size() == 3 || words.size() == 4) {
        for (Runner const &runner : allRunners()) {
            if (runner.name == words[0]) {
                return run(runner, words.subspan(1));
            }
        }
    }
    return misuse;
}

} // namespace
} // namespace Bench

int main(int argc, char **argv) {
    int const status = Bench::run(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
    if (status == Bench::misuse) {
        fmt::print(stderr,
                   "usage: {0} <subject> mixed|memory <vlans> <members per VLAN>\n"
                   "       {0} <subject> fan <pairs>\n       {0} smoke|compiler\n",
                   argv[0]);
    }
    return status;
}
