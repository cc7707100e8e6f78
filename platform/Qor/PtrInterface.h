// Counted objects of the runtime.
//
// Every entity, state object and machine derives from PtrInterface. Its first word after the
// virtual table holds the reference count and two flags:
//
//     bit 31  marked for deletion: reactions on the object are skipped
//     bit 30  \  count, mask 0x5FFFFFFF
//     bit 29  |  notification active (not part of the count)
//     bit 28..0  count
//
// The padding behind the word holds a serial of creation, by which pointer keys hash and order, so
// that walks over them repeat from run to run. Equality of pointers stays identity.
//
// Life: the count is 1 from the construction of the base, so references taken and released while
// constructors run dispose of nothing; make() hands that one reference to its result. When the
// last reference is released, handleZeroRef() disposes of the object. A constructor that throws
// frees the memory once, and no disposal takes place.
//
// Threads: everything belongs to the one thread of the event loop. With the process-wide switch
// VFPtrInterface::threadSafePointers_ on, references may be taken and released on any thread, and
// counts, flags and serials change atomically. The last release disposes of the object on its own
// thread: entities, values, state objects and tasks may go anywhere. A machine leaves what it
// listens to when it goes; so let go of it on the loop's thread, or while that thread stands still.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/Ptr.h"
#include "platform/Nuvio/Publisher.h"
#include "platform/Qor/Type.h"

#include <cstdint>
#include <utility>

namespace Qor {

/// Shares the life of a counted object; see platform/Nuvio/Ptr.h.
template <class T> using Ptr = Nuvio::Ptr<T>;

/// The count word and the serial. Not copyable: the object has an identity.
class NUVIO_EXPORT VFPtrInterface {
  public:
    static constexpr std::uint32_t countMask = 0x5FFFFFFF;
    static constexpr std::uint32_t notificationActiveBit = 1U << 29;
    static constexpr std::uint32_t markedForDeletionBit = 1U << 31;

    /// Set it before a second thread touches any object, and leave it set while one does.
    static bool threadSafePointers_;

    VFPtrInterface(VFPtrInterface const &) = delete;
    VFPtrInterface &operator=(VFPtrInterface const &) = delete;

    void refAdd() const noexcept {
        [[maybe_unused]] std::uint32_t const word =
            Nuvio::Impl::countAdd(word_, 1U, threadSafePointers_);
        NUVIO_DEBUG_ASSERT((word & countMask) != 0 &&
                           (word & countMask) < notificationActiveBit - 1);
    }
    /// True when the last reference was released.
    [[nodiscard]] bool refDel() const noexcept {
        NUVIO_DEBUG_ASSERT(refCount() != 0);
        return (Nuvio::Impl::countAdd(word_, ~0U, threadSafePointers_) & countMask) == 0;
    }
    [[nodiscard]] std::uint32_t refCount() const noexcept { return word() & countMask; }

    [[nodiscard]] bool hasNotificationActive() const noexcept {
        return (word() & notificationActiveBit) != 0;
    }
    [[nodiscard]] bool qorMarkedForDeletion() const noexcept {
        return (word() & markedForDeletionBit) != 0;
    }
    void qorMarkedForDeletionIs(bool marked) noexcept { flagIs(markedForDeletionBit, marked); }

    /// Serial of creation in this process, from 1; by it pointer keys hash and order.
    [[nodiscard]] std::uint32_t creationSerial() const noexcept { return serial_; }
    /// Start serials anew, so that a test sees the walks of a fresh process.
    static void creationSerialResetForTest() noexcept;

  protected:
    VFPtrInterface() noexcept;
    ~VFPtrInterface() = default;

    void flagIs(std::uint32_t bit, bool on) noexcept;

  private:
    [[nodiscard]] std::uint32_t word() const noexcept {
        return threadSafePointers_ ? std::atomic_ref(word_).load(std::memory_order_acquire) : word_;
    }

    mutable std::uint32_t word_ = 1;
    std::uint32_t serial_;
};

/// Base of all objects of the runtime. The order of the virtual operations is part of the
/// interface of generated types.
class NUVIO_EXPORT PtrInterface : public VFPtrInterface {
  public:
    /// The publisher that lists those who observe the object; null for one that publishes nothing.
    [[nodiscard]] virtual Nuvio::Publisher const *notifieeList() const noexcept { return nullptr; }
    /// Switch the object's notification delivery on or off.
    virtual void hasNotificationActiveIs(bool active) noexcept {
        flagIs(notificationActiveBit, active);
    }
    /// Called with true when the last reference is gone; disposes of the object.
    virtual void zeroReferencesIs(bool zero) noexcept;
    /// The object's type.
    [[nodiscard]] virtual FwkType fwkType() const noexcept = 0;
    virtual ~PtrInterface() = default;
    /// Mark the object for deletion (or not): no reaction of it runs while it is marked.
    virtual void qorDoZombieReactors(bool marked) noexcept { qorMarkedForDeletionIs(marked); }

    /// Dispose of an object whose count has reached zero.
    void handleZeroRef() const noexcept {
        const_cast<PtrInterface *>(this)->zeroReferencesIs(true);
    }

  protected:
    PtrInterface() noexcept = default;
};

/// Construct a T, switch its notifications on and hand over the one reference to it. What every
/// creator of the platform and of generated code does.
template <class T, class... Args> [[nodiscard]] Ptr<T> make(Args &&...args) {
    auto object = Ptr<T>::adopt(new T(std::forward<Args>(args)...));
    object->hasNotificationActiveIs(true);
    return object;
}

} // namespace Qor
