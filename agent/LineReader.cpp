#include "agent/LineReader.h"

#include "agent/Errno.h"

#include <editline/readline.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <utility>

namespace Agent {
namespace {

class FileLines final : public LineReader {
  public:
    explicit FileLines(std::string const &path) : name_(path == "-" ? "standard input" : path) {
        if (path != "-") {
            file_.open(path);
            if (!file_) {
                failWithErrno(name_, "cannot be opened");
            }
            in_ = &file_;
        }
    }
    std::optional<std::string> next() override {
        std::string line;
        if (std::getline(*in_, line)) {
            ++number_;
            return line;
        }
        if (in_->bad()) {
            failWithErrno(name_, "cannot be read");
        }
        return std::nullopt;
    }
    [[nodiscard]] std::string place() const override {
        return fmt::format("{}:{}: ", name_, number_);
    }

  private:
    std::string name_;
    std::ifstream file_;
    std::istream *in_ = &std::cin;
    std::size_t number_ = 0;
};

/// What the line editor's callbacks complete with: they take no argument of ours.
LineReader::Completer const *activeCompleter = nullptr;

/// The editor's protocol: a list of C strings of its own, the common beginning first.
char **listOf(std::vector<std::string> const &words) {
    auto **const list = static_cast<char **>(std::malloc((words.size() + 2) * sizeof(char *)));
    if (!list) {
        return nullptr;
    }
    std::string common = words.front();
    for (std::string const &word : words) {
        std::size_t same = 0;
        while (same < common.size() && same < word.size() && common[same] == word[same]) {
            ++same;
        }
        common.resize(same);
    }
    list[0] = ::strdup(common.c_str());
    for (std::size_t i = 0; i < words.size(); ++i) {
        list[i + 1] = ::strdup(words[i].c_str());
    }
    list[words.size() + 1] = nullptr;
    return list;
}

char **complete(char const *word, int begin, int /*end*/) {
    rl_attempted_completion_over = 1; // never file names
    std::string_view const line(rl_line_buffer);
    auto const words = (*activeCompleter)(line.substr(0, static_cast<std::size_t>(begin)), word);
    if (words.empty()) {
        return nullptr;
    }
    rl_completion_append_character = words.front().ends_with('/') ? 0 : ' '; // if it is alone
    return listOf(words);
}

class TerminalLines final : public LineReader {
  public:
    TerminalLines(std::string prompt, Completer completer)
        : prompt_(std::move(prompt)), completer_(std::move(completer)) {
        activeCompleter = &completer_;
        rl_attempted_completion_function = complete;
        rl_basic_word_break_characters = " \t\""; // brackets and signs are parts of paths
        using_history();
    }
    ~TerminalLines() override {
        rl_attempted_completion_function = nullptr;
        activeCompleter = nullptr;
    }
    TerminalLines(TerminalLines const &) = delete;
    TerminalLines &operator=(TerminalLines const &) = delete;

    std::optional<std::string> next() override {
        std::unique_ptr<char, void (*)(void *)> const line(readline(prompt_.c_str()), std::free);
        if (!line) {
            std::puts(""); // what comes next begins a line of its own
            return std::nullopt;
        }
        if (*line != '\0') {
            add_history(line.get());
        }
        return std::string(line.get());
    }
    [[nodiscard]] std::string place() const override { return {}; }
    [[nodiscard]] bool interactive() const noexcept override { return true; }

  private:
    std::string prompt_;
    Completer completer_;
};

} // namespace

std::unique_ptr<LineReader> fileLines(std::string const &path) {
    return std::make_unique<FileLines>(path);
}

std::unique_ptr<LineReader> terminalLines(std::string prompt, LineReader::Completer completer) {
    return std::make_unique<TerminalLines>(std::move(prompt), std::move(completer));
}

} // namespace Agent
