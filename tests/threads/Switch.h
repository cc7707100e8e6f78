// The thread-safe-pointer switches, on for the life of a guard.
//
// They are switched before the objects of a test exist and after they are gone: a fixture names the
// guard as its first base.
#pragma once

#include "platform/Nuvio/Ptr.h"
#include "platform/Qor/PtrInterface.h"

namespace Threads {

class SwitchOn {
  public:
    SwitchOn() { switchIs(true); }
    ~SwitchOn() { switchIs(false); }
    SwitchOn(SwitchOn const &) = delete;
    SwitchOn &operator=(SwitchOn const &) = delete;

  private:
    static void switchIs(bool on) {
        Qor::VFPtrInterface::threadSafePointers_ = on;
        Nuvio::ThreadControl::tsp_ = on;
    }
};

} // namespace Threads
