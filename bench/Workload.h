// The workloads: what is written into the inputs, and in which order. Generated from fixed seeds,
// so that every subject gets the same, in its own types.
//
//     mixed   members of every kind, shuffled: half subinterfaces of 64 LAGs of 8, a quarter
//             subinterfaces of Ethernet ports, a quarter plain ports; two passes of events; what
//             changes while nothing runs: a tenth of the members gone, in seven LAGs one member
//             exchanged
//     fan     `pairs` subinterfaces on each of 64 LAGs, and LAG members that come and go, each
//             of which is written under every subinterface of its LAG
#pragma once

#include "bench/Ids.h"

#include <array>
#include <cstdint>
#include <vector>

namespace Bench {

template <class Ids> struct Member {
    typename Ids::Vlan vlan;
    typename Ids::Intf intf;
    typename Ids::Config config;
};

/// A member comes up or gets another configuration, or it goes.
template <class Ids> struct Event {
    bool present;
    typename Ids::Vlan vlan;
    typename Ids::Intf intf;
    typename Ids::Config config;
};

template <class Ids> struct LagMember {
    typename Ids::Intf lag;
    typename Ids::Intf member;
};

template <class Ids> struct LagEvent {
    bool present;
    typename Ids::Intf lag;
    typename Ids::Intf member;
};

template <class Ids> struct Workload {
    // Written before the start.
    std::vector<Member<Ids>> members;
    std::vector<LagMember<Ids>> lagMembers;
    std::uint64_t outputEntries = 0; ///< how many entries the start derives

    // mixed: written while the subject runs.
    std::array<std::vector<Event<Ids>>, 2> churn;

    // mixed: written between the end of one run and the start of the next.
    std::vector<Member<Ids>> staleMembers; ///< removed
    std::vector<LagEvent<Ids>> staleLags;

    // fan: written while the subject runs.
    std::vector<LagEvent<Ids>> lagChurn;
};

/// What to generate for the workload mixed. Requires: vlans <= 4094, members < 2^24 in all.
struct MixedSize {
    std::uint32_t vlans;
    std::uint32_t perVlan;
    std::uint32_t events = 200'000; ///< per pass

    [[nodiscard]] std::uint64_t members() const noexcept { return std::uint64_t{vlans} * perVlan; }
};

/// What to generate for the workload fan. Requires: pairs != 0.
struct FanSize {
    std::uint32_t pairs;              ///< per LAG
    std::uint32_t writes = 4'000'000; ///< into the output, by all events together

    [[nodiscard]] std::uint32_t vlans() const noexcept { return pairs <= 10 ? 100 : 1000; }
};

/// Defined for PeerIds and MachineIds.
template <class Ids> [[nodiscard]] Workload<Ids> generate(MixedSize const &size);
template <class Ids> [[nodiscard]] Workload<Ids> generate(FanSize const &size);

} // namespace Bench
