// The input machines' parts: their children, their task, what they answer, and what is an error.
#include "VlanSubIntfConfigLib/InputSm.h"

#include "platform/Qor/Exceptions.h"
#include "tests/VlanSubIntfConfigLib/InputPairs.h"

#include <functional>

namespace VlanSubIntfConfigLib {
namespace {

using Quam::Gen::ScanState;
using testing::IsEmpty;

template <class Pair> class InputSmTest : public InputPairTest<Pair> {
  protected:
    template <class Exception> static std::string thrown(std::function<void()> const &act) {
        try {
            act();
        } catch (Exception const &exception) {
            return exception.what();
        }
        return "nothing was thrown";
    }
};
TYPED_TEST_SUITE(InputSmTest, BothPairs, PairNames);

// What they answer.

TYPED_TEST(InputSmTest, AParentAnswersWithTheRootsSettings) {
    this->startAsynchronous();
    auto const &parent = this->parent();
    EXPECT_EQ(parent->parent(), this->machine.get());
    EXPECT_EQ(parent->root(), this->machine.get());
    EXPECT_EQ(parent->en().get(), &this->input());
    EXPECT_EQ(parent->traceHandle(), this->machine->debugHandler());
    EXPECT_FALSE(parent->synchronous());
    EXPECT_TRUE(parent->initialScanDone());
    EXPECT_TRUE(parent->hasNotificationActive());
    EXPECT_TRUE(parent->initialized());
}

TYPED_TEST(InputSmTest, AChildAnswersWithItsParentsSettings) {
    this->fill(1, 1);
    this->startAsynchronous();
    auto const child = this->child(1);
    EXPECT_EQ(child->parent(), this->parent().get());
    EXPECT_EQ(child->root(), this->machine.get());
    EXPECT_EQ(child->en(), this->elementIs(1));
    EXPECT_EQ(child->key(), TypeParam::key(1));
    EXPECT_EQ(child->traceHandle(), this->machine->debugHandler());
    EXPECT_FALSE(child->synchronous());
    EXPECT_TRUE(child->initialScanDone());
    EXPECT_TRUE(child->hasNotificationActive());
    EXPECT_TRUE(child->shouldYield()) << "the parent's task is not running";
}

TYPED_TEST(InputSmTest, AChildUsesItsParentsReactorFlag) {
    this->fill(1, 1);
    this->startAsynchronous();
    this->child(1)->inReactorIs(true);
    EXPECT_TRUE(this->parent()->inReactor());
    EXPECT_FALSE(this->parent()->shouldYield());
    EXPECT_FALSE(this->child(1)->shouldYield());
    this->parent()->inReactorIs(false);
    EXPECT_FALSE(this->child(1)->inReactor());
}

TYPED_TEST(InputSmTest, BookmarksStartAtTheDefaultKey) {
    this->fill(1, 0);
    this->startSynchronous();
    using Key = decltype(TypeParam::key(1));
    EXPECT_EQ(this->parent()->inputScanBookmark(), Key());
    EXPECT_EQ(this->child(1)->inputScanBookmark(), Iftel::IntfId());
}

TYPED_TEST(InputSmTest, TheirTypesAreOfTheLibrarysModule) {
    this->fill(1, 0);
    this->startSynchronous();
    auto const parentType = this->parent()->fwkType();
    auto const childType = this->child(1)->fwkType();
    EXPECT_EQ(parentType.kind, TypeParam::parentType);
    EXPECT_EQ(childType.kind, TypeParam::childType);
    EXPECT_EQ(parentType.module, this->machine->fwkType().module);
    EXPECT_EQ(parentType.type().name(),
              fmt::format("VlanSubIntfConfigLib::DovraCode::ConfigSm::{}", TypeParam::parentName));
    EXPECT_EQ(childType.type().name(),
              fmt::format("VlanSubIntfConfigLib::DovraCode::ConfigSm::{}", TypeParam::childName));
}

TYPED_TEST(InputSmTest, AParentPassesAnEventOnUnchanged) {
    this->fill(1, 1);
    this->startReady();
    this->traceIs();
    this->parent()->onChildEvent(TypeParam::key(7), TypeParam::memberKey(3), {});
    EXPECT_THAT(this->events(), testing::ElementsAre(this->goneLine(7, 3)));
}

// Children.

TYPED_TEST(InputSmTest, ThereIsNoChildUnderAnUnknownKey) {
    this->fill(1, 0);
    this->startSynchronous();
    EXPECT_FALSE(this->child(2));
}

TYPED_TEST(InputSmTest, AChildIsMadeOncePerElement) {
    this->fill(1, 0);
    this->startSynchronous();
    auto const before = this->child(1);
    before->parentIs(nullptr);
    EXPECT_EQ(this->parent()->childSmIs(this->elementIs(1), this->parent().get()), before);
    EXPECT_EQ(before->parent(), this->parent().get());
}

TYPED_TEST(InputSmTest, ANullElementIsATypedError) {
    this->startSynchronous();
    EXPECT_EQ((TestFixture::template thrown<Qor::MutatorArgNullPointerException>(
                  [this] { this->parent()->childSmIs({}, this->parent().get()); })),
              fmt::format("VlanSubIntfConfigLib::DovraCode::ConfigSm::{} attribute 265: argument "
                          "en is null",
                          TypeParam::parentName));
    EXPECT_TRUE(this->parent()->childSm().empty());
}

TYPED_TEST(InputSmTest, AnotherElementUnderAChildsKeyIsATypedErrorThatLeavesTheChild) {
    this->fill(1, 1);
    this->startReady();
    auto const before = this->child(1);
    EXPECT_EQ((TestFixture::template thrown<Qor::MutatorReinstantiatingException>([this] {
                  this->parent()->childSmIs(TypeParam::newElement(1), this->parent().get());
              })),
              fmt::format("VlanSubIntfConfigLib::DovraCode::ConfigSm::{} attribute 258: an object "
                          "with another value exists under this key",
                          TypeParam::childName));
    EXPECT_EQ(this->child(1), before);
    EXPECT_EQ(before->en(), this->elementIs(1));
    EXPECT_EQ(before->parent(), this->parent().get());
    this->traceIs();
    this->memberIs(1, 2);
    EXPECT_EQ(this->events().size(), 1U) << "it still listens";
}

TYPED_TEST(InputSmTest, ADeletedChildIsHandedBackWithoutEvents) {
    this->fill(2, 1);
    this->startReady();
    auto const before = this->child(1);
    this->traceIs();
    EXPECT_EQ(this->parent()->childSmDel(TypeParam::key(1)), before);
    EXPECT_EQ(before->parent(), nullptr) << "it does nothing for whoever holds it on";
    EXPECT_FALSE(this->parent()->childSmDel(TypeParam::key(1)));
    EXPECT_THAT(this->traced(), IsEmpty());
    EXPECT_EQ(this->parent()->childSm().size(), 1U);
}

TYPED_TEST(InputSmTest, AllChildrenAreDeletedWithoutEvents) {
    this->fill(3, 1);
    this->startReady();
    this->traceIs();
    this->parent()->childSmDelAll();
    EXPECT_TRUE(this->parent()->childSm().empty());
    EXPECT_THAT(this->traced(), IsEmpty());
}

// The task.

TYPED_TEST(InputSmTest, TheTaskTakesNameSchedulerAndPriorityFromTheRoot) {
    this->control.priorityIs(Osk::TaskPriority::low);
    this->fill(2, 1);
    this->startAsynchronous();
    auto const &task = this->parent()->task();
    ASSERT_TRUE(task);
    EXPECT_EQ(task->taskName(), TypeParam::taskName);
    EXPECT_EQ(task->taskScheduler(), this->scheduler);
    EXPECT_EQ(task->taskPriority(), Osk::TaskPriority::low);
    EXPECT_TRUE(task->hasNotificationActive());
}

TYPED_TEST(InputSmTest, TheSameTaskOnlyGetsThePriority) {
    this->fill(3, 1);
    this->startAsynchronous();
    auto const before = this->parent()->task();
    this->traceIs();
    EXPECT_EQ(this->parent()->taskIs(this->scheduler, Osk::TaskPriority::high, TypeParam::taskName),
              before);
    EXPECT_EQ(this->parent()->task(), before);
    EXPECT_EQ(before->taskPriority(), Osk::TaskPriority::high);
    EXPECT_THAT(this->traced(), IsEmpty());
}

TYPED_TEST(InputSmTest, ATaskOfAnotherNameReplacesTheOldOneAndScansASliceAtOnce) {
    this->fill(3, 0);
    this->startAsynchronous();
    auto const before = this->parent()->task();
    auto const order = this->order();
    this->traceIs(TestSupport::levels(8, 8));
    auto const made = this->parent()->taskIs(this->scheduler, Osk::TaskPriority::low, "another");
    EXPECT_NE(made, before);
    EXPECT_EQ(this->parent()->task(), made);
    EXPECT_EQ(made->taskName(), "another");
    EXPECT_TRUE(made->hasNotificationActive());
    EXPECT_EQ(before->taskPriority(), Osk::TaskPriority::low) << "set in any case";
    EXPECT_FALSE(before->publisher().hasSubscribers());
    EXPECT_EQ(
        this->pairTraced(),
        (typename TestFixture::Lines{
            this->handleElementLine(order[1]),
            this->parentLine(8, "doInputScan", "  yielding after 1 iterations (3 remaining)")}));
    this->run();
    EXPECT_TRUE(this->machine->ready());
}

TYPED_TEST(InputSmTest, ATaskOfAnotherSchedulerReplacesTheOldOne) {
    this->fill(3, 0);
    this->startAsynchronous();
    auto const other = Osk::TaskScheduler::TaskSchedulerIs();
    this->parent()->taskIs(other, Osk::TaskPriority::normal, TypeParam::taskName);
    EXPECT_EQ(this->parent()->task()->taskScheduler(), other);
    EXPECT_TRUE(other->hasWork());
    this->run();
    EXPECT_FALSE(this->machine->initialScanDone());
    other->runUntilIdle();
    EXPECT_TRUE(this->machine->initialScanDone());
    this->run();
    other->runUntilIdle();
    this->run();
    EXPECT_TRUE(this->machine->ready());
}

TYPED_TEST(InputSmTest, ATaskThatIsInstalledOnACompleteMachineScansNothing) {
    this->fill(1, 1);
    this->startReady();
    this->traceIs(TestSupport::levels(7, 8));
    auto const task = this->parent()->taskIs(this->scheduler, Osk::TaskPriority::normal, "late");
    EXPECT_EQ(this->parent()->task(), task);
    EXPECT_THAT(this->traced(), IsEmpty());
    EXPECT_FALSE(task->taskQueued());
}

TYPED_TEST(InputSmTest, ADeletedTaskIsUnhookedAndHandedBack) {
    this->fill(3, 0);
    this->startAsynchronous();
    auto const before = this->parent()->task();
    EXPECT_EQ(this->parent()->taskDel(), before);
    EXPECT_FALSE(this->parent()->task());
    EXPECT_FALSE(before->publisher().hasSubscribers());
    EXPECT_FALSE(this->parent()->taskDel());
}

// Marking and errors.

TYPED_TEST(InputSmTest, TheDeletionMarkIsSetAndCleared) {
    this->fill(1, 0);
    this->startSynchronous();
    Qor::Ptr<typename TypeParam::Parent> const parent = this->parent();
    auto const child = this->child(1);
    parent->qorDoZombieReactors(true);
    child->qorDoZombieReactors(true);
    EXPECT_TRUE(parent->qorMarkedForDeletion());
    EXPECT_TRUE(child->qorMarkedForDeletion());
    parent->qorDoZombieReactors(false);
    child->qorDoZombieReactors(false);
    EXPECT_FALSE(parent->qorMarkedForDeletion());
    EXPECT_FALSE(child->qorMarkedForDeletion());
}

TYPED_TEST(InputSmTest, AScanWithoutAnInputIsAnAssertion) {
    this->startReady();
    EXPECT_DEATH(
        (void)TypeParam::newParent({}, this->machine.get()),
        "doInputScan\\(\\).*Assertion `en\\(\\) && \"Sm args can only be null if marked as "
        "Optional in the SM type declaration\"' failed");
}

TYPED_TEST(InputSmTest, AChildWithoutAnElementHasTheDefaultKeyAndCannotScan) {
    this->startReady();
    using Key = decltype(TypeParam::key(1));
    auto const newChild = [this] {
        return Qor::make<typename TypeParam::Child>(nullptr, this->parent().get());
    };
    EXPECT_DEATH((void)newChild(), "en\\(\\) && \"Sm args can only be null if marked as Optional");
    // Without a parent nothing scans it.
    auto const lone = Qor::make<typename TypeParam::Child>(nullptr, nullptr);
    EXPECT_EQ(lone->key(), Key());
    EXPECT_EQ(lone->scanState(), ScanState::notScanned);
}

TYPED_TEST(InputSmTest, AChildWithoutAParentHandlesNothing) {
    this->fill(1, 1);
    this->startReady();
    auto const lone = Qor::make<typename TypeParam::Child>(this->elementIs(1), nullptr);
    this->traceIs();
    lone->handleKey(TypeParam::memberKey(1));
    lone->handleKeyHeld(TypeParam::memberKey(1));
    lone->handleKeyReactor(TypeParam::memberKey(1));
    lone->doInputScan();
    lone->doDeleteAll();
    EXPECT_THAT(this->traced(), IsEmpty());
}

TYPED_TEST(InputSmTest, AChildWithoutAnElementHasNothingToWithdraw) {
    this->startReady();
    auto const lone = Qor::make<typename TypeParam::Child>(nullptr, nullptr);
    lone->parentIs(this->parent().get());
    this->traceIs();
    lone->doDeleteAll();
    EXPECT_EQ(this->pairTraced(),
              (typename TestFixture::Lines{this->childLine(9, "doDeleteAll", "")}));
}

TYPED_TEST(InputSmTest, AParentWithoutARootNeitherScansNorListens) {
    this->fill(1, 1);
    this->startReady();
    auto const lone = TypeParam::newParent(this->parent()->en(), nullptr);
    EXPECT_TRUE(lone->initialized());
    EXPECT_FALSE(lone->initialScanDone());
    EXPECT_FALSE(lone->synchronous());
    EXPECT_EQ(lone->task(), nullptr);
    EXPECT_EQ(lone->traceHandle(), nullptr);
    this->elementIs(2);
    lone->doInputScan();
    lone->doDeleteAll();
    EXPECT_FALSE(lone->childSm(TypeParam::key(1)));
    EXPECT_FALSE(lone->childSm(TypeParam::key(2)));
    EXPECT_EQ(lone->scanState(), ScanState::notScanned);
}

} // namespace
} // namespace VlanSubIntfConfigLib
