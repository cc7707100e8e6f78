// bench_latency: how long the machine holds the event loop, turn by turn.
//
// Each scenario and share runs in a process of its own, which prints its figures and hands them to
// this one for --json. The exit status is 0 when every machine ended ready and with the output that
// its inputs call for; no time makes it fail.
#include "bench/latency/Scenarios.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Latency::Scenario;
using Latency::Settings;

struct Options {
    Settings settings;
    std::vector<double> shares{1, 5, 20}; // milliseconds
    std::vector<std::string> scenarios;   // all where there are none
    std::size_t described = 5;
    std::string json;
};

void add(CLI::App &app, Options &options) {
    std::vector<std::string> names;
    for (Scenario const &scenario : Latency::scenarios()) {
        names.emplace_back(scenario.name);
    }
    app.add_option("--members", options.settings.members, "Members of the VLANs")
        ->check(CLI::Range(1000U, 16'000'000U))
        ->capture_default_str();
    app.add_option("--changes", options.settings.changes, "Changes in one turn")
        ->check(CLI::Range(6U, 10'000'000U))
        ->capture_default_str();
    app.add_option("--share", options.shares, "Shares of the scheduler, in milliseconds")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--scenario", options.scenarios, "Only these")->check(CLI::IsMember(names));
    app.add_option("--describe", options.described, "How many of the longest turns to describe")
        ->capture_default_str();
    app.add_flag("--items", options.settings.items,
                 "Tell the longest item of each turn, too; every item then costs a clock reading");
    app.add_option("--json", options.json, "Write all figures to this file, too");
}

/// The child's part: run, print, and write the figures to `pipe`.
int runHere(Scenario const &scenario, Options const &options, int pipe) {
    nlohmann::json all = nlohmann::json::array();
    try {
        for (Latency::Record const &record : scenario.run(options.settings)) {
            std::cout << Latency::textOf(record, options.described);
            all.push_back(Latency::jsonOf(record, options.described));
            all.back()["scenario"] = scenario.name;
        }
    } catch (std::exception const &error) {
        std::cerr << "bench_latency: " << scenario.name << ": " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    std::cout << std::flush;
    std::FILE *const out = ::fdopen(pipe, "w");
    std::string const text = all.dump();
    bool const isWritten = out && std::fwrite(text.data(), 1, text.size(), out) == text.size();
    return out && std::fclose(out) == 0 && isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}

std::string everythingFrom(int pipe) {
    std::string text;
    std::array<char, 4096> block{};
    for (ssize_t got = 0; (got = ::read(pipe, block.data(), block.size())) > 0;) {
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return text;
}

/// Run one scenario in a process of its own; its records, none when it failed.
nlohmann::json runApart(Scenario const &scenario, Options const &options) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        return nullptr;
    }
    pid_t const child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        std::_Exit(runHere(scenario, options, ends[1]));
    }
    ::close(ends[1]);
    std::string const text = child > 0 ? everythingFrom(ends[0]) : "";
    ::close(ends[0]);
    int status = 1;
    bool const isOver = child > 0 && ::waitpid(child, &status, 0) == child;
    return isOver && status == 0 ? nlohmann::json::parse(text, nullptr, false) : nullptr;
}

bool isWanted(Scenario const &scenario, Options const &options) {
    auto const &names = options.scenarios;
    return names.empty() || std::ranges::find(names, scenario.name) != names.end();
}

/// False when a scenario failed.
bool runAll(Options options, nlohmann::json &records) {
    bool isGood = true;
    auto const run = [&](Scenario const &scenario) {
        nlohmann::json const got = runApart(scenario, options);
        isGood = isGood && got.is_array();
        for (auto const &record : got) {
            records.push_back(record);
        }
    };
    for (Scenario const &scenario : Latency::scenarios()) {
        if (!isWanted(scenario, options)) {
            continue;
        }
        if (!scenario.hasShare) {
            options.settings.share = Settings().share;
            run(scenario);
            continue;
        }
        for (double const share : options.shares) {
            options.settings.share = std::chrono::duration_cast<std::chrono::nanoseconds>(
                std::chrono::duration<double, std::milli>(share));
            run(scenario);
        }
    }
    return isGood;
}

} // namespace

int main(int argc, char **argv) {
    CLI::App app("How long the machine holds the event loop.", "bench_latency");
    Options options;
    add(app, options);
    CLI11_PARSE(app, argc, argv);
    nlohmann::json records = nlohmann::json::array();
    bool const isGood = runAll(options, records);
    if (!options.json.empty() && !(std::ofstream(options.json) << records.dump(1) << '\n')) {
        std::cerr << "bench_latency: cannot write " << options.json << '\n';
        return EXIT_FAILURE;
    }
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}
