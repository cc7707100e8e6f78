// Seen tracking: which output entries were written in this run. The pipelines fill both records
// while the output's Reconciling flag is set, the deletion walks read them, completion empties
// them.
#include "VlanSubIntfConfigLib/SeenColl.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

namespace VlanSubIntfConfigLib {

LagPhyIntfOutputColl::LagPhyIntfOutputColl(Qor::Ptr<VlanSubIntf> const &subIntf)
    : vlanSubIntf_(subIntf), seen_(1) {}

void LagPhyIntfOutputColl::seenDel(LagPhyIntfOutputKey const &key) {
    seen_.deleteMemberG(key);
}

void LagPhyIntfOutputColl::seenDelAll() {
    seen_.emptyAllBuckets();
}

ConfigSm::ConfigIntfSeenSet::Node const *
ConfigSm::vlanSubIntfConfigDirConfigIntfOutputSeenIs(ConfigIntfOutputKey const &key) {
    return configIntfSeen_.newMemberG({key}).first;
}

void ConfigSm::vlanSubIntfConfigDirConfigIntfOutputSeenDel(ConfigIntfOutputKey const &key) {
    configIntfSeen_.deleteMemberG(key);
}

void ConfigSm::vlanSubIntfConfigDirConfigIntfOutputSeenDelAll() {
    configIntfSeen_.emptyLater();
}

bool ConfigSm::vlanSubIntfConfigDirConfigIntfOutputSeenHas(
    ConfigIntfOutputKey const &key) const noexcept {
    return configIntfSeen_.memberHas(key);
}

Qor::Ptr<LagPhyIntfOutputColl>
ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(
    Qor::Ptr<VlanSubIntf> const &vlanSubIntf) {
    using Node = LagPhyIntfPtrSeenMap::Node;
    auto const create = [&vlanSubIntf] {
        return Node{vlanSubIntf, Qor::make<LagPhyIntfOutputColl>(vlanSubIntf)};
    };
    return lagPhyIntfPtrSeen_.newMemberG(vlanSubIntf.get(), create).first->value();
}

Qor::Ptr<LagPhyIntfOutputColl>
ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(
    Qor::Ptr<VlanSubIntf const> const &vlanSubIntf) {
    auto removed = lagPhyIntfPtrSeen_.deleteMemberG(vlanSubIntf.get());
    return removed ? removed.take().value_ : nullptr;
}

void ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDelAll() {
    lagPhyIntfPtrSeen_.emptyLater();
}

void ConfigSm::memberCounted(Iftel::IntfId intfId) noexcept {
    bool const isSubIntf = Iftel::SubIntfId::isSubIntfId(intfId);
    bool const ridesOnLag = isSubIntf && Iftel::PortChannelIntfId::isPortChannelIntfId(intfId);
    subIntfsCounted_ += isSubIntf ? 1U : 0U;
    lagSubIntfsCounted_ += ridesOnLag ? 1U : 0U;
}

void ConfigSm::seenReserve() {
    lagPhyIntfPtrSeen_.reserve(lagSubIntfsCounted_);
    if (configIntfReconciling_) {
        configIntfSeen_.reserve(subIntfsCounted_);
    }
}

} // namespace VlanSubIntfConfigLib
