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

void VlanSubIntfConfig::letGo() noexcept {
    inDirectory_ = false;
    for (auto const &[id, vlanSubIntf] : intf_) {
        vlanSubIntf->config_ = nullptr; // it may live on
    }
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

VlanSubIntfConfigDir::~VlanSubIntfConfigDir() {
    for (auto const &[id, config] : config_) {
        config->letGo();
    }
}

Qor::Ptr<VlanSubIntfConfig> VlanSubIntfConfigDir::configMade(Bridging::VlanId id) {
    return memberIs(
        config_, configAttribute, id, [id] { return Qor::make<VlanSubIntfConfig>(id, true); },
        [this, id](ConfigMap::Node const &made) { byNumber_.is(id, made.value().get()); });
}

void VlanSubIntfConfigDir::configDel(Bridging::VlanId id) {
    memberDel(config_, configAttribute, id, [this, id](ConfigMap::Node const &removed) {
        byNumber_.is(id, nullptr);
        removed.value()->letGo();
    });
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
