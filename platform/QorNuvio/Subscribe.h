// Subscribing to an object of the runtime.
//
// These functions are harmless when there is nothing to do: a subscriber is registered once however
// often it is asked for, and one that is not registered is left alone.
#pragma once

#include "platform/Nuvio/Publisher.h"
#include "platform/Qor/Entity.h"

#include <concepts>
#include <exception>

namespace QorNuvio {

/// Register `subscriber` on `object`. Requires: `object` is not null.
template <std::derived_from<Qor::Entity> T>
void subscribeTo(Nuvio::Subscriber &subscriber, Qor::Ptr<T> const &object) noexcept {
    object->publisher().subscriberAdd(subscriber, false);
}

/// Unregister `subscriber` from `object`. Requires: `object` is not null.
template <std::derived_from<Qor::Entity> T>
void unsubscribeFrom(Nuvio::Subscriber &subscriber, Qor::Ptr<T> const &object) noexcept {
    object->publisher().subscriberRemove(subscriber);
}

/// Register `subscriber` on `object` or unregister it; a null object is left alone.
template <std::derived_from<Qor::Entity> T>
void subscriptionIs(bool active, Nuvio::Subscriber &subscriber,
                    Qor::Ptr<T> const &object) noexcept {
    if (object && active) {
        subscribeTo(subscriber, object);
    } else if (object) {
        unsubscribeFrom(subscriber, object);
    }
}

/// In a constructor: when the scope is left by an exception, unregister `subscriber` from wherever
/// it is registered, before any member is destroyed.
class SubscriberScopeGuard {
  public:
    explicit SubscriberScopeGuard(Nuvio::Subscriber &subscriber) noexcept
        : subscriber_(subscriber) {}
    ~SubscriberScopeGuard() {
        if (std::uncaught_exceptions() > exceptions_ && subscriber_.publisher()) {
            subscriber_.publisher()->subscriberRemove(subscriber_);
        }
    }
    SubscriberScopeGuard(SubscriberScopeGuard const &) = delete;
    SubscriberScopeGuard &operator=(SubscriberScopeGuard const &) = delete;

  private:
    Nuvio::Subscriber &subscriber_;
    int exceptions_ = std::uncaught_exceptions();
};

} // namespace QorNuvio
