// What collections let go of, taken apart in later turns of the event loop.
//
// To destroy a million entries takes tens of milliseconds, which no turn of the loop has. So a
// large collection that is emptied hands its array over here, and the scheduler takes it apart in
// slices whenever no task is ready (see platform/Osk/TaskScheduler.h). Until then its objects live
// on, but nobody finds them any more: only collections do so whose entries have an end that nobody
// observes.
//
// Without a scheduler in the process nobody would ever come to it: then everything is taken apart
// at once. The census drains it first, so that what it lists as alive is what somebody can reach.
//
// Everything happens on the thread of the event loop. While VFPtrInterface::threadSafePointers_ is
// on, a last release may hand something over on any thread: then, too, it is taken apart at once.
#pragma once

#include "platform/Nuvio/Export.h"

#include <memory>

namespace Qor {

class NUVIO_EXPORT Reclaimer {
  public:
    /// Something that was let go of.
    class Discarded {
      public:
        virtual ~Discarded() = default;
        Discarded(Discarded const &) = delete;
        Discarded &operator=(Discarded const &) = delete;
        /// Take the next few microseconds' worth of it apart. False when nothing was left.
        virtual bool step() noexcept = 0;

      protected:
        Discarded() noexcept = default;
    };

    /// Take it apart later; at once where nobody will come to it. What is left of it is destroyed
    /// with it.
    static void take(std::unique_ptr<Discarded> discarded) noexcept;
    [[nodiscard]] static bool hasWork() noexcept;
    /// One step. Requires: hasWork().
    static void step() noexcept;
    /// Take everything apart.
    static void drain() noexcept;

    /// Someone who calls step() when there is nothing better to do, as long as it lives.
    class NUVIO_EXPORT Runner {
      public:
        Runner() noexcept;
        ~Runner();
        Runner(Runner const &) = delete;
        Runner &operator=(Runner const &) = delete;
    };
};

} // namespace Qor
