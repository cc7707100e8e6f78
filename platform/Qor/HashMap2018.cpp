#include "platform/Qor/HashMap2018.h"

namespace Qor {

AllocTrackTypeInfo &Impl::hashMapArrays() noexcept {
    static AllocTrackTypeInfo tracked("Qor::HashMap2018");
    return tracked;
}

} // namespace Qor
