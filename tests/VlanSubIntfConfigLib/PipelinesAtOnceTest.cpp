// A LAG's members where nobody follows the merges: nothing is traced and the entry is not observed.
// The outcome is that of the merges one by one.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <set>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;
using Iftel::IntfId;
using Iftel::IntfKind;
using testing::ElementsAreArray;
using testing::UnorderedElementsAreArray;

constexpr auto both = Bridging::AllowedTrafficDirection::both;
constexpr auto egress = Bridging::AllowedTrafficDirection::egress;

class PipelinesAtOnce : public TestSupport::CensusTest {
  protected:
    using Members = std::vector<std::uint32_t>;

    static Members upTo(std::uint32_t count) {
        Members members;
        for (std::uint32_t number = 1; number <= count; ++number) {
            members.push_back(number);
        }
        return members;
    }
    static IntfId ethernet(std::uint32_t number) {
        return IntfId::intf(IntfKind::ethernet, number);
    }
    void lagMembersAre(Members const &members) {
        for (auto const number : members) {
            mapping->lagPhyIntfConfigIs(lag)->phyIntfIs(ethernet(number), nullptr);
        }
    }
    void memberIs(Bridging::AllowedTrafficDirection direction) {
        config->vlanConfigIs(vlan)->intfIs(subIntf, {true, false, direction});
    }
    void start() {
        Quam::SmControl control;
        control.synchronousIs(Quam::Synchronous::synchronous);
        machine = configSmFactory(config, mapping, dir, control);
        ASSERT_TRUE(machine->ready());
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntf> entry() const {
        return *(*dir->config(vlan))->intf(subIntf);
    }
    [[nodiscard]] Members merged() const {
        Members members;
        for (IntfId const id : entry()->lagPhyIntf()) {
            members.push_back(static_cast<std::uint32_t>(id.bits() >> 32) & 0xFFFFFFF);
        }
        return members;
    }

    VlanId const vlan{100};
    IntfId const lag = IntfId::intf(IntfKind::portChannel, 10);
    IntfId const subIntf = IntfId::subIntf(lag, 100);
    Qor::Ptr<Bridging::Config> config = Bridging::Config::ConfigIs();
    Qor::Ptr<Lag::LagPhyIntfMapping> mapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    Qor::Ptr<VlanSubIntfConfigDir> dir = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    Qor::Ptr<ConfigSm> machine;
};

class PipelinesAtOnceBySize : public PipelinesAtOnce,
                              public testing::WithParamInterface<std::uint32_t> {};

TEST_P(PipelinesAtOnceBySize, ANewEntryHasEveryMember) {
    lagMembersAre(upTo(GetParam()));
    start();
    memberIs(both);
    EXPECT_THAT(merged(), UnorderedElementsAreArray(upTo(GetParam())));
}

TEST_P(PipelinesAtOnceBySize, AnEntryThatChangesKeepsItsMembersUntouched) {
    lagMembersAre(upTo(GetParam()));
    memberIs(both);
    start();
    auto const stamp = entry()->lagPhyIntf().stamp();
    memberIs(egress);
    EXPECT_EQ(entry()->allowedTrafficDirection(), egress);
    EXPECT_EQ(entry()->lagPhyIntf().stamp(), stamp);
    EXPECT_THAT(merged(), UnorderedElementsAreArray(upTo(GetParam())));
}

TEST_P(PipelinesAtOnceBySize, OfAnEarlierRunsMembersThoseStayThatAreWanted) {
    for (Members const &stale : {Members{}, Members{1}, Members{2, 1}, Members{99}, Members{99, 1},
                                 upTo(GetParam()), upTo(GetParam() + 3)}) {
        SCOPED_TRACE(testing::PrintToString(stale));
        dir = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
        for (auto const number : stale) {
            dir->configIs(vlan)->intfIs(subIntf)->lagPhyIntfIs(ethernet(number));
        }
        lagMembersAre(upTo(GetParam()));
        memberIs(both);
        start();
        EXPECT_THAT(merged(), UnorderedElementsAreArray(upTo(GetParam())));
    }
}

// Small sets and tables, on both sides of the border.
INSTANTIATE_TEST_SUITE_P(, PipelinesAtOnceBySize, testing::Values(1, 2, 7, 8, 9, 20));

TEST_F(PipelinesAtOnce, WhoObservesAnEntryHearsOfEachMember) {
    lagMembersAre(upTo(4));
    start();
    using Observer = TestSupport::Observer<IntfId>;
    std::set<std::uint64_t> heard;
    auto const vlanConfig = dir->configIs(vlan);
    std::unique_ptr<Observer> ofEntry;
    Observer ofVlan(*vlanConfig);
    ofVlan.reactionIs([&](auto const &) { ofEntry = std::make_unique<Observer>(*entry()); });
    memberIs(both);
    ASSERT_TRUE(ofEntry);
    for (auto const &notice : ofEntry->notices()) {
        if (notice.attribute == VlanSubIntf::lagPhyIntfAttribute) {
            heard.insert(notice.key->bits() >> 32 & 0xFFFFFFF);
        }
    }
    EXPECT_THAT(heard, ElementsAreArray(upTo(4)));
}

} // namespace
} // namespace VlanSubIntfConfigLib
