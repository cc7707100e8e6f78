#include "platform/Qor/PtrInterface.h"

namespace Qor {
namespace {

std::uint32_t lastSerial = 0;

} // namespace

bool VFPtrInterface::threadSafePointers_ = false;

VFPtrInterface::VFPtrInterface() noexcept
    : serial_(Nuvio::Impl::countAdd(lastSerial, 1U, threadSafePointers_)) {}

void VFPtrInterface::creationSerialResetForTest() noexcept {
    lastSerial = 0;
}

void VFPtrInterface::flagIs(std::uint32_t bit, bool on) noexcept {
    if (threadSafePointers_) {
        std::atomic_ref const shared(word_);
        if (on) {
            shared.fetch_or(bit, std::memory_order_acq_rel);
        } else {
            shared.fetch_and(~bit, std::memory_order_acq_rel);
        }
    } else {
        word_ = on ? word_ | bit : word_ & ~bit;
    }
}

void PtrInterface::zeroReferencesIs(bool zero) noexcept {
    if (zero) {
        delete this;
    }
}

} // namespace Qor
