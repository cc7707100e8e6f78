#include "agent/Names.h"

namespace Agent {

std::optional<Iftel::IntfId> knownIntf(std::string_view name) {
    auto const registered = Iftel::NameTable::instance().lookup(name);
    return registered ? registered : Iftel::IntfId::native(name);
}

Iftel::IntfId earlierSubIntf(std::string_view name) {
    auto const known = knownIntf(name);
    return known ? *known : Iftel::NameTable::instance().subIntfIs(name, Iftel::IntfId());
}

Iftel::IntfId earlierMember(std::string_view name) {
    auto const known = knownIntf(name);
    return known ? *known : Iftel::NameTable::instance().intfIs(name, Iftel::IntfKind::ethernet);
}

} // namespace Agent
