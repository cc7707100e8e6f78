// The root machine: construction, the factory, and what a host asks.
//
// The constructor does everything: when it returns, the machine is initialized and, in synchronous
// mode, ready. Its count is 1 throughout, so the references that reactions take and release in the
// meantime dispose of nothing. If anything throws, the members go in reverse order, each subscriber
// before what it listens to, and no registration is left behind on any input or task.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "platform/QorNuvio/Subscribe.h"

namespace VlanSubIntfConfigLib {

ConfigSm::ConfigSm(Qor::Ptr<Bridging::Config const> const &bridging,
                   Qor::Ptr<Lag::LagPhyIntfMapping const> const &lagMapping,
                   Qor::Ptr<VlanSubIntfConfigDir> const &dir, Quam::SmControl const &control)
    : bridgingConfig_(bridging), lagPhyIntfMapping_(lagMapping), vlanSubIntfConfigDir_(dir),
      inputSmScanStateSubscriber_(inputSmScanStateDispatch, this),
      outputStateSubscriber_(outputStateDispatch, this),
      lagPhyIntfTask_(vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDispatch,
                      this),
      configIntfTask_(vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDispatch, this),
      dovraControl_(control) {
    QorNuvio::SubscriberScopeGuard const scanStateGuard(inputSmScanStateSubscriber_);
    QorNuvio::SubscriberScopeGuard const outputStateGuard(outputStateSubscriber_);
    QorNuvio::SubscriberScopeGuard const configIntfGuard(configIntfTask_.subscriber());
    QorNuvio::SubscriberScopeGuard const lagPhyIntfGuard(lagPhyIntfTask_.subscriber());
    handleInitialized();
}

Qor::Ptr<ConfigSm> ConfigSm::ConfigSmIs(Qor::Ptr<Bridging::Config const> const &bridging,
                                        Qor::Ptr<Lag::LagPhyIntfMapping const> const &lagMapping,
                                        Qor::Ptr<VlanSubIntfConfigDir> const &dir,
                                        Quam::SmControl const &control) {
    return Qor::make<ConfigSm>(bridging, lagMapping, dir, control);
}

bool ConfigSm::ready() const noexcept {
    return outputState_ && outputState_->ready();
}

bool ConfigSm::idle() const noexcept {
    return ready() && (synchronous_ || inputSmScanState_->idle());
}

Qor::Ptr<ConfigSm> configSmFactory(Qor::Ptr<Bridging::Config const> const &bridgingConfig,
                                   Qor::Ptr<Lag::LagPhyIntfMapping const> const &lagPhyIntfMapping,
                                   Qor::Ptr<VlanSubIntfConfigDir> const &vlanSubIntfConfigDir,
                                   Quam::SmControl const &dovraControl) {
    return ConfigSm::ConfigSmIs(bridgingConfig, lagPhyIntfMapping, vlanSubIntfConfigDir,
                                dovraControl);
}

} // namespace VlanSubIntfConfigLib
