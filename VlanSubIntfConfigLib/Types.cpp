// The library's module: one registration per generated type, in the order of TypeIndex.
#include "VlanSubIntfConfigLib/Types.h"

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "platform/Qor/Attribute.h"

namespace VlanSubIntfConfigLib {
namespace {

namespace Sm = DovraCode::ConfigSm;

/// A key type: a value with attributes.
template <class Key> constexpr Qor::TypeImpl keyTypeOf() {
    return Qor::TypeImpl(Key::qorTypeName, nullptr, Key::qorAttributes);
}

constexpr Qor::QorTypeBase inputStateMachine("Quam::Gen::InputStateMachine");
constexpr Qor::TypeImpl table[] = {Qor::typeOf<Sm::InputSmScanState>(),
                                   Qor::typeOf<Sm::OutputState>(),
                                   Qor::typeOf<Sm::LocalAttrStore>(),
                                   Qor::typeOf<Sm::LocalAttrStore::Entry>(),
                                   Qor::typeOf<Sm::PhyIntfSm3>(&inputStateMachine),
                                   Qor::typeOf<Sm::LagPhyIntfConfigSm2>(&inputStateMachine),
                                   Qor::typeOf<Sm::IntfSm1>(&inputStateMachine),
                                   Qor::typeOf<Sm::VlanConfigSm0>(&inputStateMachine),
                                   keyTypeOf<ConfigIntfOutputKey>(),
                                   keyTypeOf<LagPhyIntfOutputKey>(),
                                   Qor::typeOf<LagPhyIntfOutputColl>(),
                                   Qor::typeOf<ConfigSm>()};
constexpr Qor::TypeImpl const *types[] = {&table[0], &table[1], &table[2],  &table[3],
                                          &table[4], &table[5], &table[6],  &table[7],
                                          &table[8], &table[9], &table[10], &table[11]};
constexpr Qor::Module module{"VlanSubIntfConfigLib", types};
[[maybe_unused]] bool const registered = Qor::qorModuleIs(module);

} // namespace

Qor::FwkType fwkTypeOf(TypeIndex index) noexcept {
    return {&module, static_cast<std::uint16_t>(index)};
}

} // namespace VlanSubIntfConfigLib
