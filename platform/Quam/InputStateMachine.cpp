#include "platform/Quam/InputStateMachine.h"

namespace Quam::Gen {

void InputStateMachine::qorDoZombieReactors(bool marked) noexcept {
    if (qorMarkedForDeletion() != marked) {
        PtrInterface::qorDoZombieReactors(marked);
    }
}

bool InputStateMachine::inputScanComplete() const noexcept {
    return scanState_ == ScanState::complete ||
           (scanState_ == ScanState::completeInitially && !initialScanDone());
}

void InputStateMachine::handleInitialized() {
    if (initialized_) {
        return;
    }
    initialized_ = true;
    doInitializeTask();
    if (parentIsScanning_) {
        return;
    }
    // A machine that made itself a task has had its first slice there.
    if (synchronous() || (initialScanDone() && scanState_ == ScanState::notScanned)) {
        InReactor const atOnce(*this);
        doInputScan();
    }
}

} // namespace Quam::Gen
