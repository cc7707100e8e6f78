// Seen tracking: which output entries were written in this run. The pipelines fill both records
// while the output's Reconciling flag is set, the deletion walks read them, completion empties
// them.
#include "VlanSubIntfConfigLib/SeenColl.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

namespace VlanSubIntfConfigLib {

LagPhyIntfOutputColl::LagPhyIntfOutputColl(Qor::Ptr<VlanSubIntf> const &subIntf)
    : vlanSubIntf_(subIntf), seen_(1) {}

LagPhyIntfOutputColl::SeenSet::Node const *
LagPhyIntfOutputColl::seenIs(LagPhyIntfOutputKey const &key) {
    return seen_.newMemberG({key}).first;
}

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
    configIntfSeen_.emptyAllBuckets();
}

bool ConfigSm::vlanSubIntfConfigDirConfigIntfOutputSeenHas(
    ConfigIntfOutputKey const &key) const noexcept {
    return configIntfSeen_.memberHas(key);
}

Qor::Ptr<LagPhyIntfOutputColl>
ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(
    Qor::Ptr<VlanSubIntf> const &vlanSubIntf) {
    if (auto const *const node = lagPhyIntfPtrSeen_.lookupNodeG(vlanSubIntf.get())) {
        return node->value();
    }
    auto coll = Qor::make<LagPhyIntfOutputColl>(vlanSubIntf);
    lagPhyIntfPtrSeen_.newMemberG({vlanSubIntf, coll});
    return coll;
}

Qor::Ptr<LagPhyIntfOutputColl>
ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(
    Qor::Ptr<VlanSubIntf const> const &vlanSubIntf) {
    auto removed = lagPhyIntfPtrSeen_.deleteMemberG(vlanSubIntf.get());
    return removed ? removed.take().value_ : nullptr;
}

void ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDelAll() {
    lagPhyIntfPtrSeen_.emptyAllBuckets();
}

} // namespace VlanSubIntfConfigLib
