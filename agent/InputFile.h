// A file, or standard input, read once from front to end, which knows its name and the line and
// column of what was read last, for messages.
//
// It is read in chunks, so its size does not matter. Failures of the system throw an Error that
// names the file.
#pragma once

#include "agent/Progress.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>

namespace Agent {

class InputFile {
  public:
    /// Line and column, both from 1; columns count bytes.
    struct Position {
        std::uint64_t line;
        std::uint64_t column;
    };
    class Iterator;
    static constexpr std::size_t chunkSize = std::size_t{1} << 18;

    /// Open `path`; "-" is standard input. `progress` is told how much has been read.
    InputFile(std::string const &path, Progress &progress);
    ~InputFile();
    /// Not copyable: there is one read position.
    InputFile(InputFile const &) = delete;
    InputFile &operator=(InputFile const &) = delete;

    /// For messages: the path, or "standard input".
    [[nodiscard]] std::string const &name() const noexcept { return name_; }
    /// Where the character that was read last stands; at the end of the file, the end.
    [[nodiscard]] Position position() const noexcept;
    [[nodiscard]] bool atEnd() { return cursor_ == end_ && !refill(); }
    /// The next character. Requires: not at the end.
    [[nodiscard]] char peek() const noexcept { return *cursor_; }
    void advance() noexcept { ++cursor_; }

    [[nodiscard]] Iterator begin() noexcept;
    [[nodiscard]] Iterator end() noexcept;

  private:
    /// Read the next chunk; false at the end of the file.
    bool refill();

    std::string name_;
    Progress &progress_;
    int descriptor_;
    std::unique_ptr<char[]> chunk_;
    char const *cursor_;
    char const *end_;
    // What lies before the chunk.
    std::uint64_t bytesBefore_ = 0;
    std::uint64_t linesBefore_ = 0;
    std::uint64_t columnBefore_ = 0; ///< bytes since the last line end
    bool ended_ = false;
};

/// An input iterator over the characters; copies share the file's one position.
class InputFile::Iterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const *;
    using reference = char;

    explicit Iterator(InputFile *file = nullptr) noexcept : file_(file) {}
    [[nodiscard]] char operator*() const noexcept { return file_->peek(); }
    Iterator &operator++() noexcept {
        file_->advance();
        return *this;
    }
    void operator++(int) noexcept { file_->advance(); }
    friend bool operator==(Iterator const &a, Iterator const &b) { return a.atEnd() == b.atEnd(); }

  private:
    [[nodiscard]] bool atEnd() const { return !file_ || file_->atEnd(); }

    InputFile *file_;
};

inline InputFile::Iterator InputFile::begin() noexcept {
    return Iterator(this);
}

inline InputFile::Iterator InputFile::end() noexcept {
    return Iterator();
}

} // namespace Agent
