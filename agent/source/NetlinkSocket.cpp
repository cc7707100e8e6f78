#include "agent/source/NetlinkSocket.h"

#include "agent/Descriptor.h"
#include "agent/Errno.h"
#include "agent/Error.h"
#include "agent/JsonText.h"

#include <fcntl.h>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <sched.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace Agent {
namespace {

Descriptor opened(std::string const &path) {
    return Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

/// The process is in the network namespace of that name as long as this object lives.
class NamespaceVisit {
  public:
    explicit NamespaceVisit(std::string const &name) : home_(opened("/proc/self/ns/net")) {
        if (!home_) {
            fail("/proc/self/ns/net: {}", errnoText());
        }
        if (name == "." || name == ".." || name.find('/') != std::string::npos) {
            fail("network namespace {}: this is no name of one", quote(name));
        }
        std::string const path = "/run/netns/" + name;
        Descriptor const there = opened(path);
        int const error = errno;
        Descriptor const older = opened("/var/run/netns/" + name);
        if (!there && !older) {
            fail("network namespace {}: {}: {}", quote(name), path, errnoText(error));
        }
        if (::setns((there ? there : older).number(), CLONE_NEWNET) != 0) {
            fail("network namespace {}: {}: {}", quote(name), path, errnoText());
        }
    }
    ~NamespaceVisit() { leave(); }
    NamespaceVisit(NamespaceVisit const &) = delete;
    NamespaceVisit &operator=(NamespaceVisit const &) = delete;

    /// Go back; false when that was not possible.
    bool leave() noexcept {
        return !std::exchange(there_, false) || ::setns(home_.number(), CLONE_NEWNET) == 0;
    }

  private:
    Descriptor home_;
    bool there_ = true;
};

} // namespace

void NetlinkSocket::Close::operator()(mnl_socket *socket) const noexcept {
    mnl_socket_close(socket);
}

NetlinkSocket::Socket NetlinkSocket::open() {
    Socket socket(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!socket) {
        fail("netlink socket: {}", errnoText());
    }
    return socket;
}

NetlinkSocket::NetlinkSocket(std::string const &netns, int receiveBuffer)
    : buffer_(longestDatagram) {
    if (netns.empty()) {
        socket_ = open();
    } else {
        NamespaceVisit visit(netns);
        socket_ = open();
        if (!visit.leave()) {
            fail("network namespace {}: no way back out of it: {}", quote(netns), errnoText());
        }
    }
    receiveBufferIs(receiveBuffer != 0 ? receiveBuffer : defaultReceiveBuffer);
    if (mnl_socket_bind(socket_.get(), 0, MNL_SOCKET_AUTOPID) != 0) {
        failWithErrno("netlink socket", "bind");
    }
    groupIs(RTNLGRP_LINK);
    groupIs(RTNLGRP_BRVLAN);
}

/// More than the system's limit is for the privileged; others get what the limit leaves.
void NetlinkSocket::receiveBufferIs(int bytes) const {
    for (int const option : {SO_RCVBUFFORCE, SO_RCVBUF}) {
        if (::setsockopt(descriptor(), SOL_SOCKET, option, &bytes, sizeof(bytes)) == 0) {
            return;
        }
    }
    fail("netlink socket: receive buffer of {} bytes: {}", bytes, errnoText());
}

void NetlinkSocket::groupIs(int group) const {
    if (mnl_socket_setsockopt(socket_.get(), NETLINK_ADD_MEMBERSHIP, &group, sizeof(group)) != 0) {
        fail("netlink socket: group {}: {} (Linux 5.6 and later have it)", group, errnoText());
    }
}

int NetlinkSocket::descriptor() const noexcept {
    return mnl_socket_get_fd(socket_.get());
}

std::uint32_t NetlinkSocket::portId() const noexcept {
    return mnl_socket_get_portid(socket_.get());
}

void NetlinkSocket::send(std::span<std::byte const> request) {
    if (mnl_socket_sendto(socket_.get(), request.data(), request.size()) < 0) {
        failWithErrno("netlink socket", "send");
    }
}

NetlinkChannel::Received NetlinkSocket::receive() {
    for (;;) {
        auto const size = mnl_socket_recvfrom(socket_.get(), buffer_.data(), buffer_.size());
        if (size >= 0) {
            return {Received::What::bytes,
                    std::span(buffer_).first(static_cast<std::size_t>(size))};
        }
        switch (errno) {
        case EINTR:
            break;
        case EAGAIN:
            return {Received::What::nothing, {}};
        case ENOBUFS:
            return {Received::What::overrun, {}};
        case ENOSPC:
            fail("netlink socket: a datagram of more than {} bytes", buffer_.size());
        default:
            failWithErrno("netlink socket", "receive");
        }
    }
}

} // namespace Agent
