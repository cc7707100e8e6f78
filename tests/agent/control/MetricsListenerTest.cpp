#include "agent/control/MetricsListener.h"

#include "agent/control/InetAddress.h"
#include "tests/agent/MessageOf.h"
#include "tests/agent/control/ControlTest.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace Agent {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// A client over TCP on the loopback.
class HttpPeer {
  public:
    explicit HttpPeer(std::uint16_t port)
        : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ = ::connect(socket_.number(), reinterpret_cast<sockaddr const *>(&address),
                               sizeof(address)) == 0;
    }
    [[nodiscard]] bool connected() const noexcept { return connected_; }
    void send(std::string_view text) const {
        static_cast<void>(
            ::send(socket_.number(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
    }
    void endInput() const { ::shutdown(socket_.number(), SHUT_WR); }
    /// Whether the other side has closed; takes what has come.
    bool ended() {
        char bytes[1 << 12];
        ssize_t count = 0;
        while ((count = ::recv(socket_.number(), bytes, sizeof(bytes), MSG_DONTWAIT)) > 0) {
            received_.append(bytes, static_cast<std::size_t>(count));
        }
        return count == 0 || (errno != EAGAIN && errno != EINTR);
    }
    [[nodiscard]] std::string const &received() const noexcept { return received_; }

  private:
    Descriptor socket_;
    std::string received_;
    bool connected_ = false;
};

class MetricsListenerTest : public LoopTest {
  protected:
    MetricsListener &listen(std::chrono::nanoseconds maxTime = std::chrono::seconds(10)) {
        return listener.emplace(loop, MetricsListener::Options{"0", maxTime}, [this] {
            ++rendered;
            return std::string("up 1\n");
        });
    }
    std::string answerTo(std::string const &request, bool endInput = false) {
        HttpPeer peer(listener->port());
        peer.send(request);
        if (endInput) {
            peer.endInput();
        }
        EXPECT_TRUE(turnUntil([&] { return peer.ended(); })) << request;
        return peer.received();
    }

    int rendered = 0;
    std::optional<MetricsListener> listener;
};

TEST_F(MetricsListenerTest, AnswersGetMetrics) {
    listen();
    EXPECT_EQ(answerTo("GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n"),
              "HTTP/1.1 200 OK\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\n"
              "Content-Length: 5\r\nConnection: close\r\n\r\nup 1\n");
    EXPECT_THAT(answerTo("GET /metrics?x=1 HTTP/1.0\r\n\r\n"), HasSubstr("200 OK"));
}

TEST_F(MetricsListenerTest, RefusesAllElse) {
    listen();
    EXPECT_THAT(answerTo("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 "));
    EXPECT_THAT(answerTo("GET /metricsx HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 "));
    EXPECT_THAT(answerTo("POST /metrics HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 405 "));
    EXPECT_THAT(answerTo("GET /metrics\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answerTo("\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answerTo("GET /metrics SPDY/3\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answerTo("GET /metrics HTTP/1.1\r\n", true), StartsWith("HTTP/1.1 400 "));
    EXPECT_EQ(rendered, 0);
}

TEST_F(MetricsListenerTest, RefusesARequestThatIsTooLarge) {
    listen();
    HttpPeer peer(listener->port());
    peer.send("GET /metrics HTTP/1.1\r\n" + std::string(MetricsListener::maxRequest, 'x'));
    EXPECT_TRUE(turnUntil([&] { return peer.ended(); }));
    EXPECT_THAT(peer.received(), StartsWith("HTTP/1.1 431 "));
}

TEST_F(MetricsListenerTest, ClosesAClientThatAsksNothingInTime) {
    listen(std::chrono::milliseconds(20));
    HttpPeer peer(listener->port());
    peer.send("GET /metr");
    EXPECT_TRUE(turnUntil([&] { return peer.ended(); }));
    EXPECT_EQ(peer.received(), "");
}

TEST_F(MetricsListenerTest, AClientTooManyIsClosedAndOthersAreAnswered) {
    listen();
    std::vector<HttpPeer> peers;
    for (std::size_t i = 0; i < MetricsListener::maxClients; ++i) {
        peers.emplace_back(listener->port());
    }
    HttpPeer tooMany(listener->port());
    EXPECT_TRUE(turnUntil([&] { return tooMany.ended(); }));
    EXPECT_EQ(tooMany.received(), "");
    peers.front().send("GET /metrics HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(turnUntil([&] { return peers.front().ended(); }));
    EXPECT_THAT(peers.front().received(), HasSubstr("up 1"));
}

TEST_F(MetricsListenerTest, ClientsThatLeaveAreForgotten) {
    listen();
    for (int i = 0; i < 100; ++i) {
        HttpPeer const peer(listener->port());
        ASSERT_TRUE(peer.connected());
        for (int turns = 0; turns < 4; ++turns) {
            loop.turn(std::chrono::milliseconds(0));
        }
    }
    EXPECT_THAT(answerTo("GET /metrics HTTP/1.1\r\n\r\n"), HasSubstr("up 1"));
}

TEST_F(MetricsListenerTest, APortThatIsTakenIsAnErrorThatNamesIt) {
    listen();
    auto const address = "127.0.0.1:" + std::to_string(listener->port());
    EXPECT_EQ(messageOf([&] {
                  MetricsListener const second(loop, {address}, [] { return std::string(); });
              }),
              address + ": cannot listen: Address already in use");
}

class InetAddressRefused : public testing::TestWithParam<char const *> {};

TEST_P(InetAddressRefused, IsAnErrorThatQuotesIt) {
    EXPECT_THAT(messageOf([] { InetAddress const address(GetParam()); }),
                StartsWith("expected ADDR:PORT in numbers"));
}

INSTANTIATE_TEST_SUITE_P(All, InetAddressRefused,
                         testing::Values("", ":", "x", "65536", "-1", "localhost:1", "1.2.3:4",
                                         "::1", "[::1]", "127.0.0.1:", "127.0.0.1:9469x", "1 "));

TEST(InetAddress, WithoutAnAddressIsTheLoopbackOnly) {
    for (auto const *const text : {"0", ":0", "127.0.0.1:0"}) {
        Descriptor const socket = InetAddress(text).listen();
        sockaddr_in address{};
        socklen_t size = sizeof(address);
        ASSERT_EQ(::getsockname(socket.number(), reinterpret_cast<sockaddr *>(&address), &size), 0);
        EXPECT_EQ(ntohl(address.sin_addr.s_addr), INADDR_LOOPBACK) << text;
    }
}

} // namespace
} // namespace Agent
