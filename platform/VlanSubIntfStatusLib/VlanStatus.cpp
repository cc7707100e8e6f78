#include "platform/VlanSubIntfStatusLib.h"

#include <ostream>

namespace VlanSubIntfStatusLib {
namespace {

constexpr Qor::QorTypeBase statusType(VlanStatus::qorTypeName);
constexpr Qor::QorTypeBase const *types[] = {&statusType};
constexpr Qor::Module module{"VlanSubIntfStatusLib", types};
[[maybe_unused]] bool const registered = Qor::qorModuleIs(module);

} // namespace

std::ostream &operator<<(std::ostream &out, VidIntf const &pair) {
    return out << "intfId=" << pair.intfId << " vlanId=" << pair.vlanId;
}

void VlanStatus::intfToVlanMapIs(VidIntf const &pair) {
    keyIs(intfToVlanMap_, intfToVlanMapAttribute, pair);
}

void VlanStatus::intfToVlanMapDel(VidIntf const &pair) {
    memberDel(intfToVlanMap_, intfToVlanMapAttribute, pair);
}

Qor::FwkType VlanStatus::fwkType() const noexcept {
    return {&module, 0};
}

} // namespace VlanSubIntfStatusLib
