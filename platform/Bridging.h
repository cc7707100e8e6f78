// Bridging: the bridging configuration, the machine's first input.
//
//     Config.vlanConfig[ VlanId ] -> VlanConfig.intf[ IntfId ] -> VlanPortConfig
//
// One entry of intf says that the interface is a member of the VLAN, and how. Hosts write through
// the mutators, which publish each real change after it is made; VLANs are inserted empty, their
// members one by one. A Config owns its VLANs; readers hold a Ptr as long as they look.
#pragma once

#include "platform/Bridging/Config.h"
#include "platform/Bridging/VlanId.h"
#include "platform/Bridging/VlanPortConfig.h"
