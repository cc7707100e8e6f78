// The library as a host uses it: entities written through their mutators, the machine made by its
// factory, its tasks run by the scheduler.
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "bench/Workload.h"
#include "platform/Bridging.h"
#include "platform/Lag.h"
#include "platform/Osk.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <cstdint>
#include <memory>

namespace Bench {

class Machine {
  public:
    static constexpr bool rebuilds = false;

    /// With a share that is never used up: start() is one run of each task.
    Machine();

    void memberIs(Member const &member);
    void memberDel(Member const &member);
    void lagMemberIs(LagMember const &lagMember);
    void lagMemberDel(LagMember const &lagMember);
    void batchEnd() const noexcept {}
    void start();
    void stop() { machine_ = nullptr; }
    [[nodiscard]] Checksum checksum() const;

    /// Runs of tasks that the last start took.
    [[nodiscard]] std::uint64_t slices() const noexcept { return slices_; }
    /// Live bytes of all tracked types, and the sum of what each held at most.
    struct Bytes {
        std::uint64_t live = 0;
        std::uint64_t peak = 0;
    };
    [[nodiscard]] static Bytes census();

  protected:
    explicit Machine(std::unique_ptr<Osk::Share> share);

  private:
    Qor::Ptr<Bridging::Config> config_;
    Qor::Ptr<Lag::LagPhyIntfMapping> mapping_;
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir_;
    Qor::Ptr<Osk::TaskScheduler> scheduler_;
    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine_; // null while it does not run
    std::uint64_t slices_ = 0;
};

/// With the scheduler's default share.
class SlicedMachine : public Machine {
  public:
    SlicedMachine();
};

} // namespace Bench
