#include "agent/Inspect.h"

#include "agent/Error.h"
#include "agent/Inspector.h"
#include "agent/LineReader.h"
#include "agent/Output.h"
#include "agent/StandardError.h"

#include <unistd.h>

#include <memory>
#include <string_view>

namespace Agent {
namespace {

constexpr char const *prompt = "vlan-subintf> ";

/// The commands of the arguments: their words, cut at each ";".
class ArgumentLines final : public LineReader {
  public:
    explicit ArgumentLines(std::vector<std::string> const &words) : words_(words) {}

    std::optional<std::string> next() override {
        if (next_ == words_.size()) {
            return std::nullopt;
        }
        std::string line;
        while (next_ != words_.size() && words_[next_] != ";") {
            line += quoted(words_[next_++]) + ' ';
        }
        if (next_ != words_.size()) {
            ++next_; // the semicolon
        }
        return line;
    }
    [[nodiscard]] std::string place() const override { return {}; }

  private:
    /// The shell has cut the words already: keep each together.
    static std::string quoted(std::string_view word) {
        std::string text = "\"";
        for (char const c : word) {
            if (c == '"' || c == '\\') {
                text += '\\';
            }
            text += c;
        }
        return text + '"';
    }

    std::vector<std::string> const &words_;
    std::size_t next_ = 0;
};

std::unique_ptr<LineReader> linesOf(InspectOptions const &options, Inspector const &inspector) {
    if (!options.words.empty()) {
        return std::make_unique<ArgumentLines>(options.words);
    }
    if (!options.script.empty()) {
        return fileLines(options.script);
    }
    if (::isatty(STDIN_FILENO) != 0 && ::isatty(STDOUT_FILENO) != 0) {
        return terminalLines(prompt, [&inspector](std::string_view before, std::string_view word) {
            return inspector.completions(before, word);
        });
    }
    return fileLines("-");
}

/// Run all commands; on a terminal a failed one is only reported.
void session(LineReader &lines, Inspector &inspector) {
    while (auto const line = lines.next()) {
        try {
            if (!inspector.execute(*line)) {
                return;
            }
        } catch (Error const &error) {
            if (!lines.interactive()) {
                fail("{}{}", lines.place(), error.what());
            }
            say("{}", error.what());
        }
    }
}

} // namespace

ExitCode inspect(InspectOptions const &options) {
    Progress progress(Progress::onStandardError());
    Inputs const inputs = loadInputs(options.inputs, progress);
    auto const directory = VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    if (!options.previous.empty()) {
        static_cast<void>(loadPrevious(options.previous, *directory, progress));
    }
    traceToStandardError(0); // the command `trace` switches levels on
    MachineRun const run = makeMachine(inputs, directory, options.machine);
    if (!options.paused) {
        runUntilIdle(run, inputs, progress);
    }
    Output output(STDOUT_FILENO, "standard output");
    Inspector inspector(run.machine, options.json, [&output](std::string_view text) {
        output.text() += text;
        output.flush();
    });
    auto const lines = linesOf(options, inspector);
    session(*lines, inspector);
    return ExitCode::done;
}

} // namespace Agent
