// The address of a Unix socket.
#pragma once

#include "agent/Error.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>
#include <string>

namespace Agent {

class UnixAddress {
  public:
    /// Of the file `path`. Throws an Error for a path that is empty or too long.
    explicit UnixAddress(std::string const &path) {
        if (path.empty() || path.size() >= sizeof(address_.sun_path)) {
            fail("{}: the path of a socket has 1 to {} bytes", path, sizeof(address_.sun_path) - 1);
        }
        address_.sun_family = AF_UNIX;
        std::memcpy(address_.sun_path, path.c_str(), path.size());
    }

    [[nodiscard]] sockaddr const *get() const noexcept {
        return reinterpret_cast<sockaddr const *>(&address_);
    }
    [[nodiscard]] socklen_t size() const noexcept { return sizeof(address_); }

  private:
    sockaddr_un address_{};
};

} // namespace Agent
