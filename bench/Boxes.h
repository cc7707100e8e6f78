// How a peer holds what its collections lead to, and the small set that some keep LAG members in.
//
//     Inline<T>      in the collection's own memory
//     shared_ptr     of the standard library
//     Counted<T>     a counted object of CountedEntity's
//
// All are used as pointers, so that the join is written once.
#pragma once

#include "bench/Notice.h"

#include <absl/container/inlined_vector.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace Bench {

template <class T> class Inline {
  public:
    T *operator->() noexcept { return &value_; }
    T const *operator->() const noexcept { return &value_; }
    T *get() noexcept { return &value_; }

  private:
    T value_;
};

/// Base of everything that is held inline or shared: nothing to publish to.
struct PlainEntity {};

/// Base of the objects of the object-model peers: a key, a subscriber, a count.
class CountedEntity {
  public:
    CountedEntity() = default;
    CountedEntity(CountedEntity const &) = delete;
    CountedEntity &operator=(CountedEntity const &) = delete;
    virtual ~CountedEntity() = default;

    void ref() noexcept { ++references_; }
    /// True when that was the last reference.
    [[nodiscard]] bool unref() noexcept { return --references_ == 0; }

    std::uint64_t key = 0;
    Observer *observer = nullptr;

  private:
    std::uint32_t references_ = 0;
};

template <class T> class Counted {
  public:
    Counted() = default;
    explicit Counted(T *object) noexcept : object_(object) { ref(); }
    Counted(Counted const &other) noexcept : object_(other.object_) { ref(); }
    Counted(Counted &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Counted &operator=(Counted other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Counted() {
        if (object_ != nullptr && object_->unref()) {
            delete object_;
        }
    }

    T *operator->() const noexcept { return object_; }
    T *get() const noexcept { return object_; }

  private:
    void ref() noexcept {
        if (object_ != nullptr) {
            object_->ref();
        }
    }

    T *object_ = nullptr;
};

/// Sorted, and without an allocation up to `capacity` keys.
template <std::size_t capacity> class SmallSet {
  public:
    bool insert(std::uint64_t key) {
        auto const position = std::lower_bound(keys_.begin(), keys_.end(), key);
        if (position != keys_.end() && *position == key) {
            return false;
        }
        keys_.insert(position, key);
        return true;
    }
    bool erase(std::uint64_t key) {
        auto const position = std::lower_bound(keys_.begin(), keys_.end(), key);
        if (position == keys_.end() || *position != key) {
            return false;
        }
        keys_.erase(position);
        return true;
    }
    [[nodiscard]] std::size_t size() const noexcept { return keys_.size(); }
    [[nodiscard]] auto begin() const noexcept { return keys_.begin(); }
    [[nodiscard]] auto end() const noexcept { return keys_.end(); }

  private:
    absl::InlinedVector<std::uint64_t, capacity> keys_;
};

} // namespace Bench
