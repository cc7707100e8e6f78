// The file of a store, from before SQLite looks at it: its folders are made, it is locked against a
// second agent, and refused, untouched, when it is something else.
//
// A write-ahead log whose file is gone is kept as PATH-wal.left, out of the way of the new file.
//
// The lock is on a file of its own beside it, PATH.lock, which stays there: opening and closing the
// database itself would take SQLite's locks on it away.
#pragma once

#include "agent/Descriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace Agent {

class StoreFile {
  public:
    static constexpr std::uint32_t applicationId = 0x56534943;
    static constexpr std::uint32_t version = 1;

    /// Make what is missing, lock the file and look into it. Throws an Error.
    explicit StoreFile(std::string path);
    /// Not copyable: it is the lock.
    StoreFile(StoreFile const &) = delete;
    StoreFile &operator=(StoreFile const &) = delete;

    /// As it was given, for messages.
    [[nodiscard]] std::string const &path() const noexcept { return path_; }
    /// Where it is, whatever links lead to it.
    [[nodiscard]] std::string const &realPath() const noexcept { return realPath_; }
    /// The path does not lead to this file any more.
    [[nodiscard]] bool moved() const noexcept;

    /// Throws an Error unless these are a store's of this version.
    void checkIdentity(std::uint32_t application, std::uint32_t fileVersion) const;

  private:
    void makeFolders() const;
    void lock();
    void putLogAside() const;
    void lookInto();
    void checkHeader(int descriptor, off_t size) const;

    std::string path_;
    std::string realPath_;
    Descriptor lock_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

} // namespace Agent
