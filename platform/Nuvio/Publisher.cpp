#include "platform/Nuvio/Publisher.h"

#include "platform/Nuvio/Assert.h"

namespace Nuvio {
namespace {

// A delivery to several subscribers keeps its place in a record on the stack. The records of all
// deliveries under way form a chain, so that a removal can move each of them past the subscriber
// that leaves, and a publisher's end can stop its own. Only such deliveries pay for it: with one
// subscriber nothing is touched after the call.
struct Delivery {
    Publisher const *publisher;
    Subscriber *next;
    Delivery *outer;
};

thread_local Delivery *innermost = nullptr;
thread_local std::uint64_t registrations = 0;

} // namespace

Subscriber::~Subscriber() {
    if (publisher_) {
        publisher_->subscriberRemove(*this);
    }
}

void Publisher::letGo() noexcept {
    for (Delivery *d = innermost; d; d = d->outer) {
        if (d->publisher == this) {
            d->next = nullptr;
        }
    }
    for (Subscriber *s = first_; s;) {
        Subscriber *const next = s->next_;
        s->publisher_ = nullptr;
        s->next_ = s->previous_ = nullptr;
        s = next;
    }
}

void Publisher::subscriberAdd(Subscriber &subscriber, bool /*flag*/) noexcept {
    if (subscriber.publisher_ == this) {
        return;
    }
    NUVIO_ASSERT(subscriber.publisher_ == nullptr);
    subscriber.publisher_ = this;
    subscriber.order_ = ++registrations;
    if (!first_) {
        first_ = subscriber.previous_ = &subscriber;
        return;
    }
    Subscriber *const last = first_->previous_;
    last->next_ = &subscriber;
    subscriber.previous_ = last;
    first_->previous_ = &subscriber;
}

void Publisher::subscriberRemove(Subscriber &subscriber) noexcept {
    if (subscriber.publisher_ != this) {
        return;
    }
    for (Delivery *d = innermost; d; d = d->outer) {
        if (d->next == &subscriber) {
            d->next = subscriber.next_;
        }
    }
    if (subscriber.next_) {
        subscriber.next_->previous_ = subscriber.previous_;
    } else if (first_ != &subscriber) {
        first_->previous_ = subscriber.previous_;
    }
    if (first_ == &subscriber) {
        first_ = subscriber.next_;
    } else {
        subscriber.previous_->next_ = subscriber.next_;
    }
    subscriber.publisher_ = nullptr;
    subscriber.next_ = subscriber.previous_ = nullptr;
}

void Publisher::deliverToMany(short attributeId, void const *key) noexcept {
    Delivery delivery{this, first_, innermost};
    innermost = &delivery;
    std::uint64_t const youngest = registrations;
    while (delivery.next && delivery.next->order_ <= youngest) {
        Subscriber *const subscriber = delivery.next;
        delivery.next = subscriber->next_;
        subscriber->callback_(this, subscriber, attributeId, key, nullptr);
    }
    innermost = delivery.outer;
}

} // namespace Nuvio
