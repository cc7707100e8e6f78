#include "agent/source/TopologyVlans.h"

#include "platform/Nuvio/Assert.h"

#include <algorithm>
#include <utility>

namespace Agent {
namespace {

using Bridging::AllowedTrafficDirection;
using Bridging::VlanPortConfig;

// Bits of what is known and of what has been written.
constexpr std::uint8_t present = 1U << 0;
constexpr std::uint8_t pvidBit = 1U << 1;
// known
constexpr std::uint8_t untaggedBit = 1U << 2;
constexpr unsigned stateShift = 3;
constexpr std::uint8_t stateBits = 7U << stateShift;
constexpr std::uint8_t seen = 1U << 6;   ///< named since the view began
constexpr std::uint8_t listed = 1U << 7; ///< named by the table at hand
constexpr std::uint8_t facts = present | pvidBit | untaggedBit | stateBits;
// written
constexpr std::uint8_t tagBit = 1U << 2;
constexpr unsigned directionShift = 3;

constexpr std::uint8_t without(std::uint8_t bits, std::uint8_t those) {
    return static_cast<std::uint8_t>(bits & ~those);
}

std::uint8_t flagBits(VlanSpan const &span) {
    return static_cast<std::uint8_t>(present | (span.pvid ? pvidBit : 0) |
                                     (span.untagged ? untaggedBit : 0));
}

std::uint8_t stateBitsOf(VlanState state) {
    return static_cast<std::uint8_t>(static_cast<unsigned>(state) << stateShift);
}

VlanState stateOf(std::uint8_t known) {
    return static_cast<VlanState>((known & stateBits) >> stateShift);
}

/// Frames pass only in state forwarding; untagged ones come in only through the PVID.
AllowedTrafficDirection directionOf(std::uint8_t known) {
    if (stateOf(known) != VlanState::forwarding) {
        return AllowedTrafficDirection::none;
    }
    bool const outOnly = (known & untaggedBit) && !(known & pvidBit);
    return outOnly ? AllowedTrafficDirection::egress : AllowedTrafficDirection::both;
}

/// What is to be written of what is known.
std::uint8_t wanted(std::uint8_t known) {
    if (!(known & present)) {
        return 0;
    }
    auto const direction = static_cast<unsigned>(directionOf(known));
    return static_cast<std::uint8_t>(present | (known & pvidBit) |
                                     (known & untaggedBit ? 0 : tagBit) |
                                     direction << directionShift);
}

std::optional<VlanPortConfig> configOf(std::uint8_t written) {
    if (written == 0) {
        return std::nullopt;
    }
    return VlanPortConfig{(written & tagBit) != 0, (written & pvidBit) != 0,
                          static_cast<AllowedTrafficDirection>(written >> directionShift)};
}

/// Give the known bits a new value; true when the facts in it are others.
bool knownIs(std::uint8_t &known, std::uint8_t value) {
    return ((std::exchange(known, value) ^ value) & facts) != 0;
}

} // namespace

std::vector<VlanSpan> TopologyVlans::spans() const {
    std::vector<VlanSpan> spans;
    for (Entry const &entry : entries_) {
        if (!(entry.known & present)) {
            continue;
        }
        VlanSpan const span{entry.vlan, entry.vlan, (entry.known & pvidBit) != 0,
                            (entry.known & untaggedBit) != 0, stateOf(entry.known)};
        bool const goesOn = !spans.empty() && spans.back().last + 1 == entry.vlan &&
                            spans.back().pvid == span.pvid &&
                            spans.back().untagged == span.untagged &&
                            spans.back().state == span.state;
        if (goesOn) {
            spans.back().last = entry.vlan;
        } else {
            spans.push_back(span);
        }
    }
    return spans;
}

bool TopologyVlans::spanIs(VlanSpan const &span) {
    auto const value = static_cast<std::uint8_t>(flagBits(span) | stateBitsOf(span.state) | seen);
    bool changed = false;
    for (Entry &entry : filled(span.first, span.last)) {
        changed |= knownIs(entry.known, value);
    }
    if (span.pvid) {
        changed |= pvidDelBut(span.first);
    }
    return changed;
}

bool TopologyVlans::spanDel(std::uint16_t first, std::uint16_t last) {
    cursor_ = 0;
    bool changed = false;
    for (std::size_t at = placeOf(first); at < entries_.size() && entries_[at].vlan <= last; ++at) {
        changed |= knownIs(entries_[at].known, 0);
    }
    return changed;
}

bool TopologyVlans::tableIs(std::span<VlanSpan const> spans) {
    bool changed = false;
    for (VlanSpan const &span : spans) {
        for (Entry &entry : filled(span.first, span.last)) {
            auto const state = entry.known & present
                                   ? static_cast<std::uint8_t>(entry.known & stateBits)
                                   : stateBitsOf(VlanState::forwarding);
            auto const value = static_cast<std::uint8_t>(flagBits(span) | state | seen | listed);
            changed |= knownIs(entry.known, value);
        }
    }
    return sweep(listed) || changed;
}

bool TopologyVlans::clear() {
    return spanDel(0, 0xFFFF);
}

void TopologyVlans::viewBegins() {
    for (Entry &entry : entries_) {
        entry.known = without(entry.known, seen);
    }
}

bool TopologyVlans::viewEnds() {
    bool changed = false;
    bool hidden = false; // so was the entry before, if it is not the PVID
    for (std::size_t place = 0; place < entries_.size(); ++place) {
        std::uint8_t &known = entries_[place].known;
        hidden =
            !(known & seen) && isJoined(place) && (hidden || (entries_[place - 1].known & pvidBit));
        if (hidden) {
            auto const state = entries_[place - 1].known & stateBits;
            changed |=
                knownIs(known, static_cast<std::uint8_t>(without(known, stateBits) | state | seen));
        }
    }
    return sweep(seen) || changed;
}

bool TopologyVlans::mayHide(VlanSpan const &span) const {
    auto const next = placeOf(span.last + 1U);
    return span.pvid && next > 0 && next < entries_.size() && isJoined(next) &&
           stateOf(entries_[next].known) != span.state;
}

bool TopologyVlans::hasPvidBut(std::uint16_t vlan) const {
    return std::any_of(entries_.begin(), entries_.end(), [vlan](Entry const &entry) {
        return entry.vlan != vlan && (entry.known & pvidBit) != 0;
    });
}

/// Whether the kernel may join the entry to the one before, as far as tagging goes.
bool TopologyVlans::isJoined(std::size_t place) const {
    if (place == 0) {
        return false;
    }
    Entry const &before = entries_[place - 1];
    Entry const &entry = entries_[place];
    return before.vlan + 1 == entry.vlan && (before.known & entry.known & present) &&
           ((before.known ^ entry.known) & untaggedBit) == 0;
}

/// Forget what does not have the mark, and take the mark `listed` off again.
bool TopologyVlans::sweep(std::uint8_t mark) {
    cursor_ = 0;
    bool changed = false;
    for (Entry &entry : entries_) {
        auto const kept = entry.known & mark ? without(entry.known, listed) : std::uint8_t{0};
        changed |= knownIs(entry.known, kept);
    }
    return changed;
}

bool TopologyVlans::pvidDelBut(std::uint16_t vlan) {
    bool changed = false;
    for (Entry &entry : entries_) {
        if (entry.vlan != vlan) {
            changed |= knownIs(entry.known, without(entry.known, pvidBit));
        }
    }
    return changed;
}

std::optional<TopologyVlans::Change> TopologyVlans::nextChange(bool isPort) {
    if (std::exchange(cursorIsOfPort_, isPort) != isPort) {
        cursor_ = 0;
    }
    for (; cursor_ < entries_.size(); ++cursor_) {
        Entry &entry = entries_[cursor_];
        auto const value = isPort ? wanted(entry.known) : std::uint8_t{0};
        if (std::exchange(entry.written, value) != value) {
            return Change{Bridging::VlanId(entry.vlan), configOf(value)};
        }
    }
    cursor_ = 0;
    dropEmpty();
    return std::nullopt;
}

TopologyVlans TopologyVlans::takeWritten() {
    TopologyVlans taken;
    for (Entry &entry : entries_) {
        if (auto const written = std::exchange(entry.written, 0)) {
            taken.entries_.push_back({entry.vlan, 0, written});
        }
    }
    cursor_ = 0;
    dropEmpty();
    return taken;
}

void TopologyVlans::writtenIs(TopologyVlans const &other) {
    for (Entry const &entry : other.entries_) {
        auto &written = filled(entry.vlan, entry.vlan).front().written;
        NUVIO_ASSERT(written == 0, "vlan={}", entry.vlan);
        written = entry.written;
    }
}

void TopologyVlans::dropEmpty() {
    std::erase_if(entries_, [](Entry const &entry) { return !entry.known && !entry.written; });
}

/// Where the first entry with this or a higher number is.
std::size_t TopologyVlans::placeOf(std::uint32_t vlan) const {
    auto const place = std::lower_bound(
        entries_.begin(), entries_.end(), vlan,
        [](Entry const &entry, std::uint32_t wantedVlan) { return entry.vlan < wantedVlan; });
    return static_cast<std::size_t>(place - entries_.begin());
}

/// The entries of all these VLANs, made where they are missing. Valid until the next change.
std::span<TopologyVlans::Entry> TopologyVlans::filled(std::uint16_t first, std::uint16_t last) {
    NUVIO_ASSERT(first <= last);
    cursor_ = 0;
    auto const place = placeOf(first);
    auto const size = static_cast<std::size_t>(last - first) + 1;
    auto const begin = entries_.begin() + static_cast<std::ptrdiff_t>(place);
    auto const end = entries_.begin() + static_cast<std::ptrdiff_t>(placeOf(last + 1U));
    auto const there = static_cast<std::size_t>(end - begin);
    if (there < size) {
        Entries const old(begin, end);
        entries_.insert(end, size - there, {});
        for (std::size_t i = 0; i < size; ++i) {
            entries_[place + i] = {static_cast<std::uint16_t>(first + i), 0, 0};
        }
        for (Entry const &entry : old) {
            entries_[place + entry.vlan - first] = entry;
        }
    }
    return {entries_.data() + place, size};
}

} // namespace Agent
