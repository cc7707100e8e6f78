// Who stands for a name in a store.
//
// A store knows interfaces by their names, and for a moment two identifiers may have one name: that
// of an interface that has changed its kind, and the new one. Under the name stands then the one
// that the name leads to; what happens to the other one is of no account.
#pragma once

#include "platform/Iftel.h"
#include "platform/VlanSubIntfConfigDir.h"

namespace Agent {

/// The name of `intf` leads to another interface that is in the VLAN.
[[nodiscard]] bool nameIsTaken(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &directory,
                               Bridging::VlanId vlan, Iftel::IntfId intf);
/// The name of `member` leads to another interface that is a member of the entry of `intf`.
[[nodiscard]] bool memberNameIsTaken(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &directory,
                                     Bridging::VlanId vlan, Iftel::IntfId intf,
                                     Iftel::IntfId member);

} // namespace Agent
