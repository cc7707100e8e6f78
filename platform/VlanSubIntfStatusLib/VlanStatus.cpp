#include "platform/VlanSubIntfStatusLib.h"

#include <ostream>
#include <sstream>

namespace VlanSubIntfStatusLib {
namespace {

constexpr Qor::TypeImpl statusType = Qor::typeOf<VlanStatus>();
constexpr Qor::TypeImpl const *types[] = {&statusType};
constexpr Qor::Module module{"VlanSubIntfStatusLib", types};
[[maybe_unused]] bool const registered = Qor::qorModuleIs(module);

} // namespace

std::ostream &operator<<(std::ostream &out, VidIntf const &pair) {
    return out << "intfId=" << pair.intfId << " vlanId=" << pair.vlanId;
}

void VlanStatus::intfToVlanMapIs(VidIntf const &pair, Entry const &entry, std::uint32_t list) {
    auto const [node, isNew] = intfToVlanMap_.newMemberG(pair, [&] {
        return VidIntfSet::Node{pair, Listing(entry, list)};
    });
    if (isNew) {
        VidIntf const key = pair;
        publishChange(intfToVlanMapAttribute, &key);
    } else {
        node->beside_ = Listing(); // the former entry is let go of first: it may be the same
        node->beside_ = Listing(entry, list);
    }
}

void VlanStatus::intfToVlanMapDel(VidIntf const &pair) {
    memberDel(intfToVlanMap_, intfToVlanMapAttribute, pair,
              [](VidIntfSet::Node const &removed) { removed.beside().listedInIs(0); });
}

std::span<Qor::Attribute const> VlanStatus::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::collection<&VlanStatus::intfToVlanMap_>(intfToVlanMapAttribute, "intfToVlanMap")};
    return table;
}

Qor::FwkType VlanStatus::fwkType() const noexcept {
    return {&module, 0};
}

} // namespace VlanSubIntfStatusLib

std::string
Qor::ValueTraits<VlanSubIntfStatusLib::VidIntf>::text(VlanSubIntfStatusLib::VidIntf const &value) {
    std::ostringstream out;
    out.exceptions(std::ios::badbit); // where memory runs out, no text rather than half of one
    out << value;
    return out.str();
}
