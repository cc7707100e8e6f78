// Older notifiee objects: observers that are told by a virtual operation instead of a callback.
// They sit in the same list as any subscriber; the four functions find them there.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/Publisher.h"

#include <functional>

namespace QorNuvio {

/// Derive from it to observe a publisher. Leaves the publisher in its destructor.
class NUVIO_EXPORT LegacyNotifiee {
  public:
    /// `attributeId` has changed; `key` as in Nuvio::Subscriber::Callback. Must not throw.
    virtual void handleChange(short attributeId, void const *key) noexcept = 0;

    [[nodiscard]] Nuvio::Subscriber &subscriber() noexcept { return subscriber_; }
    /// The notifiee behind a subscriber; null when it is a plain one.
    [[nodiscard]] static LegacyNotifiee *of(Nuvio::Subscriber *subscriber) noexcept;

  protected:
    LegacyNotifiee() noexcept;
    virtual ~LegacyNotifiee() = default;

  private:
    Nuvio::Subscriber subscriber_;
};

namespace Impl {

NUVIO_EXPORT void addLegacyNotifiee(Nuvio::Publisher &publisher, LegacyNotifiee &notifiee) noexcept;
NUVIO_EXPORT void removeLegacyNotifiee(Nuvio::Publisher &publisher,
                                       LegacyNotifiee &notifiee) noexcept;
/// The notifiee registered next after `previous` (the first one for null); null when there is none.
NUVIO_EXPORT LegacyNotifiee *iteratorLegacyNotifiee(Nuvio::Publisher const &publisher,
                                                    LegacyNotifiee *previous) noexcept;
/// Call `visit` for each notifiee in order of registration; it must not add or remove any.
NUVIO_EXPORT void visitLegacyNotifiee(Nuvio::Publisher const &publisher,
                                      std::function<void(LegacyNotifiee &)> const &visit);

} // namespace Impl
} // namespace QorNuvio
