#include "VlanSubIntfConfigLib/Types.h"

namespace VlanSubIntfConfigLib {
namespace {

// In the order of TypeIndex.
constexpr Qor::QorTypeBase inputStateMachine("Quam::Gen::InputStateMachine");
constexpr Qor::QorTypeBase table[] = {
    {"VlanSubIntfConfigLib::DovraCode::ConfigSm::InputSmScanState"},
    {"VlanSubIntfConfigLib::DovraCode::ConfigSm::OutputState"},
    {"VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore"},
    {"VlanSubIntfConfigLib::DovraCode::ConfigSm::"
     "LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr"},
    {"VlanSubIntfConfigLib::DovraCode::ConfigSm::PhyIntfSm3", &inputStateMachine},
    {"VlanSubIntfConfigLib::DovraCode::ConfigSm::LagPhyIntfConfigSm2", &inputStateMachine},
    {"VlanSubIntfConfigLib::DovraCode::ConfigSm::IntfSm1", &inputStateMachine},
    {"VlanSubIntfConfigLib::DovraCode::ConfigSm::VlanConfigSm0", &inputStateMachine},
    {"VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType"},
    {"VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType"},
    {"VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputCollType"},
    {"VlanSubIntfConfigLib::ConfigSm"}};
constexpr Qor::QorTypeBase const *types[] = {&table[0], &table[1], &table[2],  &table[3],
                                             &table[4], &table[5], &table[6],  &table[7],
                                             &table[8], &table[9], &table[10], &table[11]};
constexpr Qor::Module module{"VlanSubIntfConfigLib", types};
[[maybe_unused]] bool const registered = Qor::qorModuleIs(module);

} // namespace

Qor::FwkType fwkTypeOf(TypeIndex index) noexcept {
    return {&module, static_cast<std::uint16_t>(index)};
}

} // namespace VlanSubIntfConfigLib
