#include "platform/VlanSubIntfConfigDir.h"

namespace VlanSubIntfConfigLib {
namespace {

constexpr Qor::TypeImpl dirType = Qor::typeOf<VlanSubIntfConfigDir>();
constexpr Qor::TypeImpl configType = Qor::typeOf<VlanSubIntfConfig>();
constexpr Qor::TypeImpl subIntfType = Qor::typeOf<VlanSubIntf>();
constexpr Qor::TypeImpl const *types[] = {&dirType, &configType, &subIntfType};
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

std::span<Qor::Attribute const> VlanSubIntf::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::collection<&VlanSubIntf::lagPhyIntf_>(lagPhyIntfAttribute, "lagPhyIntf"),
        Qor::property<&VlanSubIntf::tagOnEgress>(tagOnEgressAttribute, "tagOnEgress"),
        Qor::property<&VlanSubIntf::allowedTrafficDirection>(allowedTrafficDirectionAttribute,
                                                             "allowedTrafficDirection")};
    return table;
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

std::span<Qor::Attribute const> VlanSubIntfConfig::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::collection<&VlanSubIntfConfig::intf_>(intfAttribute, "intf")};
    return table;
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

std::span<Qor::Attribute const> VlanSubIntfConfigDir::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::collection<&VlanSubIntfConfigDir::config_>(configAttribute, "config")};
    return table;
}

Qor::FwkType VlanSubIntfConfigDir::fwkType() const noexcept {
    return {&module, 0};
}

} // namespace VlanSubIntfConfigLib
