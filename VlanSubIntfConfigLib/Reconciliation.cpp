// Output reconciliation: when each output is ready, and the two deletion walks.
//
// Per output:  waiting --> scanning (only those with a walk) --> ready, which is final.
//
// All five handlers are one: they wait for the input scans, hand over to handleInitialScanDone()
// while the first ones are the only ones done, and declare the output ready. Two outputs may hold
// entries of an earlier run; before they are ready, a walk deletes what was not written in this
// run:
//
//     configIntf  over the directory: every entry whose key is not in the seen set goes, and every
//                 VLAN that is left without entries
//     lagPhyIntf  over the subinterfaces under which a member was written in this run, and their
//                 members; one that got no member in this run is not visited and keeps its old
//                 ones. It starts when configIntf is ready, so entries that go there are not walked
//                 here.
//
// Both walks go by hash, so in a large configuration every entry is a handful of cache misses. They
// have the lines of entries fetched that they come to a few slots later.
//
// A walk runs in slices on the output's task. It yields before an item when at least one was
// processed in this run and the task has used its share, or is not the one that runs; the bookmark
// is that item, which is processed first on resumption. Budget: the scheduler's. The iterators are
// resumable, and events between two slices only add entries that are seen, or remove some.
#include "VlanSubIntfConfigLib/Trace.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

#include <string_view>

namespace VlanSubIntfConfigLib {
namespace {

using DovraCode::Statement;
using DovraCode::ConfigSm::Output;

/// What differs between the outputs' handlers.
struct OutputTraits {
    std::string_view name;    ///< as in the handlers' messages
    std::string_view handler; ///< function name in traces
    Statement statement;      ///< what writes the output
    bool waitsForLagStream;   ///< besides the VLAN stream, which all wait for
    bool waitsForConfigIntf;
};

constexpr unsigned traceLevel = 9;

// How many slots ahead the objects are fetched, and how many what they point to.
constexpr std::uint32_t farAhead = 24;
constexpr std::uint32_t nearAhead = 12;

constexpr OutputTraits traitsOf(Output output) {
    namespace Statements = DovraCode::Statements;
    switch (output) {
    case Output::lagPhyIntf:
        return {"vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutput",
                "handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady",
                Statements::intoLagPhyIntf, true, true};
    case Output::intfToVlanMap:
        return {"lagVlanStatusIntfToVlanMapOutput",
                "handleLagVlanStatusIntfToVlanMapOutputInputReady", Statements::intoIntfToVlanMap,
                false, false};
    case Output::allowedTrafficDirection:
        return {"vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutput",
                "handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady",
                Statements::intoDirection, false, false};
    case Output::tagOnEgress:
        return {"vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutput",
                "handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady",
                Statements::intoTagOnEgress, false, false};
    case Output::configIntf:
        break;
    }
    return {"vlanSubIntfConfigDirConfigIntfOutput",
            "handleVlanSubIntfConfigDirConfigIntfOutputInputReady", Statements::intoConfigIntf,
            false, false};
}

} // namespace

void ConfigSm::outputInputReady(Output output) {
    if (!initialized_) {
        return;
    }
    OutputTraits const traits = traitsOf(output);
    DOVRA_TRACE(debugHandler_, traceLevel, "ConfigSm", traits.handler, traits.statement, "");
    if (outputState_->outputReady(output)) {
        DOVRA_TRACE(debugHandler_, traceLevel, "ConfigSm", traits.handler, traits.statement,
                    " already ready, not reconciling.");
        return;
    }
    if ((traits.waitsForLagStream && !inputSmScanState_->lagUpdateStreamScan()) ||
        !inputSmScanState_->vlanConfigStreamScan()) {
        return;
    }
    if (!initialScanDone_) {
        handleInitialScanDone();
        return;
    }
    if (traits.waitsForConfigIntf && !outputState_->outputReady(Output::configIntf)) {
        return;
    }
    DOVRA_TRACE(debugHandler_, traceLevel, "ConfigSm", traits.handler, traits.statement,
                "Input scans for {} complete", traits.name);
    if (outputReconciled(output)) {
        outputState_->outputReadyIs(output, true);
    }
}

/// One run of a walk: its counts, its traces, and its yield rule.
class ConfigSm::DeletionRun {
  public:
    DeletionRun(ConfigSm &machine, Qor::Ptr<Osk::Task> const &task, Output output) noexcept
        : sm_(machine), task_(task), traits_(traitsOf(output)) {}

    void countProcessed() noexcept { ++processed_; }
    void countDeleted() noexcept { ++deleted_; }

    /// At least one item is done per run. A task that is not running should yield, too: a walk
    /// that is called from outside its task leaves the rest to it.
    [[nodiscard]] bool shouldYield() const noexcept {
        return task_ && !sm_.synchronous_ && processed_ != 0 && task_->taskShouldYield();
    }
    /// Leave the rest to another run of the task.
    void yield() const {
        DOVRA_TRACE(sm_.debugHandler_, traceLevel, "ConfigSm", traits_.handler, traits_.statement,
                    "Yielding in reconciliation processing after processing {} items, including "
                    "{} deletions .",
                    processed_, deleted_);
        task_->taskWorkCountInc(processed_);
        task_->scheduleTask();
    }
    void traceDone() const {
        DOVRA_TRACE(sm_.debugHandler_, traceLevel, "ConfigSm", traits_.handler, traits_.statement,
                    "Deletion scan for reconciliation is done, last task run processed {} items, "
                    "deleting {} items.",
                    processed_, deleted_);
    }
    /// Every item is done.
    void end() const noexcept {
        if (task_) {
            task_->taskWorkCountInc(processed_);
        }
    }

  private:
    ConfigSm &sm_;
    Qor::Ptr<Osk::Task> task_; // null in synchronous mode
    OutputTraits traits_;
    std::uint32_t processed_ = 0;
    std::uint32_t deleted_ = 0;
};

/// The walk over vlanSubIntfConfigDir.config[].intf[].
class ConfigSm::ConfigIntfWalk {
  public:
    static constexpr Output output = Output::configIntf;
    using Outer = VlanSubIntfConfigDir::ConfigMap::Iterator;
    using Inner = VlanSubIntfConfig::IntfMap::Iterator;

    explicit ConfigIntfWalk(ConfigSm &machine) noexcept : sm_(machine) {
        if (sm_.configIntfUseBookmark_) {
            at_ = sm_.configIntfBookmark_;
        }
    }

    [[nodiscard]] DovraCode::TaskSlot &task() const noexcept { return sm_.configIntfTask_; }
    [[nodiscard]] Outer outer() const noexcept {
        auto const &config = sm_.vlanSubIntfConfigDir_->config();
        return at_.k0Valid ? config.iteratorFrom(at_.k0) : config.iterator();
    }
    void enter(Outer &vlan) noexcept {
        if (at_.k0 != vlan.key()) { // not the bookmarked VLAN, or that one was deleted meanwhile
            at_.k1Valid = false;
        }
        at_.k0 = vlan.key();
        at_.k0Valid = true;
        config_ = vlan.node()->value();
    }
    [[nodiscard]] Inner inner() const noexcept {
        auto const &intf = config_->intf();
        return at_.k1Valid ? intf.iteratorFrom(at_.k1) : intf.iterator();
    }
    void moveTo(Inner const &intf) noexcept {
        at_.k1 = intf.key();
        at_.k1Valid = true;
        if (auto const *const far = intf.ahead(farAhead)) {
            __builtin_prefetch(far->value().get());
        }
        if (auto const *const near = intf.ahead(nearAhead)) {
            sm_.configIntfSeen_.prefetch({at_.k0, near->key(), true, true});
        }
    }
    [[nodiscard]] bool isSeen() const noexcept {
        return sm_.vlanSubIntfConfigDirConfigIntfOutputSeenHas(at_);
    }
    void deleteItem() const { config_->intfDel(at_.k1); }
    /// The VLAN itself counts as an item, and goes when nothing is in it.
    void leave(DeletionRun &run) {
        if (config_->intf().empty()) {
            run.countDeleted();
            sm_.vlanSubIntfConfigDir_->configDel(at_.k0);
        }
        at_.k1Valid = false;
        run.countProcessed();
    }
    void keepOuter() const noexcept { keep(); }
    void keepInner() const noexcept { keep(); }
    void end(DeletionRun const &run) const { run.traceDone(); }
    void forget() const noexcept {
        sm_.configIntfBookmark_ = ConfigIntfOutputKey();
        sm_.configIntfUseBookmark_ = false;
    }

  private:
    void keep() const noexcept {
        sm_.configIntfBookmark_ = at_;
        sm_.configIntfUseBookmark_ = true;
    }

    ConfigSm &sm_;
    ConfigIntfOutputKey at_;
    Qor::Ptr<VlanSubIntfConfig> config_;
};

/// The walk over the lagPhyIntf[] of the subinterfaces written in this run. Subinterfaces are no
/// items of it: they are neither counted nor deleted.
class ConfigSm::LagPhyIntfWalk {
  public:
    static constexpr Output output = Output::lagPhyIntf;
    using Outer = LagPhyIntfPtrSeenMap::Iterator;
    using Inner = VlanSubIntf::LagPhyIntfSet::Iterator;

    explicit LagPhyIntfWalk(ConfigSm &machine) noexcept
        : sm_(machine), resume_(machine.lagPhyIntfUseBookmark_) {}

    [[nodiscard]] DovraCode::TaskSlot &task() const noexcept { return sm_.lagPhyIntfTask_; }
    [[nodiscard]] Outer outer() const noexcept {
        auto const &seen = sm_.lagPhyIntfPtrSeen_;
        auto const *const bookmark = sm_.lagPhyIntfPtrBookmark_.get();
        return bookmark ? seen.iteratorFrom(bookmark) : seen.iterator();
    }
    void enter(Outer &entry) noexcept {
        coll_ = entry.node()->value();
        vlanSubIntf_ = coll_->vlanSubIntf();
        if (auto const *const far = entry.ahead(farAhead)) {
            __builtin_prefetch(far->key().get());
            __builtin_prefetch(far->value().get());
        }
        if (auto const *const near = entry.ahead(nearAhead); near && near->key()) {
            near->key()->lagPhyIntf().prefetch();
            near->value()->seen().prefetch();
        }
    }
    /// The member bookmark counts for the first subinterface of a run, whichever that is.
    [[nodiscard]] Inner inner() noexcept {
        auto const &members = vlanSubIntf_->lagPhyIntf();
        bool const fromBookmark = resume_ && sm_.lagPhyIntfBookmark_.k0Valid;
        resume_ = false;
        return fromBookmark ? members.iteratorFrom(sm_.lagPhyIntfBookmark_.k0) : members.iterator();
    }
    void moveTo(Inner const &member) noexcept { at_ = {member.key(), true}; }
    [[nodiscard]] bool isSeen() const noexcept { return coll_->seen().memberHas(at_); }
    void deleteItem() const { vlanSubIntf_->lagPhyIntfDel(at_.k0); }
    void leave(DeletionRun const &run) const {
        run.traceDone();
        sm_.lagPhyIntfBookmark_ = LagPhyIntfOutputKey();
    }
    void keepOuter() const noexcept {
        sm_.lagPhyIntfUseBookmark_ = false;
        sm_.lagPhyIntfPtrBookmark_ = vlanSubIntf_;
    }
    void keepInner() const noexcept {
        sm_.lagPhyIntfUseBookmark_ = true;
        sm_.lagPhyIntfBookmark_ = at_;
        sm_.lagPhyIntfPtrBookmark_ = vlanSubIntf_;
    }
    void end(DeletionRun const & /*run*/) const noexcept {} // traced per subinterface
    void forget() const noexcept {
        sm_.lagPhyIntfPtrBookmark_ = nullptr;
        sm_.lagPhyIntfBookmark_ = LagPhyIntfOutputKey();
        sm_.lagPhyIntfUseBookmark_ = false;
    }

  private:
    ConfigSm &sm_;
    bool resume_;
    Qor::Ptr<LagPhyIntfOutputColl> coll_;
    Qor::Ptr<VlanSubIntf> vlanSubIntf_;
    LagPhyIntfOutputKey at_;
};

/// One run of a walk. False: it has kept its place and asked its task to go on.
template <class Walk> bool ConfigSm::deletionWalkDone(Walk walk) {
    DeletionRun run(*this, walk.task().task(), Walk::output);
    for (auto outer = walk.outer(); outer; outer.advance()) {
        walk.enter(outer);
        if (run.shouldYield()) {
            walk.keepOuter();
            run.yield();
            return false;
        }
        for (auto inner = walk.inner(); inner; inner.advance()) {
            walk.moveTo(inner);
            if (run.shouldYield()) {
                walk.keepInner();
                run.yield();
                return false;
            }
            if (!walk.isSeen()) {
                run.countDeleted();
                walk.deleteItem();
            }
            run.countProcessed();
        }
        walk.leave(run);
    }
    walk.end(run);
    run.end();
    walk.task().taskDel();
    walk.forget();
    return true;
}

bool ConfigSm::outputReconciled(Output output) {
    if (output == Output::configIntf) {
        if (configIntfReconciling_ && !deletionWalkDone(ConfigIntfWalk(*this))) {
            return false;
        }
        configIntfReconciling_ = false;
        vlanSubIntfConfigDirConfigIntfOutputSeenDelAll();
    } else if (output == Output::lagPhyIntf) {
        if (lagPhyIntfReconciling_ && !deletionWalkDone(LagPhyIntfWalk(*this))) {
            return false;
        }
        lagPhyIntfReconciling_ = false;
        vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDelAll();
    }
    return true;
}

// The generated names of handlers and tasks.

void ConfigSm::handleVlanSubIntfConfigDirConfigIntfOutputInputReady() {
    outputInputReady(Output::configIntf);
}

void ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady() {
    outputInputReady(Output::lagPhyIntf);
}

void ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady() {
    outputInputReady(Output::tagOnEgress);
}

void ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady() {
    outputInputReady(Output::allowedTrafficDirection);
}

void ConfigSm::handleLagVlanStatusIntfToVlanMapOutputInputReady() {
    outputInputReady(Output::intfToVlanMap);
}

void ConfigSm::vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskIs(
    Qor::Ptr<Osk::TaskScheduler> const &scheduler, Osk::TaskPriority priority,
    Nuvio::String const &name) {
    if (configIntfTask_.taskIs(scheduler, priority, name)) {
        outputInputReady(Output::configIntf);
    }
}

Qor::Ptr<Osk::Task> ConfigSm::vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDel() noexcept {
    return configIntfTask_.taskDel();
}

void ConfigSm::vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDispatch(
    Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber, short attributeId,
    void const * /*key*/, void const * /*reserved*/) noexcept {
    taskRun(*subscriber, attributeId, Output::configIntf);
}

void ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskIs(
    Qor::Ptr<Osk::TaskScheduler> const &scheduler, Osk::TaskPriority priority,
    Nuvio::String const &name) {
    if (lagPhyIntfTask_.taskIs(scheduler, priority, name)) {
        outputInputReady(Output::lagPhyIntf);
    }
}

Qor::Ptr<Osk::Task>
ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDel() noexcept {
    return lagPhyIntfTask_.taskDel();
}

void ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDispatch(
    Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber, short attributeId,
    void const * /*key*/, void const * /*reserved*/) noexcept {
    taskRun(*subscriber, attributeId, Output::lagPhyIntf);
}

void ConfigSm::taskRun(Nuvio::Subscriber const &subscriber, short attributeId, Output output) {
    auto &self = *static_cast<ConfigSm *>(subscriber.owner());
    if (attributeId == Osk::Task::runAttribute && !self.qorMarkedForDeletion()) {
        Qor::Ptr<ConfigSm> const hold(&self);
        self.outputInputReady(output);
    }
}

} // namespace VlanSubIntfConfigLib
