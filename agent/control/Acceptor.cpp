#include "agent/control/Acceptor.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

namespace Agent {

Acceptor::Acceptor(Loop &loop, Descriptor socket, const std::string &cause,
                   std::function<void(Descriptor)> accepted)
    : socket_(std::move(socket)), accepted_(std::move(accepted)),
      rest_(loop, cause, [this] { watch_.eventsIs(EPOLLIN); }),
      watch_(loop, socket_.number(), EPOLLIN, cause, [this](std::uint32_t) { accept(); }) {}

void Acceptor::accept() {
    for (int i = 0; i < acceptedAtOnce; ++i) {
        Descriptor peer(
            ::accept4(socket_.number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (peer) {
            accepted_(std::move(peer));
            continue;
        }
        if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            watch_.eventsIs(0);
            rest_.startAfter(rest);
        } else if (errno == ECONNABORTED || errno == EINTR) {
            continue; // that one has left again
        }
        return;
    }
}

} // namespace Agent
