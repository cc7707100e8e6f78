#include "agent/control/ControlSocket.h"

#include "agent/Errno.h"
#include "agent/Error.h"
#include "agent/Folders.h"
#include "agent/control/UnixAddress.h"
#include "platform/Nuvio/Assert.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace Agent {
namespace {

constexpr mode_t ownerOnly = 0600;
constexpr mode_t ownerAndGroup = 0660;
constexpr int backlog = 64;

/// Make the folders above the socket; in /run they are for everybody to look into.
void makeFolders(std::string const &path) {
    mode_t const mode = path.starts_with("/run/") ? 0755 : 0700;
    makeFoldersAbove(path, mode, [](std::string const &folder) {
        failWithErrno(folder, "cannot make the folder");
    });
}

gid_t groupId(std::string const &name) {
    std::vector<char> buffer(std::size_t{1} << 16);
    struct group entry {};
    struct group *found = nullptr;
    int const error = ::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (!found) {
        fail("there is no group {}{}", name, error == 0 ? "" : ": " + errnoText(error));
    }
    return entry.gr_gid;
}

bool isSame(struct stat const &a, struct stat const &b) noexcept {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Whether the path leads to that file.
bool leadsTo(std::string const &path, struct stat const &file) noexcept {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && isSame(status, file);
}

/// What is created meanwhile is for the owner alone.
class PrivateFiles {
  public:
    PrivateFiles() : before_(::umask(0777 & ~ownerOnly)) {}
    ~PrivateFiles() { ::umask(before_); }
    PrivateFiles(PrivateFiles const &) = delete;
    PrivateFiles &operator=(PrivateFiles const &) = delete;

  private:
    mode_t before_;
};

} // namespace

ControlSocket::ControlSocket(std::string path, std::string const &group)
    : path_(std::move(path)), lockPath_(path_ + ".lock") {
    static_cast<void>(UnixAddress(path_)); // too long a path makes no folders
    makeFolders(path_);
    lock();
    try {
        clear();
        listen(group);
    } catch (Error const &) {
        ::unlink(lockPath_.c_str());
        throw;
    }
}

ControlSocket::~ControlSocket() {
    if (leadsTo(path_, file_)) {
        ::unlink(path_.c_str());
    }
    ::unlink(lockPath_.c_str()); // before the lock is let go
}

void ControlSocket::lock() {
    struct stat status {};
    do {
        lock_ = Descriptor(
            ::open(lockPath_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerOnly));
        if (!lock_ || ::fstat(lock_.number(), &status) != 0) {
            failWithErrno(lockPath_, "cannot open");
        }
        if (::flock(lock_.number(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK) {
                failWithErrno(lockPath_, "cannot lock");
            }
            fail("{}: another agent is running", path_);
        }
        // An agent that ends removes the file: then this lock is on one that nobody else sees.
    } while (!leadsTo(lockPath_, status));
}

/// Remove a socket that nobody listens at.
void ControlSocket::clear() const {
    struct stat status {};
    if (::lstat(path_.c_str(), &status) != 0) {
        if (errno != ENOENT) {
            failWithErrno(path_, "cannot look");
        }
        return;
    }
    if (!S_ISSOCK(status.st_mode)) {
        fail("{}: there is something that is no socket", path_);
    }
    Descriptor const probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    UnixAddress const address(path_);
    if (::connect(probe.number(), address.get(), address.size()) == 0 || errno == EAGAIN) {
        fail("{}: somebody is listening", path_);
    }
    if (errno != ECONNREFUSED) {
        failWithErrno(path_, "cannot connect to the socket that is there");
    }
    if (::unlink(path_.c_str()) != 0) {
        failWithErrno(path_, "cannot remove the socket of an earlier agent");
    }
}

void ControlSocket::listen(std::string const &group) {
    socket_ = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    UnixAddress const address(path_);
    {
        PrivateFiles const guard;
        if (!socket_ || ::bind(socket_.number(), address.get(), address.size()) != 0) {
            failWithErrno(path_, "cannot make the socket");
        }
    }
    try {
        permit(group);
        if (::listen(socket_.number(), backlog) != 0 || ::lstat(path_.c_str(), &file_) != 0) {
            failWithErrno(path_, "cannot listen");
        }
    } catch (Error const &) {
        ::unlink(path_.c_str());
        throw;
    }
}

void ControlSocket::permit(std::string const &group) const {
    if (group.empty()) {
        return;
    }
    constexpr auto sameOwner = static_cast<uid_t>(-1);
    if (::chown(path_.c_str(), sameOwner, groupId(group)) != 0) {
        failWithErrno(path_, "cannot be given to group " + group);
    }
    if (::chmod(path_.c_str(), ownerAndGroup) != 0) {
        failWithErrno(path_, "cannot be opened for group " + group);
    }
}

} // namespace Agent
