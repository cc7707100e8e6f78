// The mutators and creators of entities on their own, and memory runs out in them: every allocation
// fails, one after the other, and nothing has changed. Where no machine reacts, none of them ends
// the process, but the creators of the local attribute store, which may not throw.
#include "VlanSubIntfConfigLib/DovraPrint.h"
#include "tests/allocation/AllocationFixture.h"

namespace Allocation {
namespace {

class MutatorFailureTest : public AllocationTest, public testing::WithParamInterface<Memory> {
  protected:
    /// Every failure of `act`, which must leave `size` as it is, and change it when nothing fails.
    Ends mutate(std::function<void()> const &act, std::function<std::uint32_t()> const &size) {
        auto const before = size();
        auto const ends = failEach(
            GetParam(), act, [&] { return size() == before ? "" : "it has changed"; },
            [&] { return size() == before + 1 ? "" : "it has not changed"; });
        if (GetParam() == Memory::pool) {
            EXPECT_GT(ends.undone + ends.ended, 0);
        }
        return ends;
    }
    Iftel::IntfId const intf = id("PortChannel1.1");
    Iftel::IntfId const other = id("Ethernet1");
};
INSTANTIATE_TEST_SUITE_P(Of, MutatorFailureTest,
                         testing::Values(Memory::pool, Memory::plain, Memory::plainOnwards),
                         memoryName);

TEST_P(MutatorFailureTest, OfTheBridgingConfiguration) {
    auto const one = vlan(1);
    auto const vlans = mutate([this] { bridging->vlanConfigIs(Bridging::VlanId(2)); },
                              [this] { return bridging->vlanConfig().size(); });
    auto const members = mutate([&] { one->intfIs(intf, {}); }, [&] { return one->intf().size(); });
    EXPECT_EQ(vlans.ended + members.ended, 0);
}

TEST_P(MutatorFailureTest, OfTheLagMapping) {
    auto const one = lag("PortChannel1");
    auto const lags = mutate([this] { lagMapping->lagPhyIntfConfigIs(intf); },
                             [this] { return lagMapping->lagPhyIntfConfig().size(); });
    auto const members =
        mutate([&] { one->phyIntfIs(other, nullptr); }, [&] { return one->phyIntf().size(); });
    EXPECT_EQ(lags.ended + members.ended, 0);
}

TEST_P(MutatorFailureTest, OfTheDirectory) {
    auto const config = dir->configIs(Bridging::VlanId(1));
    auto const subIntf = config->intfIs(intf);
    auto const vlans = mutate([this] { dir->configIs(Bridging::VlanId(2)); },
                              [this] { return dir->config().size(); });
    auto const entries =
        mutate([&] { config->intfIs(other); }, [&] { return config->intf().size(); });
    for (std::uint32_t number = 2; number <= 9; ++number) { // as many as the entry has room for
        subIntf->lagPhyIntfIs(Iftel::IntfId::intf(Iftel::IntfKind::ethernet, number));
    }
    auto const members =
        mutate([&] { subIntf->lagPhyIntfIs(other); }, [&] { return subIntf->lagPhyIntf().size(); });
    EXPECT_EQ(vlans.ended + entries.ended + members.ended, 0);
}

TEST_P(MutatorFailureTest, OfAVlanStatus) {
    auto const status = Qor::make<VlanSubIntfStatusLib::VlanStatus>();
    auto const pairs = mutate(
        [&] {
            status->intfToVlanMapIs({intf, Bridging::VlanId(1)});
        },
        [&] { return status->intfToVlanMap().size(); });
    EXPECT_EQ(pairs.ended, 0);
}

TEST_P(MutatorFailureTest, OfTheLocalAttributeStoreEndsTheProcess) {
    auto const store = Qor::make<VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore>();
    auto const entry = store->lagVlanStatusIs(other);
    auto const entries = mutate([&] { store->lagVlanStatusIs(intf); },
                                [&] { return store->lagVlanStatus().size(); });
    auto const values = mutate([&] { entry->valueIs(); }, [&] { return entry->value() ? 1U : 0U; });
    EXPECT_EQ(entries.undone + values.undone, 0);
}

// Texts, which are whole or not at all.

TEST_P(MutatorFailureTest, OfATextGivesNoText) {
    Bridging::VlanPortConfig const port{true, false, both};
    VlanSubIntfStatusLib::VidIntf const pair{intf, Bridging::VlanId(1)};
    std::string texts;
    auto const append = [&texts](std::string const &text) { texts += text; };
    auto const ends = failEach(
        GetParam(),
        [&] {
            append(Qor::ValueTraits<Bridging::VlanPortConfig>::text(port));
            append(Qor::ValueTraits<VlanSubIntfStatusLib::VidIntf>::text(pair));
            append(VlanSubIntfConfigLib::DovraCode::dovraPrint(intf));
        },
        [] { return ""; },
        [&] {
            return texts == "tagOnEgress=true pvid=false allowedTrafficDirection=both"
                            "intfId=PortChannel1.1 vlanId=1PortChannel1.1"
                       ? ""
                       : "the texts are " + texts;
        });
    EXPECT_EQ(ends.ended, 0);
    if (GetParam() != Memory::pool) {
        EXPECT_GT(ends.undone, 3);
    }
}

} // namespace
} // namespace Allocation
