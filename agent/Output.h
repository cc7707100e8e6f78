// A buffered stream of text to a file descriptor that does not lose errors: a closed pipe or a full
// disk throws an Error, at the latest from flush(), which the writer calls at the end. (The process
// is to ignore SIGPIPE, else a closed pipe ends it silently.)
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Agent {

class Output {
  public:
    static constexpr std::size_t bufferSize = std::size_t{1} << 16;

    /// `name` is for messages. The descriptor stays the caller's.
    Output(int descriptor, std::string name);
    /// Not copyable: two buffers would mix up the text.
    Output(Output const &) = delete;
    Output &operator=(Output const &) = delete;

    /// The buffer, to append to; call commit() once in a while.
    [[nodiscard]] std::string &text() noexcept { return text_; }
    /// Pass a well-filled buffer on.
    void commit() {
        if (text_.size() >= bufferSize) {
            flush();
        }
    }
    /// Pass on all that is left.
    void flush();

  private:
    int descriptor_;
    std::string name_;
    std::string text_;
};

/// Write a text to standard output. Throws an Error if that fails.
void print(std::string_view text);

} // namespace Agent
