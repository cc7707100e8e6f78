// A machine's surroundings at a chosen size: both inputs, the directory, the scheduler.
//
// The members are spread over at most 4000 VLANs of 250: half are subinterfaces of 64 LAGs with 8
// members each, a quarter subinterfaces of Ethernet ports, a quarter plain ports. They are written
// VLAN after VLAN in turn, so that what stands side by side in a VLAN is apart in memory.
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace Latency {

class Site {
  public:
    static constexpr std::uint32_t lags = 64;
    static constexpr std::uint32_t membersPerLag = 8;

    /// Empty inputs, empty directory; `members` is how many there are to be.
    Site(std::uint32_t members, std::chrono::nanoseconds share);

    // The members by number.

    [[nodiscard]] std::uint32_t members() const noexcept { return members_; }
    [[nodiscard]] std::uint32_t vlans() const noexcept { return vlans_; }
    [[nodiscard]] Bridging::VlanId vlanId(std::uint32_t member) const noexcept;
    [[nodiscard]] Iftel::IntfId intfId(std::uint32_t member) const noexcept {
        return intfIdAt(member / vlans_, member);
    }
    /// Its kind goes by the place in the VLAN, its number by the member's.
    [[nodiscard]] static Iftel::IntfId intfIdAt(std::uint32_t place, std::uint32_t member) noexcept;
    [[nodiscard]] static Bridging::VlanPortConfig config(std::uint32_t member) noexcept;
    [[nodiscard]] static Iftel::IntfId lagId(std::uint32_t lag) noexcept;
    [[nodiscard]] static Iftel::IntfId lagMemberId(std::uint32_t lag, std::uint32_t k) noexcept;

    // Writing.

    void fillInputs();
    void memberIs(std::uint32_t member) { memberIs(member, config(member)); }
    void memberIs(std::uint32_t member, Bridging::VlanPortConfig config);
    void memberDel(std::uint32_t member);
    void lagMemberIs(std::uint32_t lag, std::uint32_t k);
    void lagMemberDel(std::uint32_t lag, std::uint32_t k);
    /// What a machine over these members leaves in the directory. Requires: no machine.
    void fillDirAsDerived();
    /// Entries that no input accounts for: as many as there are members, in the same VLANs, half of
    /// them with the members of a LAG. Requires: no machine.
    void fillDirWithStaleEntries();

    // The machine.

    void factoryCall();
    /// Factory call and every run until nothing is left to do.
    void startUntilIdle();

    /// "" when the machine is ready and the directory has what the inputs call for; else what is
    /// wrong. Requires: every LAG has its 8 members.
    [[nodiscard]] std::string fault() const;

    Qor::Ptr<Bridging::Config> const bridging;
    Qor::Ptr<Lag::LagPhyIntfMapping> const mapping;
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> const dir;
    Qor::Ptr<Osk::TaskScheduler> const scheduler;
    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine;

  private:
    struct Counts {
        std::uint64_t entries = 0;
        std::uint64_t lagMembers = 0;
        friend bool operator==(Counts const &, Counts const &) noexcept = default;
    };
    /// An entry as a machine would leave it, but for its attributes.
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntf> entryIs(std::uint32_t member, Iftel::IntfId intf);
    [[nodiscard]] Counts expected() const;
    [[nodiscard]] Counts found() const;

    std::uint32_t members_;
    std::uint32_t vlans_;
};

} // namespace Latency
