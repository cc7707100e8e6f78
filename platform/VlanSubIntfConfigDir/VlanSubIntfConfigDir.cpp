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

void VlanSubIntfConfigDir::configDel(Bridging::VlanId id) {
    memberDel(config_, configAttribute, id,
              [](ConfigMap::Node const &removed) { removed.value()->letGo(); });
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
