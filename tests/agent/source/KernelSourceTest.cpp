#include "agent/source/KernelSource.h"

#include "agent/Error.h"
#include "tests/agent/loop/TurnUntil.h"
#include "tests/agent/source/NetlinkCapture.h"
#include "tests/agent/source/TopologyModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Received = NetlinkChannel::Received;

constexpr std::uint32_t ownPort = 77;

/// The kernel's end of a channel: what it lists when asked, and what it has said so far.
struct FakeKernel {
    struct Said {
        Received::What what = Received::What::bytes;
        std::vector<std::byte> bytes;
    };
    std::map<NetlinkDump, std::vector<NetlinkMessage>> listings;
    std::map<NetlinkDump, int> errors;          ///< instead of a listing
    std::map<NetlinkDump, int> interruptions;   ///< so many times more
    std::function<void(NetlinkDump)> meanwhile; ///< called in the middle of each listing
    std::deque<Said> said;
    std::vector<NetlinkDump> asked;
    int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::optional<std::string> refusal; ///< to open a channel
    unsigned opened = 0;

    FakeKernel() = default;
    ~FakeKernel() { ::close(descriptor); }
    FakeKernel(FakeKernel const &) = delete;
    FakeKernel &operator=(FakeKernel const &) = delete;

    void say(NetlinkMessage const &message) { put({Received::What::bytes, message.bytes()}); }
    void overrun() { said.push_front({Received::What::overrun, {}}), signal(); }

    void answer(NetlinkMessage request) {
        auto const sequence = request.head().nlmsg_seq;
        auto const what = whatIsAsked(request);
        asked.push_back(what);
        if (errors.contains(what)) {
            nlmsgerr error{};
            error.error = -errors[what];
            say(NetlinkMessage::of(NLMSG_ERROR, error).as(sequence, ownPort, 0));
            return;
        }
        auto const &listing = listings[what];
        for (std::size_t i = 0; i < listing.size(); ++i) {
            if (meanwhile && i == listing.size() / 2) {
                meanwhile(what);
            }
            say(listing[i].as(sequence, ownPort));
        }
        bool const interrupted = interruptions[what] > 0 && interruptions[what]-- > 0;
        say(NetlinkMessage::of(NLMSG_DONE, int{0})
                .as(sequence, ownPort,
                    static_cast<std::uint16_t>(NLM_F_MULTI | (interrupted ? NLM_F_DUMP_INTR : 0))));
    }

    static NetlinkDump whatIsAsked(NetlinkMessage &request) {
        if (request.head().nlmsg_type == RTM_GETVLAN) {
            return NetlinkDump::vlans;
        }
        auto const *const head =
            static_cast<ifinfomsg const *>(mnl_nlmsg_get_payload(&request.head()));
        return head->ifi_family == AF_BRIDGE ? NetlinkDump::tables : NetlinkDump::links;
    }

  private:
    void put(Said what) { said.push_back(std::move(what)), signal(); }
    void signal() const { ::eventfd_write(descriptor, 1); }
};

class FakeChannel final : public NetlinkChannel {
  public:
    explicit FakeChannel(FakeKernel &kernel) : kernel_(kernel) {}

    [[nodiscard]] int descriptor() const noexcept override { return kernel_.descriptor; }
    [[nodiscard]] std::uint32_t portId() const noexcept override { return ownPort; }
    void send(std::span<std::byte const> request) override {
        kernel_.answer(NetlinkMessage(std::vector(request.begin(), request.end())));
    }
    [[nodiscard]] Received receive() override {
        if (kernel_.said.empty()) {
            eventfd_t ignored = 0;
            ::eventfd_read(kernel_.descriptor, &ignored);
            return {Received::What::nothing, {}};
        }
        current_ = std::move(kernel_.said.front());
        kernel_.said.pop_front();
        return {current_.what, current_.bytes};
    }

  private:
    FakeKernel &kernel_;
    FakeKernel::Said current_;
};

/// Writes down what it is told.
struct Host final : SourceHost {
    std::vector<std::string> told;

    void linksKnown() override { told.emplace_back("links known"); }
    void viewComplete(std::string_view why) override {
        told.push_back("complete: " + std::string(why));
    }
    void problem(std::string_view message) override {
        told.push_back("problem: " + std::string(message));
    }
    void problemOver() override { told.emplace_back("problem over"); }
    void retired(Iftel::IntfId id) override {
        told.push_back("retired " + std::string(id.stringValue().view()));
    }
};

class KernelSourceTest : public testing::Test {
  protected:
    KernelSourceTest() { Iftel::NameTable::instance().resetForTest(); }
    ~KernelSourceTest() override {
        source.stop();
        Iftel::NameTable::instance().resetForTest();
    }

    void listCapture(std::string const &name) {
        kernel.listings = {{NetlinkDump::links, withoutEnd(name + "-link")},
                           {NetlinkDump::tables, withoutEnd(name + "-bridge-vlanc")},
                           {NetlinkDump::vlans, withoutEnd(name + "-vlan")}};
    }
    static std::vector<NetlinkMessage> withoutEnd(std::string const &capture) {
        auto messages = netlinkCapture(capture);
        messages.pop_back();
        return messages;
    }
    /// A bond with a member, and a port in two VLANs.
    void listLittle() {
        kernel.listings = {
            {NetlinkDump::links,
             {linkMessage({1, "eth1", LinkKind::plain, 3, 0, false, 0}),
              linkMessage({2, "br0", LinkKind::bridge, 0, 0, false, 0}),
              linkMessage({3, "bond0", LinkKind::lag, 2, 0, false, 0})}},
            {NetlinkDump::tables, {tableMessage(3, {{0, 5}, {0, 6}})}},
            {NetlinkDump::vlans, {vlansMessage(RTM_NEWVLAN, 3, {{5, 6}})}},
        };
    }
    void start() {
        source.start();
        turnUntilIdle(loop);
    }
    /// The inputs, when all that was said has been taken in.
    std::vector<std::string> lines() {
        turnUntilIdle(loop);
        auto const all = linesOf(inputs);
        return {all.begin(), all.end()};
    }
    std::vector<std::string> told() { return std::exchange(host.told, {}); }

    FakeKernel kernel;
    Loop loop{Osk::TaskScheduler::TaskSchedulerIs()};
    Inputs inputs = emptyInputs();
    Host host;
    KernelSource source{loop,
                        inputs,
                        host,
                        {"", "", 0, std::chrono::milliseconds(0)},
                        [this]() -> std::unique_ptr<NetlinkChannel> {
                            ++kernel.opened;
                            if (kernel.refusal) {
                                fail("{}", *kernel.refusal);
                            }
                            return std::make_unique<FakeChannel>(kernel);
                        }};
};

std::vector<std::string> const little{"5 bond0/- tagged both", "6 bond0/- tagged both",
                                      "lag bond0: eth1"};

/// The inputs that the files of iproute2 make of the same kernel at the same moment.
InputLines linesOfFiles(std::string const &name) {
    Iftel::NameTable::instance().resetForTest();
    std::string const folder =
        std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/captures/" + name + "/";
    Progress progress;
    InputOptions options;
    options.links = folder + "links.json";
    options.vlans = folder + "vlans.json";
    return linesOf(loadInputs(options, progress));
}

// Start.

TEST_F(KernelSourceTest, SaysInOrderWhenLinksAreKnownAndWhenTheViewIsComplete) {
    listLittle();
    EXPECT_FALSE(source.complete());
    start();
    EXPECT_THAT(told(), ElementsAre("links known", "complete: start"));
    EXPECT_TRUE(source.complete());
    EXPECT_EQ(lines(), little);
    EXPECT_THAT(kernel.asked,
                ElementsAre(NetlinkDump::links, NetlinkDump::tables, NetlinkDump::vlans));
    EXPECT_EQ(source.counts().changes, 0U);
}

TEST_F(KernelSourceTest, ACaptureMakesTheInputsOfItsDocuments) {
    auto const expected = linesOfFiles("small");
    Iftel::NameTable::instance().resetForTest();
    listCapture("small");
    start();
    EXPECT_EQ(linesOf(inputs), expected);
}

TEST_F(KernelSourceTest, ACaptureMakesWhatItsDocumentsLeaveOutToo) {
    auto expected = linesOfFiles("trunk");
    expected.insert("3 bond0/- untagged egress"); // the document has no VLAN joined to the PVID
    Iftel::NameTable::instance().resetForTest();
    listCapture("trunk");
    start();
    EXPECT_EQ(linesOf(inputs), expected);
}

TEST_F(KernelSourceTest, AKernelWithoutABridgeHasNoVlans) {
    kernel.listings[NetlinkDump::links] = {linkMessage({1, "eth1"})};
    kernel.errors[NetlinkDump::vlans] = EOPNOTSUPP;
    start();
    EXPECT_THAT(told(), ElementsAre("links known", "complete: start"));
}

TEST_F(KernelSourceTest, AKernelThatCannotListVlansIsAProblem) {
    listLittle();
    kernel.errors[NetlinkDump::vlans] = EOPNOTSUPP;
    start();
    EXPECT_THAT(host.told,
                testing::Contains("problem: kernel: listing the VLANs: Operation not supported"));
    EXPECT_FALSE(source.complete());
    kernel.errors.clear();
    EXPECT_TRUE(turnUntil(loop, [this] { return source.complete(); }));
    EXPECT_EQ(host.told.back(), "problem over");
    EXPECT_EQ(lines(), little);
}

TEST_F(KernelSourceTest, AStartThatCannotWorkThrows) {
    kernel.refusal = "network namespace \"foo\": no such thing";
    EXPECT_THROW(source.start(), Error);
    EXPECT_THAT(host.told, IsEmpty());
    kernel.refusal.reset();
    listLittle();
    start();
    EXPECT_EQ(lines(), little);
}

TEST_F(KernelSourceTest, AfterAStopItBeginsAnew) {
    listLittle();
    start();
    source.stop();
    EXPECT_FALSE(source.complete());
    kernel.say(linkGoneMessage(3));
    EXPECT_EQ(lines(), little);
    kernel.listings[NetlinkDump::vlans] = {vlansMessage(RTM_NEWVLAN, 3, {{6, 6}})};
    kernel.listings[NetlinkDump::tables] = {tableMessage(3, {{0, 6}})};
    kernel.said.clear();
    (void)told();
    start();
    EXPECT_THAT(told(), ElementsAre("links known", "complete: start"));
    EXPECT_THAT(lines(), ElementsAre("6 bond0/- tagged both", "lag bond0: eth1"));
}

// Changes.

/// The model, told the same as the source.
void tell(TopologyModel &model, NetlinkFact const &fact) {
    if (auto const *const link = std::get_if<LinkFacts>(&fact)) {
        model.links[link->index] = *link;
    } else if (auto const *const gone = std::get_if<LinkGone>(&fact)) {
        model.links.erase(gone->index);
        model.vlans.erase(gone->index);
    } else if (auto const *const noPort = std::get_if<PortGone>(&fact)) {
        model.vlans.erase(noPort->index);
    } else if (auto const *const table = std::get_if<PortTable>(&fact)) {
        auto const before = std::exchange(model.vlans[table->index], {});
        for (VlanSpan span : table->vlans) {
            for (std::uint16_t vlan = span.first; vlan <= span.last; ++vlan) {
                auto const known = before.find(vlan);
                span.state = known == before.end() ? VlanState::forwarding : known->second.state;
                model.vlans[table->index][vlan] = span;
            }
        }
    } else if (auto const *const port = std::get_if<PortVlans>(&fact)) {
        for (VlanSpan const &span : port->vlans) {
            for (auto &[vlan, other] : model.vlans[port->index]) {
                other.pvid = other.pvid && !span.pvid;
            }
            for (std::uint16_t vlan = span.first; vlan <= span.last; ++vlan) {
                model.vlans[port->index][vlan] = span;
            }
        }
    } else if (auto const *const less = std::get_if<PortVlansGone>(&fact)) {
        for (VlanSpan const &span : less->vlans) {
            auto &vlans = model.vlans[less->index];
            vlans.erase(vlans.lower_bound(span.first), vlans.upper_bound(span.last));
        }
    }
}

class KernelSourceReplayTest : public KernelSourceTest,
                               public testing::WithParamInterface<char const *> {};

TEST_P(KernelSourceReplayTest, EndsEachChangeAsTheModelSays) {
    std::string const capture = GetParam();
    listCapture(capture);
    TopologyModel model;
    for (auto const what : {NetlinkDump::links, NetlinkDump::tables, NetlinkDump::vlans}) {
        for (NetlinkMessage message : kernel.listings[what]) {
            tell(model, message.fact());
        }
    }
    start();
    auto changes = netlinkCapture(capture + "-monitor");
    for (std::size_t i = 0; i < changes.size(); ++i) {
        kernel.say(changes[i]);
        tell(model, changes[i].fact());
        turnUntilIdle(loop);
        ASSERT_EQ(linesOf(inputs), model.lines()) << "message " << i;
    }
    EXPECT_EQ(source.counts().changes, changes.size());
    EXPECT_EQ(source.counts().resyncs, 0U);
}

TEST_P(KernelSourceReplayTest, EndsTheSameWhenAllChangesComeAtOnce) {
    std::string const capture = GetParam();
    listCapture(capture);
    start();
    for (NetlinkMessage const &message : netlinkCapture(capture + "-monitor")) {
        kernel.say(message);
    }
    auto const all = lines();
    if (capture == "small") {
        EXPECT_THAT(all, ElementsAre("lag bond0: eth1 eth2"));
    } else {
        EXPECT_THAT(all, testing::Contains("lag bond1: eth2 eth5 eth6 eth7 eth8"));
        EXPECT_THAT(all, testing::Not(testing::Contains(testing::HasSubstr("bond7"))));
    }
}

TEST_P(KernelSourceReplayTest, AnOverrunInTheMiddleEndsAsTheKernelHasIt) {
    std::string const capture = GetParam();
    listCapture(capture);
    start();
    auto const before = lines();
    auto const changes = netlinkCapture(capture + "-monitor");
    for (std::size_t i = 0; i < changes.size() / 2; ++i) {
        kernel.say(changes[i]);
    }
    EXPECT_NE(lines(), before);
    kernel.say(changes.back());
    kernel.overrun();
    EXPECT_EQ(lines(), before);
    EXPECT_EQ(source.counts().overruns, 1U);
    EXPECT_EQ(source.counts().resyncs, 1U);
    EXPECT_EQ(host.told.back(), "complete: receive buffer overrun");
}

INSTANTIATE_TEST_SUITE_P(Captures, KernelSourceReplayTest, testing::Values("small", "trunk"),
                         [](auto const &capture) { return std::string(capture.param); });

TEST_F(KernelSourceTest, TakesInWhatComesWhileLinksAreListed) {
    listLittle();
    kernel.meanwhile = [this](NetlinkDump what) {
        if (what == NetlinkDump::links) {
            kernel.say(linkMessage({4, "eth4", LinkKind::plain, 3, 0, false, 0}));
            kernel.say(linkGoneMessage(1));
        }
    };
    start();
    EXPECT_THAT(lines(),
                ElementsAre("5 bond0/- tagged both", "6 bond0/- tagged both", "lag bond0: eth4"));
}

TEST_F(KernelSourceTest, ReadsAWholeDatagramOfMessages) {
    listLittle();
    start();
    auto bytes = linkMessage({4, "eth4", LinkKind::plain, 3, 0, false, 0}).bytes();
    auto const more = linkGoneMessage(1).bytes();
    bytes.insert(bytes.end(), more.begin(), more.end());
    kernel.say(NetlinkMessage(bytes));
    EXPECT_EQ(lines().back(), "lag bond0: eth4");
    EXPECT_EQ(source.counts().changes, 2U);
}

// Views.

TEST_F(KernelSourceTest, AViewTouchesNothingThatStays) {
    listCapture("small");
    start();
    auto const vlan = *inputs.bridgingConfig->vlanConfig(Bridging::VlanId(100));
    auto const stamp = vlan->intf().stamp();
    (void)told();
    source.resynchronise("asked for");
    turnUntilIdle(loop);
    EXPECT_THAT(told(), ElementsAre("complete: asked for"));
    EXPECT_EQ(vlan->intf().stamp(), stamp);
    EXPECT_EQ(source.counts().resyncs, 1U);
}

TEST_F(KernelSourceTest, AnInterruptedListingIsRepeated) {
    listLittle();
    kernel.interruptions = {{NetlinkDump::links, 2}};
    start();
    EXPECT_THAT(kernel.asked,
                ElementsAre(NetlinkDump::links, NetlinkDump::links, NetlinkDump::links,
                            NetlinkDump::tables, NetlinkDump::vlans));
    EXPECT_THAT(told(), ElementsAre("links known", "complete: start"));
    EXPECT_EQ(lines(), little);
}

TEST_F(KernelSourceTest, ListingsThatAreInterruptedForeverAreAProblem) {
    listLittle();
    kernel.interruptions = {{NetlinkDump::links, 150}};
    start();
    EXPECT_THAT(told(), ElementsAre("problem: kernel: the links change faster than they can be "
                                    "listed",
                                    "links known", "complete: start", "problem over"));
}

TEST_F(KernelSourceTest, AListingOfVlansIsRepeatedAfterNewsInFrontOfAPart) {
    listLittle();
    kernel.listings[NetlinkDump::vlans].push_back(vlansMessage(RTM_NEWVLAN, 2, {{5, 5}}));
    int news = 1;
    kernel.meanwhile = [&](NetlinkDump what) {
        if (what == NetlinkDump::vlans && news-- > 0) {
            kernel.say(vlansMessage(RTM_DELVLAN, 3, {{5, 5}}));
        }
    };
    start();
    EXPECT_THAT(kernel.asked, ElementsAre(NetlinkDump::links, NetlinkDump::tables,
                                          NetlinkDump::vlans, NetlinkDump::vlans));
    EXPECT_EQ(lines(), little);
}

TEST_F(KernelSourceTest, ALossWhileListingBeginsTheViewAgain) {
    listLittle();
    bool lost = false;
    kernel.meanwhile = [&](NetlinkDump what) {
        if (what == NetlinkDump::vlans && !std::exchange(lost, true)) {
            kernel.overrun();
        }
    };
    start();
    EXPECT_THAT(told(), ElementsAre("links known", "complete: start"));
    EXPECT_EQ(source.counts().overruns, 1U);
    EXPECT_EQ(lines(), little);
}

TEST_F(KernelSourceTest, WhatWaitsAtALossIsOlderThanTheNextView) {
    listLittle();
    start();
    kernel.say(linkMessage({1, "eth1"}));
    kernel.overrun();
    EXPECT_EQ(lines(), little);
    EXPECT_EQ(source.counts().changes, 0U);
}

TEST_F(KernelSourceTest, ALinkThatMayBeALowerOneIsLookedInto) {
    listLittle();
    LinkFacts sub{4, "v", LinkKind::subinterface, 0, 5, true, 9};
    kernel.listings[NetlinkDump::links].push_back(linkMessage(sub));
    start();
    sub.lowerElsewhere = false;
    kernel.listings[NetlinkDump::links].back() = linkMessage(sub);
    LinkFacts const back{5, "eth5"};
    kernel.listings[NetlinkDump::links].push_back(linkMessage(back));
    kernel.say(linkMessage(back));
    turnUntilIdle(loop);
    EXPECT_THAT(host.told, testing::Contains("retired v"));
    EXPECT_THAT(host.told,
                testing::Contains("complete: a link has come that subinterfaces may lie on"));
    EXPECT_THAT(source.describe("v"), ElementsAre("link 4, vlan 9 on eth5"));
}

TEST_F(KernelSourceTest, AStateThatAPvidMayHideIsLookedInto) {
    listLittle();
    start();
    (void)told();
    kernel.listings[NetlinkDump::tables] = {tableMessage(3, {{BRIDGE_VLAN_INFO_PVID, 5}, {0, 6}})};
    kernel.listings[NetlinkDump::vlans] = {
        vlansMessage(RTM_NEWVLAN, 3, {{5, 5, true, false, VlanState::blocking}})};
    kernel.say(kernel.listings[NetlinkDump::vlans].front());
    EXPECT_THAT(lines(), ElementsAre("5 bond0/- tagged pvid none", "6 bond0/- tagged none",
                                     "lag bond0: eth1"));
    EXPECT_THAT(told(), ElementsAre("complete: the state of a VLAN behind a PVID is not known"));
}

/// Of a bridge's default PVID the kernel tells the new VLAN only, and sends no table.
TEST_F(KernelSourceTest, APvidThatMovesWithoutATableIsLookedInto) {
    listLittle();
    kernel.listings[NetlinkDump::tables] = {tableMessage(3, {{BRIDGE_VLAN_INFO_PVID, 5}})};
    kernel.listings[NetlinkDump::vlans] = {vlansMessage(RTM_NEWVLAN, 3, {{5, 5, true}})};
    start();
    (void)told();
    kernel.listings[NetlinkDump::tables] = {tableMessage(3, {{BRIDGE_VLAN_INFO_PVID, 9}})};
    kernel.listings[NetlinkDump::vlans] = {vlansMessage(RTM_NEWVLAN, 3, {{9, 9, true}})};
    kernel.say(kernel.listings[NetlinkDump::vlans].front());
    ASSERT_TRUE(turnUntil(loop, [&] { return source.counts().resyncs == 1; }));
    EXPECT_THAT(told(), ElementsAre("complete: the default PVID of a bridge has changed"));
    EXPECT_THAT(lines(), ElementsAre("9 bond0/- tagged pvid both", "lag bond0: eth1"));
}

TEST_F(KernelSourceTest, APvidThatMovesWithATableIsNotLookedInto) {
    listLittle();
    kernel.listings[NetlinkDump::tables] = {tableMessage(3, {{BRIDGE_VLAN_INFO_PVID, 5}})};
    kernel.listings[NetlinkDump::vlans] = {vlansMessage(RTM_NEWVLAN, 3, {{5, 5, true}})};
    start();
    kernel.say(vlansMessage(RTM_NEWVLAN, 3, {{9, 9, true}}));
    turnUntilIdle(loop);
    kernel.say(tableMessage(3, {{0, 5}, {BRIDGE_VLAN_INFO_PVID, 9}}));
    EXPECT_THAT(lines(), ElementsAre("5 bond0/- tagged both", "9 bond0/- tagged pvid both",
                                     "lag bond0: eth1"));
    Loop::Timer over(loop, "test", [] {});
    over.startAfter(2 * KernelSource::tableWait);
    ASSERT_TRUE(turnUntil(loop, [&] { return !over.running(); }));
    EXPECT_EQ(source.counts().resyncs, 0U);
}

// Failures.

TEST_F(KernelSourceTest, WhatIsNotUnderstoodIsAProblemAndLeadsToAView) {
    listLittle();
    start();
    (void)told();
    kernel.say(vlansMessage(RTM_NEWVLAN, 3, {{7, 4095}}));
    turnUntilIdle(loop);
    ASSERT_EQ(host.told.front(),
              "problem: kernel: RTM_NEWVLAN of link 3: 4095 is no number of a VLAN");
    EXPECT_TRUE(turnUntil(loop, [this] { return host.told.back() == "problem over"; }));
    EXPECT_EQ(kernel.opened, 2U);
    EXPECT_EQ(lines(), little);
}

TEST_F(KernelSourceTest, AMessageThatIsCutOffIsAProblem) {
    listLittle();
    start();
    (void)told();
    auto bytes = linkGoneMessage(1).bytes();
    bytes.resize(bytes.size() - 4);
    kernel.say(NetlinkMessage(bytes));
    EXPECT_TRUE(turnUntil(
        loop, [this] { return !host.told.empty() && host.told.back() == "problem over"; }));
    EXPECT_EQ(host.told.front(), "problem: kernel: 28 bytes of a message that is not complete");
    EXPECT_EQ(lines(), little);
}

TEST_F(KernelSourceTest, GoesOnTryingToOpenTheSocket) {
    listLittle();
    start();
    kernel.refusal = "no socket";
    kernel.say(vlansMessage(RTM_NEWVLAN, 3, {{7, 4095}}));
    EXPECT_TRUE(turnUntil(loop, [this] { return kernel.opened > 3; }));
    EXPECT_EQ(host.told.back(), "problem: kernel: no socket");
    kernel.refusal.reset();
    EXPECT_TRUE(turnUntil(loop, [this] { return host.told.back() == "problem over"; }));
    EXPECT_EQ(lines(), little);
}

// Slices.

TEST_F(KernelSourceTest, ReadsNothingWhileTheInputsAreNotLevel) {
    listLittle();
    start();
    loop.scheduler()->shareIs(std::make_unique<Osk::CountShare>(1));
    kernel.say(vlansMessage(RTM_NEWVLAN, 3, {{100, 199}}));
    kernel.say(vlansMessage(RTM_DELVLAN, 3, {{100, 199}}));
    auto const isThere = [this] {
        return inputs.bridgingConfig->vlanConfig(Bridging::VlanId(199)).hasValue();
    };
    EXPECT_TRUE(turnUntil(loop, isThere));
    EXPECT_EQ(kernel.said.size(), 1U);
    EXPECT_EQ(lines(), little);
}

TEST_F(KernelSourceTest, NamesItself) {
    EXPECT_EQ(source.name(), "kernel");
    KernelSource const other(loop, inputs, host, {"blue", "br0", 0, {}});
    EXPECT_EQ(other.name(), "kernel, namespace blue, bridge br0");
}

} // namespace
} // namespace Agent
