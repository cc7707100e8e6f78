// The input state machines' scheme, written once for both pairs.
//
// Order of events in a parent's slice: for each element, first handle it (which makes its child or
// lets it catch up), then scan the child, and only when the child is complete count the element,
// test for yielding and advance. So the bookmark of an interrupted parent is the element whose
// child is incomplete, or the first element not yet handled; a finished element is never handled
// again within one scan, and one item at least is done per slice.
//
// Both iterators are resumable, so whatever notices do to the collections between two slices, every
// entry that was there throughout is visited once.
#include "VlanSubIntfConfigLib/InputSm.h"

#include "VlanSubIntfConfigLib/Trace.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

#include <type_traits>

namespace VlanSubIntfConfigLib::DovraCode::ConfigSm {
namespace {

/// Sets a flag as long as it lives.
class FlagScope {
  public:
    explicit FlagScope(bool &flag) noexcept : flag_(flag) { flag_ = true; }
    ~FlagScope() { flag_ = false; }
    FlagScope(FlagScope const &) = delete;
    FlagScope &operator=(FlagScope const &) = delete;

  private:
    bool &flag_;
};

/// Whether notices reach the machine: it and its root stand, and neither is marked for deletion.
template <class Sm> bool reacts(Sm const &machine) noexcept {
    return !machine.qorMarkedForDeletion() && machine.root() &&
           !machine.root()->qorMarkedForDeletion();
}

// How both machines of a pair handle one key: called from outside, the root and the machine are
// held until it returns; for a notice nothing yields, either.

template <class Sm, class Key> void handleHeld(Sm &machine, Key key) {
    Qor::Ptr<Root> const rootHold(machine.root());
    Qor::Ptr<Sm> const hold(&machine);
    machine.handleKey(key);
}

/// `scanner` is the one of the pair that scans: what is marked must be unmarked even when the
/// machine is removed meanwhile.
template <class Sm, class Scanner, class Key>
void handleInReactor(Sm &machine, Scanner *scanner, Key key) {
    if (!scanner) {
        return;
    }
    Qor::Ptr<Root> const rootHold(machine.root());
    Qor::Ptr<Scanner> const scannerHold(scanner);
    Qor::Ptr<Sm> const hold(&machine);
    Quam::Gen::InReactor const inside(*scanner);
    machine.handleKey(key);
}

/// A notice for the listening machine, with its key.
template <class Sm, class Key> void react(Nuvio::Subscriber const &subscriber, void const *key) {
    auto &machine = *static_cast<Sm *>(subscriber.owner());
    if (reacts(machine)) {
        machine.handleKeyReactor(*static_cast<Key const *>(key));
    }
}

template <class Stream>
constexpr Statement const &statementOf =
    std::is_same_v<Stream, VlanStream> ? Statements::fromVlanConfig : Statements::fromLagUpdate;

} // namespace

#define PARENT_TRACE(level, function, ...)                                                         \
    DOVRA_TRACE(root()->debugHandler(), level, Stream::parentName, function, statementOf<Stream>,  \
                __VA_ARGS__)
#define CHILD_TRACE(level, function, ...)                                                          \
    DOVRA_TRACE(root()->debugHandler(), level, Stream::childName, function, statementOf<Stream>,   \
                __VA_ARGS__)

// Streams.

bool VlanStream::scanFlag(InputSmScanState const &state) noexcept {
    return state.vlanConfigStreamScan();
}

void VlanStream::scanFlagIs(InputSmScanState &state, bool done) {
    state.vlanConfigStreamScanIs(done);
}

void VlanStream::prefetch(Root const &root, Key key, MemberKey memberKey) noexcept {
    if (Iftel::SubIntfId::isSubIntfId(memberKey)) {
        root.vlanSubIntfConfigDir()->prefetch(key, memberKey);
    }
}

void VlanStream::event(Root &root, Key key, MemberKey memberKey, Value const &value) {
    root.eventToVlanConfigStream(key, memberKey, value);
}

bool LagStream::scanFlag(InputSmScanState const &state) noexcept {
    return state.lagUpdateStreamScan();
}

void LagStream::scanFlagIs(InputSmScanState &state, bool done) {
    state.lagUpdateStreamScanIs(done);
}

void LagStream::prefetch(Root const & /*root*/, Key /*key*/, MemberKey /*memberKey*/) noexcept {}

void LagStream::event(Root &root, Key key, MemberKey memberKey, Value const &value) {
    root.eventToLagUpdateStream(key, memberKey, value);
}

// Child: construction, answers taken from the parent, switching.

template <class Stream>
InputChildSm<Stream>::InputChildSm(Qor::Ptr<En const> const &element, Parent *parentSm)
    : en_(element), enSubscriber_(enDispatch, this), parent_(parentSm) {
    QorNuvio::SubscriberScopeGuard const enGuard(enSubscriber_);
    QorNuvio::subscriptionIs(true, enSubscriber_, en_);
    parentIsScanning_ = parent_ && parent_->scanning();
    handleInitialized();
}

template <class Stream> InputChildSm<Stream>::~InputChildSm() {
    InputChildSm::qorDoZombieReactors(true);
}

template <class Stream> Root *InputChildSm<Stream>::root() const noexcept {
    return parent_ ? parent_->root() : nullptr;
}

template <class Stream>
Nuvio::Ptr<Nuvio::Platform::DebugHandler> InputChildSm<Stream>::traceHandle() const noexcept {
    return root() ? root()->debugHandler() : nullptr;
}

template <class Stream> bool InputChildSm<Stream>::initialScanDone() const noexcept {
    return parent_ && parent_->initialScanDone();
}

template <class Stream> bool InputChildSm<Stream>::synchronous() const noexcept {
    return parent_ && parent_->synchronous();
}

template <class Stream> bool InputChildSm<Stream>::shouldYield() const noexcept {
    return parent_ && parent_->shouldYield();
}

template <class Stream> bool InputChildSm<Stream>::inReactor() const noexcept {
    return parent_ && parent_->inReactor();
}

template <class Stream> void InputChildSm<Stream>::inReactorIs(bool inside) noexcept {
    if (parent_) {
        parent_->inReactorIs(inside);
    }
}

template <class Stream> void InputChildSm<Stream>::hasNotificationActiveIs(bool active) noexcept {
    if (hasNotificationActive() == active) {
        return;
    }
    InputStateMachine::hasNotificationActiveIs(active);
    QorNuvio::subscriptionIs(active, enSubscriber_, en_);
}

template <class Stream> void InputChildSm<Stream>::qorDoZombieReactors(bool marked) noexcept {
    if (qorMarkedForDeletion() != marked) {
        InputStateMachine::qorDoZombieReactors(marked);
        qorMarkedForDeletionIs(marked);
    }
}

// Child: scan.

template <class Stream> void InputChildSm<Stream>::doInputScan() {
    if (!initialized() || !root()) {
        return;
    }
    CHILD_TRACE(9, "doInputScan", "{}", printed(key()));
    if (inputScanComplete()) {
        return;
    }
    NUVIO_ASSERT(en() &&
                 "Sm args can only be null if marked as Optional in the SM type declaration");
    Qor::Ptr<Root> const rootHold(root());
    Qor::Ptr<InputChildSm> const hold(this);

    auto const &members = Stream::members(*en_);
    Iterator member = scanState() == Quam::Gen::ScanState::interrupted
                          ? members.iteratorFrom(inputScanBookmark_)
                          : members.iterator();
    std::uint32_t iterations = 0;
    while (member) {
        tell(*root(), member.key(), member.node());
        ++iterations;
        if (!root()) {
            return; // removed by who heard of the event
        }
        if (shouldYield()) {
            if (interrupted(member, iterations)) {
                return;
            }
            break;
        }
        member.advance();
    }
    completed(iterations);
}

/// Step past the finished member and keep the place; false when none is left.
template <class Stream>
bool InputChildSm<Stream>::interrupted(Iterator &member, std::uint32_t iterations) {
    CHILD_TRACE(8, "doInputScan", "{} {} yielding after {} iterations ({} remaining)",
                printed(key()), "", iterations, Stream::members(*en_).size());
    member.advance();
    if (!member) {
        return false;
    }
    scanStateIs(Quam::Gen::ScanState::interrupted);
    inputScanBookmark_ = member.key();
    intfVersionSeen_ = Stream::members(*en_).stamp();
    return true;
}

template <class Stream> void InputChildSm<Stream>::completed(std::uint32_t iterations) {
    intfVersionSeen_ = Stream::members(*en_).stamp();
    bool const initial = !initialScanDone();
    scanStateIs(initial ? Quam::Gen::ScanState::completeInitially : Quam::Gen::ScanState::complete);
    CHILD_TRACE(9, "doInputScan", "{} scan complete. Processed {} children. ",
                initial ? Stream::childNameInitial : Stream::childName, iterations);
}

// Child: events.

template <class Stream> void InputChildSm<Stream>::handleKey(MemberKey memberKey) {
    Root *const to = root();
    if (initialized() && to) {
        tell(*to, memberKey, Stream::members(*en_).lookupChangedG(memberKey));
    }
}

/// `member` is what the element has under the key; null: nothing.
template <class Stream>
void InputChildSm<Stream>::tell(Root &to, MemberKey memberKey, Member const *member) {
    DOVRA_TRACE(to.debugHandler(), 8, Stream::childName, Stream::handleMember, statementOf<Stream>,
                "k: {}", printed(memberKey));
    intfVersionSeen_ = Stream::members(*en_).stamp();
    Stream::event(to, key(), memberKey,
                  member ? typename Stream::Value(member->value()) : typename Stream::Value());
}

template <class Stream> void InputChildSm<Stream>::handleKeyHeld(MemberKey memberKey) {
    handleHeld(*this, memberKey);
}

template <class Stream> void InputChildSm<Stream>::handleKeyReactor(MemberKey memberKey) {
    if (Root const *const to = root()) {
        Stream::prefetch(*to, key(), memberKey);
    }
    handleInReactor(*this, parent_, memberKey);
}

template <class Stream>
void InputChildSm<Stream>::enDispatch(Nuvio::Publisher * /*publisher*/,
                                      Nuvio::Subscriber *subscriber, short attributeId,
                                      void const *memberKey, void const * /*reserved*/) noexcept {
    if (attributeId == Stream::childAttribute) {
        react<InputChildSm, MemberKey>(*subscriber, memberKey);
    }
}

template <class Stream> void InputChildSm<Stream>::doDeleteAll() {
    if (!root()) {
        return;
    }
    Qor::Ptr<Root> const rootHold(root());
    Qor::Ptr<InputChildSm> const hold(this);
    CHILD_TRACE(9, "doDeleteAll", "");
    if (!en_) {
        return;
    }
    auto const &members = Stream::members(*en_);
    NUVIO_ASSERT(members.stamp() == intfVersionSeen_,
                 "We missed notifications that happened to {} before the enclosing entity got "
                 "deleted",
                 Stream::memberCollection);
    for (Iterator member = members.iterator(); member && root(); member.advance()) {
        Stream::event(*root(), key(), member.key(), {});
    }
}

// Parent: construction, settings taken from the root, switching.

template <class Stream>
InputParentSm<Stream>::InputParentSm(Qor::Ptr<En const> const &input, Root *rootSm)
    : en_(input), enSubscriber_(enDispatch, this), parent_(rootSm), scanTask_(taskDispatch, this) {
    QorNuvio::SubscriberScopeGuard const enGuard(enSubscriber_);
    QorNuvio::SubscriberScopeGuard const taskGuard(scanTask_.subscriber());
    QorNuvio::subscriptionIs(true, enSubscriber_, en_);
    handleInitialized();
}

template <class Stream> InputParentSm<Stream>::~InputParentSm() {
    InputParentSm::qorDoZombieReactors(true);
    QorNuvio::subscriptionIs(false, enSubscriber_, en_);
    childSmDelAll();
    taskDel();
}

template <class Stream>
Nuvio::Ptr<Nuvio::Platform::DebugHandler> InputParentSm<Stream>::traceHandle() const noexcept {
    return root() ? root()->debugHandler() : nullptr;
}

template <class Stream> bool InputParentSm<Stream>::initialScanDone() const noexcept {
    return root() && root()->initialScanDone();
}

template <class Stream> bool InputParentSm<Stream>::synchronous() const noexcept {
    return root() && root()->synchronous();
}

template <class Stream> bool InputParentSm<Stream>::shouldYield() const noexcept {
    return task() && !inReactor() && task()->taskShouldYield();
}

template <class Stream> void InputParentSm<Stream>::hasNotificationActiveIs(bool active) noexcept {
    if (hasNotificationActive() == active) {
        return;
    }
    InputStateMachine::hasNotificationActiveIs(active);
    QorNuvio::subscriptionIs(active, enSubscriber_, en_);
    for (auto child = childSm_.iterator(); child; child.advance()) {
        child.node()->value()->hasNotificationActiveIs(active);
    }
    scanTask_.notificationActiveIs(active);
}

template <class Stream> void InputParentSm<Stream>::qorDoZombieReactors(bool marked) noexcept {
    if (qorMarkedForDeletion() != marked) {
        InputStateMachine::qorDoZombieReactors(marked);
        qorMarkedForDeletionIs(marked);
    }
}

// Parent: task.

template <class Stream> void InputParentSm<Stream>::doInitializeTask() {
    if (root() && !synchronous()) {
        taskIs(root()->scheduler(), root()->priority(), Stream::taskName);
    }
}

template <class Stream>
Qor::Ptr<Osk::Task> InputParentSm<Stream>::taskIs(Qor::Ptr<Osk::TaskScheduler> const &scheduler,
                                                  Osk::TaskPriority priority,
                                                  Nuvio::String const &name) {
    bool const isNew = scanTask_.taskIs(scheduler, priority, name);
    Qor::Ptr<Osk::Task> installed = task();
    if (isNew) {
        doInputScan();
    }
    return installed;
}

template <class Stream>
void InputParentSm<Stream>::taskDispatch(Nuvio::Publisher * /*publisher*/,
                                         Nuvio::Subscriber *subscriber, short attributeId,
                                         void const * /*key*/, void const * /*reserved*/) noexcept {
    auto &self = *static_cast<InputParentSm *>(subscriber->owner());
    if (attributeId == Osk::Task::runAttribute && reacts(self)) {
        self.doInputScan();
    }
}

// Parent: scan.

template <class Stream> void InputParentSm<Stream>::doInputScan() {
    if (!initialized() || !root()) {
        return;
    }
    Qor::Ptr<Root> const rootHold(root());
    Qor::Ptr<InputParentSm> const hold(this);
    PARENT_TRACE(9, "doInputScan", "{}", "");
    bool const resumed = scanState() == Quam::Gen::ScanState::interrupted;
    PARENT_TRACE(9, "doInputScan", " scan complete: {} resumed: {} scan: {}", inputScanComplete(),
                 resumed, Stream::scanFlag(*root()->inputSmScanState()));
    if (inputScanComplete()) {
        return;
    }
    NUVIO_ASSERT(en() &&
                 "Sm args can only be null if marked as Optional in the SM type declaration");
    auto const &elements = Stream::elements(*en_);
    Iterator element = resumed ? elements.iteratorFrom(inputScanBookmark_) : elements.iterator();
    if (scanSlice(element)) {
        completed();
    }
}

template <class Stream> bool InputParentSm<Stream>::scanSlice(Iterator &element) {
    FlagScope const scanning(scanning_);
    std::uint32_t iterations = 0;
    while (element) {
        handleKey(element.key());
        if (auto const child = childSm(element.key())) {
            child->doInputScan();
            // A child that was removed in its scan has nothing left to do.
            if (child->root() && !child->inputScanComplete()) {
                return !interrupted(element, iterations, true);
            }
        }
        if (!root()) {
            return false; // removed by who heard of an event
        }
        ++iterations;
        if (shouldYield()) {
            return !interrupted(element, iterations, false);
        }
        element.advance();
    }
    return true;
}

/// Keep the place and ask for another slice; false when no element is left. An element whose child
/// is incomplete is the place itself, a finished one is stepped past.
template <class Stream>
bool InputParentSm<Stream>::interrupted(Iterator &element, std::uint32_t iterations,
                                        bool childIncomplete) {
    std::uint32_t const remaining = Stream::elements(*en_).size();
    PARENT_TRACE(8, "doInputScan", "{} {} yielding after {} iterations ({} remaining)", "",
                 childIncomplete ? "child" : "", iterations, remaining);
    if (!childIncomplete) {
        element.advance();
        if (!element) {
            return false;
        }
    }
    scanStateIs(Quam::Gen::ScanState::interrupted);
    inputScanBookmark_ = element.key();
    task()->taskWorkCountInc(iterations);
    task()->taskWorkPendingIs(remaining);
    task()->scheduleTask();
    return true;
}

template <class Stream> void InputParentSm<Stream>::completed() {
    bool const initial = !initialScanDone();
    if (initial) {
        scanStateIs(Quam::Gen::ScanState::completeInitially);
    } else {
        scanStateIs(Quam::Gen::ScanState::complete);
        taskDel();
    }
    // The root reacts inside: this may be the last stone of its readiness.
    Stream::scanFlagIs(*root()->inputSmScanState(), true);
    if (root()) {
        PARENT_TRACE(9, "doInputScan", "{} scan, and parent scan, complete.",
                     initial ? Stream::parentNameInitial : Stream::parentName);
    }
}

// Parent: elements and their children.

template <class Stream> void InputParentSm<Stream>::handleKey(Key key) {
    if (!initialized() || !root()) {
        return;
    }
    PARENT_TRACE(8, Stream::handleElement, "k: {}", printed(key));
    auto const *const node = Stream::elements(*en_).lookupNodeG(key);
    auto const child = childSm(key);
    if (!node) {
        if (child) {
            child->doDeleteAll();
            child->parentIs(nullptr);
        }
        childSmDel(key);
    } else if (root()->initialScanDone() && child && !child->inputScanComplete()) {
        child->doInputScan();
    } else {
        childSmIs(node->value(), this);
    }
}

template <class Stream> void InputParentSm<Stream>::handleKeyHeld(Key key) {
    handleHeld(*this, key);
}

template <class Stream> void InputParentSm<Stream>::handleKeyReactor(Key key) {
    handleInReactor(*this, this, key);
}

template <class Stream>
void InputParentSm<Stream>::enDispatch(Nuvio::Publisher * /*publisher*/,
                                       Nuvio::Subscriber *subscriber, short attributeId,
                                       void const *key, void const * /*reserved*/) noexcept {
    if (attributeId == Stream::parentAttribute) {
        react<InputParentSm, Key>(*subscriber, key);
    }
}

template <class Stream>
Qor::Ptr<InputChildSm<Stream>> InputParentSm<Stream>::childSm(Key key) const noexcept {
    auto const *const node = childSm_.lookupNodeG(key);
    return node ? node->value() : nullptr;
}

template <class Stream>
Qor::Ptr<InputChildSm<Stream>>
InputParentSm<Stream>::childSmIs(Qor::Ptr<ChildEn const> const &element, InputParentSm *parentSm) {
    if (!element) {
        Qor::throwMutatorArgNullPointerException(fwkType().type(), childSmAttribute, "en");
    }
    auto child = childSm(Stream::keyOf(*element));
    if (!child) {
        child = Qor::make<Child>(element, parentSm);
        childSm_.newMemberG({child});
    } else if (child->en() == element) {
        child->parentIs(parentSm);
    } else {
        Qor::Impl::throwMutatorReinstantiating(child->fwkType().type(), childEnAttribute);
    }
    return child;
}

template <class Stream>
Qor::Ptr<InputChildSm<Stream>> InputParentSm<Stream>::childSmDel(Key key) noexcept {
    auto removed = childSm_.deleteMemberG(key);
    if (!removed) {
        return nullptr;
    }
    auto child = removed.take().value_;
    child->parentIs(nullptr);
    return child;
}

template <class Stream> void InputParentSm<Stream>::childSmDelAll() noexcept {
    for (auto child = childSm_.iterator(); child; child.advance()) {
        childSmDel(child.key());
    }
}

template <class Stream> void InputParentSm<Stream>::doDeleteAll() {
    if (!root()) {
        return;
    }
    Qor::Ptr<Root> const rootHold(root());
    Qor::Ptr<InputParentSm> const hold(this);
    PARENT_TRACE(9, "doDeleteAll", "");
    for (auto it = childSm_.iterator(); it; it.advance()) {
        Qor::Ptr<Child> const child = it.node()->value();
        child->doDeleteAll();
        child->parentIs(nullptr);
        childSmDel(it.key());
    }
}

template <class Stream>
void InputParentSm<Stream>::onChildEvent(Key key, typename Stream::MemberKey memberKey,
                                         typename Stream::Value const &value) {
    Stream::event(*root(), key, memberKey, value);
}

template class InputParentSm<VlanStream>;
template class InputChildSm<VlanStream>;
template class InputParentSm<LagStream>;
template class InputChildSm<LagStream>;

} // namespace VlanSubIntfConfigLib::DovraCode::ConfigSm
