// Random histories of links and VLANs, told as a kernel tells them, against the model.
#include "agent/source/Topology.h"
#include "tests/agent/source/TopologyModel.h"
#include "tests/support/Random.h"

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <optional>
#include <random>

namespace Agent {
namespace {

/// Changes the model and tells the topology, as long as it is not deaf.
class History {
  public:
    History(TestSupport::Random &random, Topology &topology)
        : random_(random), topology_(topology) {}

    TopologyModel const &model() const { return model_; }
    /// While it is, nothing is told: a view must follow.
    void deafIs(bool deaf) { deaf_ = deaf; }

    void step() {
        switch (random_.below(9)) {
        case 0:
        case 1:
            return add();
        case 2:
            return del();
        case 3:
            return rename();
        case 4:
            return enslave();
        case 5:
            return swapNames();
        case 6:
            return moveAway();
        case 7:
            return vlansDel();
        default:
            return vlansIs();
        }
    }

    /// A full view, with changes while it is under way.
    void view() {
        topology_.linksBegin();
        auto const before = model_.links;
        for (auto const &[index, facts] : before) {
            if (random_.oneIn(8)) {
                step();
            }
            // What is listed of a link is as new as the news before it; one may be gone, though.
            auto const now = model_.links.find(index);
            topology_.linkIs(now == model_.links.end() ? facts : now->second, Topology::From::view);
        }
        topology_.linksEnd();
        for (auto const &[index, facts] : model_.links) {
            topology_.portTableIs(index, spansOf(index));
        }
        topology_.vlansBegin();
        for (auto const &[index, facts] : model_.links) {
            topology_.portVlansIs(index, spansOf(index));
        }
        topology_.vlansEnd();
    }

  private:
    using Links = std::map<LinkIndex, LinkFacts>;

    LinkFacts *any(std::optional<LinkKind> kind = std::nullopt) {
        std::vector<LinkFacts *> found;
        for (auto &[index, facts] : model_.links) {
            if (!kind || facts.kind == *kind) {
                found.push_back(&facts);
            }
        }
        return found.empty() ? nullptr
                             : found[random_.below(static_cast<std::uint32_t>(found.size()))];
    }
    std::string freeName() {
        for (;;) {
            std::string name = "n" + std::to_string(random_.below(40));
            bool const isFree =
                std::none_of(model_.links.begin(), model_.links.end(),
                             [&](auto const &entry) { return entry.second.name == name; });
            if (isFree) {
                return name;
            }
        }
    }
    void tell(LinkFacts const &facts) {
        if (!deaf_) {
            topology_.linkIs(facts, Topology::From::news);
        }
    }
    void add() {
        if (model_.links.size() > 20) {
            return;
        }
        LinkFacts facts;
        facts.index = nextIndex_++;
        facts.name = freeName();
        facts.kind = static_cast<LinkKind>(random_.below(4));
        if (facts.kind == LinkKind::subinterface) {
            LinkFacts const *const lower = any();
            if (!lower) {
                return;
            }
            facts.lower = lower->index;
            facts.vlan = 9;
            facts.lowerElsewhere = random_.oneIn(10);
        }
        tell(model_.links[facts.index] = facts);
    }
    /// With all above it; which of them goes first is anybody's guess.
    void del() {
        if (LinkFacts const *const link = any()) {
            std::vector<LinkIndex> gone = {link->index};
            for (std::size_t i = 0; i < gone.size(); ++i) {
                for (auto const &[index, facts] : model_.links) {
                    if (facts.lower == gone[i] && !facts.lowerElsewhere) {
                        gone.push_back(index);
                    }
                }
            }
            std::shuffle(gone.begin(), gone.end(), random_);
            for (LinkIndex const index : gone) {
                forget(index, false);
            }
        }
    }
    void forget(LinkIndex index, bool moved) {
        model_.links.erase(index);
        model_.vlans.erase(index);
        if (!deaf_) {
            topology_.linkDel(index, moved);
        }
        for (auto &[other, facts] : model_.links) {
            if (facts.master == index) {
                facts.master = 0;
                tell(facts);
            }
        }
    }
    /// To another namespace; those above stay, and nobody tells of them.
    void moveAway() {
        if (LinkFacts const *const link = any()) {
            LinkIndex const index = link->index;
            for (auto &[other, facts] : model_.links) {
                if (facts.lower == index) {
                    facts.lowerElsewhere = true;
                }
            }
            forget(index, true);
        }
    }
    void rename() {
        if (LinkFacts *const link = any()) {
            link->name = freeName();
            tell(*link);
        }
    }
    void swapNames() {
        LinkFacts *const a = any();
        LinkFacts *const b = any();
        if (a && a != b) {
            std::string const mine = std::exchange(a->name, freeName());
            tell(*a);
            std::string const theirs = std::exchange(b->name, mine);
            tell(*b);
            a->name = theirs;
            tell(*a);
        }
    }
    void enslave() {
        LinkFacts *const link = any();
        LinkFacts const *const master = any(random_.oneIn(2) ? LinkKind::lag : LinkKind::bridge);
        if (link && link != master) {
            link->master = master && !random_.oneIn(4) ? master->index : 0;
            tell(*link);
        }
    }

    std::vector<VlanSpan> spansOf(LinkIndex index) {
        std::vector<VlanSpan> spans;
        auto const port = model_.vlans.find(index);
        if (port != model_.vlans.end()) {
            for (auto const &[number, vlan] : port->second) {
                spans.push_back(vlan);
            }
        }
        return spans;
    }
    VlanSpan anySpan() {
        VlanSpan span;
        span.first = static_cast<std::uint16_t>(1 + random_.below(20));
        span.last = static_cast<std::uint16_t>(span.first + random_.below(6));
        span.pvid = span.first == span.last && random_.oneIn(2);
        span.untagged = random_.oneIn(2);
        span.state = static_cast<VlanState>(random_.oneIn(2) ? 3 : random_.below(5));
        return span;
    }
    void vlansIs() {
        LinkFacts const *const link = any();
        if (!link) {
            return;
        }
        VlanSpan const span = anySpan();
        auto &port = model_.vlans[link->index];
        for (auto &[number, vlan] : port) {
            vlan.pvid = vlan.pvid && !span.pvid;
        }
        for (std::uint16_t number = span.first; number <= span.last; ++number) {
            port[number] = span;
            port[number].first = port[number].last = number;
        }
        if (!deaf_) {
            topology_.portVlansIs(link->index, std::vector{span});
            topology_.portTableIs(link->index, spansOf(link->index));
        }
    }
    void vlansDel() {
        LinkFacts const *const link = any();
        if (!link || !model_.vlans.contains(link->index)) {
            return;
        }
        VlanSpan const span = anySpan();
        auto &port = model_.vlans[link->index];
        port.erase(port.lower_bound(span.first), port.upper_bound(span.last));
        if (!deaf_) {
            topology_.portVlansDel(link->index, std::vector{span});
        }
    }

    TestSupport::Random &random_;
    Topology &topology_;
    TopologyModel model_;
    LinkIndex nextIndex_ = 1;
    bool deaf_ = false;
};

/// A history of some hundred changes, settled here and there, in slices of `tests` steps; nothing
/// is settled while a view is under way.
void play(std::uint32_t seed, std::string const &bridge) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TestSupport::Random random(seed);
    Iftel::NameTable::instance().resetForTest();
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    scheduler->shareIs(std::make_unique<Osk::CountShare>(1 + random.below(30)));
    Inputs const inputs = emptyInputs();
    std::vector<Iftel::IntfId> retired;
    Topology topology(inputs, bridge, [&](Iftel::IntfId id) { retired.push_back(id); });
    Worker worker(scheduler, Osk::TaskPriority::normal, "settle",
                  [&](Osk::Task const &task) { return topology.settle(task); });
    History history(random, topology);
    for (int i = 0; i < 300; ++i) {
        history.step();
        if (random.oneIn(3)) {
            worker.wake();
            (void)scheduler->runOne();
        }
        if (random.oneIn(30)) {
            history.deafIs(true);
            for (std::uint32_t lost = random.below(20); lost > 0; --lost) {
                history.step();
            }
            history.deafIs(false);
            history.view();
        }
        if (random.oneIn(10)) {
            worker.wake();
            scheduler->runUntilIdle();
            ASSERT_EQ(linesOf(inputs), history.model().lines(bridge)) << "step " << i;
            for (Iftel::IntfId const id : std::exchange(retired, {})) {
                if (!topology.uses(id)) {
                    Iftel::NameTable::instance().intfDel(id);
                }
            }
        }
    }
}

TEST(TopologyRandom, RandomHistoriesEndAsTheModelSays) {
    std::uint32_t const seed = std::random_device{}();
    for (std::uint32_t i = 0; i < 100 && !testing::Test::HasFailure(); ++i) {
        play(seed + i, i % 4 == 0 ? "n7" : "");
    }
    Iftel::NameTable::instance().resetForTest();
}

} // namespace
} // namespace Agent
