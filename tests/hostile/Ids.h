// Identifiers by number, without their texts.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Iftel/IntfId.h"

#include <cstdint>

namespace Hostile {

inline Iftel::IntfId portId(std::uint32_t number) {
    return Iftel::IntfId::intf(Iftel::IntfKind::ethernet, number);
}
inline Iftel::IntfId lagId(std::uint32_t number) {
    return Iftel::IntfId::intf(Iftel::IntfKind::portChannel, number);
}
inline Iftel::IntfId portSubIntf(std::uint32_t portNumber, std::uint32_t number) {
    return Iftel::IntfId::subIntf(portId(portNumber), number);
}
inline Iftel::IntfId lagSubIntf(std::uint32_t lagNumber, std::uint32_t number) {
    return Iftel::IntfId::subIntf(lagId(lagNumber), number);
}
inline Bridging::VlanId vlanId(std::uint32_t number) {
    return Bridging::VlanId(static_cast<std::uint16_t>(number));
}

} // namespace Hostile
