#include "platform/Lag.h"

#include <utility>

namespace Lag {
namespace {

constexpr Qor::TypeImpl mappingType = Qor::typeOf<LagPhyIntfMapping>();
constexpr Qor::TypeImpl lagType = Qor::typeOf<LagPhyIntfConfig>();
constexpr Qor::TypeImpl memberType = Qor::typeOf<EthPhyIntfLagConfig>();
constexpr Qor::TypeImpl const *types[] = {&mappingType, &lagType, &memberType};
constexpr Qor::Module module{"Lag", types};
[[maybe_unused]] bool const registered = Qor::qorModuleIs(module);

} // namespace

Qor::Ptr<EthPhyIntfLagConfig> EthPhyIntfLagConfig::EthPhyIntfLagConfigIs() {
    return Qor::make<EthPhyIntfLagConfig>();
}

std::span<Qor::Attribute const> EthPhyIntfLagConfig::qorAttributes() noexcept {
    return {};
}

Qor::FwkType EthPhyIntfLagConfig::fwkType() const noexcept {
    return {&module, 2};
}

Qor::Optional<Qor::Ptr<EthPhyIntfLagConfig const>>
LagPhyIntfConfig::phyIntf(Iftel::IntfId id) const {
    auto const *const node = phyIntf_.lookupNodeG(id);
    return node ? Qor::Optional(node->value()) : std::nullopt;
}

void LagPhyIntfConfig::phyIntfIs(Iftel::IntfId id, Qor::Ptr<EthPhyIntfLagConfig const> config) {
    valueIs(phyIntf_, phyIntfAttribute, id, std::move(config));
}

void LagPhyIntfConfig::phyIntfDel(Iftel::IntfId id) {
    memberDel(phyIntf_, phyIntfAttribute, id);
}

std::span<Qor::Attribute const> LagPhyIntfConfig::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::collection<&LagPhyIntfConfig::phyIntf_>(phyIntfAttribute, "phyIntf")};
    return table;
}

Qor::FwkType LagPhyIntfConfig::fwkType() const noexcept {
    return {&module, 1};
}

Qor::Ptr<LagPhyIntfMapping> LagPhyIntfMapping::LagPhyIntfMappingIs() {
    return Qor::make<LagPhyIntfMapping>();
}

Qor::Ptr<LagPhyIntfConfig> LagPhyIntfMapping::lagPhyIntfConfigIs(Iftel::IntfId id) {
    return memberIs(lagPhyIntfConfig_, lagPhyIntfConfigAttribute, id,
                    [id] { return Qor::make<LagPhyIntfConfig>(id); });
}

void LagPhyIntfMapping::lagPhyIntfConfigDel(Iftel::IntfId id) {
    memberDel(lagPhyIntfConfig_, lagPhyIntfConfigAttribute, id);
}

void LagPhyIntfMapping::lagPhyIntfConfigInsertForTest(Qor::Ptr<LagPhyIntfConfig> const &lag) {
    memberIs(lagPhyIntfConfig_, lagPhyIntfConfigAttribute, lag->intfId(), [&lag] { return lag; });
}

std::span<Qor::Attribute const> LagPhyIntfMapping::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::collection<&LagPhyIntfMapping::lagPhyIntfConfig_>(lagPhyIntfConfigAttribute,
                                                               "lagPhyIntfConfig")};
    return table;
}

Qor::FwkType LagPhyIntfMapping::fwkType() const noexcept {
    return {&module, 0};
}

} // namespace Lag
