// Start-up: from a constructed root to event-driven operation.
//
// handleInitialized() makes everything that the root owns. Making a child scans at once, and a scan
// that completes tells the root through InputSmScanState; all these reactions return early until
// `initialized` is set, and the handlers run at the end of handleInitialized() make up for them.
//
// The first scans only build the children: the pipelines ignore every event before
// initialScanDone. When both are complete, an output's handler hands over to
// handleInitialScanDone(), which opens the gate and starts the second scans; every member then
// flows through the pipelines.
//
// The five outputs' handlers run in one fixed order wherever they run together. Any of them may
// take the last outside reference on the root away, so whoever calls them from outside holds it.
#include "VlanSubIntfConfigLib/Trace.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "platform/QorNuvio/Subscribe.h"

#define ROOT_TRACE(level, ...)                                                                     \
    DOVRA_TRACE(debugHandler_, level, "ConfigSm", __func__, DovraCode::Statements::machine,        \
                __VA_ARGS__)

namespace VlanSubIntfConfigLib {
namespace {

/// The library's own handle, for machines whose control gives no name.
Nuvio::Ptr<Nuvio::Platform::DebugHandler> const &sharedDebugHandler() {
    static auto const shared = Nuvio::Platform::getDebugHandler("VlanSubIntfConfigLib", false);
    return shared;
}

[[maybe_unused]] auto const &obtainedAtLoadTime = sharedDebugHandler();

/// Let a child run its second scan: on its task or, where it has none, here. One that was removed
/// in the notices before has none to run.
template <class Child> void startSecondScan(Child const &child, bool synchronous) {
    if (!child) {
        return;
    }
    if (!synchronous && child->task()) {
        child->task()->scheduleTask();
    } else {
        child->doInputScan();
    }
}

} // namespace

void ConfigSm::handleInitialized() {
    if (initialized_) {
        return;
    }
    debugHandler_ = dovraControl_.name().empty()
                        ? sharedDebugHandler()
                        : Nuvio::Platform::getDebugHandler(dovraControl_.name(), false);
    ROOT_TRACE(8, "");
    if (dovraControl_.synchronous() != Quam::Synchronous::machineDefault) {
        synchronous_ = dovraControl_.synchronous() == Quam::Synchronous::synchronous;
    }
    inputSmScanStateIs(Qor::make<InputSmScanState>());
    outputStateIs();
    if (!synchronous_) {
        startTasks();
    }
    localAttrStoreIs();
    NUVIO_ASSERT(bridgingConfig() &&
                 "Pointer SM args cannot be null unless they are marked Optional");
    NUVIO_ASSERT(lagPhyIntfMapping() &&
                 "Pointer SM args cannot be null unless they are marked Optional");
    NUVIO_ASSERT(vlanSubIntfConfigDir() &&
                 "Pointer SM args cannot be null unless they are marked Optional");
    ROOT_TRACE(9, "Reconciling vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutput: {:}", true);
    lagPhyIntfReconciling_ = true;
    // An empty directory needs no deletion walk.
    configIntfReconciling_ = !vlanSubIntfConfigDir_->config().empty();
    ROOT_TRACE(9, "Reconciling vlanSubIntfConfigDirConfigIntfOutput: {:}", configIntfReconciling_);
    ROOT_TRACE(9, "create local SMs");
    ROOT_TRACE(9, "create non-public arg SMs");
    lagPhyIntfConfigSm2Is(lagPhyIntfMapping_, this);
    vlanConfigSm0Is(bridgingConfig_, this);
    ROOT_TRACE(9, "initialized");
    initialized_ = true;
    outputHandlersRun([this] { return initialized_; });
}

void ConfigSm::startTasks() {
    if (!dovraControl_.scheduler()) {
        dovraControl_.schedulerIs(Osk::TaskSchedulerRoot::findOrCreateScheduler());
    }
    vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskIs(
        scheduler(), priority(), "ConfigSm-vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputTask");
    vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskIs(
        scheduler(), priority(), "ConfigSm-vlanSubIntfConfigDirConfigIntfOutputTask");
}

void ConfigSm::handleInitialScanDone() {
    if (initialScanDone_) {
        return;
    }
    if (!inputSmScanState_->lagUpdateStreamScan()) {
        ROOT_TRACE(9, " lagUpdateStream scan is false");
        return;
    }
    if (!inputSmScanState_->vlanConfigStreamScan()) {
        ROOT_TRACE(9, " vlanConfigStream scan is false");
        return;
    }
    if (!lagPhyIntfConfigSm2_ || !vlanConfigSm0_) {
        ROOT_TRACE(9, "Initial scan yielding for child SM ConfigSm.");
        return;
    }
    ROOT_TRACE(9, "Initial scan done for child SMs. Now scanning with events triggered.");
    seenReserve(); // may throw: nothing is done yet
    initialScanDone_ = true;
    inputSmScanState_->lagUpdateStreamScanIs(false);
    inputSmScanState_->vlanConfigStreamScanIs(false);
    startSecondScan(lagPhyIntfConfigSm2_, synchronous_);
    startSecondScan(vlanConfigSm0_, synchronous_);
    inputSmScanState_->idleIs(true);
    outputHandlersRun([this] { return initialized_; });
}

template <class Condition> void ConfigSm::outputHandlersRun(Condition mayRun) {
    for (Output const output : DovraCode::ConfigSm::outputs) {
        if (!mayRun()) {
            return;
        }
        outputInputReady(output);
    }
}

// Owned objects.

void ConfigSm::inputSmScanStateIs(Qor::Ptr<InputSmScanState> const &state) {
    if (state == inputSmScanState_) {
        return;
    }
    Qor::Ptr<InputSmScanState> const old = inputSmScanStateDel();
    inputSmScanState_ = state;
    if (!state) {
        return;
    }
    QorNuvio::subscribeTo(inputSmScanStateSubscriber_, state);
    outputHandlersRun([this] { return !qorMarkedForDeletion(); });
}

Qor::Ptr<ConfigSm::OutputState> ConfigSm::outputStateFactory() {
    return OutputState::OutputStateIs();
}

Qor::Ptr<ConfigSm::OutputState> ConfigSm::outputStateIs() {
    auto state = outputStateFactory();
    outputStateDel();
    outputState_ = state;
    QorNuvio::subscribeTo(outputStateSubscriber_, state);
    if (!qorMarkedForDeletion()) {
        handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady();
    }
    return state;
}

Qor::Ptr<ConfigSm::LagPhyIntfConfigSm2>
ConfigSm::lagPhyIntfConfigSm2Is(Qor::Ptr<Lag::LagPhyIntfMapping const> const &input,
                                ConfigSm *root) {
    auto child = LagPhyIntfConfigSm2::LagPhyIntfConfigSm2Is(input, root);
    lagPhyIntfConfigSm2Del(); // an earlier one falls silent
    return lagPhyIntfConfigSm2_ = child;
}

Qor::Ptr<ConfigSm::VlanConfigSm0>
ConfigSm::vlanConfigSm0Is(Qor::Ptr<Bridging::Config const> const &input, ConfigSm *root) {
    auto child = VlanConfigSm0::VlanConfigSm0Is(input, root);
    vlanConfigSm0Del();
    return vlanConfigSm0_ = child;
}

Qor::Ptr<ConfigSm::LocalAttrStore> ConfigSm::localAttrStoreIs() {
    return localAttrStore_ = Qor::make<LocalAttrStore>();
}

// Reactions to the state objects.

void ConfigSm::inputSmScanStateDispatch(Nuvio::Publisher * /*publisher*/,
                                        Nuvio::Subscriber *subscriber, short attributeId,
                                        void const * /*key*/, void const * /*reserved*/) noexcept {
    auto &self = *static_cast<ConfigSm *>(subscriber->owner());
    if (self.qorMarkedForDeletion()) {
        return;
    }
    Qor::Ptr<ConfigSm> const hold(&self);
    if (attributeId == InputSmScanState::lagUpdateStreamScanAttribute) {
        self.handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady();
    } else if (attributeId == InputSmScanState::vlanConfigStreamScanAttribute) {
        self.outputHandlersRun([&self] { return !self.qorMarkedForDeletion(); });
    }
}

void ConfigSm::outputStateDispatch(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                                   short attributeId, void const * /*key*/,
                                   void const * /*reserved*/) noexcept {
    auto &self = *static_cast<ConfigSm *>(subscriber->owner());
    if (self.qorMarkedForDeletion()) {
        return;
    }
    Qor::Ptr<ConfigSm> const hold(&self);
    if (attributeId == static_cast<short>(Output::configIntf)) {
        // The members wait for the entries.
        self.handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady();
    }
}

} // namespace VlanSubIntfConfigLib
