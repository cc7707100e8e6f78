// The inputs as the kernel has them: links, LAGs and VLANs of bridges, followed by rtnetlink.
//
// It subscribes first and then has everything listed, so nothing falls between. Facts are only
// gathered while a full view comes in; the inputs are brought level when it is complete.
//
//     links --> registering --> tables --> vlans --> completing --> following
//       ^      (after a start)                                        |
//       +---- draining <------- overrun, whatever the phase ----------+
//       +------------------------------ resynchronise() --------------+
//       '---- waiting <-------- failure, whatever the phase ----------'
//
// links         The links are being listed. What the kernel marks as interrupted is listed again.
// registering   Names and LAGs come into the inputs.
// tables        The VLANs of all ports are being listed with their flags; again, where news came
//               in between.
// vlans         The same with their states; some are left out in this one.
// completing    The inputs are brought level; then the view is complete.
// following     Changes as they come. Nothing is read while the inputs are not level.
// draining      The kernel has dropped news. What waits is older than the listing to come: away
//               with it, and list again.
// waiting       The socket is closed, and opened again after a while.
#pragma once

#include "agent/loop/Loop.h"
#include "agent/loop/Worker.h"
#include "agent/source/NetlinkDecoder.h"
#include "agent/source/NetlinkRequest.h"
#include "agent/source/NetlinkSocket.h"
#include "agent/source/Source.h"
#include "agent/source/Topology.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

struct KernelSourceOptions {
    std::string netns;     ///< the name of a network namespace; empty for the process's own
    std::string bridge;    ///< take only the ports of this bridge; empty for those of all
    int receiveBuffer = 0; ///< of the socket, in bytes; 0 for a generous default
    std::chrono::milliseconds retryAfter{1000}; ///< wait this long after a failure
};

class KernelSource final : public Source {
  public:
    /// The table of a port follows its news at once, if at all; a view is taken where it did not
    /// come in this time.
    static constexpr std::chrono::milliseconds tableWait{100};
    using Open = std::function<std::unique_ptr<NetlinkChannel>()>; ///< throws an Error

    /// `loop` and `host` must outlive it.
    KernelSource(Loop &loop, Inputs const &inputs, SourceHost &host,
                 KernelSourceOptions const &options);
    /// The same, by a channel of the caller's.
    KernelSource(Loop &loop, Inputs const &inputs, SourceHost &host, KernelSourceOptions options,
                 Open open);

    void start() override;
    void resynchronise(std::string_view why) override;
    void stop() noexcept override;

    [[nodiscard]] std::string name() const override;
    [[nodiscard]] bool complete() const noexcept override { return complete_; }
    [[nodiscard]] Counts counts() const noexcept override { return counts_; }
    [[nodiscard]] bool uses(Iftel::IntfId id) const override { return topology_.uses(id); }
    [[nodiscard]] std::vector<std::string> describe(std::string_view intf) const override {
        return topology_.describe(intf);
    }

  private:
    enum class Phase : std::uint8_t {
        stopped,
        waiting,
        draining,
        links,
        registering,
        tables,
        vlans,
        completing,
        following
    };

    /// A listing under way.
    struct Listing {
        NetlinkDump what = NetlinkDump::links;
        std::uint32_t sequence = 0;
        unsigned attempts = 0;    ///< interrupted ones before it
        bool interrupted = false; ///< parts of it are from before a change, and others from after
        bool news = false;        ///< of VLANs, since it was requested
    };

    void connect();
    void close() noexcept;
    void handleReadable();
    [[nodiscard]] Worker::More step(Osk::Task const &task) noexcept;
    [[nodiscard]] Worker::More work(Osk::Task const &task);
    [[nodiscard]] bool isSettling() const noexcept;
    [[nodiscard]] bool isListing() const noexcept;
    void handleSettled();
    [[nodiscard]] bool readOne();
    [[nodiscard]] bool handleNothing();
    void handleOverrun();
    void handleDatagram(std::span<std::byte const> bytes);
    void handleMessage(nlmsghdr const &message);
    void handleNews(nlmsghdr const &message);
    void handleAnswer(nlmsghdr const &message);
    void handleAnswerError(nlmsghdr const &message);
    void listingEndsBut(int error);
    [[nodiscard]] NetlinkFact understood(nlmsghdr const &message) const;

    void take(Unrelated const &) {}
    void take(NotUnderstood const &) {}
    void take(LinkFacts const &facts);
    void take(LinkGone const &gone);
    void take(PortTable const &port);
    void take(PortGone const &port);
    void take(PortVlans const &port);
    void take(PortVlansGone const &port);
    void vlanNews(bool changed);

    void viewBegins(std::string_view why);
    void viewIsComplete();
    void list(NetlinkDump what);
    void listAgain(NetlinkDump what);
    void listingEnds();
    void recover(std::string const &message);
    void trouble(std::string const &message);

    SourceHost &host_;
    Loop &loop_;
    KernelSourceOptions options_;
    Open open_;
    Topology topology_;
    Worker worker_;
    Loop::Timer tablesDue_; ///< after a PVID has moved
    Loop::Timer retry_;
    // While it is neither stopped nor waiting.
    std::unique_ptr<NetlinkChannel> channel_;
    std::unique_ptr<Loop::Watch> watch_;

    Phase phase_ = Phase::stopped;
    Listing listing_;
    std::uint32_t sequence_ = 0; ///< of the latest request
    std::string why_;            ///< there is a view
    /// Ports whose PVID moved by news that no table has followed yet. A table always follows, but
    /// where the bridge's default PVID changes: then the VLAN that had it goes unsaid.
    std::set<LinkIndex> pvidMoved_;
    std::optional<std::string> again_; ///< why another view is wanted after this one
    Counts counts_;
    bool level_ = false;      ///< while following: bring the inputs level before reading on
    bool linksKnown_ = false; ///< since the start
    bool complete_ = false;
    bool troubled_ = false; ///< a problem was told and is not over
};

} // namespace Agent
