#include "agent/store/NameHolders.h"

#include <optional>

namespace Agent {
namespace {

using VlanSubIntfConfigLib::VlanSubIntf;
using VlanSubIntfConfigLib::VlanSubIntfConfigDir;

std::optional<Iftel::IntfId> newHolder(Iftel::IntfId id) {
    auto const holder = Iftel::NameTable::instance().lookup(id.stringValue().view());
    return holder == id ? std::nullopt : holder;
}

VlanSubIntf const *entryOf(VlanSubIntfConfigDir const &directory, Bridging::VlanId vlan,
                           Iftel::IntfId intf) {
    auto const *const config = directory.config().lookupNodeG(vlan);
    auto const *const entry = config ? config->value()->intf().lookupNodeG(intf) : nullptr;
    return entry ? entry->value().get() : nullptr;
}

} // namespace

bool nameIsTaken(VlanSubIntfConfigDir const &directory, Bridging::VlanId vlan, Iftel::IntfId intf) {
    auto const holder = newHolder(intf);
    return holder && entryOf(directory, vlan, *holder);
}

bool memberNameIsTaken(VlanSubIntfConfigDir const &directory, Bridging::VlanId vlan,
                       Iftel::IntfId intf, Iftel::IntfId member) {
    auto const holder = newHolder(member);
    VlanSubIntf const *const entry = holder ? entryOf(directory, vlan, intf) : nullptr;
    return entry && entry->lagPhyIntf(*holder);
}

} // namespace Agent
