// Messages of rtnetlink, one after the other, as bytes of one or of several datagrams. Whatever is
// understood goes into a topology: the inputs then hold no VLAN without a member, and once every
// link is gone they hold nothing.
#include "agent/source/NetlinkDecoder.h"
#include "agent/source/Topology.h"
#include "fuzz/Fresh.h"

#include <libmnl/libmnl.h>

#include <cstring>
#include <memory>
#include <set>
#include <variant>
#include <vector>

namespace {

using namespace Agent;

/// Takes facts as a source does.
class Taker {
  public:
    explicit Taker(Topology &topology) : topology_(topology) {}

    void operator()(Unrelated const &) {}
    void operator()(NotUnderstood const &problem) {
        Fuzz::expect(!problem.reason.empty(), "a refusal has a reason");
    }
    void operator()(LinkFacts const &facts) {
        Fuzz::expect(!facts.name.empty() && facts.name.size() < 16, "a link has a name");
        topology_.linkIs(facts, Topology::From::news);
        seen_.insert(facts.index);
    }
    void operator()(LinkGone const &gone) { topology_.linkDel(gone.index, gone.moved); }
    void operator()(PortTable const &port) {
        check(port.vlans);
        topology_.portTableIs(port.index, port.vlans);
    }
    void operator()(PortGone const &port) { topology_.portDel(port.index); }
    void operator()(PortVlans const &port) {
        check(port.vlans);
        topology_.portVlansIs(port.index, port.vlans);
        (void)topology_.portVlansMayHide(port.index, port.vlans);
    }
    void operator()(PortVlansGone const &port) {
        check(port.vlans);
        topology_.portVlansDel(port.index, port.vlans);
    }

    void linksDel() {
        for (LinkIndex const index : seen_) {
            topology_.linkDel(index);
        }
    }

  private:
    static void check(std::vector<VlanSpan> const &spans) {
        for (VlanSpan const &span : spans) {
            Fuzz::expect(1 <= span.first && span.first <= span.last && span.last <= 4094,
                         "VLANs are in order and in range");
        }
    }

    Topology &topology_;
    std::set<LinkIndex> seen_;
};

/// Cut bytes into messages by their own lengths, and the last by what is left.
template <class Action>
void forEachMessage(std::uint8_t const *data, std::size_t size, Action take) {
    for (std::size_t at = 0; at + sizeof(nlmsghdr) <= size;) {
        nlmsghdr head;
        std::memcpy(&head, data + at, sizeof(head));
        std::size_t length = head.nlmsg_len;
        if (length < sizeof(head) || length > size - at) {
            length = size - at;
        }
        std::vector<std::uint8_t> bytes(data + at, data + at + length);
        auto &message = *reinterpret_cast<nlmsghdr *>(bytes.data());
        message.nlmsg_len = static_cast<std::uint32_t>(length);
        take(message);
        at += (length + 3) & ~std::size_t{3};
    }
}

void settle(Topology &topology) {
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    scheduler->shareIs(std::make_unique<Osk::CountShare>(7));
    Worker worker(scheduler, Osk::TaskPriority::normal, "settle",
                  [&](Osk::Task const &task) { return topology.settle(task); });
    worker.wake();
    scheduler->runUntilIdle();
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size) {
    Fuzz::Fresh const fresh;
    Inputs const inputs = emptyInputs();
    Topology topology(inputs, "", [](Iftel::IntfId) {});
    Taker taker(topology);
    forEachMessage(data, size,
                   [&](nlmsghdr const &message) { std::visit(taker, decodeNetlink(message)); });
    settle(topology);
    for (auto const &[vlan, config] : inputs.bridgingConfig->vlanConfig()) {
        Fuzz::expect(!config->intf().empty(), "a VLAN has a member");
    }
    taker.linksDel();
    settle(topology);
    Fuzz::expect(inputs.bridgingConfig->vlanConfig().empty(), "no VLAN is left without links");
    Fuzz::expect(inputs.lagPhyIntfMapping->lagPhyIntfConfig().empty(),
                 "no LAG is left without links");
    return 0;
}
