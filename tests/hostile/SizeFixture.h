// A fixture for sizes that nobody has: everything by number, results compared entry by entry with
// what the inputs say as a whole, costs as counts.
//
// A test runs in synchronous mode and in slices of `itemsPerRun` items.
#pragma once

#include "tests/hostile/Ids.h"
#include "tests/hostile/Meter.h"
#include "tests/hostile/Scale.h"
#include "tests/support/MachineFixture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Hostile {

class SizeTest : public TestSupport::MachineTest,
                 public testing::WithParamInterface<Quam::Synchronous> {
  protected:
    static constexpr std::uint64_t itemsPerRun = 64;

    SizeTest();

    // Inputs.

    void intf(std::uint32_t vlanNumber, Iftel::IntfId id) const {
        bridging->vlanConfigIs(vlanId(vlanNumber))->intfIs(id, portConfig(vlanNumber, id));
    }
    void lagMembers(std::uint32_t lagNumber, std::uint32_t first, std::uint32_t count) const;
    /// Every member its own value, so that one that is mixed up is found.
    static Bridging::VlanPortConfig portConfig(std::uint32_t vlanNumber, Iftel::IntfId id);
    /// Notices by which the attributes of a new entry get there: those that are not the default.
    static std::uint64_t attributeNotices(std::uint32_t vlanNumber, Iftel::IntfId id);

    // The machine.

    /// Make the machine and run it until it is ready. Counts begin anew.
    void startUntilReady();
    /// Live bytes of what the machine made, entries of the directory included.
    [[nodiscard]] std::uint64_t bytesMade() const { return liveBytes() - bytesBefore_; }
    [[nodiscard]] std::uint64_t bytesBefore() const { return bytesBefore_; }

    // Results.

    /// What is wrong with the directory, as to the inputs; empty when nothing is.
    [[nodiscard]] std::string difference() const;
    /// What the deletion walks have to look at.
    struct Walked {
        std::uint64_t vlans;   ///< of the directory, if there were any at the start
        std::uint64_t entries; ///< in them
        std::uint64_t sets;    ///< of subinterfaces that got a LAG member
        std::uint64_t members; ///< in them
    };
    /// Every member of the inputs was one item of each scan, all that was walked was one of a walk,
    /// and a run did no more than its share. In synchronous mode: nothing ran.
    void expectBoundedRuns(Walked const &walked) const;
    /// No run published more than its items could. In slices only.
    void expectBoundedNotices(std::uint64_t mostOfAnItem) const;

    std::optional<Notices> notices;
    Runs runs;

  private:
    [[nodiscard]] std::string differenceIn(Bridging::VlanConfig const &input) const;
    [[nodiscard]] std::string differenceIn(Bridging::VlanId vlanId, Iftel::IntfId intfId,
                                           Bridging::VlanPortConfig const &port,
                                           VlanSubIntfConfigLib::VlanSubIntf const &entry) const;
    [[nodiscard]] std::uint64_t itemsOfBothScans() const;

    std::uint64_t bytesBefore_ = 0;
};

inline auto const modes =
    testing::Values(Quam::Synchronous::synchronous, Quam::Synchronous::asynchronous);
inline auto const nameOfMode = [](testing::TestParamInfo<Quam::Synchronous> const &mode) {
    return mode.param == Quam::Synchronous::synchronous ? "Synchronous" : "InSlices";
};

// Bounds of memory, in bytes. A table of more than eight entries is filled to 3/8 at least when it
// has grown, has 32 slots behind its end, and 4 bytes a slot besides the entry. A small one has up
// to 8 slots.

/// Tables whose entries are `node` bytes: of `entries` in `tables` tables altogether.
constexpr std::uint64_t tableBytes(std::uint64_t node, std::uint64_t entries,
                                   std::uint64_t tables) {
    return (node + 4) * (entries * 8 / 3 + tables * (32 + 8)) + tables * 16;
}
/// What it remembers on the way, of the members that it wrote.
constexpr std::uint64_t seenBytes(std::uint64_t members, std::uint64_t sets) {
    constexpr std::uint64_t collection = 64;
    return tableBytes(16, members, sets) + sets * collection + tableBytes(16, sets, 1);
}
/// All that a ready machine and its directory hold.
constexpr std::uint64_t readyBytes(std::uint64_t vlans, std::uint64_t entries,
                                   std::uint64_t members, std::uint64_t setsWithMembers,
                                   std::uint64_t lags) {
    constexpr std::uint64_t machine = 4096;
    constexpr std::uint64_t vlanAndChild = 64 + 256;
    constexpr std::uint64_t entry = 64;
    constexpr std::uint64_t lagStatusAndChild = 64 + 64 + 256;
    return machine + vlans * vlanAndChild + tableBytes(8, 2 * vlans, 2) + entries * entry +
           tableBytes(8, entries, vlans) + tableBytes(8, members, setsWithMembers) +
           lags * lagStatusAndChild + tableBytes(8, 2 * lags, 2) + tableBytes(16, entries, lags);
}

} // namespace Hostile
