#include "tests/hostile/SizeFixture.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <memory>
#include <string_view>
#include <utility>

namespace Hostile {
namespace {

using VlanSubIntfConfigLib::VlanSubIntf;

} // namespace

SizeTest::SizeTest() {
    notices.emplace(*dir);
}

void SizeTest::lagMembers(std::uint32_t lagNumber, std::uint32_t first, std::uint32_t count) const {
    auto const config = lagMapping->lagPhyIntfConfigIs(lagId(lagNumber));
    auto const shared = Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();
    for (std::uint32_t number = first; number < first + count; ++number) {
        config->phyIntfIs(portId(number), shared);
    }
}

Bridging::VlanPortConfig SizeTest::portConfig(std::uint32_t vlanNumber, Iftel::IntfId id) {
    std::uint64_t const mixed = (id.bits() ^ id.bits() >> 32) * 7 + vlanNumber;
    return {mixed % 3 == 0, false, static_cast<Bridging::AllowedTrafficDirection>(mixed % 4)};
}

std::uint64_t SizeTest::attributeNotices(std::uint32_t vlanNumber, Iftel::IntfId id) {
    auto const config = portConfig(vlanNumber, id);
    return (config.tagOnEgress ? 1U : 0U) + (config.allowedTrafficDirection != none ? 1U : 0U);
}

void SizeTest::startUntilReady() {
    runs = Runs();
    auto share = std::make_unique<RecordingShare>(itemsPerRun, *notices, runs);
    RecordingShare &recording = *share;
    scheduler->shareIs(std::move(share));
    notices->take();
    bytesBefore_ = liveBytes();
    start(GetParam());
    Qor::Reclaimer::drain(); // it may have let go of something already; that is no run of its own
    scheduler->runUntilIdle();
    recording.runEnded();
    unlimitedShareIs();
    ASSERT_TRUE(machine->ready());
    ASSERT_FALSE(scheduler->hasWork());
}

std::string SizeTest::difference() const {
    std::uint32_t vlans = 0;
    for (auto const &[vlanId, input] : bridging->vlanConfig()) {
        if (auto text = differenceIn(*input); !text.empty()) {
            return text;
        }
        vlans += dir->config().memberHas(vlanId) ? 1U : 0U;
    }
    return vlans == dir->config().size() ? "" : "a VLAN that is not in the inputs";
}

std::string SizeTest::differenceIn(Bridging::VlanConfig const &input) const {
    auto const *const found = dir->config().lookupNodeG(input.vlanId());
    std::uint32_t expected = 0;
    for (auto const &[intfId, port] : input.intf()) {
        if (!intfId.isSubIntf()) {
            continue;
        }
        ++expected;
        auto const *const entry = found ? found->value()->intf().lookupNodeG(intfId) : nullptr;
        if (!entry) {
            return fmt::format("no entry of {} in {}", fmt::streamed(intfId),
                               input.vlanId().value());
        }
        if (auto text = differenceIn(input.vlanId(), intfId, port, *entry->value());
            !text.empty()) {
            return text;
        }
    }
    if ((found != nullptr) != (expected != 0) ||
        (found && found->value()->intf().size() != expected)) {
        return fmt::format("other entries in {}, {} expected", input.vlanId().value(), expected);
    }
    return "";
}

std::string SizeTest::differenceIn(Bridging::VlanId vlanId, Iftel::IntfId intfId,
                                   Bridging::VlanPortConfig const &port,
                                   VlanSubIntf const &entry) const {
    auto const place = [&](std::string_view what) {
        return fmt::format("{} of {} in {}", what, fmt::streamed(intfId), vlanId.value());
    };
    if (entry.tagOnEgress() != port.tagOnEgress ||
        entry.allowedTrafficDirection() != port.allowedTrafficDirection) {
        return place("attributes");
    }
    auto const *const lagNode =
        intfId.kind() == Iftel::IntfKind::portChannel
            ? lagMapping->lagPhyIntfConfig().lookupNodeG(intfId.withoutSubIntf())
            : nullptr;
    std::uint32_t const expected = lagNode ? lagNode->value()->phyIntf().size() : 0;
    if (entry.lagPhyIntf().size() != expected) {
        return place(fmt::format("{} members instead of {}", entry.lagPhyIntf().size(), expected));
    }
    for (auto const &member : entry.lagPhyIntf()) {
        if (!lagNode->value()->phyIntf().memberHas(member)) {
            return place("a member");
        }
    }
    return "";
}

std::uint64_t SizeTest::itemsOfBothScans() const {
    std::uint64_t items = bridging->vlanConfig().size() + lagMapping->lagPhyIntfConfig().size();
    for (auto const &[vlanId, config] : bridging->vlanConfig()) {
        items += config->intf().size();
    }
    for (auto const &[lagId, config] : lagMapping->lagPhyIntfConfig()) {
        items += config->phyIntf().size();
    }
    return 2 * items;
}

void SizeTest::expectBoundedRuns(Walked const &walked) const {
    if (GetParam() == Synchronous::synchronous) {
        EXPECT_EQ(runs.runs, 0U) << "everything happened inside the factory";
        return;
    }
    // A run whose share is used up still asks for the element of its last member, and for the first
    // item of the scan that begins when its own is complete.
    EXPECT_LE(runs.longest, itemsPerRun + 2);
    // A run of a walk does not ask before its first item; what is done before any run asks nobody.
    std::uint64_t const items =
        itemsOfBothScans() + walked.vlans + walked.entries + walked.sets + walked.members;
    constexpr std::uint64_t scansAndWalks = 6;
    EXPECT_LE(runs.items, items);
    EXPECT_GE(runs.items, items - items / itemsPerRun - 2 * scansAndWalks);
    EXPECT_GE(runs.runs, runs.items / (itemsPerRun + 2));
    EXPECT_LE(runs.runs, items / itemsPerRun + 2 * scansAndWalks);
}

void SizeTest::expectBoundedNotices(std::uint64_t mostOfAnItem) const {
    if (GetParam() != Synchronous::synchronous) {
        EXPECT_LE(runs.mostNotices, (itemsPerRun + 2) * mostOfAnItem);
    }
}

} // namespace Hostile
