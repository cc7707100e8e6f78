// The control socket's file: made, guarded and removed.
//
// One agent listens at a path. It holds a lock on the file PATH.lock beside the socket as long as
// it does; a socket that is there without a lock and refuses connections was left by an agent that
// died, and is replaced. Whatever else is at the path is left alone.
#pragma once

#include "agent/Descriptor.h"

#include <sys/stat.h>

#include <string>

namespace Agent {

class ControlSocket {
  public:
    /// Listen at `path`, for the user alone or, with a `group`, for its members too. Folders are
    /// made where they are missing. Throws an Error that names the path: another agent is there, no
    /// permission, no such group.
    ControlSocket(std::string path, std::string const &group);
    /// Removes the files that are still its own.
    ~ControlSocket();
    ControlSocket(ControlSocket const &) = delete;
    ControlSocket &operator=(ControlSocket const &) = delete;

    /// Hand out the socket that listens. Requires: it was not handed out.
    [[nodiscard]] Descriptor socketDel() noexcept { return std::move(socket_); }

  private:
    void lock();
    void clear() const;
    void listen(std::string const &group);
    void permit(std::string const &group) const;

    std::string path_;
    std::string lockPath_;
    Descriptor lock_;
    Descriptor socket_;
    struct stat file_ {}; ///< the socket's, once it is there
};

} // namespace Agent
