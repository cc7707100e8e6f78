// Reflection: one table of attributes per generated type. Operation, generic iterator and listing
// all come from them; an attribute is one line.
//
// Object types number from 130, input machines from 258 (the numbers below are their base's), the
// output keys from 0. Where an attribute is written through a creator, the arguments of code 1 are
// the creator's; the machine itself stands in for every parent or root pointer.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "platform/Qor/Attribute.h"

#include <type_traits>

namespace VlanSubIntfConfigLib {
namespace {

using Qor::Attribute;

/// Attribute `number` of a key type: its order (code 10, with the other key) and its construction
/// from text (code 11, with the text).
template <class Key>
Qor::Status orderAndText(Attribute const &attribute, Qor::TypeImpl const &type, void *object,
                         Qor::Operation &operation) {
    constexpr auto order = &Key::operator<;
    switch (operation.code) {
    case Qor::OpCode::invoke:
        Qor::Impl::Call<order>::invoke(attribute, type, object, operation, true);
        return Qor::Status::done;
    case Qor::OpCode::fromText:
        Qor::Impl::needArguments(attribute, type, operation, 1);
        operation.result = Qor::Value::parse(
            Qor::valueTypeOf<Key>,
            Qor::Impl::argument<Qor::String>(attribute, type, operation, 0).view());
        return Qor::Status::done;
    default:
        return Qor::Status::notAccepted;
    }
}

template <class Key> constexpr Attribute keyOrder(int number) {
    return {number,
            "operator<",
            Qor::AttributeKind::method,
            &Qor::valueTypeOf<bool>,
            nullptr,
            {&Qor::valueTypeOf<Key>},
            false,
            orderAndText<Key>,
            nullptr};
}

// What the tables of ConfigSm need beside its members.

bool defaultSynchronousOf(ConfigSm & /*machine*/) {
    return ConfigSm::defaultSynchronous();
}
bool codefEnabledOf(ConfigSm &machine) {
    return machine.dovraControl().codefEnabled();
}
std::uint32_t versionOf(ConfigSm &machine) {
    return machine.dovraControl().version();
}
auto lagPhyIntfConfigSm2Write(ConfigSm &machine,
                              Qor::Ptr<Lag::LagPhyIntfMapping const> const &input) {
    return machine.lagPhyIntfConfigSm2Is(input, &machine);
}
auto vlanConfigSm0Write(ConfigSm &machine, Qor::Ptr<Bridging::Config const> const &input) {
    return machine.vlanConfigSm0Is(input, &machine);
}

void seenMark(ConfigSm &machine, ConfigIntfOutputKey const &key) {
    machine.vlanSubIntfConfigDirConfigIntfOutputSeenIs(key);
}
void collSeenMark(LagPhyIntfOutputColl &coll, LagPhyIntfOutputKey const &key) {
    coll.seenIs(key);
}

/// The child of an entity, whose key must be `key`.
template <class Sm>
Qor::Ptr<typename Sm::Child> childSmWrite(Sm &machine, typename Sm::Key const &key,
                                          Qor::Ptr<typename Sm::ChildEn const> const &en) {
    if (en && Sm::StreamType::keyOf(*en) != key) {
        Qor::throwTypeException(machine.fwkType().type(), "childSm", Qor::Value::of(key).text(),
                                Qor::Value::of(Sm::StreamType::keyOf(*en)).text());
    }
    return machine.childSmIs(en, &machine);
}
template <class Sm> Qor::Ptr<ConfigSm> rootOf(Sm &machine) {
    return Qor::Ptr<ConfigSm>(machine.root());
}
template <class Sm> auto parentOf(Sm &machine) {
    return Qor::Ptr<std::remove_pointer_t<decltype(machine.parent())>>(machine.parent());
}
template <class Sm> std::uint32_t scanStateOf(Sm &machine) {
    return static_cast<std::uint32_t>(machine.scanState());
}

} // namespace

std::span<Attribute const> ConfigSm::qorAttributes() noexcept {
    using namespace Qor;
    static constexpr Attribute table[] = {
        stored<&ConfigSm::bridgingConfig_>(130, "bridgingConfig"),
        stored<&ConfigSm::lagPhyIntfMapping_>(131, "lagPhyIntfMapping"),
        stored<&ConfigSm::vlanSubIntfConfigDir_>(132, "vlanSubIntfConfigDir"),
        property<&ConfigSm::inputSmScanState, &ConfigSm::inputSmScanStateIs,
                 &ConfigSm::inputSmScanStateDel>(133, "inputSmScanState"),
        property<&ConfigSm::outputState, &ConfigSm::outputStateIs, &ConfigSm::outputStateDel>(
            134, "outputState"),
        property<&ConfigSm::lagPhyIntfConfigSm2, &lagPhyIntfConfigSm2Write,
                 &ConfigSm::lagPhyIntfConfigSm2Del, false>(135, "lagPhyIntfConfigSm2"),
        property<&ConfigSm::vlanConfigSm0, &vlanConfigSm0Write, &ConfigSm::vlanConfigSm0Del, false>(
            136, "vlanConfigSm0"),
        method<&ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady>(
            137, "handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady"),
        collection<&ConfigSm::lagPhyIntfPtrSeen_,
                   &ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs,
                   &ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel>(
            138, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen"),
        stored<&ConfigSm::lagPhyIntfPtrBookmark_>(
            139, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrBookmark"),
        property<&ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask,
                 &ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskIs,
                 &ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDel,
                 false>(140,
                        "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask"),
        stored<&ConfigSm::lagPhyIntfBookmark_>(
            141, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputBookmark"),
        method<&ConfigSm::handleLagVlanStatusIntfToVlanMapOutputInputReady>(
            142, "handleLagVlanStatusIntfToVlanMapOutputInputReady"),
        method<&ConfigSm::
                   handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady>(
            143, "handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady"),
        method<&ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady>(
            144, "handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady"),
        method<&ConfigSm::handleVlanSubIntfConfigDirConfigIntfOutputInputReady>(
            145, "handleVlanSubIntfConfigDirConfigIntfOutputInputReady"),
        collection<&ConfigSm::configIntfSeen_, &seenMark,
                   &ConfigSm::vlanSubIntfConfigDirConfigIntfOutputSeenDel>(
            146, "vlanSubIntfConfigDirConfigIntfOutputSeen"),
        property<&ConfigSm::vlanSubIntfConfigDirConfigIntfOutputReconciliationTask,
                 &ConfigSm::vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskIs,
                 &ConfigSm::vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDel, false>(
            147, "vlanSubIntfConfigDirConfigIntfOutputReconciliationTask"),
        stored<&ConfigSm::configIntfBookmark_>(148, "vlanSubIntfConfigDirConfigIntfOutputBookmark"),
        stored<&ConfigSm::lagPhyIntfReconciling_>(
            149, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling"),
        stored<&ConfigSm::lagPhyIntfUseBookmark_>(
            150, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputUseBookmark"),
        stored<&ConfigSm::configIntfReconciling_>(
            151, "vlanSubIntfConfigDirConfigIntfOutputReconciling"),
        stored<&ConfigSm::configIntfUseBookmark_>(
            152, "vlanSubIntfConfigDirConfigIntfOutputUseBookmark"),
        method<&ConfigSm::doDeleteAll>(153, "doDeleteAll"),
        stored<&ConfigSm::dovraControl_>(154, "dovraControl"),
        property<&codefEnabledOf>(155, "codefEnabled"),
        stored<&ConfigSm::synchronous_>(156, "synchronous"),
        property<&defaultSynchronousOf>(157, "defaultSynchronous"),
        property<&ConfigSm::scheduler, &ConfigSm::schedulerIs, &ConfigSm::schedulerDel>(
            158, "scheduler"),
        property<&ConfigSm::priority, &ConfigSm::priorityIs>(159, "priority"),
        property<&versionOf>(160, "version"),
        computed<&ConfigSm::idle>(161, "idle"),
        computed<&ConfigSm::ready>(162, "ready"),
        stored<&ConfigSm::initialScanDone_>(163, "initialScanDone"),
        method<&ConfigSm::handleInitialScanDone>(164, "handleInitialScanDone"),
        stored<&ConfigSm::initialized_>(165, "initialized"),
        method<&ConfigSm::handleInitialized>(166, "handleInitialized"),
        method<&ConfigSm::eventToQuam_pipeline0>(167, "eventToQuam_pipeline0"),
        method<&ConfigSm::eventToVlanConfigStream>(168, "eventToVlanConfigStream"),
        method<&ConfigSm::eventToLagUpdateStream>(169, "eventToLagUpdateStream"),
        property<&ConfigSm::localAttrStore, &ConfigSm::localAttrStoreIs,
                 &ConfigSm::localAttrStoreDel>(170, "localAttrStore")};
    static_assert(numbersGrow(table));
    return table;
}

std::span<Attribute const> LagPhyIntfOutputColl::qorAttributes() noexcept {
    using namespace Qor;
    static constexpr Attribute table[] = {
        property<&LagPhyIntfOutputColl::vlanSubIntf>(130, "vlanSubIntf"),
        collection<&LagPhyIntfOutputColl::seen_, &collSeenMark, &LagPhyIntfOutputColl::seenDel>(
            131, "seen")};
    static_assert(numbersGrow(table));
    return table;
}

std::span<Attribute const> ConfigIntfOutputKey::qorAttributes() noexcept {
    using namespace Qor;
    static constexpr Attribute table[] = {
        stored<&ConfigIntfOutputKey::k0>(0, "k0"), stored<&ConfigIntfOutputKey::k1>(1, "k1"),
        stored<&ConfigIntfOutputKey::k0Valid>(2, "k0Valid"),
        stored<&ConfigIntfOutputKey::k1Valid>(3, "k1Valid"), keyOrder<ConfigIntfOutputKey>(4)};
    static_assert(numbersGrow(table));
    return table;
}

std::span<Attribute const> LagPhyIntfOutputKey::qorAttributes() noexcept {
    using namespace Qor;
    static constexpr Attribute table[] = {stored<&LagPhyIntfOutputKey::k0>(0, "k0"),
                                          stored<&LagPhyIntfOutputKey::k0Valid>(1, "k0Valid"),
                                          keyOrder<LagPhyIntfOutputKey>(2)};
    static_assert(numbersGrow(table));
    return table;
}

namespace DovraCode::ConfigSm {

std::span<Attribute const> InputSmScanState::qorAttributes() noexcept {
    using namespace Qor;
    static constexpr Attribute table[] = {
        method<&InputSmScanState::handleIdle>(130, "handleIdle"),
        property<&InputSmScanState::lagUpdateStreamScan, &InputSmScanState::lagUpdateStreamScanIs>(
            lagUpdateStreamScanAttribute, "lagUpdateStreamScan"),
        property<&InputSmScanState::vlanConfigStreamScan,
                 &InputSmScanState::vlanConfigStreamScanIs>(vlanConfigStreamScanAttribute,
                                                            "vlanConfigStreamScan"),
        property<&InputSmScanState::idle, &InputSmScanState::idleIs>(idleAttribute, "idle")};
    static_assert(numbersGrow(table));
    return table;
}

std::span<Attribute const> OutputState::qorAttributes() noexcept {
    using namespace Qor;
    static constexpr Attribute table[] = {
        property<&OutputState::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReady,
                 &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReadyIs>(
            130, "vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReady"),
        property<&OutputState::lagVlanStatusIntfToVlanMapOutputReady,
                 &OutputState::lagVlanStatusIntfToVlanMapOutputReadyIs>(
            131, "lagVlanStatusIntfToVlanMapOutputReady"),
        property<
            &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReady,
            &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReadyIs>(
            132, "vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReady"),
        property<&OutputState::vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReady,
                 &OutputState::vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReadyIs>(
            133, "vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReady"),
        property<&OutputState::vlanSubIntfConfigDirConfigIntfOutputReady,
                 &OutputState::vlanSubIntfConfigDirConfigIntfOutputReadyIs>(
            134, "vlanSubIntfConfigDirConfigIntfOutputReady"),
        property<&OutputState::ready, &OutputState::readyIs>(readyAttribute, "ready"),
        method<&OutputState::handleReady>(136, "handleReady")};
    static_assert(numbersGrow(table));
    return table;
}

std::span<Attribute const> LocalAttrStore::qorAttributes() noexcept {
    using namespace Qor;
    static constexpr Attribute table[] = {
        collection<&LocalAttrStore::lagVlanStatus_, &LocalAttrStore::lagVlanStatusIs,
                   &LocalAttrStore::lagVlanStatusDel>(lagVlanStatusAttribute, "lagVlanStatus")};
    return table;
}

std::span<Attribute const>
LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr::qorAttributes() noexcept {
    using namespace Qor;
    using Entry = LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr;
    static constexpr Attribute table[] = {
        property<&Entry::key>(130, "key"),
        property<&Entry::value, &Entry::valueIs, &Entry::valueDel>(valueAttribute, "value")};
    static_assert(numbersGrow(table));
    return table;
}

template <class Stream> std::span<Attribute const> InputParentSm<Stream>::qorAttributes() noexcept {
    using namespace Qor;
    using Sm = InputParentSm;
    static constexpr Attribute table[] = {
        property<&Sm::en>(258, "en"),
        property<&rootOf<Sm>>(259, "root"),
        property<&parentOf<Sm>>(260, "parent"),
        property<&scanStateOf<Sm>>(261, "scanState"),
        computed<&Sm::inputScanComplete>(262, "inputScanComplete"),
        method<&Sm::doDeleteAll>(263, "doDeleteAll"),
        stored<&Sm::inputScanBookmark_>(264, "inputScanBookmark"),
        collection<&Sm::childSm_, &childSmWrite<Sm>, &Sm::childSmDel>(childSmAttribute, "childSm"),
        method<&Sm::handleKeyHeld>(266, Stream::handleElement),
        method<&Sm::handleKeyReactor>(267, Stream::handleElementReactor),
        property<&Sm::scanning>(268, "scanning"),
        property<&Sm::task, &Sm::taskIs, &Sm::taskDel, false>(269, "task")};
    static_assert(numbersGrow(table));
    return table;
}

template <class Stream> std::span<Attribute const> InputChildSm<Stream>::qorAttributes() noexcept {
    using namespace Qor;
    using Sm = InputChildSm;
    static constexpr Attribute table[] = {
        property<&Sm::en>(258, "en"),
        property<&rootOf<Sm>>(259, "root"),
        property<&parentOf<Sm>>(260, "parent"),
        property<&scanStateOf<Sm>>(261, "scanState"),
        computed<&Sm::inputScanComplete>(262, "inputScanComplete"),
        method<&Sm::doDeleteAll>(263, "doDeleteAll"),
        stored<&Sm::inputScanBookmark_>(264, "inputScanBookmark"),
        property<&Sm::intfVersionSeen>(265, "intfVersionSeen"),
        method<&Sm::handleKeyHeld>(266, Stream::handleMember),
        method<&Sm::handleKeyReactor>(267, Stream::handleMemberReactor)};
    static_assert(numbersGrow(table));
    return table;
}

template std::span<Attribute const> InputParentSm<VlanStream>::qorAttributes() noexcept;
template std::span<Attribute const> InputChildSm<VlanStream>::qorAttributes() noexcept;
template std::span<Attribute const> InputParentSm<LagStream>::qorAttributes() noexcept;
template std::span<Attribute const> InputChildSm<LagStream>::qorAttributes() noexcept;

} // namespace DovraCode::ConfigSm
} // namespace VlanSubIntfConfigLib

Qor::TypeImpl const &Qor::ValueTraits<VlanSubIntfConfigLib::ConfigIntfOutputKey>::attributes() {
    return VlanSubIntfConfigLib::fwkTypeOf(VlanSubIntfConfigLib::TypeIndex::configIntfOutputKey)
        .type();
}

Qor::TypeImpl const &Qor::ValueTraits<VlanSubIntfConfigLib::LagPhyIntfOutputKey>::attributes() {
    return VlanSubIntfConfigLib::fwkTypeOf(VlanSubIntfConfigLib::TypeIndex::lagPhyIntfOutputKey)
        .type();
}
