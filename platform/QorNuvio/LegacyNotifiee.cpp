#include "platform/QorNuvio/LegacyNotifiee.h"

namespace QorNuvio {
namespace {

void forward(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber, short attributeId,
             void const *key, void const * /*reserved*/) noexcept {
    static_cast<LegacyNotifiee *>(subscriber->owner())->handleChange(attributeId, key);
}

} // namespace

LegacyNotifiee::LegacyNotifiee() noexcept : subscriber_(forward, this) {}

LegacyNotifiee *LegacyNotifiee::of(Nuvio::Subscriber *subscriber) noexcept {
    return subscriber->callback() == forward ? static_cast<LegacyNotifiee *>(subscriber->owner())
                                             : nullptr;
}

namespace Impl {

void addLegacyNotifiee(Nuvio::Publisher &publisher, LegacyNotifiee &notifiee) noexcept {
    publisher.subscriberAdd(notifiee.subscriber(), false);
}

void removeLegacyNotifiee(Nuvio::Publisher &publisher, LegacyNotifiee &notifiee) noexcept {
    publisher.subscriberRemove(notifiee.subscriber());
}

LegacyNotifiee *iteratorLegacyNotifiee(Nuvio::Publisher const &publisher,
                                       LegacyNotifiee *previous) noexcept {
    Nuvio::Subscriber *subscriber = previous ? previous->subscriber().next() : publisher.first();
    while (subscriber && !LegacyNotifiee::of(subscriber)) {
        subscriber = subscriber->next();
    }
    return subscriber ? LegacyNotifiee::of(subscriber) : nullptr;
}

void visitLegacyNotifiee(Nuvio::Publisher const &publisher,
                         std::function<void(LegacyNotifiee &)> const &visit) {
    LegacyNotifiee *notifiee = iteratorLegacyNotifiee(publisher, nullptr);
    for (; notifiee; notifiee = iteratorLegacyNotifiee(publisher, notifiee)) {
        visit(*notifiee);
    }
}

} // namespace Impl
} // namespace QorNuvio
