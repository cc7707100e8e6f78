// The worst case: someone knows the process's seed, and names everything so that it falls together
// in the maps of inputs and directory and in the record of what was written. Maps are slow then, as
// lists are; nothing else changes.
#include "tests/hostile/Crafted.h"
#include "tests/hostile/SizeFixture.h"
#include "tests/hostile/Work.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace Hostile {
namespace {

class CraftedSite : public SizeTest {
  protected:
    static constexpr std::uint32_t knownSeed = 0x5EED;
    static constexpr std::uint32_t vlanNumber = 7;
    static constexpr std::uint32_t perMap = 800 / scale;
    static constexpr std::uint32_t lagMemberCount = 64;

    void SetUp() override {
        for (std::uint32_t const seed :
             {knownSeed, knownSeed ^ Bridging::VlanConfig::IntfMap::typeConstant,
              knownSeed ^ VlanSubIntfConfigLib::VlanSubIntfConfig::IntfMap::typeConstant}) {
            std::ranges::copy(intfIdsOfOneHash(seed, perMap), std::back_inserter(subIntfs_));
        }
        for (Iftel::IntfId const id : subIntfs_) {
            intf(vlanNumber, id);
        }
        for (Bridging::VlanId const id : vlanIdsOfOneRegion(
                 knownSeed ^ VlanSubIntfConfigLib::VlanSubIntfConfigDir::ConfigMap::typeConstant,
                 4)) {
            intf(id.value(), subIntfs_.front());
        }
        Iftel::IntfId const parent =
            std::ranges::find(subIntfs_, Iftel::IntfKind::portChannel, &Iftel::IntfId::kind)
                ->withoutSubIntf();
        for (Iftel::IntfId const id : intfIdsOfOneHash(
                 knownSeed ^ VlanSubIntfConfigLib::VlanSubIntf::LagPhyIntfSet::typeConstant,
                 lagMemberCount)) {
            lagMapping->lagPhyIntfConfigIs(parent)->phyIntfIs(id, nullptr);
        }
    }
    /// Nothing that was inserted under the known seed outlives it.
    void TearDown() override {
        machine = nullptr;
        bridging = nullptr;
        lagMapping = nullptr;
        dir = nullptr;
    }

    [[nodiscard]] IntfIds const &subIntfs() const { return subIntfs_; }
    /// Slots of the map in one piece.
    template <class Map> static std::uint64_t longestRun(Map const &map) {
        Work work;
        addStructure(map, work);
        return work.longestRun;
    }

  private:
    SeedIs seed_{knownSeed};
    IntfIds subIntfs_;
};

TEST_P(CraftedSite, IsDerivedRestartedAndWithdrawnLikeAnyOther) {
    startUntilReady();
    EXPECT_EQ(difference(), "");
    auto const entries = dir->config(vlanId(vlanNumber));
    EXPECT_GE(longestRun((*entries)->intf()), perMap) << "it is the worst case";
    EXPECT_GE(longestRun(bridging->vlanConfigIs(vlanId(vlanNumber))->intf()), perMap);
    EXPECT_GE(longestRun(dir->config()), dir->config().size() / 2);
    machine = nullptr;
    auto const config = bridging->vlanConfigIs(vlanId(vlanNumber));
    std::uint32_t stale = 0;
    for (std::size_t i = 0; i < subIntfs().size(); i += 10, ++stale) {
        config->intfDel(subIntfs()[i]);
    }
    startUntilReady();
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(notices->take(), stale);
    for (std::size_t i = 0; i < subIntfs().size(); i += 10) {
        intf(vlanNumber, subIntfs()[i]);
    }
    EXPECT_EQ(difference(), "");
    machine->doDeleteAll();
    EXPECT_TRUE(dir->config().empty());
}

INSTANTIATE_TEST_SUITE_P(Sizes, CraftedSite, modes, nameOfMode);

} // namespace
} // namespace Hostile
