#include "agent/source/FolderWatch.h"

#include "agent/Errno.h"
#include "agent/Error.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <utility>

namespace Agent {
namespace {

// A file is written in place and closed, or another takes its name. One that is removed is not
// read: its replacement is.
constexpr std::uint32_t fileEvents = IN_CLOSE_WRITE | IN_MOVED_TO;
// A folder is renamed or deleted; or it has gone otherwise, as with its file system.
constexpr std::uint32_t folderEvents = IN_MOVE_SELF | IN_DELETE_SELF;
constexpr std::uint32_t folderEnds = folderEvents | IN_IGNORED;
constexpr std::size_t bufferBytes = 1U << 14;

} // namespace

FolderWatch::FolderWatch(Loop &loop, std::vector<std::string> files, std::function<void()> changed)
    : files_(std::move(files)), changed_(std::move(changed)),
      descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (!descriptor_) {
        fail("cannot watch files: {}", errnoText());
    }
    renew();
    watch_.emplace(loop, descriptor_.number(), EPOLLIN, "watched files",
                   [this](std::uint32_t /*events*/) { handleEvents(); });
}

void FolderWatch::renew() {
    Names names;
    for (std::string const &file : files_) {
        names[watchFolderOf(file)].insert(std::filesystem::path(file).filename().string());
    }
    for (auto const &[watch, before] : names_) {
        if (!names.contains(watch)) {
            ::inotify_rm_watch(descriptor_.number(), watch);
        }
    }
    names_ = std::move(names);
}

/// The number of the watch; the one that the folder has, if it has one.
int FolderWatch::watchFolderOf(std::string const &file) const {
    std::filesystem::path const path(file);
    std::string const folder = path.has_parent_path() ? path.parent_path().string() : ".";
    int const watch = ::inotify_add_watch(descriptor_.number(), folder.c_str(),
                                          fileEvents | folderEvents | IN_ONLYDIR);
    if (watch < 0) {
        failWithErrno(file, "cannot watch its folder");
    }
    return watch;
}

void FolderWatch::handleEvents() {
    alignas(inotify_event) std::array<char, bufferBytes> buffer; // NOLINT(*-member-init)
    bool isChanged = false;
    ssize_t got = 0;
    while ((got = ::read(descriptor_.number(), buffer.data(), buffer.size())) > 0) {
        for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof(event));
            isChanged = isChanged || isChange(event, buffer.data() + at + sizeof(event));
            at += sizeof(event) + event.len;
        }
    }
    if (isChanged) {
        changed_();
    }
}

/// Whether it may be about one of the files; `name` is valid where the event has one.
bool FolderWatch::isChange(inotify_event const &event, char const *name) const {
    if ((event.mask & IN_Q_OVERFLOW) != 0) { // nobody knows which file it was
        return true;
    }
    auto const folder = names_.find(event.wd);
    return folder != names_.end() &&
           ((event.mask & folderEnds) != 0 || (event.len != 0 && folder->second.contains(name)));
}

} // namespace Agent
