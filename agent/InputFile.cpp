#include "agent/InputFile.h"

#include "agent/Errno.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace Agent {
namespace {

constexpr std::uint64_t largeFile = std::uint64_t{4} << 20;

/// Bytes of a regular file; 0 for anything else.
std::uint64_t sizeOf(int descriptor) noexcept {
    struct stat status {};
    bool const known = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    return known ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace

InputFile::InputFile(std::string const &path, Progress &progress)
    : name_(path == "-" ? "standard input" : path), progress_(progress),
      descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      chunk_(std::make_unique_for_overwrite<char[]>(chunkSize)), cursor_(chunk_.get()),
      end_(chunk_.get()) {
    if (descriptor_ < 0) {
        failWithErrno(name_, "cannot read");
    }
    progress_.stageIs("reading " + name_, sizeOf(descriptor_), largeFile);
}

InputFile::~InputFile() {
    progress_.finish();
    if (descriptor_ != STDIN_FILENO) {
        ::close(descriptor_);
    }
}

InputFile::Position InputFile::position() const noexcept {
    char const *const begin = chunk_.get();
    if (cursor_ == begin) {
        return {linesBefore_ + 1, std::max<std::uint64_t>(columnBefore_, 1)};
    }
    char const *const last = cursor_ - 1;
    auto const lines = static_cast<std::uint64_t>(std::count(begin, last, '\n'));
    auto const used = static_cast<std::size_t>(last - begin);
    auto const *const lineEnd = static_cast<char const *>(::memrchr(begin, '\n', used));
    auto const column =
        lineEnd ? static_cast<std::uint64_t>(last - lineEnd) : columnBefore_ + used + 1;
    return {linesBefore_ + lines + 1, column};
}

bool InputFile::refill() {
    if (ended_) {
        return false;
    }
    auto const used = static_cast<std::uint64_t>(end_ - chunk_.get());
    if (used != 0) {
        auto const lines = static_cast<std::uint64_t>(
            std::count(static_cast<char const *>(chunk_.get()), end_, '\n'));
        auto const *const lastLine = static_cast<char const *>(::memrchr(chunk_.get(), '\n', used));
        columnBefore_ =
            lastLine ? static_cast<std::uint64_t>(end_ - lastLine - 1) : columnBefore_ + used;
        linesBefore_ += lines;
        bytesBefore_ += used;
        progress_.doneIs(bytesBefore_);
    }
    ssize_t count = 0;
    do {
        count = ::read(descriptor_, chunk_.get(), chunkSize);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        failWithErrno(name_, "cannot read");
    }
    cursor_ = chunk_.get();
    end_ = cursor_ + count;
    ended_ = count == 0;
    return !ended_;
}

} // namespace Agent
