#include "platform/VlanSubIntfConfigDir.h"

namespace VlanSubIntfConfigLib {
namespace {

constexpr Qor::QorTypeBase dirType(VlanSubIntfConfigDir::qorTypeName);
constexpr Qor::QorTypeBase configType(VlanSubIntfConfig::qorTypeName);
constexpr Qor::QorTypeBase subIntfType(VlanSubIntf::qorTypeName);
constexpr Qor::QorTypeBase const *types[] = {&dirType, &configType, &subIntfType};
constexpr Qor::Module module{"VlanSubIntfConfigDir", types};
[[maybe_unused]] bool const registered = Qor::qorModuleIs(module);

} // namespace

void VlanSubIntf::lagPhyIntfIs(Iftel::IntfId member) {
    keyIs(lagPhyIntf_, lagPhyIntfAttribute, member);
}

void VlanSubIntf::lagPhyIntfDel(Iftel::IntfId member) {
    memberDel(lagPhyIntf_, lagPhyIntfAttribute, member);
}

void VlanSubIntf::tagOnEgressIs(bool tag) {
    attributeIs(tagOnEgress_, tagOnEgressAttribute, tag);
}

void VlanSubIntf::allowedTrafficDirectionIs(Bridging::AllowedTrafficDirection direction) {
    attributeIs(allowedTrafficDirection_, allowedTrafficDirectionAttribute, direction);
}

Qor::FwkType VlanSubIntf::fwkType() const noexcept {
    return {&module, 2};
}

Qor::Optional<Qor::Ptr<VlanSubIntf>> VlanSubIntfConfig::intf(Iftel::IntfId id) const {
    auto const *const node = intf_.lookupNodeG(id);
    return node ? Qor::Optional(node->value()) : std::nullopt;
}

Qor::Ptr<VlanSubIntf> VlanSubIntfConfig::intfIs(Iftel::IntfId id) {
    return memberIs(intf_, intfAttribute, id, [id] { return Qor::make<VlanSubIntf>(id); });
}

void VlanSubIntfConfig::intfDel(Iftel::IntfId id) {
    memberDel(intf_, intfAttribute, id);
}

Qor::FwkType VlanSubIntfConfig::fwkType() const noexcept {
    return {&module, 1};
}

Qor::Ptr<VlanSubIntfConfigDir> VlanSubIntfConfigDir::VlanSubIntfConfigDirIs() {
    return Qor::make<VlanSubIntfConfigDir>();
}

Qor::Optional<Qor::Ptr<VlanSubIntfConfig>> VlanSubIntfConfigDir::config(Bridging::VlanId id) const {
    auto const *const node = config_.lookupNodeG(id);
    return node ? Qor::Optional(node->value()) : std::nullopt;
}

Qor::Ptr<VlanSubIntfConfig> VlanSubIntfConfigDir::configIs(Bridging::VlanId id) {
    return memberIs(config_, configAttribute, id,
                    [id] { return Qor::make<VlanSubIntfConfig>(id); });
}

void VlanSubIntfConfigDir::configDel(Bridging::VlanId id) {
    memberDel(config_, configAttribute, id);
}

Qor::FwkType VlanSubIntfConfigDir::fwkType() const noexcept {
    return {&module, 0};
}

} // namespace VlanSubIntfConfigLib
