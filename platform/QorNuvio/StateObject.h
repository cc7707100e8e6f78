// Base of a machine's state objects: small observable records of generated code. Besides what every
// derived entity does, they let older notifiee objects observe them.
#pragma once

#include "platform/Qor/Entity.h"
#include "platform/QorNuvio/LegacyNotifiee.h"

#include <functional>

namespace QorNuvio {

class NUVIO_EXPORT StateObject : public Qor::DerivedEntity {
  public:
    void addLegacyNotifiee(LegacyNotifiee &notifiee) const noexcept {
        Impl::addLegacyNotifiee(publisher(), notifiee);
    }
    void removeLegacyNotifiee(LegacyNotifiee &notifiee) const noexcept {
        Impl::removeLegacyNotifiee(publisher(), notifiee);
    }
    [[nodiscard]] LegacyNotifiee *iteratorLegacyNotifiee(LegacyNotifiee *previous) const noexcept {
        return Impl::iteratorLegacyNotifiee(publisher(), previous);
    }
    void visitLegacyNotifiee(std::function<void(LegacyNotifiee &)> const &visit) const {
        Impl::visitLegacyNotifiee(publisher(), visit);
    }
};

} // namespace QorNuvio
