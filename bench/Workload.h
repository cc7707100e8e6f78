// The benchmark's workloads: what is written into the inputs, in which order, and what the output
// must hold after each phase. Generated once from a fixed seed and given to every subject.
//
//     mixed   members of every kind, shuffled; then two passes of churn; then what changes while
//             nothing runs: a tenth of the members gone, one member exchanged in each tenth LAG
//     fan     subinterfaces of 64 LAGs; then LAG members that come and go, each of which is
//             written under every subinterface of its LAG
//
// The expected checksums are computed from the generator's own record of the inputs, member by
// member, and by no subject: a subject that ends with another one has derived something else.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Bridging/VlanPortConfig.h"
#include "platform/Iftel/IntfId.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Bench {

struct Member {
    Bridging::VlanId vlanId;
    Iftel::IntfId intfId;
    Bridging::VlanPortConfig config;
};

/// What happens to a member: it comes up, gets another configuration, or goes.
enum class EventKind : std::uint8_t { present, changed, removed };
inline constexpr std::size_t eventKinds = 3;

struct Event {
    EventKind kind;
    Member member;
};

struct LagMember {
    Iftel::IntfId lagId;
    Iftel::IntfId memberId;
};

struct LagEvent {
    bool add;
    LagMember member;
};

/// Sum over an output, independent of its order.
struct Checksum {
    std::uint64_t sum = 0;
    std::uint64_t entries = 0; ///< subinterfaces
    std::uint64_t members = 0; ///< LAG members under them

    void entryAdd(Bridging::VlanId vlanId, Iftel::IntfId intfId, bool tagOnEgress,
                  Bridging::AllowedTrafficDirection direction) noexcept;
    void memberAdd(Bridging::VlanId vlanId, Iftel::IntfId intfId, Iftel::IntfId memberId) noexcept;

    friend bool operator==(Checksum const &, Checksum const &) noexcept = default;
};

struct Workload {
    // Written before the start.
    std::vector<Member> members;
    std::vector<LagMember> lagMembers;
    Checksum afterStart;

    // mixed: written one by one while the subject runs.
    std::array<std::vector<Event>, 2> churn;
    Checksum afterChurn;

    // mixed: written between a stop and the next start.
    std::vector<Member> gone;
    std::vector<LagEvent> lagsMoved;
    Checksum afterRestart;

    // fan: written one by one while the subject runs.
    std::vector<LagEvent> lagChurn;
    Checksum afterFan;

    /// `vlans` VLANs of `perVlan` members each, and two passes of `events` events.
    [[nodiscard]] static Workload mixed(std::uint32_t vlans, std::uint32_t perVlan,
                                        std::uint32_t events);
    /// 64 LAGs with `perLag` subinterfaces each, and `events` events.
    [[nodiscard]] static Workload fan(std::uint32_t perLag, std::uint32_t events);
};

} // namespace Bench
