// A made-up site of any size: what iproute2 would print on it, and the document that must come out.
// The expectation is written from the table of cases below, not by the code under test.
#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class Site {
  public:
    /// Every subinterface is a member of every VLAN and rides on one of the LAGs in turn.
    Site(unsigned vlans, unsigned subIntfs, unsigned lags, unsigned membersPerLag)
        : vlans_(vlans), subIntfs_(subIntfs), lags_(lags), membersPerLag_(membersPerLag) {}

    void writeLinks(std::ostream &out) const;
    void writeVlans(std::ostream &out) const;
    /// The document that `-j` prints for it.
    void writeDocument(std::ostream &out) const;
    /// The same without the subinterfaces before number `firstSubIntf`, and with a stale one, named
    /// stale.<vlan>, in every VLAN that `staleEvery` divides.
    void writePrevious(std::ostream &out, unsigned firstSubIntf, unsigned staleEvery) const;

    [[nodiscard]] std::size_t entries() const noexcept { return std::size_t{vlans_} * subIntfs_; }
    [[nodiscard]] unsigned vlans() const noexcept { return vlans_; }
    /// "bond3.17": sorted by LAG, then number.
    [[nodiscard]] std::string name(unsigned subIntf) const;

  private:
    struct Case {
        std::string_view member; ///< what `bridge` prints behind the VLAN's number
        std::string_view tagOnEgress;
        std::string_view direction;
    };
    static constexpr std::array<Case, 5> cases = {{
        {R"("flags":["PVID","Egress Untagged"],"state":"forwarding","mcast_router":1)", "false",
         "both"},
        {R"("flags":["Egress Untagged"],"state":"forwarding","mcast_router":1)", "false", "egress"},
        {R"("state":"forwarding","mcast_router":1)", "true", "both"},
        {R"("flags":["PVID"],"state":"blocking","mcast_router":1)", "true", "none"},
        {R"("flags":["Egress Untagged"],"state":"learning","mcast_router":1)", "false", "none"},
    }};

    [[nodiscard]] Case const &caseOf(unsigned vlan, unsigned subIntf) const {
        return cases[(vlan * 7 + subIntf) % cases.size()];
    }
    [[nodiscard]] std::vector<unsigned> namesInOrder() const;
    void writeEntry(std::ostream &out, unsigned vlan, unsigned subIntf) const;

    unsigned vlans_;
    unsigned subIntfs_;
    unsigned lags_;
    unsigned membersPerLag_;
};

} // namespace Agent
