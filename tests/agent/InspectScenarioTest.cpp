// Sessions of `vlan-subintf inspect` as scripts with their expected output: tests/scenarios/*.txt.
//
//     # What the session shows.
//     options: small --paused
//     > get ready
//     false
//     > get redy
//     ! redy: VlanSubIntfConfigLib::ConfigSm has no attribute "redy"
//
// The first option is a bundled capture; a word that ends in .json is a file beside the session. A
// line behind "> " is a command, the lines after it are what it prints; "! " is the message of a
// command that fails, without program, file and line; "~ " is a trace line. With
// UPDATE_SCENARIOS=1 in the environment the sessions are rewritten as they went.
//
// A failing command ends the program, so each command is run at the end of a script of its own, of
// all the commands before it that did not fail. Every such run has another hash seed: what depends
// on the order of a hash table does not stay the same from one command to the next.
#include "tests/agent/Program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {
namespace {

std::string const folder = std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/tests/scenarios/";
std::string const captures = std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/captures/";

struct Step {
    std::string command;
    std::string out;
    std::string trace;
    std::string error; ///< a line; empty for a command that does not fail
};

struct Session {
    std::string header;
    std::vector<std::string> options;
    std::vector<Step> steps;

    [[nodiscard]] bool json() const { return std::ranges::count(options, "-j") > 0; }
};

/// The rest of `line` behind `mark`, its end included; false if it begins otherwise.
bool takeMark(std::string const &line, std::string_view mark, std::string &to) {
    if (!line.starts_with(mark)) {
        return false;
    }
    to += line.substr(mark.size()) + '\n';
    return true;
}

Session parse(std::string const &text) {
    constexpr std::string_view options = "options: ";
    Session session;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("> ")) {
            session.steps.push_back({line.substr(2), {}, {}, {}});
        } else if (session.steps.empty()) {
            session.header += line + '\n';
            std::istringstream words(line.starts_with(options) ? line.substr(options.size()) : "");
            for (std::string word; words >> word;) {
                session.options.push_back(word);
            }
        } else if (Step &step = session.steps.back();
                   !takeMark(line, "! ", step.error) && !takeMark(line, "~ ", step.trace)) {
            step.out += line + '\n';
        }
    }
    return session;
}

void appendMarked(std::string &to, std::string_view mark, std::string const &text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        to += std::string(mark) + line + '\n';
    }
}

std::string print(Session const &session) {
    std::string text = session.header;
    for (Step const &step : session.steps) {
        text += "> " + step.command + '\n' + step.out;
        appendMarked(text, "~ ", step.trace);
        appendMarked(text, "! ", step.error);
    }
    return text;
}

std::vector<std::string> argumentsOf(Session const &session) {
    std::string const capture = captures + session.options.at(0);
    std::vector<std::string> arguments = {"inspect", "--links", capture + "/links.json", "--vlans",
                                          capture + "/vlans.json"};
    for (auto word = session.options.begin() + 1; word != session.options.end(); ++word) {
        arguments.push_back(word->ends_with(".json") ? folder + *word : *word);
    }
    return arguments;
}

/// Take the session's commands through the program; what they print stands in the result.
class Replay {
  public:
    explicit Replay(Session const &session)
        : arguments_(argumentsOf(session)), json_(session.json()), actual_(session) {
        arguments_.insert(arguments_.end(), {"--script", dir_.file("script")});
        for (auto step = actual_.steps.begin();
             step != actual_.steps.end() && !testing::Test::HasFatalFailure(); ++step) {
            run(*step);
        }
    }
    [[nodiscard]] Session const &actual() const { return actual_; }

  private:
    void run(Step &step) {
        static_cast<void>(dir_.write("script", script_ + step.command + '\n'));
        ProgramResult const result = Program(arguments_).run();
        ASSERT_TRUE(result.out.starts_with(out_))
            << "the output before it changed: " << step.command;
        ASSERT_TRUE(result.err.starts_with(err_))
            << "the trace before it changed: " << step.command;
        step.out = result.out.substr(out_.size());
        std::string const err = result.err.substr(err_.size());
        step.trace = result.status == 0 ? err : "";
        step.error = result.status == 0 ? "" : messageOf(result.status, err);
        if (result.status == 0) {
            script_ += step.command + '\n';
            ++lines_;
            out_ = result.out;
            err_ = result.err;
            checkJson(step);
        }
    }
    /// The message behind program, file and line; all of `err` where these are not as they should.
    [[nodiscard]] std::string messageOf(int status, std::string const &err) const {
        std::string const place =
            "vlan-subintf: " + dir_.file("script") + ":" + std::to_string(lines_ + 1) + ": ";
        return status == 1 && err.starts_with(place)
                   ? err.substr(place.size())
                   : "status " + std::to_string(status) + ": " + err;
    }
    void checkJson(Step const &step) const {
        if (json_ && !step.out.empty()) {
            EXPECT_TRUE(nlohmann::json::accept(step.out)) << step.command;
            EXPECT_EQ(std::ranges::count(step.out, '\n'), 1) << step.command;
        }
    }

    TempDir dir_;
    std::vector<std::string> arguments_;
    bool json_;
    Session actual_;
    // Of the commands so far that did not fail.
    std::string script_;
    std::size_t lines_ = 0;
    std::string out_;
    std::string err_;
};

std::vector<std::string> scenarios() {
    std::vector<std::string> names;
    for (auto const &entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".txt") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::ranges::sort(names);
    return names;
}

class InspectScenarioTest : public testing::TestWithParam<std::string> {};

TEST_P(InspectScenarioTest, GoesAsWritten) {
    std::string const path = folder + GetParam() + ".txt";
    std::string const expected = readFile(path);
    Session const session = parse(expected);
    ASSERT_FALSE(session.options.empty()) << "no line of options";
    ASSERT_FALSE(session.steps.empty()) << "no command";
    std::string const actual = print(Replay(session).actual());
    if (std::getenv("UPDATE_SCENARIOS")) {
        std::ofstream(path, std::ios::binary) << actual;
    } else {
        EXPECT_EQ(actual, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(All, InspectScenarioTest, testing::ValuesIn(scenarios()),
                         [](auto const &scenario) {
                             std::string name = scenario.param;
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

} // namespace
} // namespace Agent
