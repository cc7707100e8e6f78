// The library's type table: what fwkType() of its objects answers.
#pragma once

#include "platform/Qor/Type.h"

#include <cstdint>

namespace VlanSubIntfConfigLib {

/// Index of each generated type in the library's module.
enum class TypeIndex : std::uint16_t {
    inputSmScanState,
    outputState,
    localAttrStore,
    localAttr,
    phyIntfSm3,
    lagPhyIntfConfigSm2,
    intfSm1,
    vlanConfigSm0,
    configIntfOutputKey,
    lagPhyIntfOutputKey,
    lagPhyIntfOutputColl,
    configSm
};

/// The descriptor of one of the library's types.
[[nodiscard]] Qor::FwkType fwkTypeOf(TypeIndex index) noexcept;

} // namespace VlanSubIntfConfigLib
