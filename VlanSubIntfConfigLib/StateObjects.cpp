// The state objects. All their setters are one rule; only an output's flag has more to it: whoever
// observes it finds ready() right already, because that is recomputed and published first.
#include "VlanSubIntfConfigLib/StateObjects.h"

#include <algorithm>
#include <functional>

namespace VlanSubIntfConfigLib::DovraCode::ConfigSm {

void InputSmScanState::lagUpdateStreamScanIs(bool done) {
    attributeIs(lagUpdateStreamScan_, lagUpdateStreamScanAttribute, done);
}

void InputSmScanState::vlanConfigStreamScanIs(bool done) {
    attributeIs(vlanConfigStreamScan_, vlanConfigStreamScanAttribute, done);
}

void InputSmScanState::idleIs(bool idle) {
    attributeIs(idle_, idleAttribute, idle);
}

Qor::Ptr<OutputState> OutputState::OutputStateIs() {
    return Qor::make<OutputState>();
}

void OutputState::outputReadyIs(Output output, bool ready) {
    bool &stored = outputReady_[indexOf(output)];
    if (stored != ready) {
        Qor::Ptr<OutputState> const hold(this); // who hears of the first notice may let go of it
        stored = ready;
        handleReady();
        publishChange(static_cast<short>(output));
    }
}

void OutputState::readyIs(bool ready) {
    attributeIs(ready_, readyAttribute, ready);
}

void OutputState::handleReady() {
    readyIs(std::ranges::all_of(outputReady_, std::identity()));
}

} // namespace VlanSubIntfConfigLib::DovraCode::ConfigSm
