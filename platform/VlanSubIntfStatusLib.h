// VlanSubIntfStatusLib: which VLANs ride on a port-channel through its subinterfaces.
//
//     VlanStatus.intfToVlanMap: set of VidIntf
//
// A machine keeps one VlanStatus per port-channel in its local store, so that a change of a LAG
// member finds every subinterface concerned without a scan of the bridging configuration.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Iftel/IntfId.h"
#include "platform/Nuvio/Export.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Entity.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"
#include "platform/Qor/Value.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace VlanSubIntfStatusLib {

/// One (subinterface, VLAN) pair.
struct VidIntf {
    Iftel::IntfId intfId;
    Bridging::VlanId vlanId;

    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept {
        Qor::Hash hash(seed);
        hash.hashMix(intfId.bits());
        hash.hashMix(vlanId.value());
        return hash.result();
    }
    friend auto operator<=>(VidIntf const &, VidIntf const &) noexcept = default;
};

NUVIO_EXPORT std::ostream &operator<<(std::ostream &out, VidIntf const &pair);

class NUVIO_EXPORT VlanStatus final : public Qor::DerivedEntity,
                                      public Qor::PoolAllocated<VlanStatus> {
  public:
    static constexpr std::string_view qorTypeName = "VlanSubIntfStatusLib::VlanStatus";
    static constexpr short intfToVlanMapAttribute = 130;
    using Entry = Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntf>;
    /// What is kept beside a pair: the entry that the pair stands for, or null. As long as it is,
    /// the entry says in which list; see VlanSubIntf::listedIn().
    class Listing {
      public:
        Listing() noexcept = default;
        Listing(Entry const &entry, std::uint32_t list) noexcept : entry_(entry) {
            listedInIs(list);
        }
        Listing(Listing &&) noexcept = default;
        Listing &operator=(Listing &&other) noexcept {
            Listing(std::move(other)).entry_.swap(entry_);
            return *this;
        }
        ~Listing() { listedInIs(0); }

        [[nodiscard]] Entry const &entry() const noexcept { return entry_; }
        [[nodiscard]] auto *get() const noexcept { return entry_.get(); }
        void listedInIs(std::uint32_t list) const noexcept {
            if (auto *const entry = entry_.get()) {
                entry->listedInIs(list);
            }
        }

      private:
        Entry entry_;
    };
    using VidIntfSet = Qor::HashMap2018<VidIntf, Qor::Beside<Listing>, 0x97B30F52>;

    VlanStatus() noexcept = default;
    ~VlanStatus() override { intfToVlanMap_.emptyLater(); }

    [[nodiscard]] VidIntfSet const &intfToVlanMap() const noexcept { return intfToVlanMap_; }
    [[nodiscard]] bool intfToVlanMap(VidIntf const &pair) const noexcept {
        return intfToVlanMap_.memberHas(pair);
    }
    /// Insert a pair. `entry` is the output entry that it stands for, if the writer has it at hand:
    /// it is kept beside the pair, so that who walks over the pairs need not look it up. As long as
    /// it is, it is listed in `list`, so that the writer need not write the pair again.
    void intfToVlanMapIs(VidIntf const &pair, Entry const &entry = nullptr, std::uint32_t list = 0);
    void intfToVlanMapDel(VidIntf const &pair);

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    VidIntfSet intfToVlanMap_;
};

} // namespace VlanSubIntfStatusLib

template <> struct NUVIO_EXPORT Qor::ValueTraits<VlanSubIntfStatusLib::VidIntf> {
    static constexpr std::string_view name = "VlanSubIntfStatusLib::VidIntf";
    static std::string text(VlanSubIntfStatusLib::VidIntf const &value);
};
