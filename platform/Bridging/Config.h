// The entities of the bridging configuration; see platform/Bridging.h.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Bridging/VlanIndex.h"
#include "platform/Bridging/VlanPortConfig.h"
#include "platform/Iftel/IntfId.h"
#include "platform/Nuvio/Export.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Entity.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace Bridging {

/// One VLAN and its members.
class NUVIO_EXPORT VlanConfig final : public Qor::InputEntity,
                                      public Qor::PoolAllocated<VlanConfig> {
  public:
    static constexpr std::string_view qorTypeName = "Bridging::VlanConfig";
    static constexpr short intfAttribute = 262;
    using IntfMap = Qor::HashMap2018<Iftel::IntfId, VlanPortConfig, 0x8D3F6A15>;

    explicit VlanConfig(VlanId id) noexcept : vlanId_(id) {}

    [[nodiscard]] VlanId vlanId() const noexcept { return vlanId_; }

    /// The members. Valid as long as the VLAN; see HashMap2018 about changes during a walk.
    [[nodiscard]] IntfMap const &intf() const noexcept { return intf_; }
    [[nodiscard]] Qor::Optional<VlanPortConfig> intf(Iftel::IntfId id) const;
    /// Insert a member, or give it another configuration.
    void intfIs(Iftel::IntfId id, VlanPortConfig config) {
        valueIs(intf_, intfAttribute, id, config);
    }
    /// Remove a member if there is one.
    void intfDel(Iftel::IntfId id) { memberDel(intf_, intfAttribute, id); }

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    IntfMap intf_;
    VlanId vlanId_;
};

/// The bridging configuration.
class NUVIO_EXPORT Config final : public Qor::InputEntity, public Qor::PoolAllocated<Config> {
  public:
    static constexpr std::string_view qorTypeName = "Bridging::Config";
    static constexpr short vlanConfigAttribute = 258;
    struct VlanIdOf {
        VlanId operator()(Qor::Ptr<VlanConfig const> const &vlan) const noexcept {
            return vlan->vlanId();
        }
    };
    using VlanConfigMap =
        Qor::HashMap2018<VlanId, Qor::Ptr<VlanConfig const>, 0x2B61C9E7, VlanIdOf>;

    /// A new, empty configuration with notifications on.
    [[nodiscard]] static Qor::Ptr<Config> ConfigIs();

    /// The VLANs. Valid as long as the configuration.
    [[nodiscard]] VlanConfigMap const &vlanConfig() const noexcept { return vlanConfig_; }
    [[nodiscard]] Qor::Optional<Qor::Ptr<VlanConfig const>> vlanConfig(VlanId id) const;
    /// The VLAN, made empty if it is missing, for its members to be written.
    Qor::Ptr<VlanConfig> vlanConfigIs(VlanId id) {
        auto *const known = byNumber_.at(id);
        return known ? Qor::Ptr<VlanConfig>(known) : vlanConfigMade(id);
    }
    /// Remove a VLAN with its members if there is one.
    void vlanConfigDel(VlanId id);
    /// Insert a VLAN that has members already, in one notice; replaces none.
    void vlanConfigInsertForTest(Qor::Ptr<VlanConfig const> const &vlan);

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    friend Qor::Ptr<Config> Qor::make<Config>();
    Config() noexcept = default;
    Qor::Ptr<VlanConfig> vlanConfigMade(VlanId id);
    static VlanConfig *writable(VlanConfigMap::Node const &node) noexcept;

    VlanConfigMap vlanConfig_;
    VlanIndex<VlanConfig> byNumber_;
};

} // namespace Bridging
