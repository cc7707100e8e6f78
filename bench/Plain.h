// The floor: the derivation written by hand for one purpose. Flat tables, values in place, direct
// calls; nobody is told of a change, nothing is sliced, traced or recorded.
//
// At a restart it takes over the output: it writes every entry again and then looks each one up in
// the inputs to delete what is stale.
#pragma once

#include "bench/FlatMap.h"
#include "bench/Workload.h"

#include <cstdint>

namespace Bench {

class Plain {
  public:
    static constexpr bool rebuilds = false;

    void memberIs(Member const &member);
    void memberDel(Member const &member);
    void lagMemberIs(LagMember const &lagMember);
    void lagMemberDel(LagMember const &lagMember);
    void batchEnd() noexcept {}
    void start();
    void stop();
    /// Forget the output as well.
    void outputDelAll();
    [[nodiscard]] Checksum checksum() const;

  private:
    struct Entry {
        bool tagOnEgress = false;
        Bridging::AllowedTrafficDirection direction = Bridging::AllowedTrafficDirection::none;
        IdSet lagMembers;
    };
    using VlanIn = FlatMap<Iftel::IntfId, Bridging::VlanPortConfig>;
    using VlanOut = FlatMap<Iftel::IntfId, Entry>;

    void present(VlanOut &vlan, Ride const &ride, Bridging::VlanPortConfig const &config);
    void gone(Ride const &ride);
    void staleDel();

    FlatMap<std::uint64_t, VlanIn> in_; // by VLAN number
    FlatMap<Iftel::IntfId, IdSet> lags_;
    FlatMap<std::uint64_t, VlanOut> out_;
    FlatMap<Iftel::IntfId, FlatSet<Ride>> rides_; // by LAG
    bool running_ = false;
};

/// Forgets the output and builds it anew after each batch, where Plain follows event by event.
class Recompute {
  public:
    static constexpr bool rebuilds = true;

    void memberIs(Member const &member) { plain_.memberIs(member); }
    void memberDel(Member const &member) { plain_.memberDel(member); }
    void lagMemberIs(LagMember const &lagMember) { plain_.lagMemberIs(lagMember); }
    void lagMemberDel(LagMember const &lagMember) { plain_.lagMemberDel(lagMember); }
    void batchEnd() { start(); }
    void start() {
        plain_.outputDelAll();
        plain_.start();
        plain_.stop();
    }
    void stop() noexcept {}
    [[nodiscard]] Checksum checksum() const { return plain_.checksum(); }

  private:
    Plain plain_;
};

} // namespace Bench
