#include "agent/store/StoreFile.h"

#include "agent/Errno.h"
#include "agent/Error.h"
#include "agent/Folders.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace Agent {
namespace {

namespace fs = std::filesystem;

/// Of a database file. Numbers in it are big-endian.
using Header = std::array<unsigned char, 100>;
constexpr std::size_t versionOffset = 60;
constexpr std::size_t applicationOffset = 68;
constexpr std::string_view magic("SQLite format 3\0", 16);

std::uint32_t numberAt(Header const &header, std::size_t offset) noexcept {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = number << 8 | header[offset + i];
    }
    return number;
}

bool hasBytes(std::string const &path) noexcept {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && status.st_size != 0;
}

/// Who holds a lock has written its number into the file.
std::string holderOf(int lock) {
    std::array<char, 16> text{};
    auto const count = ::pread(lock, text.data(), text.size(), 0);
    int process = 0;
    bool const known =
        count > 0 && std::from_chars(text.data(), text.data() + count, process).ec == std::errc();
    return known ? fmt::format("process {}", process) : "another process";
}

/// So that who is locked out can say by whom. Only for that, so it does not matter if it fails.
void noteHolder(int lock) {
    std::string const text = fmt::format("{}\n", ::getpid());
    if (::ftruncate(lock, 0) == 0) {
        [[maybe_unused]] auto const written = ::pwrite(lock, text.data(), text.size(), 0);
    }
}

} // namespace

StoreFile::StoreFile(std::string path) : path_(std::move(path)) {
    std::error_code ignored;
    if (fs::is_directory(path_, ignored)) {
        fail("{}: is a folder, the store is to be a file", path_);
    }
    makeFolders();
    std::error_code unknown;
    realPath_ = fs::weakly_canonical(path_, unknown).string();
    if (unknown) {
        fail("{}: {}", path_, unknown.message());
    }
    lock();
    putLogAside();
    lookInto();
}

void StoreFile::makeFolders() const {
    makeFoldersAbove(path_, 0700, [this](std::string const &folder) {
        failWithErrno(path_, fmt::format("making the folder {}", folder));
    });
}

void StoreFile::lock() {
    std::string const name = realPath_ + ".lock";
    lock_ = Descriptor(::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock_) {
        failWithErrno(path_, fmt::format("opening {}", name));
    }
    if (::flock(lock_.number(), LOCK_EX | LOCK_NB) == 0) {
        noteHolder(lock_.number());
        return;
    }
    if (errno == EWOULDBLOCK) {
        fail("{}: in use by {}", path_, holderOf(lock_.number()));
    }
    failWithErrno(path_, fmt::format("locking {}", name));
}

/// SQLite would delete a log that it finds beside a new file; and who still looks at the file that
/// is gone must not share an index of the log with the new one.
void StoreFile::putLogAside() const {
    std::string const log = realPath_ + "-wal";
    if (::access(realPath_.c_str(), F_OK) == 0) {
        return;
    }
    if (::rename(log.c_str(), (log + ".left").c_str()) != 0 && errno != ENOENT) {
        failWithErrno(path_, fmt::format("putting {} aside", log));
    }
    ::unlink((realPath_ + "-shm").c_str());
}

void StoreFile::lookInto() {
    Descriptor const file(
        ::open(realPath_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
    if (file.number() < 0) {
        failWithErrno(path_, "opening it for writing");
    }
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) {
        failWithErrno(path_, "looking at it");
    }
    if (!S_ISREG(status.st_mode)) {
        fail("{}: is not a regular file", path_);
    }
    device_ = status.st_dev;
    inode_ = status.st_ino;
    checkHeader(file.number(), status.st_size);
}

void StoreFile::checkHeader(int descriptor, off_t size) const {
    if (size == 0) {
        if (hasBytes(realPath_ + "-wal")) {
            fail("{}: damaged: it is empty, but its write-ahead log {}-wal is not", path_,
                 realPath_);
        }
        return;
    }
    Header header{};
    auto const count = ::pread(descriptor, header.data(), header.size(), 0);
    if (count < 0) {
        failWithErrno(path_, "reading it");
    }
    if (std::string_view(reinterpret_cast<char const *>(header.data()), magic.size()) != magic) {
        if (hasBytes(realPath_ + "-journal")) {
            return; // its making was cut short; SQLite undoes it
        }
        fail("{}: is not a database", path_);
    }
    if (static_cast<std::size_t>(count) < header.size()) {
        fail("{}: damaged: it ends within its first {} bytes", path_, header.size());
    }
    checkIdentity(numberAt(header, applicationOffset), numberAt(header, versionOffset));
}

void StoreFile::checkIdentity(std::uint32_t application, std::uint32_t fileVersion) const {
    if (application != applicationId) {
        fail("{}: is a database of another program (application_id {}, expected {})", path_,
             application, applicationId);
    }
    if (fileVersion != version) {
        fail("{}: has version {} of the store's tables, this program has version {}", path_,
             fileVersion, version);
    }
}

bool StoreFile::moved() const noexcept {
    struct stat status {};
    return ::stat(realPath_.c_str(), &status) != 0 || status.st_dev != device_ ||
           status.st_ino != inode_;
}

} // namespace Agent
