#include "agent/source/KernelSource.h"

#include "agent/Errno.h"
#include "agent/Error.h"
#include "platform/Nuvio/Assert.h"

#include <fmt/format.h>
#include <libmnl/libmnl.h>
#include <sys/epoll.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <variant>

namespace Agent {
namespace {

/// So many interrupted listings in a row are worth a word.
constexpr unsigned patience = 100;

constexpr std::string_view overrunReason = "receive buffer overrun";

/// The error code that an answer carries at the head of its payload; 0 for none.
int errorOf(nlmsghdr const &message) {
    int error = 0;
    if (mnl_nlmsg_get_payload_len(&message) >= sizeof(error)) {
        std::memcpy(&error, mnl_nlmsg_get_payload(&message), sizeof(error));
    }
    return -error;
}

} // namespace

KernelSource::KernelSource(Loop &loop, Inputs const &inputs, SourceHost &host,
                           KernelSourceOptions const &options)
    : KernelSource(loop, inputs, host, options, [options] {
          return std::make_unique<NetlinkSocket>(options.netns, options.receiveBuffer);
      }) {}

KernelSource::KernelSource(Loop &loop, Inputs const &inputs, SourceHost &host,
                           KernelSourceOptions options, Open open)
    : host_(host), loop_(loop), options_(std::move(options)), open_(std::move(open)),
      topology_(inputs, options_.bridge, [this](Iftel::IntfId id) { host_.retired(id); }),
      worker_(loop.scheduler(), Osk::TaskPriority::normal, "kernel source",
              [this](Osk::Task const &task) { return step(task); }),
      tablesDue_(loop, "kernel source",
                 [this] {
                     if (!pvidMoved_.empty()) {
                         resynchronise("the default PVID of a bridge has changed");
                     }
                 }),
      retry_(loop, "kernel source", [this] {
          try {
              connect();
          } catch (Error const &error) {
              recover(error.what());
          }
      }) {}

// Start and stop

void KernelSource::start() {
    NUVIO_ASSERT(phase_ == Phase::stopped);
    linksKnown_ = false;
    complete_ = false;
    try {
        connect();
    } catch (Error const &) {
        stop();
        throw;
    }
}

void KernelSource::stop() noexcept {
    close();
    retry_.stop();
    tablesDue_.stop();
    phase_ = Phase::stopped;
    again_.reset();
    complete_ = false;
    troubled_ = false;
}

void KernelSource::resynchronise(std::string_view why) {
    if (phase_ != Phase::stopped) {
        again_ = why;
        worker_.wake();
    }
}

void KernelSource::connect() {
    channel_ = open_();
    watch_ = std::make_unique<Loop::Watch>(loop_, channel_->descriptor(), EPOLLIN, "kernel source",
                                           [this](std::uint32_t) { handleReadable(); });
    viewBegins(complete_ ? "the socket was opened again" : "start");
    worker_.wake();
}

void KernelSource::close() noexcept {
    watch_.reset();
    channel_.reset();
    level_ = false;
}

std::string KernelSource::name() const {
    std::string text = "kernel";
    text += options_.netns.empty() ? "" : ", namespace " + options_.netns;
    text += options_.bridge.empty() ? "" : ", bridge " + options_.bridge;
    return text;
}

void KernelSource::recover(std::string const &message) {
    close();
    phase_ = Phase::waiting;
    retry_.startAfter(options_.retryAfter);
    trouble(message);
}

void KernelSource::trouble(std::string const &message) {
    troubled_ = true;
    host_.problem(fmt::format("{}: {}", name(), message));
}

// Turns

/// The worker reads until there is nothing, and is then woken by this.
void KernelSource::handleReadable() {
    watch_->eventsIs(0);
    worker_.wake();
}

Worker::More KernelSource::step(Osk::Task const &task) noexcept {
    try {
        return work(task);
    } catch (Error const &error) {
        recover(error.what());
        return Worker::More::no;
    }
}

Worker::More KernelSource::work(Osk::Task const &task) {
    while (channel_) {
        if (isSettling()) {
            if (topology_.settle(task) == Worker::More::yes) {
                return Worker::More::yes;
            }
            handleSettled();
        } else if (phase_ == Phase::following && again_) {
            viewBegins(*std::exchange(again_, std::nullopt));
        } else if (!readOne() && !handleNothing()) {
            watch_->eventsIs(EPOLLIN);
            return Worker::More::no;
        }
        if (task.taskShouldYield()) {
            level_ = phase_ == Phase::following && !topology_.settled();
            return Worker::More::yes;
        }
    }
    return Worker::More::no;
}

bool KernelSource::isSettling() const noexcept {
    return level_ || phase_ == Phase::registering || phase_ == Phase::completing;
}

bool KernelSource::isListing() const noexcept {
    return phase_ == Phase::links || phase_ == Phase::tables || phase_ == Phase::vlans;
}

void KernelSource::handleSettled() {
    level_ = false;
    if (phase_ == Phase::registering) {
        linksKnown_ = true;
        list(NetlinkDump::tables);
        host_.linksKnown();
    } else if (phase_ == Phase::completing) {
        viewIsComplete();
    }
}

// Receiving

bool KernelSource::readOne() {
    auto const received = channel_->receive();
    switch (received.what) {
    case NetlinkChannel::Received::What::nothing:
        return false;
    case NetlinkChannel::Received::What::overrun:
        handleOverrun();
        return true;
    case NetlinkChannel::Received::What::bytes:
        if (phase_ != Phase::draining) {
            handleDatagram(received.bytes);
        }
        return true;
    }
    return false;
}

/// Nothing is left to be read: whether there is something else to be done.
bool KernelSource::handleNothing() {
    if (phase_ == Phase::draining) {
        viewBegins(why_);
        return true;
    }
    level_ = phase_ == Phase::following && !topology_.settled();
    return level_;
}

void KernelSource::handleOverrun() {
    ++counts_.overruns;
    if (complete_) {
        why_ = overrunReason;
    }
    phase_ = Phase::draining;
}

void KernelSource::handleDatagram(std::span<std::byte const> bytes) {
    auto const *message = reinterpret_cast<nlmsghdr const *>(bytes.data());
    int rest = static_cast<int>(bytes.size());
    while (channel_ && mnl_nlmsg_ok(message, rest)) {
        handleMessage(*message);
        message = mnl_nlmsg_next(message, &rest);
    }
    if (rest > 0) {
        fail("{} bytes of a message that is not complete", rest);
    }
}

void KernelSource::handleMessage(nlmsghdr const &message) {
    if (message.nlmsg_pid != channel_->portId()) {
        handleNews(message);
    } else if (message.nlmsg_seq == listing_.sequence && isListing()) {
        handleAnswer(message);
    }
}

NetlinkFact KernelSource::understood(nlmsghdr const &message) const {
    NetlinkFact fact = decodeNetlink(message);
    if (auto const *const problem = std::get_if<NotUnderstood>(&fact)) {
        fail("{}", problem->reason);
    }
    return fact;
}

void KernelSource::handleNews(nlmsghdr const &message) {
    NetlinkFact const fact = understood(message);
    if (!std::holds_alternative<Unrelated>(fact)) {
        ++counts_.changes;
        std::visit([this](auto const &known) { take(known); }, fact);
    }
}

// News

void KernelSource::take(LinkFacts const &facts) {
    if (!topology_.knows(facts.index) && topology_.hasLowerElsewhere()) {
        again_ = "a link has come that subinterfaces may lie on";
    }
    topology_.linkIs(facts, Topology::From::news);
}

void KernelSource::take(LinkGone const &gone) {
    topology_.linkDel(gone.index, gone.moved);
    vlanNews(true);
}

void KernelSource::take(PortTable const &port) {
    pvidMoved_.erase(port.index);
    vlanNews(topology_.portTableIs(port.index, port.vlans));
}

void KernelSource::take(PortGone const &port) {
    vlanNews(topology_.portDel(port.index));
}

void KernelSource::take(PortVlans const &port) {
    if (topology_.portVlansMovePvid(port.index, port.vlans)) {
        pvidMoved_.insert(port.index);
        tablesDue_.startAfter(tableWait);
    }
    topology_.portVlansIs(port.index, port.vlans);
    vlanNews(true);
    if (topology_.portVlansMayHide(port.index, port.vlans)) {
        again_ = "the state of a VLAN behind a PVID is not known";
    }
}

void KernelSource::take(PortVlansGone const &port) {
    topology_.portVlansDel(port.index, port.vlans);
    vlanNews(true);
}

/// The kernel lists VLANs by their places in lists and marks nothing as interrupted, so what goes
/// may hide what comes after it. And it makes a part of the listing just before it lets it go: news
/// in front of a part may be newer.
void KernelSource::vlanNews(bool changed) {
    listing_.news |= changed;
}

// Answers

void KernelSource::handleAnswer(nlmsghdr const &message) {
    listing_.interrupted |= (message.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
    if (message.nlmsg_type == NLMSG_ERROR) {
        handleAnswerError(message);
        return;
    }
    if (message.nlmsg_type == NLMSG_DONE) {
        listingEndsBut(errorOf(message));
        return;
    }
    NetlinkFact const fact = understood(message);
    if (auto const *const link = std::get_if<LinkFacts>(&fact)) {
        topology_.linkIs(*link, Topology::From::view);
    } else if (auto const *const table = std::get_if<PortTable>(&fact)) {
        listing_.interrupted |= listing_.news;
        topology_.portTableIs(table->index, table->vlans);
    } else if (auto const *const port = std::get_if<PortVlans>(&fact)) {
        listing_.interrupted |= listing_.news;
        topology_.portVlansIs(port->index, port->vlans);
    }
}

/// A kernel that has not loaded its bridge does not know of VLANs either.
void KernelSource::handleAnswerError(nlmsghdr const &message) {
    int const error = errorOf(message);
    bool const noBridge =
        listing_.what == NetlinkDump::vlans && error == EOPNOTSUPP && !topology_.hasBridge();
    listingEndsBut(noBridge ? 0 : error);
}

/// The end of a listing, unless the kernel could not.
void KernelSource::listingEndsBut(int error) {
    if (error != 0) {
        fail("listing the {}: {}", listing_.what == NetlinkDump::links ? "links" : "VLANs",
             errnoText(error));
    }
    listingEnds();
}

// Views

void KernelSource::viewBegins(std::string_view why) {
    why_ = std::string(why);
    pvidMoved_.clear();
    list(NetlinkDump::links);
}

void KernelSource::list(NetlinkDump what) {
    listing_.attempts = 0;
    listAgain(what);
}

void KernelSource::listAgain(NetlinkDump what) {
    listing_ = {what, ++sequence_, listing_.attempts, false, false};
    switch (what) {
    case NetlinkDump::links:
        phase_ = Phase::links;
        topology_.linksBegin();
        break;
    case NetlinkDump::tables:
        phase_ = Phase::tables;
        break;
    case NetlinkDump::vlans:
        phase_ = Phase::vlans;
        topology_.vlansBegin();
        break;
    }
    channel_->send(netlinkDumpRequest(what, sequence_));
}

void KernelSource::listingEnds() {
    if (listing_.interrupted) {
        if (++listing_.attempts == patience) {
            trouble("the links change faster than they can be listed");
        }
        listAgain(listing_.what);
        return;
    }
    switch (listing_.what) {
    case NetlinkDump::links:
        topology_.linksEnd();
        if (!linksKnown_) {
            phase_ = Phase::registering;
            break;
        }
        list(NetlinkDump::tables);
        break;
    case NetlinkDump::tables:
        list(NetlinkDump::vlans);
        break;
    case NetlinkDump::vlans:
        topology_.vlansEnd();
        phase_ = Phase::completing;
        break;
    }
}

void KernelSource::viewIsComplete() {
    phase_ = Phase::following;
    counts_.resyncs += complete_ ? 1 : 0;
    complete_ = true;
    host_.viewComplete(why_);
    if (std::exchange(troubled_, false)) {
        host_.problemOver();
    }
}

} // namespace Agent
