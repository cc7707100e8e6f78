#include "platform/Qor/Entity.h"

#include <ostream>

namespace Qor {

std::ostream &operator<<(std::ostream &out, Entity const *entity) {
    return out << (entity ? entity->fwkType().type().name() : std::string_view("null"));
}

int &Impl::derivedNotices() noexcept {
    thread_local int underWay = 0;
    return underWay;
}

} // namespace Qor
