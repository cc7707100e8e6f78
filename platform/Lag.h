// Lag: the link-aggregation mapping, the machine's second input.
//
//     LagPhyIntfMapping.lagPhyIntfConfig[ IntfId of the LAG ]
//         -> LagPhyIntfConfig.phyIntf[ IntfId of the member ] -> EthPhyIntfLagConfig, or null
//
// Hosts write through the mutators, which publish each real change after it is made; LAGs are
// inserted empty, their members one by one. The mapping owns its LAGs and shares their members'
// configurations; readers hold a Ptr as long as they look.
#pragma once

#include "platform/Iftel/IntfId.h"
#include "platform/Nuvio/Export.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Entity.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"

#include <span>
#include <string_view>

namespace Lag {

/// The LAG configuration of one physical interface. Its presence as a member is what counts here.
class NUVIO_EXPORT EthPhyIntfLagConfig final : public Qor::InputEntity,
                                               public Qor::PoolAllocated<EthPhyIntfLagConfig> {
  public:
    static constexpr std::string_view qorTypeName = "Lag::EthPhyIntfLagConfig";

    [[nodiscard]] static Qor::Ptr<EthPhyIntfLagConfig> EthPhyIntfLagConfigIs();

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    friend Qor::Ptr<EthPhyIntfLagConfig> Qor::make<EthPhyIntfLagConfig>();
    EthPhyIntfLagConfig() noexcept = default;
};

/// One LAG and its members.
class NUVIO_EXPORT LagPhyIntfConfig final : public Qor::InputEntity,
                                            public Qor::PoolAllocated<LagPhyIntfConfig> {
  public:
    static constexpr std::string_view qorTypeName = "Lag::LagPhyIntfConfig";
    static constexpr short phyIntfAttribute = 131;
    /// Walked in the order of VlanSubIntf::LagPhyIntfSet, into which its keys go one by one: a walk
    /// over one finds the entries of the other in turn.
    using PhyIntfMap =
        Qor::HashMap2018<Iftel::IntfId, Qor::Ptr<EthPhyIntfLagConfig const>, 0x6BAE05AF>;

    explicit LagPhyIntfConfig(Iftel::IntfId id) noexcept : intfId_(id) {}

    [[nodiscard]] Iftel::IntfId intfId() const noexcept { return intfId_; }

    /// The members. Valid as long as the LAG.
    [[nodiscard]] PhyIntfMap const &phyIntf() const noexcept { return phyIntf_; }
    [[nodiscard]] Qor::Optional<Qor::Ptr<EthPhyIntfLagConfig const>>
    phyIntf(Iftel::IntfId id) const;
    /// Insert a member, or give it another configuration (null allowed).
    void phyIntfIs(Iftel::IntfId id, Qor::Ptr<EthPhyIntfLagConfig const> config);
    /// Remove a member if there is one.
    void phyIntfDel(Iftel::IntfId id);

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    PhyIntfMap phyIntf_;
    Iftel::IntfId intfId_;
};

/// Which physical interfaces make up each LAG.
class NUVIO_EXPORT LagPhyIntfMapping final : public Qor::InputEntity,
                                             public Qor::PoolAllocated<LagPhyIntfMapping> {
  public:
    static constexpr std::string_view qorTypeName = "Lag::LagPhyIntfMapping";
    static constexpr short lagPhyIntfConfigAttribute = 131;
    struct IntfIdOf {
        Iftel::IntfId operator()(Qor::Ptr<LagPhyIntfConfig> const &lag) const noexcept {
            return lag->intfId();
        }
    };
    using LagPhyIntfConfigMap =
        Qor::HashMap2018<Iftel::IntfId, Qor::Ptr<LagPhyIntfConfig>, 0xE4A91C6D, IntfIdOf>;

    /// A new, empty mapping with notifications on.
    [[nodiscard]] static Qor::Ptr<LagPhyIntfMapping> LagPhyIntfMappingIs();

    /// The LAGs. Valid as long as the mapping.
    [[nodiscard]] LagPhyIntfConfigMap const &lagPhyIntfConfig() const noexcept {
        return lagPhyIntfConfig_;
    }
    [[nodiscard]] Qor::Optional<Qor::Ptr<LagPhyIntfConfig>>
    lagPhyIntfConfig(Iftel::IntfId id) const {
        auto const *const node = lagPhyIntfConfig_.lookupNodeG(id);
        return node ? Qor::Optional(node->value()) : std::nullopt;
    }
    /// The LAG, made empty if it is missing.
    Qor::Ptr<LagPhyIntfConfig> lagPhyIntfConfigIs(Iftel::IntfId id);
    /// Remove a LAG with its members if there is one.
    void lagPhyIntfConfigDel(Iftel::IntfId id);
    /// Insert a LAG that has members already, in one notice; replaces none.
    void lagPhyIntfConfigInsertForTest(Qor::Ptr<LagPhyIntfConfig> const &lag);

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    friend Qor::Ptr<LagPhyIntfMapping> Qor::make<LagPhyIntfMapping>();
    LagPhyIntfMapping() noexcept = default;

    LagPhyIntfConfigMap lagPhyIntfConfig_;
};

} // namespace Lag
