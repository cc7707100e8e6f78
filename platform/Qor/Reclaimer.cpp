#include "platform/Qor/Reclaimer.h"

#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/Ptr.h"
#include "platform/Qor/PtrInterface.h"

#include <deque>
#include <exception>
#include <utility>

namespace Qor {
namespace {

using Discarded = std::unique_ptr<Reclaimer::Discarded>;

/// Oldest first. Never destroyed: at the end of the process its objects may have outlived what they
/// are counted in.
std::deque<Discarded> &queue() {
    static auto *const discarded = new std::deque<Discarded>;
    return *discarded;
}

unsigned runners = 0;
bool stepping = false;

void takeApart(Discarded const &discarded) noexcept {
    while (discarded->step()) {
    }
}

} // namespace

void Reclaimer::take(std::unique_ptr<Discarded> discarded) noexcept {
    if (runners != 0 && !VFPtrInterface::threadSafePointers_) {
        try {
            queue().push_back(std::move(discarded));
            return;
        } catch (std::exception const &) { // no memory to remember it by
        }
    }
    takeApart(discarded);
}

bool Reclaimer::hasWork() noexcept {
    return !queue().empty();
}

void Reclaimer::step() noexcept {
    NUVIO_ASSERT(hasWork());
    // What it destroys may hand more over: that goes to the end.
    stepping = true;
    bool const isDone = !queue().front()->step();
    stepping = false;
    if (isDone) {
        queue().pop_front();
    }
}

void Reclaimer::drain() noexcept {
    while (hasWork() && !stepping) { // in the middle of a step the rest has to wait
        step();
    }
}

Reclaimer::Runner::Runner() noexcept {
    Nuvio::Impl::countAdd(runners, 1U, VFPtrInterface::threadSafePointers_);
}

Reclaimer::Runner::~Runner() {
    bool const shared = VFPtrInterface::threadSafePointers_;
    if (Nuvio::Impl::countAdd(runners, ~0U, shared) == 0 && !shared) {
        drain();
    }
}

} // namespace Qor
