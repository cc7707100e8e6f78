#include "platform/Qor/Type.h"

#include "platform/Nuvio/Assert.h"
#include "platform/Qor/Attribute.h"

#include <algorithm>

namespace Qor {
namespace {

std::vector<Module const *> &registry() {
    static std::vector<Module const *> registered;
    return registered;
}

} // namespace

bool QorTypeBase::isDerived(QorTypeBase const &type, QorTypeBase const &ancestor) noexcept {
    for (QorTypeBase const *t = &type; t; t = t->base()) {
        if (t == &ancestor) {
            return true;
        }
    }
    return false;
}

bool QorTypeBase::isDerived(QorTypeBase const &type, std::string_view ancestor) noexcept {
    for (QorTypeBase const *t = &type; t; t = t->base()) {
        if (t->name() == ancestor) {
            return true;
        }
    }
    return false;
}

std::span<Attribute const> TypeImpl::attributes() const noexcept {
    return attributes_ ? attributes_() : std::span<Attribute const>();
}

bool qorModuleIs(Module const &module) {
    bool const isNew = std::ranges::none_of(
        registry(), [&module](Module const *other) { return other->name == module.name; });
    NUVIO_ASSERT(isNew, "module={}", module.name);
    registry().push_back(&module);
    return true;
}

std::vector<Module const *> const &modules() {
    return registry();
}

} // namespace Qor
