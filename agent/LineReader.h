// Where the commands of `vlan-subintf inspect` come from: a file, or standard input; on a terminal
// with a prompt, line editing, history and completion.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class LineReader {
  public:
    /// The whole words that may stand where `word` stands, behind `before`.
    using Completer =
        std::function<std::vector<std::string>(std::string_view before, std::string_view word)>;

    virtual ~LineReader() = default;
    /// The next line without its end; empty after the last one. Throws an Error when reading fails.
    [[nodiscard]] virtual std::optional<std::string> next() = 0;
    /// For messages: file and line of what next() gave last; empty on a terminal, where the
    /// operator sees it.
    [[nodiscard]] virtual std::string place() const = 0;
    /// Somebody types the lines: a failed command does not end the session.
    [[nodiscard]] virtual bool interactive() const noexcept { return false; }
};

/// Lines of a file; "-" is standard input. Throws an Error when it cannot be opened.
[[nodiscard]] std::unique_ptr<LineReader> fileLines(std::string const &path);
/// Lines from the terminal. There can be one at a time.
[[nodiscard]] std::unique_ptr<LineReader> terminalLines(std::string prompt,
                                                        LineReader::Completer completer);

} // namespace Agent
