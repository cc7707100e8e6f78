// The usual shape: what a team would write without this library, and write well. Entities are
// shared objects in standard hash tables; inputs tell an observer which member changed, the
// reaction looks it up and writes the outputs, each output change is told to an observer, too. At a
// restart it records what it writes and deletes the rest.
#pragma once

#include "bench/Workload.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace Bench {

class Observed {
  public:
    static constexpr bool rebuilds = false;

    Observed();
    ~Observed();
    Observed(Observed const &) = delete;
    Observed &operator=(Observed const &) = delete;

    void memberIs(Member const &member);
    void memberDel(Member const &member);
    void lagMemberIs(LagMember const &lagMember);
    void lagMemberDel(LagMember const &lagMember);
    void batchEnd() noexcept {}
    void start();
    void stop();
    [[nodiscard]] Checksum checksum() const;

  private:
    struct IdHash {
        std::size_t operator()(Iftel::IntfId id) const noexcept { return mixed(id.bits()); }
        static std::size_t mixed(std::uint64_t x) noexcept {
            x *= 0x9E3779B97F4A7C15U;
            return x ^ (x >> 32);
        }
    };
    using Ride = std::pair<Iftel::IntfId, std::uint16_t>; // a subinterface in a VLAN
    struct RideHash {
        std::size_t operator()(Ride const &ride) const noexcept {
            return IdHash::mixed(ride.first.bits() ^ std::uint64_t{ride.second} << 20);
        }
    };
    template <class Value> using IdMap = std::unordered_map<Iftel::IntfId, Value, IdHash>;
    using IdSet = std::unordered_set<Iftel::IntfId, IdHash>;

    struct Port {};
    struct VlanIn {
        IdMap<Bridging::VlanPortConfig> members;
    };
    struct LagIn {
        IdMap<std::shared_ptr<Port>> members;
    };
    struct SubIntf {
        IdSet lagMembers;
        bool tagOnEgress = false;
        Bridging::AllowedTrafficDirection direction = Bridging::AllowedTrafficDirection::none;
    };
    struct VlanOut {
        IdMap<std::shared_ptr<SubIntf>> subIntfs;
    };
    struct LagStatus {
        std::unordered_set<Ride, RideHash> rides;
    };

    /// Hears which member of an input changed.
    class InputObserver;
    class Reactor;
    /// Hears which attribute of the output changed.
    class OutputObserver;
    class Counter;

    void memberChanged(std::uint16_t vlan, Iftel::IntfId intfId);
    void lagMemberChanged(Iftel::IntfId lagId, Iftel::IntfId memberId);
    void present(std::uint16_t vlan, Iftel::IntfId intfId, Bridging::VlanPortConfig const &config);
    void gone(std::uint16_t vlan, Iftel::IntfId intfId);
    void attributesIs(SubIntf &subIntf, Bridging::VlanPortConfig const &config);
    void lagMemberWrite(SubIntf &subIntf, Iftel::IntfId memberId, bool add);
    void staleDel();
    void staleLagMembersDel(SubIntf &subIntf, LagIn const &lag);

    std::unordered_map<std::uint16_t, std::shared_ptr<VlanIn>> in_;
    IdMap<std::shared_ptr<LagIn>> lags_;
    std::unordered_map<std::uint16_t, std::shared_ptr<VlanOut>> out_;
    IdMap<std::shared_ptr<LagStatus>> status_;
    std::unordered_set<SubIntf const *> written_; // while it takes over
    bool takesOver_ = false;
    std::unique_ptr<InputObserver> reactor_; // null while it does not run
    std::unique_ptr<OutputObserver> observer_;
};

} // namespace Bench
