// Teardown: notification switching, the zombie mark, withdrawal, and the destructor's order.
//
// The destructor marks the root first: from there on no reaction runs, so nothing that the removal
// of its parts provokes reaches a half-dismantled machine. It leaves the output as it stands and
// emits no removal events; doDeleteAll() is the explicit operation for that.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "platform/QorNuvio/Subscribe.h"

#include <utility>

namespace VlanSubIntfConfigLib {
namespace {

template <class Object>
Qor::Ptr<Object> takeOut(Qor::Ptr<Object> &owned, Nuvio::Subscriber &subscriber) noexcept {
    QorNuvio::subscriptionIs(false, subscriber, owned);
    return std::exchange(owned, nullptr);
}

template <class Child> Qor::Ptr<Child> takeOutSilenced(Qor::Ptr<Child> &owned) noexcept {
    auto child = std::exchange(owned, nullptr);
    if (child) {
        child->hasNotificationActiveIs(false);
        child->parentIs(nullptr); // whoever holds it on finds that it does nothing
    }
    return child;
}

template <class Child> void withdraw(Qor::Ptr<Child> const child) { // by value: held for the call
    if (child) {
        child->doDeleteAll();
    }
}

} // namespace

void ConfigSm::hasNotificationActiveIs(bool active) noexcept {
    if (hasNotificationActive() == active) {
        return;
    }
    PtrInterface::hasNotificationActiveIs(active);
    QorNuvio::subscriptionIs(active, inputSmScanStateSubscriber_, inputSmScanState_);
    QorNuvio::subscriptionIs(active, outputStateSubscriber_, outputState_);
    if (lagPhyIntfConfigSm2_) {
        lagPhyIntfConfigSm2_->hasNotificationActiveIs(active);
    }
    if (vlanConfigSm0_) {
        vlanConfigSm0_->hasNotificationActiveIs(active);
    }
    lagPhyIntfTask_.notificationActiveIs(active);
    configIntfTask_.notificationActiveIs(active);
}

void ConfigSm::qorDoZombieReactors(bool marked) noexcept {
    if (qorMarkedForDeletion() != marked) {
        qorMarkedForDeletionIs(marked);
    }
}

void ConfigSm::doDeleteAll() {
    Qor::Ptr<ConfigSm> const hold(this);
    withdraw(lagPhyIntfConfigSm2_);
    withdraw(vlanConfigSm0_);
}

Qor::Ptr<ConfigSm::InputSmScanState> ConfigSm::inputSmScanStateDel() noexcept {
    return takeOut(inputSmScanState_, inputSmScanStateSubscriber_);
}

Qor::Ptr<ConfigSm::OutputState> ConfigSm::outputStateDel() noexcept {
    return takeOut(outputState_, outputStateSubscriber_);
}

Qor::Ptr<ConfigSm::LagPhyIntfConfigSm2> ConfigSm::lagPhyIntfConfigSm2Del() noexcept {
    return takeOutSilenced(lagPhyIntfConfigSm2_);
}

Qor::Ptr<ConfigSm::VlanConfigSm0> ConfigSm::vlanConfigSm0Del() noexcept {
    return takeOutSilenced(vlanConfigSm0_);
}

Qor::Ptr<ConfigSm::LocalAttrStore> ConfigSm::localAttrStoreDel() noexcept {
    return std::exchange(localAttrStore_, nullptr);
}

Qor::Ptr<Osk::TaskScheduler> ConfigSm::schedulerDel() noexcept {
    auto old = dovraControl_.scheduler();
    dovraControl_.schedulerIs(nullptr);
    return old;
}

ConfigSm::~ConfigSm() {
    ConfigSm::qorDoZombieReactors(true);
    QorNuvio::subscriptionIs(false, inputSmScanStateSubscriber_, inputSmScanState_);
    outputStateDel();
    lagPhyIntfConfigSm2Del();
    vlanConfigSm0Del();
    recordEmpty(lagPhyIntfPtrSeen_); // nobody finds them any more, whenever they go
    recordEmpty(configIntfSeen_);
    lagPhyIntfTask_.taskDel();
    configIntfTask_.taskDel();
    localAttrStoreDel();
}

} // namespace VlanSubIntfConfigLib
