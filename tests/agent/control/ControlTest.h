// What the tests of the control socket share: a loop with a server on it, and clients of this
// process that neither block nor sleep.
#pragma once

#include "agent/Descriptor.h"
#include "agent/control/ControlServer.h"
#include "agent/control/UnixAddress.h"
#include "agent/loop/Loop.h"
#include "tests/agent/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Agent {

/// A client's end of a socket.
class Peer {
  public:
    explicit Peer(std::string const &path)
        : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        UnixAddress const address(path);
        connected_ = ::connect(socket_.number(), address.get(), address.size()) == 0;
    }

    [[nodiscard]] bool connected() const noexcept { return connected_; }
    /// Returns how many bytes the socket took, -1 for none.
    ssize_t send(std::string_view text) const {
        return ::send(socket_.number(), text.data(), text.size(), MSG_NOSIGNAL);
    }
    void endInput() const { ::shutdown(socket_.number(), SHUT_WR); }
    void close() { socket_ = Descriptor(); }

    /// Take what has come so far.
    void receive() {
        char bytes[1 << 14];
        ssize_t count = 0;
        while ((count = ::recv(socket_.number(), bytes, sizeof(bytes), 0)) > 0) {
            received_.append(bytes, static_cast<std::size_t>(count));
        }
        ended_ = ended_ || count == 0 || (errno != EAGAIN && errno != EINTR);
    }
    [[nodiscard]] bool hasLine() const { return received_.find('\n') != std::string::npos; }
    /// Requires: hasLine().
    std::string takeLine() {
        auto const end = received_.find('\n');
        auto const line = received_.substr(0, end);
        received_.erase(0, end + 1);
        return line;
    }
    [[nodiscard]] std::string const &received() const noexcept { return received_; }
    /// The other side has closed.
    [[nodiscard]] bool ended() const noexcept { return ended_; }
    [[nodiscard]] int descriptor() const noexcept { return socket_.number(); }

  private:
    Descriptor socket_;
    std::string received_;
    bool connected_ = false;
    bool ended_ = false;
};

inline std::string requestLine(std::string const &name,
                               nlohmann::json parameters = nlohmann::json::object()) {
    parameters["version"] = 1;
    parameters["request"] = name;
    return parameters.dump() + '\n';
}

class LoopTest : public testing::Test {
  protected:
    /// Turn until it holds, which what other processes do may bring about; false when it does not
    /// for a minute.
    bool turnUntil(std::function<bool()> const &holds) {
        auto const end = Loop::Clock::now() + std::chrono::minutes(1);
        while (!holds()) {
            if (Loop::Clock::now() > end) {
                return false;
            }
            loop.turn(std::chrono::milliseconds(5));
        }
        return true;
    }
    /// The next line that comes; "nothing" when none does.
    std::string lineFrom(Peer &peer) {
        bool const came = turnUntil([&] {
            peer.receive();
            return peer.hasLine() || peer.ended();
        });
        return came && peer.hasLine() ? peer.takeLine() : "nothing";
    }
    nlohmann::json documentFrom(Peer &peer) {
        return nlohmann::json::parse(lineFrom(peer), nullptr, false);
    }
    /// The last line of the next answer, behind its other ones.
    nlohmann::json endingFrom(Peer &peer) {
        auto line = documentFrom(peer);
        while (line.is_object() && !line.contains("status")) {
            line = documentFrom(peer);
        }
        return line;
    }
    bool endsFor(Peer &peer) {
        return turnUntil([&] {
            peer.receive();
            return peer.ended();
        });
    }

    TempDir dir;
    Loop loop{Osk::TaskScheduler::TaskSchedulerIs()};
};

} // namespace Agent
