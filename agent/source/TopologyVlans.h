// The VLANs of one port: what is known of each, and what has been written of it into the inputs.
//
// Four bytes a VLAN, in order of their numbers: a port may have all of them, and most have one.
// Changes are made to what is known; nextChange() then gives the differences one by one.
#pragma once

#include "agent/source/TopologyFacts.h"
#include "platform/Bridging.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Agent {

class TopologyVlans {
  public:
    /// A member to be written, or to be removed where it has no configuration.
    struct Change {
        Bridging::VlanId vlan;
        std::optional<Bridging::VlanPortConfig> config;
    };

    /// Nothing is known and nothing has been written.
    [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
    /// What is known, in the fewest spans.
    [[nodiscard]] std::vector<VlanSpan> spans() const;

    // What is known. Each says whether that has made a difference.

    /// The port has these VLANs, with these flags and states. A port has one PVID: a new one takes
    /// it from the VLAN that had it.
    bool spanIs(VlanSpan const &span);
    /// The port does not have them.
    bool spanDel(std::uint16_t first, std::uint16_t last);
    /// The port has these VLANs and no others, with these flags. The states stay what they are; a
    /// VLAN that was not known is forwarding.
    bool tableIs(std::span<VlanSpan const> spans);
    bool clear();

    /// A full view of VLANs and states begins: what spanIs() and tableIs() do not name before it
    /// ends goes then. But what the kernel leaves out stays; see mayHide().
    void viewBegins();
    bool viewEnds();
    /// Whether the state of another VLAN may have changed together with that of `span`, unsaid.
    ///
    /// The kernel joins VLANs in a row that have one state, and all tagged or all untagged, to one
    /// span, and leaves the span's end out where it begins with the PVID. So of what is joined to
    /// the PVID neither a full view nor news tells, but for a table.
    [[nodiscard]] bool mayHide(VlanSpan const &span) const;
    /// Another VLAN than this is the PVID.
    [[nodiscard]] bool hasPvidBut(std::uint16_t vlan) const;

    // What has been written.

    /// The next difference, which counts as written from here on; empty when there is none left.
    /// What is known is wanted if `isPort`, and nothing otherwise; that may be another each time.
    [[nodiscard]] std::optional<Change> nextChange(bool isPort);
    /// Give away what has been written: here nothing has been from here on.
    [[nodiscard]] TopologyVlans takeWritten();
    /// Take over what `other` has written. Requires: nothing has been written here.
    void writtenIs(TopologyVlans const &other);

  private:
    struct Entry {
        std::uint16_t vlan = 0;
        std::uint8_t known = 0;   ///< bits; 0 for nothing
        std::uint8_t written = 0; ///< bits; 0 for nothing
    };
    using Entries = std::vector<Entry>;

    [[nodiscard]] std::size_t placeOf(std::uint32_t vlan) const;
    [[nodiscard]] std::span<Entry> filled(std::uint16_t first, std::uint16_t last);
    bool pvidDelBut(std::uint16_t vlan);
    bool sweep(std::uint8_t mark);
    [[nodiscard]] bool isJoined(std::size_t place) const;
    void dropEmpty();

    Entries entries_;
    std::size_t cursor_ = 0;      ///< nothing is to be written before it, as long as
                                  ///< nextChange() gets the same answer to whether this is a port
    bool cursorIsOfPort_ = false; ///< the answer that it got last
};

} // namespace Agent
