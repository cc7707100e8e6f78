// Random histories: what happens to a machine, its inputs and its directory, as plain data.
//
// A step names what it is about by small numbers, which index fixed pools of names; the pools are
// small so that steps collide often. A step that makes no sense when its turn comes does what comes
// nearest, so any part of a history is a history, and RapidCheck can shrink it.
#pragma once

#include "tests/model/Model.h"

#include <rapidcheck.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace Histories {

inline constexpr int vlans = 6;
/// Two subinterfaces of each of two port-channels and one of a third, two of Ethernets, and two
/// that are none.
inline std::array<std::string, 9> const interfaces = {
    "PortChannel1.10", "PortChannel1.20", "PortChannel2.10", "PortChannel2.20", "PortChannel3.10",
    "Ethernet1.10",    "Ethernet2.10",    "Ethernet5",       "PortChannel1"};
/// The last is no port-channel, and has a subinterface all the same.
inline std::array<std::string, 4> const lags = {"PortChannel1", "PortChannel2", "PortChannel3",
                                                "Ethernet1"};
inline std::array<std::string, 4> const members = {"Ethernet11", "Ethernet12", "Ethernet13",
                                                   "Ethernet14"};

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
    quiet,         ///< notifications off and on again
    restart,       ///< the machine replaced by a new one
    release,       ///< the machine released
    releaseInside, ///< the machine released inside a notice that comes later
    withdraw       ///< everything withdrawn, then the machine released
};

/// The numbers are taken modulo the size of what they index.
struct Step {
    Kind kind = Kind::run;
    std::uint8_t place = 0; ///< VLAN or LAG
    std::uint8_t item = 0;  ///< member of it
    std::uint8_t value = 0; ///< bits of a member's configuration

    [[nodiscard]] int vlan() const { return place % vlans + 1; }
    [[nodiscard]] std::string const &intf() const { return interfaces[item % interfaces.size()]; }
    [[nodiscard]] std::string const &lag() const { return lags[place % lags.size()]; }
    [[nodiscard]] std::string const &member() const { return members[item % members.size()]; }
    [[nodiscard]] Model::Port port() const;
    [[nodiscard]] Model::MemberConfig memberConfig() const;
    /// Several members at once, chosen by the bits of item.
    [[nodiscard]] Model::Ports ports() const;
    [[nodiscard]] Model::Members lagMembers() const;
};

/// How the scheduler cuts work.
enum class Cut : std::uint8_t { never, everyTest, everyThirdTest, atRandom };

/// How a machine runs: what must not show in the result.
struct Manner {
    std::uint32_t seed = 0; ///< of hashes, and of cuts at random
    bool synchronous = false;
    Cut cut = Cut::everyTest;
};

struct History {
    Manner manner;
    std::vector<Step> before; ///< what fills the inputs before the first machine is made
    Model::Output leftBehind; ///< what is in the directory then
    std::vector<Step> steps;

    [[nodiscard]] std::string text() const;
};

std::ostream &operator<<(std::ostream &out, Step const &step);
std::ostream &operator<<(std::ostream &out, Manner const &manner);
std::ostream &operator<<(std::ostream &out, History const &history);

/// Kinds of steps, each as often as it is to come.
using Kinds = std::vector<Kind>;
Kinds operator*(std::size_t times, Kind kind);
Kinds operator+(Kinds a, Kinds const &b);

/// Changes of the inputs, in a mixture that grows them slowly.
[[nodiscard]] Kinds inputChanges();

[[nodiscard]] rc::Gen<std::vector<Step>> genSteps(Kinds const &kinds);
[[nodiscard]] rc::Gen<Manner> genManner();
[[nodiscard]] rc::Gen<Model::Output> genLeftBehind();
/// `kinds` are those of the history's steps.
[[nodiscard]] rc::Gen<History> genHistory(Kinds const &kinds);

} // namespace Histories
