#include "agent/source/FolderWatch.h"

#include "agent/Errno.h"
#include "agent/Error.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
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
constexpr std::size_t bufferBytes = 1U << 14;

} // namespace

FolderWatch::FolderWatch(Loop &loop, std::vector<std::string> const &files,
                         std::function<void()> changed)
    : changed_(std::move(changed)), descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (!descriptor_) {
        fail("cannot watch files: {}", errnoText());
    }
    for (std::string const &file : files) {
        add(file);
    }
    watch_.emplace(loop, descriptor_.number(), EPOLLIN, "watched files",
                   [this](std::uint32_t /*events*/) { handleEvents(); });
}

void FolderWatch::add(std::string const &file) {
    std::filesystem::path const path(file);
    std::string const folder = path.has_parent_path() ? path.parent_path().string() : ".";
    int const watch =
        ::inotify_add_watch(descriptor_.number(), folder.c_str(), fileEvents | IN_ONLYDIR);
    if (watch < 0) {
        failWithErrno(file, "cannot watch its folder");
    }
    files_[watch].insert(path.filename().string());
}

void FolderWatch::handleEvents() {
    alignas(inotify_event) std::array<char, bufferBytes> buffer; // NOLINT(*-member-init)
    bool isChanged = false;
    ssize_t got = 0;
    while ((got = ::read(descriptor_.number(), buffer.data(), buffer.size())) > 0) {
        for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof(event));
            // After an overflow nobody knows which file it was.
            auto const folder = files_.find(event.wd);
            isChanged = isChanged || (event.mask & IN_Q_OVERFLOW) != 0 ||
                        (folder != files_.end() && event.len != 0 &&
                         folder->second.contains(buffer.data() + at + sizeof(event)));
            at += sizeof(event) + event.len;
        }
    }
    if (isChanged) {
        changed_();
    }
}

} // namespace Agent
