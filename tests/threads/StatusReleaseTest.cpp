// A status of pairs that goes elsewhere while its successor lists the same entries: what an entry
// says about where it is listed is written by both.
#include "platform/VlanSubIntfStatusLib.h"
#include "tests/support/Census.h"
#include "tests/threads/Sharers.h"
#include "tests/threads/Switch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace Threads {
namespace {

using VlanSubIntfStatusLib::VlanStatus;

class StatusRelease : SwitchOn, public TestSupport::CensusTest {
  protected:
    static constexpr std::uint16_t pairs = 100;

    StatusRelease() {
        for (std::uint16_t vlan = 0; vlan < pairs; ++vlan) {
            entries.push_back(Qor::make<VlanSubIntfConfigLib::VlanSubIntf>(subIntf));
        }
    }
    /// A status of all pairs; those are written whose entries do not say that they are in `list`.
    [[nodiscard]] Qor::Ptr<VlanStatus> statusOf(std::uint32_t list) const {
        auto status = Qor::make<VlanStatus>();
        for (std::uint16_t vlan = 0; vlan < pairs; ++vlan) {
            if (entries[vlan]->listedIn() != list) {
                status->intfToVlanMapIs({subIntf, Bridging::VlanId(vlan)}, entries[vlan], list);
            }
        }
        return status;
    }

    Iftel::IntfId const subIntf =
        Iftel::IntfId::subIntf(Iftel::IntfId::intf(Iftel::IntfKind::portChannel, 10), 100);
    std::vector<VlanStatus::Entry> entries;
};

TEST_F(StatusRelease, ItsSuccessorListsEveryEntryWhileItGoesElsewhere) {
    Sharers sharers;
    auto status = statusOf(1);
    for (std::uint32_t list = 2; list < 200; ++list) {
        sharers.give(status);
        status = nullptr;
        sharers.letGo();
        status = statusOf(list);
        ASSERT_EQ(status->intfToVlanMap().size(), pairs);
    }
    sharers.drain();
    EXPECT_GT(sharers.lastReleases(), 0U);
    status = nullptr;
    for (auto const &entry : entries) {
        EXPECT_EQ(entry->listedIn(), 0U);
        EXPECT_EQ(entry->refCount(), 1U);
    }
}

} // namespace
} // namespace Threads
