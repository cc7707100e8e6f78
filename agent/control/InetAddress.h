// The address of a TCP socket, as an operator writes it.
#pragma once

#include "agent/Descriptor.h"

#include <sys/socket.h>

#include <cstdint>
#include <string>

namespace Agent {

class InetAddress {
  public:
    /// Of "ADDR:PORT", "[ADDR6]:PORT", ":PORT" or "PORT", where addresses are numbers; without one
    /// 127.0.0.1. Throws an Error that quotes a text which is none of them.
    explicit InetAddress(std::string text);

    /// A socket that listens there and does not block. Throws an Error when that is not possible.
    [[nodiscard]] Descriptor listen() const;
    /// The port of a socket that listens.
    [[nodiscard]] static std::uint16_t portOf(int descriptor);

  private:
    [[nodiscard]] bool parse(std::string const &host, std::uint16_t port);

    std::string text_;
    sockaddr_storage address_{};
    socklen_t size_ = 0;
};

} // namespace Agent
