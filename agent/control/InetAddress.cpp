#include "agent/control/InetAddress.h"

#include "agent/Errno.h"
#include "agent/Error.h"
#include "agent/JsonText.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace Agent {
namespace {

constexpr int backlog = 16;

std::optional<std::uint16_t> portNumber(std::string_view text) {
    std::uint16_t port = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    bool const whole = error == std::errc() && end == text.data() + text.size();
    return whole ? std::optional(port) : std::nullopt;
}

/// The host in front of the last colon, without the brackets of an IPv6 address.
std::string hostOf(std::string_view text) {
    auto const colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0) {
        return "127.0.0.1";
    }
    std::string_view const host = text.substr(0, colon);
    bool const bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    return std::string(bracketed ? host.substr(1, host.size() - 2) : host);
}

} // namespace

InetAddress::InetAddress(std::string text) : text_(std::move(text)) {
    auto const port = portNumber(std::string_view(text_).substr(text_.rfind(':') + 1));
    if (!port || !parse(hostOf(text_), *port)) {
        fail("expected ADDR:PORT in numbers, such as 127.0.0.1:9469, found {}", quote(text_));
    }
}

bool InetAddress::parse(std::string const &host, std::uint16_t port) {
    auto &four = reinterpret_cast<sockaddr_in &>(address_);
    auto &six = reinterpret_cast<sockaddr_in6 &>(address_);
    if (::inet_pton(AF_INET, host.c_str(), &four.sin_addr) == 1) {
        four.sin_family = AF_INET;
        four.sin_port = htons(port);
        size_ = sizeof(four);
    } else if (::inet_pton(AF_INET6, host.c_str(), &six.sin6_addr) == 1) {
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(port);
        size_ = sizeof(six);
    }
    return size_ != 0;
}

Descriptor InetAddress::listen() const {
    Descriptor socket(::socket(address_.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    int const on = 1;
    auto const *const address = reinterpret_cast<sockaddr const *>(&address_);
    if (!socket || ::setsockopt(socket.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0 ||
        ::bind(socket.number(), address, size_) != 0 || ::listen(socket.number(), backlog) != 0) {
        failWithErrno(text_, "cannot listen");
    }
    return socket;
}

std::uint16_t InetAddress::portOf(int descriptor) {
    sockaddr_storage address{};
    socklen_t size = sizeof(address);
    if (::getsockname(descriptor, reinterpret_cast<sockaddr *>(&address), &size) != 0) {
        fail("cannot tell the port: {}", errnoText());
    }
    return ntohs(address.ss_family == AF_INET6
                     ? reinterpret_cast<sockaddr_in6 const &>(address).sin6_port
                     : reinterpret_cast<sockaddr_in const &>(address).sin_port);
}

} // namespace Agent
