// Seen tracking: which output entries were written in this run. The pipelines fill both records
// while the output's Reconciling flag is set, the deletion walks read them, completion empties
// them.
#include "VlanSubIntfConfigLib/SeenColl.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

#include <algorithm>

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
    recordEmpty(configIntfSeen_);
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
    recordEmpty(lagPhyIntfPtrSeen_);
}

void ConfigSm::memberCounted(Iftel::IntfId intfId, bool isThere) noexcept {
    if (!isThere || !Iftel::SubIntfId::isSubIntfId(intfId)) {
        return;
    }
    ++subIntfsCounted_;
    if (Iftel::PortChannelIntfId::isPortChannelIntfId(intfId)) {
        auto const *const lag = lagPhyIntfMapping_->lagPhyIntfConfig().lookupNodeG(
            Iftel::SubIntfId::parentIntfId(intfId));
        lagSubIntfsCounted_ += lag && !lag->value()->phyIntf().empty() ? 1U : 0U;
    }
}

void ConfigSm::seenReserve() {
    // A member that changed while it was scanned was counted more than once.
    std::uint32_t members = 0;
    for (auto const &[vlanId, vlanConfig] : bridgingConfig_->vlanConfig()) {
        members += vlanConfig->intf().size();
    }
    lagPhyIntfPtrSeen_.reserve(std::min(lagSubIntfsCounted_, members));
    if (configIntfReconciling_) {
        configIntfSeen_.reserve(std::min(subIntfsCounted_, members));
    }
}

} // namespace VlanSubIntfConfigLib
