#include "agent/source/NetlinkSocket.h"

#include "agent/Error.h"
#include "agent/source/NetlinkRequest.h"
#include "tests/agent/MessageOf.h"
#include "tests/agent/source/NetlinkCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <optional>

namespace Agent {
namespace {

std::string errorOf(std::string const &netns) {
    return messageOf([&] { NetlinkSocket const socket(netns, 0); });
}

TEST(NetlinkSocket, ANamespaceThatIsNotThereIsAnError) {
    EXPECT_EQ(errorOf("no-such-one"), "network namespace \"no-such-one\": /run/netns/no-such-one: "
                                      "No such file or directory");
}

TEST(NetlinkSocket, AFolderIsNoNamespace) {
    for (std::string const name : {".", "..", "a/b", "../a"}) {
        EXPECT_EQ(errorOf(name), "network namespace \"" + name + "\": this is no name of one");
    }
}

TEST(NetlinkSocket, TheKernelListsTheLoopbackLink) {
    std::optional<NetlinkSocket> socket;
    try {
        socket.emplace("", 1 << 16);
    } catch (Error const &error) {
        GTEST_SKIP() << "no netlink here: " << error.what();
    }
    EXPECT_EQ(socket->receive().what, NetlinkChannel::Received::What::nothing);
    socket->send(netlinkDumpRequest(NetlinkDump::links, 5));
    pollfd waiting{socket->descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&waiting, 1, 10000), 1);
    auto const received = socket->receive();
    ASSERT_EQ(received.what, NetlinkChannel::Received::What::bytes);
    NetlinkMessage message(std::vector(received.bytes.begin(), received.bytes.end()));
    EXPECT_EQ(message.head().nlmsg_seq, 5U);
    EXPECT_EQ(message.head().nlmsg_pid, socket->portId());
    EXPECT_FALSE(std::holds_alternative<NotUnderstood>(message.fact()));
}

} // namespace
} // namespace Agent
