// Change notices: a Publisher tells its Subscribers that an attribute of its object has changed.
//
// A delivery is synchronous: publishChange() calls every subscriber's callback, in the order of
// registration, before it returns. The notice comes after the change, so a callback reads the new
// state; the key is the publisher's copy and is valid during the callback.
//
// A Subscriber is the registration itself, a member of whoever listens. It belongs to at most one
// publisher at a time and leaves it in its destructor.
//
// During a delivery (any number of them may be nested)
//   - a subscriber may be added: it does not hear this notice;
//   - a subscriber may be removed or destroyed: it is not called any more;
//   - the publisher may be destroyed: the delivery ends, its subscribers are left unregistered.
//
// Callbacks are noexcept: an exception that escapes one ends the process.
//
// Cost: no subscriber, one test; one subscriber, one call; a registration allocates nothing.
// Everything happens on the one thread of the event loop.
#pragma once

#include "platform/Nuvio/Export.h"

#include <cstdint>

namespace Nuvio {

class Publisher;

class NUVIO_EXPORT Subscriber {
  public:
    /// `attributeId` says what changed; for a collection `key` points to the key of the entry, else
    /// it is null. The last argument is reserved for the platform and always null.
    using Callback = void (*)(Publisher *publisher, Subscriber *subscriber, short attributeId,
                              void const *key, void const *reserved) noexcept;

    /// `listener` is handed back by owner(), for the callback to find its object; it is borrowed.
    Subscriber(Callback onChange, void *listener) noexcept
        : callback_(onChange), owner_(listener) {}
    ~Subscriber();
    /// Not copyable, not movable: publishers know it by its address.
    Subscriber(Subscriber const &) = delete;
    Subscriber &operator=(Subscriber const &) = delete;

    [[nodiscard]] Callback callback() const noexcept { return callback_; }
    [[nodiscard]] void *owner() const noexcept { return owner_; }
    /// The publisher it is registered on; null while it is not registered.
    [[nodiscard]] Publisher *publisher() const noexcept { return publisher_; }
    /// The one registered next on the same publisher; null after the last.
    [[nodiscard]] Subscriber *next() const noexcept { return next_; }

  private:
    friend class Publisher;

    Callback callback_;
    void *owner_;
    // Links of the publisher's list. The first one's previous_ is the last, so both ends are at
    // hand from the publisher's one pointer.
    Publisher *publisher_ = nullptr;
    Subscriber *next_ = nullptr;
    Subscriber *previous_ = nullptr;
    std::uint64_t order_ = 0; ///< grows along the list: what is younger than a notice
};

class NUVIO_EXPORT Publisher {
  public:
    Publisher() noexcept = default;
    /// Leaves its subscribers unregistered, and ends a delivery of its own that is under way. A
    /// delivery that has somebody left to call implies a subscriber.
    ~Publisher() {
        if (first_) [[unlikely]] {
            letGo();
        }
    }
    /// Not copyable, not movable: subscribers hold its address.
    Publisher(Publisher const &) = delete;
    Publisher &operator=(Publisher const &) = delete;

    /// Register `subscriber`; one that is registered here already stays as it is.
    /// Requires: it is not registered on another publisher. The flag is of no meaning to this
    /// platform; generated code passes it.
    void subscriberAdd(Subscriber &subscriber, bool flag) noexcept;
    /// Unregister `subscriber`; one that is not registered here is left alone.
    void subscriberRemove(Subscriber &subscriber) noexcept;

    /// Tell every subscriber that the attribute has changed.
    void publishChange(short attributeId, void const *key = nullptr) noexcept {
        if (first_) {
            if (first_->next_) [[unlikely]] {
                deliverToMany(attributeId, key);
            } else {
                first_->callback_(this, first_, attributeId, key, nullptr);
            }
        }
    }

    [[nodiscard]] bool hasSubscribers() const noexcept { return first_ != nullptr; }
    /// The subscriber registered first; follow next() for the others.
    [[nodiscard]] Subscriber *first() const noexcept { return first_; }

  private:
    void letGo() noexcept;
    void deliverToMany(short attributeId, void const *key) noexcept;

    Subscriber *first_ = nullptr;
};

} // namespace Nuvio
