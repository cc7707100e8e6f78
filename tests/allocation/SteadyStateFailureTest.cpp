// A machine that is ready, and memory runs out in a change: every allocation of it fails, one after
// the other.
//
// A mutator that fails before it changed anything leaves its entity, the machine and the directory
// as they were, gives no notice, and works when it is called again. Inside the machine's reaction
// the failure ends the process.
#include "tests/allocation/AllocationFixture.h"

#include <fmt/format.h>

#include <initializer_list>
#include <list>

namespace Allocation {
namespace {

/// Counts the notices of an entity, and allocates nothing for it.
class NoticeCount {
  public:
    NoticeCount(Qor::Entity const &entity, int &notices)
        : count_(notices), subscriber_(&NoticeCount::onNotice, this) {
        entity.publisher().subscriberAdd(subscriber_, false);
    }

  private:
    static void onNotice(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                         short /*attribute*/, void const * /*key*/,
                         void const * /*reserved*/) noexcept {
        ++static_cast<NoticeCount *>(subscriber->owner())->count_;
    }

    int &count_;
    Nuvio::Subscriber subscriber_;
};

class SteadyStateFailureTest : public AllocationTest, public testing::WithParamInterface<Memory> {
  protected:
    /// The small world with collections that one more entry lets grow: four VLANs, four LAGs, eight
    /// members in VLAN 1 and in PortChannel1.
    void SetUp() override {
        fillSmallWorld();
        member(1, "PortChannel4.1");
        for (std::uint32_t number = vlan1->intf().size(); number < 8; ++number) {
            member(1, fmt::format("Ethernet2{}", number));
        }
        for (std::uint32_t number = lag1->phyIntf().size(); number < 8; ++number) {
            lagMember("PortChannel1", fmt::format("Ethernet3{}", number));
        }
        vlan(3);
        vlan(4);
        lag("PortChannel2");
        lag("PortChannel6");
        if (GetParam() != Memory::pool) {
            traceToNobody(); // untraced, a reaction takes nothing but from the pool
        }
        startAsynchronous();
        run();
        ASSERT_TRUE(machine->ready());
        for (Qor::Entity const *const entity : std::initializer_list<Qor::Entity const *>{
                 bridging.get(), lagMapping.get(), vlan1.get(), lag1.get()}) {
            counts_.emplace_back(*entity, notices_);
        }
    }
    /// Every failure of one change.
    void change(std::string const &what, std::function<void()> const &act) {
        SCOPED_TRACE(what);
        before_ = state();
        auto const ends = failEach(
            GetParam(), act, [&] { return undone(act); }, [this] { return derived(); });
        undoneInAll += ends.undone;
        endedInAll += ends.ended;
    }

    Qor::Ptr<Bridging::VlanConfig> vlan1 = vlan(1);
    Qor::Ptr<Lag::LagPhyIntfConfig> lag1 = lag("PortChannel1");
    int undoneInAll = 0;
    int endedInAll = 0;

  private:
    struct State {
        Model::Inputs inputs;
        Model::Output output;
        Model::LagVlanStatus status;
        std::vector<std::uint32_t> stamps; ///< of the inputs' collections, in the order of walks

        friend bool operator==(State const &, State const &) = default;
    };
    [[nodiscard]] State state() const {
        std::vector<std::uint32_t> stamps{bridging->vlanConfig().stamp(),
                                          lagMapping->lagPhyIntfConfig().stamp()};
        for (auto const &[vlanId, config] : bridging->vlanConfig()) {
            stamps.push_back(config->intf().stamp());
        }
        for (auto const &[lagId, config] : lagMapping->lagPhyIntfConfig()) {
            stamps.push_back(config->phyIntf().stamp());
        }
        return {Model::read(*bridging, *lagMapping), Model::read(*dir),
                Model::read(*machine->localAttrStore()), stamps};
    }
    Complaint undone(std::function<void()> const &act) {
        if (notices_ != 0) {
            return "there was a notice";
        }
        if (!(state() == before_)) {
            return "something has changed";
        }
        act();
        return derived();
    }
    /// The output and the store are what the model derives from the inputs.
    [[nodiscard]] Complaint derived() const {
        auto const inputs = Model::read(*bridging, *lagMapping);
        return Model::differences(Model::derive(inputs), Model::read(*dir)) +
               Model::differences(Model::deriveLagVlanStatus(inputs),
                                  Model::read(*machine->localAttrStore()));
    }

    State before_;
    int notices_ = 0;
    std::list<NoticeCount> counts_;
};
INSTANTIATE_TEST_SUITE_P(Of, SteadyStateFailureTest,
                         testing::Values(Memory::pool, Memory::plain, Memory::plainOnwards),
                         memoryName);

TEST_P(SteadyStateFailureTest, AMutatorOfAnInputChangesNothingOrTheProcessEnds) {
    using Bridging::VlanId;
    auto const plain = id("Ethernet4.1");
    auto const ofLag1 = id("PortChannel1.11");
    auto const ofNoLag = id("PortChannel5.1");
    auto const there = id("PortChannel1.1");
    auto const firstLag = id("PortChannel1");
    auto const fifthLag = id("PortChannel5");
    auto const ninth = id("Ethernet9");
    auto const first = id("Ethernet1");
    auto const configured = Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();

    change("a fifth VLAN", [&] { bridging->vlanConfigIs(VlanId(5)); });
    change("a VLAN that is there", [&] { bridging->vlanConfigIs(VlanId(1)); });
    change("a VLAN gone", [&] { bridging->vlanConfigDel(VlanId(1)); });
    change("a ninth member", [&] { vlan1->intfIs(plain, {}); });
    change("a ninth member that rides on a LAG", [&] { vlan1->intfIs(ofLag1, {}); });
    change("a ninth member of an unknown LAG", [&] { vlan1->intfIs(ofNoLag, {}); });
    change("a member with another configuration", [&] { vlan1->intfIs(there, {}); });
    change("a member gone", [&] { vlan1->intfDel(there); });
    change("a fifth LAG", [&] { lagMapping->lagPhyIntfConfigIs(fifthLag); });
    change("a LAG gone", [&] { lagMapping->lagPhyIntfConfigDel(firstLag); });
    change("a ninth LAG member", [&] { lag1->phyIntfIs(ninth, configured); });
    change("a ninth LAG member, null", [&] { lag1->phyIntfIs(ninth, nullptr); });
    change("a LAG member that becomes null", [&] { lag1->phyIntfIs(first, nullptr); });
    change("a LAG member gone", [&] { lag1->phyIntfDel(first); });

    if (GetParam() == Memory::pool) {
        EXPECT_GT(undoneInAll, 5);
    }
    EXPECT_GT(endedInAll, 10);
}

} // namespace
} // namespace Allocation
