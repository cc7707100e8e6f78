// Histories: what happens to a machine, its inputs and its directory, as plain data.
//
// A step names what it is about by small numbers, which index fixed pools of names; the pools are
// small so that steps collide often. A step that makes no sense when its turn comes does what comes
// nearest, so any part of a history is a history, and one that fails can be shrunk.
#pragma once

#include "platform/Osk.h"
#include "tests/model/Model.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace Histories {

/// The names that steps are about.
struct Pools {
    int vlans = 0;                       ///< from 1
    std::vector<std::string> interfaces; ///< members of VLANs
    std::vector<std::string> lags;
    std::vector<std::string> members; ///< of LAGs
};

enum class Scale : std::uint8_t { small, large };

/// small: 6 VLANs; two subinterfaces of each of two port-channels and one of a third, two of
/// Ethernets, two interfaces that are none; 3 LAGs and one that is no port-channel but has a
/// subinterface all the same; 4 members. large: 40, 64, 13 and 24.
[[nodiscard]] Pools const &poolsOf(Scale scale);

enum class Kind : std::uint8_t {
    run,           ///< one run of a task
    settle,        ///< runs until the scheduler is idle
    vlanAdd,       ///< an empty VLAN
    vlanDel,       ///< a VLAN with what is in it
    vlanFilled,    ///< a VLAN that has members already; replaces the one that is there
    portIs,        ///< a member of a VLAN: added or changed
    portDel,       ///< a member of a VLAN removed
    lagAdd,        ///< an empty LAG
    lagDel,        ///< a LAG with what is in it
    lagFilled,     ///< a LAG that has members already; replaces the one that is there
    memberIs,      ///< a member of a LAG: added, or another configuration
    memberDel,     ///< a member of a LAG removed
    vlanNotice,    ///< a notice of a VLAN that has not changed
    lagNotice,     ///< a notice of a LAG that has not changed
    quiet,         ///< notifications off and on again, or off and then released
    reprioritise,  ///< a task gets another priority
    restart,       ///< the machine replaced by a new one
    release,       ///< the machine released
    releaseInside, ///< the machine released inside a notice that comes later
    withdraw       ///< everything withdrawn, at any moment; then released, or not
};

/// The numbers are taken modulo the size of what they index.
struct Step {
    Kind kind = Kind::run;
    std::uint8_t place = 0; ///< VLAN or LAG
    std::uint8_t item = 0;  ///< member of it
    std::uint8_t value = 0; ///< bits of a member's configuration

    [[nodiscard]] int vlan(Pools const &pools) const { return place % pools.vlans + 1; }
    [[nodiscard]] std::string const &intf(Pools const &pools) const;
    [[nodiscard]] std::string const &lag(Pools const &pools) const;
    [[nodiscard]] std::string const &member(Pools const &pools) const;
    [[nodiscard]] Osk::TaskPriority priority() const;
    [[nodiscard]] Model::Port port() const;
    [[nodiscard]] Model::MemberConfig memberConfig() const;
    /// Several members at once, chosen by the bits of item.
    [[nodiscard]] Model::Ports ports(Pools const &pools) const;
    [[nodiscard]] Model::Members lagMembers(Pools const &pools) const;
};

/// Bit `index` of `bits`, which repeat.
[[nodiscard]] constexpr bool bit(std::uint8_t bits, std::size_t index) {
    return (bits >> index % 8 & 1U) != 0;
}

/// An entry of an earlier run: place and item as in a step (an empty VLAN, if that adds a VLAN),
/// members by the bits.
struct OldEntry {
    Step step;
    std::uint8_t members = 0;
};
[[nodiscard]] Model::Output outputOf(std::vector<OldEntry> const &entries, Pools const &pools);

/// How the scheduler cuts work.
enum class Cut : std::uint8_t { never, everyTest, everyThirdTest, atRandom };

/// How a machine runs: what must not show in the result.
struct Manner {
    std::uint32_t seed = 0; ///< of hashes, and of cuts at random
    bool synchronous = false;
    Cut cut = Cut::everyTest;
    Osk::TaskPriority priority = Osk::TaskPriority::normal;
};

struct History {
    Scale scale = Scale::small;
    Manner manner;
    std::vector<Step> before; ///< what fills the inputs before the first machine is made
    Model::Output leftBehind; ///< what is in the directory then
    std::vector<Step> steps;

    [[nodiscard]] Pools const &pools() const { return poolsOf(scale); }
};

/// A step in words.
[[nodiscard]] std::string text(Step const &step, Pools const &pools);
std::ostream &operator<<(std::ostream &out, Manner const &manner);
std::ostream &operator<<(std::ostream &out, History const &history);

} // namespace Histories
