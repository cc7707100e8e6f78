// The way to the kernel: one netlink socket for the news of links and VLANs and for the answers to
// requests, so that both keep the order in which the kernel said them.
//
// NetlinkChannel is what a KernelSource needs of it; a test may take its place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct mnl_socket;

namespace Agent {

class NetlinkChannel {
  public:
    struct Received {
        enum class What : std::uint8_t {
            bytes,   ///< one datagram, of whole messages
            nothing, ///< there is nothing to be read
            overrun, ///< the kernel had more to say than there was room: news is lost
        };
        What what;
        std::span<std::byte const> bytes; ///< aligned; valid until the next receive()
    };

    virtual ~NetlinkChannel() = default;
    /// Becomes readable when there is something to receive().
    [[nodiscard]] virtual int descriptor() const noexcept = 0;
    /// The number by which the kernel knows the channel: in answers to its requests.
    [[nodiscard]] virtual std::uint32_t portId() const noexcept = 0;
    /// Both throw an Error.
    virtual void send(std::span<std::byte const> request) = 0;
    [[nodiscard]] virtual Received receive() = 0;
};

class NetlinkSocket final : public NetlinkChannel {
  public:
    /// A datagram may be this long; the kernel's longest have 33 kB.
    static constexpr std::size_t longestDatagram = std::size_t{1} << 16;
    static constexpr int defaultReceiveBuffer = 8 << 20;

    /// Open it in the network namespace of that name, or in the process's own for an empty one, and
    /// subscribe to the news of links and VLANs. `receiveBuffer` is in bytes, 0 for the default;
    /// the kernel may allow less. Throws an Error.
    NetlinkSocket(std::string const &netns, int receiveBuffer);

    [[nodiscard]] int descriptor() const noexcept override;
    [[nodiscard]] std::uint32_t portId() const noexcept override;
    void send(std::span<std::byte const> request) override;
    [[nodiscard]] Received receive() override;

  private:
    struct Close {
        void operator()(mnl_socket *socket) const noexcept;
    };
    using Socket = std::unique_ptr<mnl_socket, Close>;

    static Socket open();
    void receiveBufferIs(int bytes) const;
    void groupIs(int group) const;

    Socket socket_;
    std::vector<std::byte> buffer_;
};

} // namespace Agent
