// VlanSubIntfConfigLib: derives the configuration of VLAN subinterfaces.
//
//     bridgingConfig.vlanConfig[].intf[]            lagPhyIntfMapping.lagPhyIntfConfig[].phyIntf[]
//           |                                             |
//     VlanConfigSm0 / IntfSm1                       LagPhyIntfConfigSm2 / PhyIntfSm3     InputSm.h
//           |                                             |
//     eventToVlanConfigStream -----> lagVlanStatus ---> eventToLagUpdateStream       Pipelines.cpp
//           |            |                                |                       LocalAttrStore.h
//           |            '------> eventToQuam_pipeline0 <-'
//           v                                v
//     vlanSubIntfConfigDir.config[].intf[]   .lagPhyIntf[]
//
// A host makes one machine with configSmFactory() and keeps the pointer; the machine lives as long
// as it is held. It scans both inputs twice, in slices on tasks of the control's scheduler, takes
// over what an earlier run left in the directory, deletes what is stale of that, and says ready();
// from then on it reacts to every change of an input inside the notice of the change. Releasing
// the last pointer leaves the directory as it stands.
//
//     auto machine = configSmFactory(bridgingConfig, lagPhyIntfMapping, dir, Quam::SmControl());
//     scheduler->runUntilIdle();
//     assert(machine->ready());
//
// Everything happens on the event loop's thread. A host observes the directory as it likes, but
// writes no input inside a notice of it. Null entity arguments are assertions; there are no error
// returns.
#pragma once

#include "VlanSubIntfConfigLib/InputSm.h"
#include "VlanSubIntfConfigLib/LocalAttrStore.h"
#include "VlanSubIntfConfigLib/OutputKeys.h"
#include "VlanSubIntfConfigLib/SeenColl.h"
#include "VlanSubIntfConfigLib/StateObjects.h"
#include "VlanSubIntfConfigLib/TaskSlot.h"
#include "platform/Bridging.h"
#include "platform/Lag.h"
#include "platform/Nuvio.h"
#include "platform/Osk.h"
#include "platform/Qor.h"
#include "platform/Quam.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace VlanSubIntfConfigLib {

/// The root machine.
///
///     constructed --handleInitialized--> initialized --handleInitialScanDone--> initial scan done
///         --every output reconciled--> ready
///
/// There is no way back. initialized: all owned objects are there. Initial scan done: both inputs
/// were scanned once, the second scans are under way or over. Ready: OutputState::ready.
class NUVIO_EXPORT ConfigSm final : public Qor::PtrInterface, public Qor::PoolAllocated<ConfigSm> {
  public:
    static constexpr std::string_view qorTypeName = "VlanSubIntfConfigLib::ConfigSm";

    using InputSmScanState = DovraCode::ConfigSm::InputSmScanState;
    using OutputState = DovraCode::ConfigSm::OutputState;
    using Output = DovraCode::ConfigSm::Output;
    using LocalAttrStore = DovraCode::ConfigSm::LocalAttrStore;
    using VlanConfigSm0 = DovraCode::ConfigSm::VlanConfigSm0;
    using LagPhyIntfConfigSm2 = DovraCode::ConfigSm::LagPhyIntfConfigSm2;
    using VlanSubIntfConfigDirConfigIntfOutputKeyType = ConfigIntfOutputKey;
    using VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType = LagPhyIntfOutputKey;
    using VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputCollType = LagPhyIntfOutputColl;
    using ConfigIntfSeenSet = Qor::HashMap2018<ConfigIntfOutputKey, void, 0xC1698447>;
    using LagPhyIntfPtrSeenMap =
        Qor::HashMap2018<Qor::Ptr<VlanSubIntf const>, Qor::Ptr<LagPhyIntfOutputColl>, 0x5FCC0AD6>;

    // Construction and teardown. [ConfigSm.cpp, Teardown.cpp]

    [[nodiscard]] static Qor::Ptr<ConfigSm>
    ConfigSmIs(Qor::Ptr<Bridging::Config const> const &bridging,
               Qor::Ptr<Lag::LagPhyIntfMapping const> const &lagMapping,
               Qor::Ptr<VlanSubIntfConfigDir> const &dir, Quam::SmControl const &control);
    /// Runs handleInitialized(); scans and reactions take place inside. Use ConfigSmIs().
    ConfigSm(Qor::Ptr<Bridging::Config const> const &bridging,
             Qor::Ptr<Lag::LagPhyIntfMapping const> const &lagMapping,
             Qor::Ptr<VlanSubIntfConfigDir> const &dir, Quam::SmControl const &control);
    ~ConfigSm() override;

    void hasNotificationActiveIs(bool active) noexcept override;
    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        return fwkTypeOf(TypeIndex::configSm);
    }
    void qorDoZombieReactors(bool marked) noexcept override;
    /// Withdraw everything that the inputs contributed, for the end of a life: the existing VLANs
    /// and LAGs have no child afterwards until they are notified again.
    void doDeleteAll();

    // What a host asks.

    /// Every output is reconciled.
    [[nodiscard]] bool ready() const noexcept;
    /// Ready, and the initial scan is over.
    [[nodiscard]] bool idle() const noexcept;
    void jlHandleIs(Jotlog::TraceHandle *handle) noexcept { dovraControl_.jlHandleIs(handle); }

    // Arguments.

    [[nodiscard]] Qor::Ptr<Bridging::Config const> const &bridgingConfig() const noexcept {
        return bridgingConfig_;
    }
    [[nodiscard]] Qor::Ptr<Lag::LagPhyIntfMapping const> const &lagPhyIntfMapping() const noexcept {
        return lagPhyIntfMapping_;
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntfConfigDir> const &vlanSubIntfConfigDir() const noexcept {
        return vlanSubIntfConfigDir_;
    }
    [[nodiscard]] Quam::SmControl const &dovraControl() const noexcept { return dovraControl_; }
    [[nodiscard]] Qor::Ptr<Osk::TaskScheduler> const &scheduler() const noexcept {
        return dovraControl_.scheduler();
    }
    void schedulerIs(Qor::Ptr<Osk::TaskScheduler> const &newScheduler) noexcept {
        dovraControl_.schedulerIs(newScheduler);
    }
    Qor::Ptr<Osk::TaskScheduler> schedulerDel() noexcept;
    [[nodiscard]] Osk::TaskPriority priority() const noexcept { return dovraControl_.priority(); }
    void priorityIs(Osk::TaskPriority newPriority) noexcept {
        dovraControl_.priorityIs(newPriority);
    }

    // Start-up state.

    [[nodiscard]] bool synchronous() const noexcept { return synchronous_; }
    [[nodiscard]] static constexpr bool defaultSynchronous() noexcept { return false; }
    [[nodiscard]] bool initialScanDone() const noexcept { return initialScanDone_; }
    [[nodiscard]] bool initialized() const noexcept { return initialized_; }
    [[nodiscard]] Nuvio::Ptr<Nuvio::Platform::DebugHandler> const &debugHandler() const noexcept {
        return debugHandler_;
    }

    // Owned objects: reader, creator, remover. A remover leaves the attribute null and returns what
    // was there, null included. [StartUp.cpp, Teardown.cpp]

    [[nodiscard]] Qor::Ptr<InputSmScanState> const &inputSmScanState() const noexcept {
        return inputSmScanState_;
    }
    void inputSmScanStateIs(Qor::Ptr<InputSmScanState> const &state);
    Qor::Ptr<InputSmScanState> inputSmScanStateDel() noexcept;

    [[nodiscard]] Qor::Ptr<OutputState> const &outputState() const noexcept { return outputState_; }
    [[nodiscard]] static Qor::Ptr<OutputState> outputStateFactory();
    Qor::Ptr<OutputState> outputStateIs();
    Qor::Ptr<OutputState> outputStateDel() noexcept;

    [[nodiscard]] Qor::Ptr<LagPhyIntfConfigSm2> const &lagPhyIntfConfigSm2() const noexcept {
        return lagPhyIntfConfigSm2_;
    }
    Qor::Ptr<LagPhyIntfConfigSm2>
    lagPhyIntfConfigSm2Is(Qor::Ptr<Lag::LagPhyIntfMapping const> const &input, ConfigSm *root);
    Qor::Ptr<LagPhyIntfConfigSm2> lagPhyIntfConfigSm2Del() noexcept;

    [[nodiscard]] Qor::Ptr<VlanConfigSm0> const &vlanConfigSm0() const noexcept {
        return vlanConfigSm0_;
    }
    Qor::Ptr<VlanConfigSm0> vlanConfigSm0Is(Qor::Ptr<Bridging::Config const> const &input,
                                            ConfigSm *root);
    Qor::Ptr<VlanConfigSm0> vlanConfigSm0Del() noexcept;

    [[nodiscard]] Qor::Ptr<LocalAttrStore> const &localAttrStore() const noexcept {
        return localAttrStore_;
    }
    Qor::Ptr<LocalAttrStore> localAttrStoreIs();
    Qor::Ptr<LocalAttrStore> localAttrStoreDel() noexcept;

    // Start-up. [StartUp.cpp]

    /// Bring the machine to life; does nothing the second time.
    void handleInitialized();
    /// Start the second, event-driven scans once both first ones are complete.
    void handleInitialScanDone();
    static void inputSmScanStateDispatch(Nuvio::Publisher *, Nuvio::Subscriber *subscriber,
                                         short attributeId, void const *, void const *) noexcept;
    static void outputStateDispatch(Nuvio::Publisher *, Nuvio::Subscriber *subscriber,
                                    short attributeId, void const *, void const *) noexcept;

    // Pipelines: one event is one member of an input as it is now. [Pipelines.cpp]

    /// Empty `vlanPortConfig`: the member is gone.
    void eventToVlanConfigStream(Bridging::VlanId vlanId, Iftel::IntfId intfId,
                                 Qor::Optional<Bridging::VlanPortConfig> const &vlanPortConfig);
    /// Empty `phyIntfLagConfig`: the member is gone; a null pointer in it: it is there.
    void eventToLagUpdateStream(
        Iftel::IntfId lagId, Iftel::IntfId lagMemberId,
        Qor::Optional<Qor::Ptr<Lag::EthPhyIntfLagConfig const>> const &phyIntfLagConfig);
    /// Requires: the directory has the entry of the subinterface in the VLAN; throws
    /// BadOptionalAccess otherwise.
    void eventToQuam_pipeline0(Bridging::VlanId vlanId, Iftel::IntfId subIntfId,
                               Iftel::IntfId lagMemberId, bool add);

    // Output vlanSubIntfConfigDir.config[].intf[]: what was written in this run, and the walk that
    // deletes the rest. [SeenTracking.cpp, Reconciliation.cpp]

    [[nodiscard]] ConfigIntfSeenSet const &
    vlanSubIntfConfigDirConfigIntfOutputSeen() const noexcept {
        return configIntfSeen_;
    }
    ConfigIntfSeenSet::Node const *
    vlanSubIntfConfigDirConfigIntfOutputSeenIs(ConfigIntfOutputKey const &key);
    void vlanSubIntfConfigDirConfigIntfOutputSeenDel(ConfigIntfOutputKey const &key);
    void vlanSubIntfConfigDirConfigIntfOutputSeenDelAll();
    [[nodiscard]] bool
    vlanSubIntfConfigDirConfigIntfOutputSeenHas(ConfigIntfOutputKey const &key) const noexcept;

    void handleVlanSubIntfConfigDirConfigIntfOutputInputReady();
    [[nodiscard]] Qor::Ptr<Osk::Task> const &
    vlanSubIntfConfigDirConfigIntfOutputReconciliationTask() const noexcept {
        return configIntfTask_.task();
    }
    void vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskIs(
        Qor::Ptr<Osk::TaskScheduler> const &scheduler, Osk::TaskPriority priority,
        Nuvio::String const &name);
    Qor::Ptr<Osk::Task> vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDel() noexcept;
    static void vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDispatch(
        Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short attributeId, void const *,
        void const *) noexcept;
    [[nodiscard]] ConfigIntfOutputKey const &
    vlanSubIntfConfigDirConfigIntfOutputBookmark() const noexcept {
        return configIntfBookmark_;
    }
    [[nodiscard]] bool vlanSubIntfConfigDirConfigIntfOutputReconciling() const noexcept {
        return configIntfReconciling_;
    }
    [[nodiscard]] bool vlanSubIntfConfigDirConfigIntfOutputUseBookmark() const noexcept {
        return configIntfUseBookmark_;
    }

    // Output vlanSubIntf.lagPhyIntf[]: the same. [SeenTracking.cpp, Reconciliation.cpp]

    [[nodiscard]] LagPhyIntfPtrSeenMap const &
    vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen() const noexcept {
        return lagPhyIntfPtrSeen_;
    }
    /// The collection of a subinterface (null allowed), made empty if it is missing.
    Qor::Ptr<LagPhyIntfOutputColl> vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(
        Qor::Ptr<VlanSubIntf> const &vlanSubIntf);
    Qor::Ptr<LagPhyIntfOutputColl> vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(
        Qor::Ptr<VlanSubIntf const> const &vlanSubIntf);
    void vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDelAll();

    void handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady();
    [[nodiscard]] Qor::Ptr<Osk::Task> const &
    vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask() const noexcept {
        return lagPhyIntfTask_.task();
    }
    void vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskIs(
        Qor::Ptr<Osk::TaskScheduler> const &scheduler, Osk::TaskPriority priority,
        Nuvio::String const &name);
    Qor::Ptr<Osk::Task>
    vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDel() noexcept;
    static void vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDispatch(
        Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short attributeId, void const *,
        void const *) noexcept;
    [[nodiscard]] Qor::Ptr<VlanSubIntf> const &
    vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrBookmark() const noexcept {
        return lagPhyIntfPtrBookmark_;
    }
    [[nodiscard]] LagPhyIntfOutputKey const &
    vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputBookmark() const noexcept {
        return lagPhyIntfBookmark_;
    }
    [[nodiscard]] bool
    vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling() const noexcept {
        return lagPhyIntfReconciling_;
    }
    [[nodiscard]] bool
    vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputUseBookmark() const noexcept {
        return lagPhyIntfUseBookmark_;
    }

    // The outputs that are overwritten and need no walk. [Reconciliation.cpp]

    void handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady();
    void handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady();
    void handleLagVlanStatusIntfToVlanMapOutputInputReady();

  private:
    /// One walk over an output's entries; see Reconciliation.cpp.
    class DeletionRun;
    class ConfigIntfWalk;
    class LagPhyIntfWalk;

    void startTasks();
    /// Run the five outputs' handlers in their order, each only while `mayRun()` answers true.
    template <class Condition> void outputHandlersRun(Condition mayRun);
    void outputInputReady(Output output);
    /// A notice of an output's task.
    static void taskRun(Nuvio::Subscriber const &subscriber, short attributeId, Output output);
    /// Reconcile an output that has a walk; false when the walk has yielded.
    [[nodiscard]] bool outputReconciled(Output output);
    template <class Walk> [[nodiscard]] bool deletionWalkDone(Walk walk);

    void memberPresent(Bridging::VlanId vlanId, Iftel::IntfId intfId,
                       Bridging::VlanPortConfig const &vlanPortConfig);
    void memberGone(Bridging::VlanId vlanId, Iftel::IntfId intfId);
    [[nodiscard]] bool passesPortChannelFilter(Iftel::IntfId intfId) const;
    void memberCounted(Iftel::IntfId intfId, bool isThere) noexcept;
    /// Empty a record: in later turns, where the machine has turns.
    template <class Record> void recordEmpty(Record &record) noexcept {
        if (synchronous_) {
            record.emptyAllBuckets();
        } else {
            record.emptyLater();
        }
    }
    /// Make room for what was counted.
    void seenReserve();
    /// The merge for a caller that has the entry at hand. Who hears of it may let go of everything
    /// but the root.
    void merge(Bridging::VlanId vlanId, Iftel::IntfId subIntfId, VlanSubIntf &vlanSubIntf,
               LagPhyIntfOutputColl *seen, Iftel::IntfId lagMemberId, bool add);
    void mergeInto(VlanSubIntf &vlanSubIntf, LagPhyIntfOutputColl *seen, Iftel::IntfId lagMemberId,
                   bool add);
    /// Merge all members of a LAG into an entry, where nobody can follow the steps: none is traced
    /// and the entry is not observed. False: that, or the LAG is large, and nothing is done.
    [[nodiscard]] bool mergedAtOnce(VlanSubIntf &vlanSubIntf, LagPhyIntfOutputColl *seen,
                                    Lag::LagPhyIntfConfig::PhyIntfMap const &lagMembers);
    /// The record of the members written under a subinterface, made empty if it is missing; null
    /// when the output is reconciled, and for an entry that has left the directory.
    [[nodiscard]] Qor::Ptr<LagPhyIntfOutputColl>
    lagPhyIntfSeen(Qor::Ptr<VlanSubIntf> const &vlanSubIntf) {
        return lagPhyIntfReconciling_ && vlanSubIntf->inDirectory()
                   ? vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(vlanSubIntf)
                   : nullptr;
    }

    // Arguments; shared with the host.
    Qor::Ptr<Bridging::Config const> bridgingConfig_;
    Qor::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping_;
    Qor::Ptr<VlanSubIntfConfigDir> vlanSubIntfConfigDir_;

    // Owned. A subscriber stands behind what it listens to, so that it leaves first.
    Qor::Ptr<InputSmScanState> inputSmScanState_;
    Nuvio::Subscriber inputSmScanStateSubscriber_;
    Qor::Ptr<OutputState> outputState_;
    Nuvio::Subscriber outputStateSubscriber_;
    Qor::Ptr<LagPhyIntfConfigSm2> lagPhyIntfConfigSm2_;
    Qor::Ptr<VlanConfigSm0> vlanConfigSm0_;

    // Reconciliation of vlanSubIntf.lagPhyIntf[]: valid until it is ready.
    LagPhyIntfPtrSeenMap lagPhyIntfPtrSeen_;
    Qor::Ptr<VlanSubIntf> lagPhyIntfPtrBookmark_;
    DovraCode::TaskSlot lagPhyIntfTask_;
    LagPhyIntfOutputKey lagPhyIntfBookmark_;

    // Reconciliation of vlanSubIntfConfigDir.config[].intf[]: valid until it is ready.
    ConfigIntfSeenSet configIntfSeen_;
    DovraCode::TaskSlot configIntfTask_;
    ConfigIntfOutputKey configIntfBookmark_;

    /// What the records are going to hold, as far as the first scan could tell: so they need not
    /// grow in the second.
    std::uint32_t subIntfsCounted_ = 0;
    std::uint32_t lagSubIntfsCounted_ = 0;

    bool lagPhyIntfReconciling_ = false;
    bool lagPhyIntfUseBookmark_ = false;
    bool configIntfReconciling_ = false;
    bool configIntfUseBookmark_ = false;

    Quam::SmControl dovraControl_;
    bool synchronous_ = false;
    bool initialScanDone_ = false;
    bool initialized_ = false;
    Qor::Ptr<LocalAttrStore> localAttrStore_;
    Nuvio::Ptr<Nuvio::Platform::DebugHandler> debugHandler_;
};

/// Make a machine over the two inputs and the output directory. The machine shares all three with
/// the caller. Requires: none of the three is null.
[[nodiscard]] NUVIO_EXPORT Qor::Ptr<ConfigSm>
configSmFactory(Qor::Ptr<Bridging::Config const> const &bridgingConfig,
                Qor::Ptr<Lag::LagPhyIntfMapping const> const &lagPhyIntfMapping,
                Qor::Ptr<VlanSubIntfConfigDir> const &vlanSubIntfConfigDir,
                Quam::SmControl const &dovraControl);

} // namespace VlanSubIntfConfigLib
