// Intrusive counted pointer.
//
// Ptr<T> shares the life of an object that carries its own reference count: copying increments it,
// releasing decrements it, and when it reaches zero the object's handleZeroRef() disposes of it. A
// borrowed object is passed as T & (never null) or T * (may be null); those two say nothing about
// its life. The object runtime's Qor::Ptr is this same template over the runtime's objects.
//
// A dereference of a null pointer is a bug and ends in an assertion.
//
// Threads: counts are plain unless the object's library has its thread-safe-pointer switch on
// (ThreadControl::tsp_ here, Qor::VFPtrInterface::threadSafePointers_ there); then they are atomic,
// and the last release may happen on any thread. The Ptr itself is never shared between threads.
#pragma once

#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/Export.h"

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Nuvio {

/// The support library's thread-safe-pointer switch, for String and Nuvio::RefCounted objects.
/// Set it before a second thread touches any of them, and leave it set while one does.
struct NUVIO_EXPORT ThreadControl {
    static bool tsp_;
};

namespace Impl {

/// Add `delta` to a count word and return the new value; atomic when `shared` is set.
template <std::unsigned_integral Word> Word countAdd(Word &word, Word delta, bool shared) noexcept {
    if (shared) [[unlikely]] {
        return static_cast<Word>(
            std::atomic_ref<Word>(word).fetch_add(delta, std::memory_order_acq_rel) + delta);
    }
    return word = static_cast<Word>(word + delta);
}

/// A U * is a T *, too.
template <class U, class T>
concept PointsAs = std::is_convertible_v<U *, T *>;

} // namespace Impl

template <class T> class Ptr {
  public:
    using element_type = T;

    constexpr Ptr() noexcept = default;
    constexpr Ptr(std::nullptr_t) noexcept {}
    /// Take a new reference on `object` (null allowed).
    explicit Ptr(T *object) noexcept : object_(object) { take(); }
    Ptr(Ptr const &other) noexcept : object_(other.object_) { take(); }
    Ptr(Ptr &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <Impl::PointsAs<T> U> Ptr(Ptr<U> const &other) noexcept : object_(other.get()) {
        take();
    }
    template <Impl::PointsAs<T> U> Ptr(Ptr<U> &&other) noexcept : object_(other.detach()) {}
    ~Ptr() { drop(); }

    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy holds the object meanwhile
    Ptr &operator=(Ptr const &other) noexcept {
        Ptr(other).swap(*this);
        return *this;
    }
    Ptr &operator=(Ptr &&other) noexcept {
        Ptr(std::move(other)).swap(*this);
        return *this;
    }

    /// Own `object` by the one reference that it was constructed with.
    [[nodiscard]] static Ptr adopt(T *object) noexcept {
        Ptr result;
        result.object_ = object;
        return result;
    }
    /// Give up the reference without releasing it: the caller owns it now.
    [[nodiscard]] T *detach() noexcept { return std::exchange(object_, nullptr); }

    [[nodiscard]] T *get() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    /// Requires: not null.
    T *operator->() const noexcept {
        if (!object_) [[unlikely]] {
            emitAssertNonNullPtr(__PRETTY_FUNCTION__);
        }
        return object_;
    }
    /// Requires: not null.
    T &operator*() const noexcept { return *operator->(); }

    void swap(Ptr &other) noexcept { std::swap(object_, other.object_); }

    /// Identity: two pointers are equal when they point to the same object.
    template <class U> friend bool operator==(Ptr const &a, Ptr<U> const &b) noexcept {
        return a.get() == b.get();
    }
    friend bool operator==(Ptr const &a, std::nullptr_t) noexcept { return a.object_ == nullptr; }

  private:
    void take() const noexcept {
        if (object_) {
            object_->refAdd();
        }
    }
    void drop() const noexcept {
        if (object_ && object_->refDel()) {
            object_->handleZeroRef();
        }
    }

    T *object_ = nullptr;
};

/// Base of the support library's own counted objects. The count is 1 at construction, for the
/// creator's Ptr to adopt. Not copyable: such an object has an identity.
class NUVIO_EXPORT RefCounted {
  public:
    RefCounted() = default;
    RefCounted(RefCounted const &) = delete;
    RefCounted &operator=(RefCounted const &) = delete;

    void refAdd() const noexcept { Impl::countAdd(count_, 1U, ThreadControl::tsp_); }
    /// True when the last reference was released.
    [[nodiscard]] bool refDel() const noexcept {
        return Impl::countAdd(count_, ~0U, ThreadControl::tsp_) == 0;
    }
    void handleZeroRef() const noexcept { delete this; }

  protected:
    virtual ~RefCounted() = default;

  private:
    mutable std::uint32_t count_ = 1;
};

} // namespace Nuvio
