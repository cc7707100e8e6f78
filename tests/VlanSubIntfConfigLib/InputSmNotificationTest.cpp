// What the input machines do with change notices of what is there or comes.
#include "tests/VlanSubIntfConfigLib/InputPairs.h"
#include "tests/support/Observer.h"

#include <initializer_list>

namespace VlanSubIntfConfigLib {
namespace {

using Quam::Gen::ScanState;
using testing::ElementsAre;
using testing::IsEmpty;

template <class Pair> class InputNotificationTest : public InputPairTest<Pair> {};
TYPED_TEST_SUITE(InputNotificationTest, BothPairs, PairNames);

// Members.

TYPED_TEST(InputNotificationTest, ANewMemberIsOneEvent) {
    this->fill(1, 1);
    this->startReady();
    this->traceIs();
    this->memberIs(1, 2);
    auto const lines = this->traced();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[0], this->handleMemberLine(2));
    EXPECT_EQ(lines[1], this->presentLine(1, 2));
    EXPECT_EQ(this->child(1)->intfVersionSeen(), this->stamp(1));
}

TYPED_TEST(InputNotificationTest, ARemovedMemberIsAnEventWithoutValue) {
    this->fill(1, 2);
    this->startReady();
    this->traceIs();
    this->memberGone(1, 2);
    auto const lines = this->traced();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[0], this->handleMemberLine(2));
    EXPECT_EQ(lines[1], this->goneLine(1, 2));
    EXPECT_EQ(this->child(1)->intfVersionSeen(), this->stamp(1));
}

TYPED_TEST(InputNotificationTest, AMemberOfAnElementThatIsNotYetScannedIsHandledAtOnce) {
    this->fill(2, 2);
    this->startAsynchronous();
    int const first = this->order()[0];
    auto const bookmark = this->child(first)->inputScanBookmark();
    this->traceIs();
    this->memberIs(first, 3);
    EXPECT_THAT(this->traced(), ElementsAre(this->handleMemberLine(3)))
        << "the pipelines ignore it before the initial scan is done";
    EXPECT_EQ(this->child(first)->inputScanBookmark(), bookmark);
    EXPECT_EQ(this->child(first)->scanState(), ScanState::interrupted);
    EXPECT_EQ(this->child(first)->intfVersionSeen(), this->stamp(first));
}

TYPED_TEST(InputNotificationTest, OtherAttributesAreIgnored) {
    this->fill(1, 1);
    this->startReady();
    this->traceIs();
    auto const key = TypeParam::key(1);
    auto const memberKey = TypeParam::memberKey(1);
    for (short const attribute : std::initializer_list<short>{130, 133, 257, 259, 261, 263}) {
        this->input().publisher().publishChange(attribute, &key);
        this->elementIs(1)->publisher().publishChange(attribute, &memberKey);
    }
    EXPECT_THAT(this->traced(), IsEmpty());
}

TYPED_TEST(InputNotificationTest, AMarkedChildIgnoresItsNotices) {
    this->fill(1, 1);
    this->startReady();
    this->child(1)->qorDoZombieReactors(true);
    EXPECT_TRUE(this->child(1)->qorMarkedForDeletion());
    this->traceIs();
    this->memberIs(1, 2);
    EXPECT_THAT(this->traced(), IsEmpty());
}

TYPED_TEST(InputNotificationTest, AMarkedParentIgnoresItsNotices) {
    this->fill(1, 1);
    this->startReady();
    this->parent()->qorDoZombieReactors(true);
    this->traceIs();
    this->elementIs(2);
    EXPECT_THAT(this->traced(), IsEmpty());
    EXPECT_FALSE(this->child(2));
}

TYPED_TEST(InputNotificationTest, AMarkedParentIgnoresItsTasksRuns) {
    this->fill(2, 0);
    this->startAsynchronous();
    this->parent()->qorDoZombieReactors(true);
    this->traceIs();
    this->parent()->task()->publisher().publishChange(131);
    EXPECT_THAT(this->pairTraced(), IsEmpty());
    EXPECT_EQ(this->parent()->scanState(), ScanState::interrupted);
}

TYPED_TEST(InputNotificationTest, OnlyTheTasksRunScans) {
    this->fill(2, 0);
    this->startAsynchronous();
    this->traceIs();
    this->parent()->task()->publisher().publishChange(130);
    EXPECT_THAT(this->pairTraced(), IsEmpty());
}

// New elements.

TYPED_TEST(InputNotificationTest, BeforeTheInitialScanANoticeOnlyMakesTheChild) {
    this->fill(3, 1);
    this->startAsynchronous();
    this->traceIs();
    this->insertFilled(4, 2);
    EXPECT_THAT(this->traced(), ElementsAre(this->handleElementLine(4)));
    ASSERT_TRUE(this->child(4));
    EXPECT_EQ(this->child(4)->scanState(), ScanState::notScanned);
    EXPECT_EQ(this->child(4)->intfVersionSeen(), 0U);
    this->run();
    EXPECT_EQ(this->child(4)->scanState(), ScanState::complete);
    EXPECT_EQ(this->child(4)->intfVersionSeen(), this->stamp(4));
}

TYPED_TEST(InputNotificationTest, AfterTheInitialScanAFilledElementIsScannedInsideItsNotice) {
    this->startReady();
    this->traceIs();
    this->insertFilled(1, 2);
    auto const members = this->order(1);
    EXPECT_EQ(
        this->pairTraced(),
        (typename TestFixture::Lines{
            this->handleElementLine(1), this->childLine(9, "doInputScan", "{}", this->text(1)),
            this->handleMemberLine(members[0]), this->handleMemberLine(members[1]),
            this->childLine(9, "doInputScan", "{} scan complete. Processed 2 children. ",
                            TypeParam::childName)}));
    EXPECT_EQ(this->child(1)->scanState(), ScanState::complete);
}

TYPED_TEST(InputNotificationTest, ASynchronousMachineScansANewElementInsideItsNotice) {
    this->startSynchronous();
    this->traceIs();
    this->insertFilled(1, 1);
    EXPECT_THAT(this->events(), ElementsAre(this->presentLine(1, 1)));
}

TYPED_TEST(InputNotificationTest, AnElementOfTheSecondScanIsScannedInsideItsNotice) {
    this->fill(4, 1);
    this->countShareIs(1);
    this->startAsynchronous();
    while (!this->machine->initialScanDone() && this->scheduler->runOne()) {
    }
    ASSERT_FALSE(this->machine->ready());
    this->traceIs();
    this->insertFilled(5, 2);
    auto const members = this->order(5);
    EXPECT_THAT(this->events(),
                ElementsAre(this->presentLine(5, members[0]), this->presentLine(5, members[1])));
    this->run();
    EXPECT_THAT(this->events(), testing::Not(testing::Contains(this->presentLine(5, 1))))
        << "a complete child is not scanned again";
}

TYPED_TEST(InputNotificationTest, ANoticeForACompleteChildRescansNothing) {
    this->fill(1, 2);
    this->startReady();
    auto const before = this->child(1);
    this->traceIs();
    this->repeatNotice(1);
    EXPECT_THAT(this->traced(), ElementsAre(this->handleElementLine(1)));
    EXPECT_EQ(this->child(1), before);
}

TYPED_TEST(InputNotificationTest, ANoticeCompletesAChildThatIsMidScanWithoutYielding) {
    this->fill(1, 5);
    this->countShareIs(1);
    this->startAsynchronous();
    // Up to the middle of the second scan of the child.
    while (!(this->machine->initialScanDone() &&
             this->child(1)->scanState() == ScanState::interrupted) &&
           this->scheduler->runOne()) {
    }
    ASSERT_EQ(this->child(1)->scanState(), ScanState::interrupted);
    auto const members = this->order(1);
    auto const bookmark = this->child(1)->inputScanBookmark();
    this->traceIs();
    this->repeatNotice(1);
    typename TestFixture::Lines expected;
    bool reached = false;
    for (int const member : members) {
        reached = reached || TypeParam::memberKey(member) == bookmark;
        if (reached) {
            expected.push_back(this->presentLine(1, member));
        }
    }
    ASSERT_GE(expected.size(), 2U);
    auto const lines = this->traced();
    for (std::string const &line : lines) {
        EXPECT_EQ(line.find("yielding"), std::string::npos) << line;
    }
    EXPECT_EQ(lines[0], this->handleElementLine(1));
    for (std::string const &event : expected) {
        EXPECT_THAT(lines, testing::Contains(event));
    }
    EXPECT_EQ(this->child(1)->scanState(), ScanState::complete);
    EXPECT_FALSE(this->parent()->inReactor());
}

TYPED_TEST(InputNotificationTest, TheReactorFlagStandsDuringANoticeOnly) {
    this->startReady();
    bool inReactor = false;
    bool childsAnswer = false;
    TestSupport::Observer<> observer(*this->dir);
    observer.reactionIs([&](auto const & /*notice*/) {
        inReactor = this->machine->vlanConfigSm0()->inReactor();
        childsAnswer = this->machine->vlanConfigSm0()->childSm(Bridging::VlanId(9))->inReactor();
    });
    this->member(9, "Ethernet1.9");
    EXPECT_TRUE(inReactor);
    EXPECT_TRUE(childsAnswer);
    EXPECT_FALSE(this->machine->vlanConfigSm0()->inReactor());
}

// Switching notices off and on.

TYPED_TEST(InputNotificationTest, WhatIsMissedWhileNoticesAreOffStaysMissed) {
    this->fill(1, 1);
    this->startReady();
    this->traceIs();
    this->machine->hasNotificationActiveIs(false);
    this->memberIs(1, 2);
    this->elementIs(2);
    EXPECT_THAT(this->traced(), IsEmpty());
    EXPECT_FALSE(this->child(1)->hasNotificationActive());
    this->machine->hasNotificationActiveIs(true);
    EXPECT_TRUE(this->child(1)->hasNotificationActive());
    EXPECT_THAT(this->traced(), IsEmpty());
    EXPECT_FALSE(this->child(2));
    this->memberIs(1, 3);
    EXPECT_THAT(this->events(), ElementsAre(this->presentLine(1, 3)));
}

TYPED_TEST(InputNotificationTest, ARequestedSliceWaitsWhileNoticesAreOff) {
    this->fill(2, 0);
    this->startAsynchronous();
    this->parent()->hasNotificationActiveIs(false);
    ASSERT_TRUE(this->parent()->task()->taskQueued());
    this->run();
    EXPECT_EQ(this->parent()->scanState(), ScanState::interrupted);
    EXPECT_TRUE(this->parent()->task()->taskQueued());
    this->parent()->hasNotificationActiveIs(true);
    this->run();
    EXPECT_TRUE(this->machine->ready());
}

TYPED_TEST(InputNotificationTest, SwitchingToWhatIsSetAlreadyDoesNothing) {
    this->fill(1, 0);
    this->startReady();
    this->child(1)->hasNotificationActiveIs(false);
    this->parent()->hasNotificationActiveIs(true); // unchanged: not passed on
    EXPECT_FALSE(this->child(1)->hasNotificationActive());
    this->parent()->hasNotificationActiveIs(false);
    this->child(1)->hasNotificationActiveIs(true);
    this->parent()->hasNotificationActiveIs(false);
    EXPECT_TRUE(this->child(1)->hasNotificationActive());
}

} // namespace
} // namespace VlanSubIntfConfigLib
