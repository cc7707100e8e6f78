// The library as a host uses it: entities written through their mutators, the machine made by its
// factory, its tasks run by a scheduler with the default share.
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "bench/Checksum.h"
#include "platform/Bridging.h"
#include "platform/Lag.h"
#include "platform/Osk.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <cstdint>

namespace Bench {

class Machine {
  public:
    using Ids = MachineIds;
    using Vlan = MachineIds::Vlan;
    using Intf = MachineIds::Intf;
    using Config = MachineIds::Config;
    static constexpr bool rebuilds = false;

    Machine();

    // A host writes in one way, whether a machine follows or not.

    void memberFill(Vlan vlan, Intf intf, Config config) { memberIs(vlan, intf, config); }
    void memberUnfill(Vlan vlan, Intf intf) { memberDel(vlan, intf); }
    void lagMemberFill(Intf lag, Intf member) { lagMemberIs(lag, member); }
    void lagMemberUnfill(Intf lag, Intf member) { lagMemberDel(lag, member); }

    void batchBegin() noexcept {}
    void batchEnd() noexcept {}
    void memberIs(Vlan vlan, Intf intf, Config config) {
        config_->vlanConfigIs(vlan)->intfIs(intf, config);
    }
    void memberDel(Vlan vlan, Intf intf) { config_->vlanConfigIs(vlan)->intfDel(intf); }
    void lagMemberIs(Intf lag, Intf member) {
        mapping_->lagPhyIntfConfigIs(lag)->phyIntfIs(
            member, Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    }
    void lagMemberDel(Intf lag, Intf member) {
        mapping_->lagPhyIntfConfigIs(lag)->phyIntfDel(member);
    }

    /// From the factory's call until the machine is ready.
    void start();
    /// The same: a new machine over the directory as it is.
    void restart() { start(); }
    /// Off: let go of the machine.
    void liveIs(bool live);

    [[nodiscard]] Checksum checksum() const;

    /// Bytes of all live objects and tables.
    [[nodiscard]] static std::uint64_t liveBytes();

  private:
    void indexAdd(Checksum &checksum) const;

    Qor::Ptr<Bridging::Config> config_;
    Qor::Ptr<Lag::LagPhyIntfMapping> mapping_;
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir_;
    Qor::Ptr<Osk::TaskScheduler> scheduler_;
    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine_; ///< null while it does not run
};

} // namespace Bench
