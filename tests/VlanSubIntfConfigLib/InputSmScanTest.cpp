// The scans of both input pairs: their slices, and what each of them says and leaves behind.
#include "tests/VlanSubIntfConfigLib/InputPairs.h"
#include "tests/support/Observer.h"

namespace VlanSubIntfConfigLib {
namespace {

using Quam::Gen::ScanState;
using testing::ElementsAre;
using testing::IsEmpty;

template <class Pair> class InputScanTest : public InputPairTest<Pair> {
  protected:
    std::string scanLine(bool resumed) {
        return this->parentLine(9, "doInputScan", " scan complete: false resumed: {} scan: false",
                                resumed);
    }
    std::string childScanLine(int element) {
        return this->childLine(9, "doInputScan", "{}", this->text(element));
    }
    std::string childYieldLine(int element, int remaining) {
        return this->childLine(8, "doInputScan", "{}  yielding after 1 iterations ({} remaining)",
                               this->text(element), remaining);
    }
    std::string childDoneLine(int children, bool initial) {
        return this->childLine(9, "doInputScan", "{}{} scan complete. Processed {} children. ",
                               Pair::childName, initial ? " initial" : "", children);
    }
    std::string doneLine(bool initial) {
        return this->parentLine(9, "doInputScan", "{}{} scan, and parent scan, complete.",
                                Pair::parentName, initial ? " initial" : "");
    }
};
TYPED_TEST_SUITE(InputScanTest, BothPairs, PairNames);

// The first scan.

TYPED_TEST(InputScanTest, AnEmptyInputCompletesInTheFirstSlice) {
    this->traceIs();
    this->startAsynchronous();
    auto const lines = this->pairTraced();
    EXPECT_EQ(lines, (typename TestFixture::Lines{this->parentLine(9, "doInputScan", ""),
                                                  this->scanLine(false), this->doneLine(true)}));
    EXPECT_EQ(this->parent()->scanState(), ScanState::completeInitially);
    EXPECT_TRUE(this->parent()->childSm().empty());
    EXPECT_EQ(this->parent()->task()->statistics().items, 0U);
}

TYPED_TEST(InputScanTest, TheFirstSliceIsOneMember) {
    this->fill(2, 2);
    int const first = this->order()[0];
    this->traceIs();
    this->startAsynchronous();
    EXPECT_EQ(this->pairTraced(),
              (typename TestFixture::Lines{
                  this->parentLine(9, "doInputScan", ""), this->scanLine(false),
                  this->handleElementLine(first), this->childScanLine(first),
                  this->handleMemberLine(this->order(first)[0]), this->childYieldLine(first, 2),
                  this->parentLine(8, "doInputScan",
                                   " child yielding after 0 iterations (2 remaining)")}));
}

TYPED_TEST(InputScanTest, AnIncompleteChildKeepsTheParentOnItsElementUncounted) {
    this->fill(2, 2);
    int const first = this->order()[0];
    this->startAsynchronous();
    EXPECT_EQ(this->parent()->scanState(), ScanState::interrupted);
    EXPECT_EQ(this->parent()->inputScanBookmark(), TypeParam::key(first));
    EXPECT_FALSE(this->parent()->inputScanComplete());
    EXPECT_EQ(this->child(first)->scanState(), ScanState::interrupted);
    EXPECT_EQ(this->child(first)->inputScanBookmark(), TypeParam::memberKey(this->order(first)[1]));
    EXPECT_EQ(this->child(first)->intfVersionSeen(), this->stamp(first));
    EXPECT_EQ(this->parent()->childSm().size(), 1U);
    auto const &task = this->parent()->task();
    EXPECT_EQ(task->statistics().items, 0U);
    EXPECT_EQ(task->taskWorkPending(), 2U);
    EXPECT_TRUE(task->taskQueued());
    EXPECT_FALSE(this->scanFlag());
}

TYPED_TEST(InputScanTest, TheNextSliceGoesOnWithTheSameChildAtItsBookmark) {
    this->fill(2, 2);
    auto const order = this->order();
    this->startAsynchronous();
    this->countShareIs(1);
    this->traceIs();
    ASSERT_TRUE(this->scheduler->runOne());
    EXPECT_EQ(
        this->pairTraced(),
        (typename TestFixture::Lines{
            this->parentLine(9, "doInputScan", ""), this->scanLine(true),
            this->handleElementLine(order[0]), this->childScanLine(order[0]),
            this->handleMemberLine(this->order(order[0])[1]), this->childYieldLine(order[0], 2),
            this->childDoneLine(1, true),
            this->parentLine(8, "doInputScan", "  yielding after 1 iterations (2 remaining)")}));
    EXPECT_EQ(this->child(order[0])->scanState(), ScanState::completeInitially);
}

TYPED_TEST(InputScanTest, AFinishedElementIsSteppedPastBeforeThePlaceIsKept) {
    this->fill(2, 2);
    auto const order = this->order();
    this->startAsynchronous();
    this->countShareIs(1);
    this->scheduler->runOne();
    EXPECT_EQ(this->parent()->scanState(), ScanState::interrupted);
    EXPECT_EQ(this->parent()->inputScanBookmark(), TypeParam::key(order[1]));
    EXPECT_EQ(this->parent()->task()->statistics().items, 1U);
    EXPECT_EQ(this->parent()->task()->taskWorkPending(), 2U);
    EXPECT_FALSE(this->child(order[1]));
}

TYPED_TEST(InputScanTest, AYieldAfterTheLastElementCompletesInTheSameSlice) {
    this->fill(1, 1);
    this->traceIs();
    this->startAsynchronous();
    EXPECT_EQ(this->pairTraced(),
              (typename TestFixture::Lines{
                  this->parentLine(9, "doInputScan", ""), this->scanLine(false),
                  this->handleElementLine(1), this->childScanLine(1), this->handleMemberLine(1),
                  this->childYieldLine(1, 1), this->childDoneLine(1, true),
                  this->parentLine(8, "doInputScan", "  yielding after 1 iterations (1 remaining)"),
                  this->doneLine(true)}));
    EXPECT_EQ(this->parent()->scanState(), ScanState::completeInitially);
    EXPECT_EQ(this->parent()->task()->statistics().items, 0U) << "only interrupted slices report";
}

TYPED_TEST(InputScanTest, ElementsOfOneSliceAreCountedTogether) {
    this->fill(5, 0);
    auto const order = this->order();
    this->startAsynchronous();
    EXPECT_EQ(this->parent()->task()->statistics().items, 1U);
    this->countShareIs(3);
    this->traceIs(TestSupport::levels(8, 8));
    this->scheduler->runOne();
    EXPECT_EQ(
        this->pairTraced(),
        (typename TestFixture::Lines{
            this->handleElementLine(order[1]), this->handleElementLine(order[2]),
            this->handleElementLine(order[3]),
            this->parentLine(8, "doInputScan", "  yielding after 3 iterations (5 remaining)")}));
    EXPECT_EQ(this->parent()->inputScanBookmark(), TypeParam::key(order[4]));
    EXPECT_EQ(this->parent()->task()->statistics().items, 4U);
    EXPECT_EQ(this->parent()->task()->taskWorkPending(), 5U);
}

TYPED_TEST(InputScanTest, AnElementWithoutMembersCompletesAtOnceWithoutAnEvent) {
    this->fill(1, 0);
    this->traceIs();
    this->startAsynchronous();
    EXPECT_EQ(this->pairTraced(),
              (typename TestFixture::Lines{
                  this->parentLine(9, "doInputScan", ""), this->scanLine(false),
                  this->handleElementLine(1), this->childScanLine(1), this->childDoneLine(0, true),
                  this->parentLine(8, "doInputScan", "  yielding after 1 iterations (1 remaining)"),
                  this->doneLine(true)}));
    this->run();
    EXPECT_THAT(this->events(), IsEmpty());
}

TYPED_TEST(InputScanTest, TheFirstScanEmitsNoEvent) {
    this->fill(3, 2);
    this->traceIs();
    this->startAsynchronous();
    this->countShareIs(1);
    while (!this->machine->initialScanDone() && this->scheduler->runOne()) {
    }
    EXPECT_THAT(this->events(), IsEmpty());
    EXPECT_TRUE(this->machine->initialScanDone());
}

TYPED_TEST(InputScanTest, ACompleteFirstScanKeepsTheTaskAndCountsAsIncompleteAfterwards) {
    this->fill(1, 1);
    this->startAsynchronous(); // both first scans complete inside
    ASSERT_TRUE(this->machine->initialScanDone());
    EXPECT_TRUE(this->parent()->task());
    EXPECT_EQ(this->parent()->scanState(), ScanState::completeInitially);
    EXPECT_FALSE(this->parent()->inputScanComplete());
    EXPECT_FALSE(this->child(1)->inputScanComplete());
}

// The second scan.

TYPED_TEST(InputScanTest, TheSecondScanEmitsEveryMember) {
    this->fill(1, 2);
    auto const members = this->order(1);
    this->startAsynchronous();
    this->scheduler->runOne();
    ASSERT_TRUE(this->machine->initialScanDone());
    this->traceIs();
    this->run();
    auto const lines = this->pairTraced();
    EXPECT_EQ(lines, (typename TestFixture::Lines{
                         this->parentLine(9, "doInputScan", ""), this->scanLine(false),
                         this->handleElementLine(1), this->childScanLine(1),
                         this->handleMemberLine(members[0]), this->handleMemberLine(members[1]),
                         this->childDoneLine(2, false),
                         this->childScanLine(1), // complete: nothing but its entry
                         this->doneLine(false)}));
}

TYPED_TEST(InputScanTest, EventsOfTheSecondScanComeInTheOrderOfTheCollections) {
    this->fill(3, 3);
    this->startAsynchronous();
    this->traceIs(TestSupport::levels(7, 7));
    this->countShareIs(1);
    this->run();
    typename TestFixture::Lines expected;
    for (int const element : this->order()) {
        for (int const member : this->order(element)) {
            expected.push_back(this->presentLine(element, member));
        }
    }
    EXPECT_EQ(this->events(), expected);
}

TYPED_TEST(InputScanTest, TheSecondScanEndsCompleteWithoutATask) {
    this->fill(2, 1);
    this->startAsynchronous();
    this->run();
    EXPECT_EQ(this->parent()->scanState(), ScanState::complete);
    EXPECT_EQ(this->child(1)->scanState(), ScanState::complete);
    EXPECT_EQ(this->child(2)->scanState(), ScanState::complete);
    EXPECT_FALSE(this->parent()->task());
    EXPECT_TRUE(this->scanFlag());
    EXPECT_EQ(this->child(1)->intfVersionSeen(), this->stamp(1));
}

TYPED_TEST(InputScanTest, ACompleteMachineDoesNotScanAgain) {
    this->fill(2, 1);
    this->startAsynchronous();
    this->run();
    this->traceIs();
    this->parent()->doInputScan();
    EXPECT_THAT(this->traced(),
                ElementsAre(this->parentLine(9, "doInputScan", ""),
                            this->parentLine(9, "doInputScan",
                                             " scan complete: true resumed: false scan: true")));
}

TYPED_TEST(InputScanTest, WhateverTheShareEveryMemberIsEmittedOnce) {
    for (std::uint64_t const share : {1U, 2U, 3U, 4U, 7U}) {
        for (int element = 1; element <= 4; ++element) {
            this->elementDel(element);
        }
        this->fill(4, 3);
        this->countShareIs(share);
        this->startAsynchronous();
        this->traceIs(TestSupport::levels(7, 7));
        this->run();
        typename TestFixture::Lines expected;
        for (int const element : this->order()) {
            for (int const member : this->order(element)) {
                expected.push_back(this->presentLine(element, member));
            }
        }
        EXPECT_EQ(this->events(), expected) << "share " << share;
        EXPECT_TRUE(this->machine->ready());
        this->machine = nullptr;
    }
}

// Synchronous machines.

TYPED_TEST(InputScanTest, ASynchronousScanNeverYieldsAndHasNoTask) {
    this->fill(2, 2);
    this->traceIs();
    this->startSynchronous();
    for (std::string const &line : this->traced()) {
        EXPECT_EQ(line.find("yielding"), std::string::npos) << line;
    }
    EXPECT_FALSE(this->parent()->task());
    EXPECT_FALSE(this->parent()->shouldYield());
    EXPECT_TRUE(this->parent()->synchronous());
    EXPECT_TRUE(this->child(1)->synchronous());
    EXPECT_EQ(this->parent()->scanState(), ScanState::complete);
    EXPECT_TRUE(this->machine->ready());
}

// Changes between two slices.

TYPED_TEST(InputScanTest, AScanResumesBehindABookmarkedElementThatWasDeleted) {
    this->fill(4, 0);
    auto const order = this->order();
    this->startAsynchronous();
    ASSERT_EQ(this->parent()->inputScanBookmark(), TypeParam::key(order[1]));
    this->elementDel(order[1]);
    this->countShareIs(1);
    this->traceIs(TestSupport::levels(8, 8));
    this->scheduler->runOne();
    EXPECT_EQ(
        this->pairTraced(),
        (typename TestFixture::Lines{
            this->handleElementLine(order[2]),
            this->parentLine(8, "doInputScan", "  yielding after 1 iterations (3 remaining)")}));
    EXPECT_EQ(this->parent()->inputScanBookmark(), TypeParam::key(order[3]));
    EXPECT_EQ(this->parent()->task()->taskWorkPending(), 3U);
}

TYPED_TEST(InputScanTest, AScanWhoseLastElementWasDeletedCompletes) {
    this->fill(2, 0);
    int const last = this->order()[1];
    this->startAsynchronous();
    this->elementDel(last);
    this->traceIs();
    this->scheduler->runOne();
    EXPECT_EQ(this->pairTraced(),
              (typename TestFixture::Lines{this->parentLine(9, "doInputScan", ""),
                                           this->scanLine(true), this->doneLine(true)}));
}

TYPED_TEST(InputScanTest, AChildResumesBehindABookmarkedMemberThatWasDeleted) {
    this->fill(1, 3);
    auto const members = this->order(1);
    this->startAsynchronous();
    ASSERT_EQ(this->child(1)->inputScanBookmark(), TypeParam::memberKey(members[1]));
    this->memberGone(1, members[1]);
    this->countShareIs(1);
    this->traceIs(TestSupport::levels(8, 8));
    this->scheduler->runOne();
    EXPECT_EQ(
        this->pairTraced(),
        (typename TestFixture::Lines{
            this->handleElementLine(1), this->handleMemberLine(members[2]),
            this->childYieldLine(1, 2),
            this->parentLine(8, "doInputScan", "  yielding after 1 iterations (1 remaining)")}));
}

TYPED_TEST(InputScanTest, ABookmarkThatIsSetIsWhereTheScanGoesOn) {
    this->fill(4, 0);
    auto const order = this->order();
    this->startAsynchronous();
    this->parent()->inputScanBookmarkIs(TypeParam::key(order[3]));
    this->scheduler->runOne();
    EXPECT_EQ(this->parent()->scanState(), ScanState::completeInitially);
    EXPECT_FALSE(this->child(order[1])) << "passed over";
    EXPECT_TRUE(this->child(order[3]));
}

TYPED_TEST(InputScanTest, ABookmarkThatIsSetIsWhereTheChildsScanGoesOn) {
    this->fill(1, 4);
    auto const members = this->order(1);
    this->startAsynchronous();
    this->child(1)->inputScanBookmarkIs(TypeParam::memberKey(members[3]));
    this->traceIs(TestSupport::levels(8, 8));
    this->scheduler->runOne();
    EXPECT_EQ(this->pairTraced(),
              (typename TestFixture::Lines{this->handleElementLine(1),
                                           this->handleMemberLine(members[3])}));
}

TYPED_TEST(InputScanTest, AnElementThatIsDeletedWhileItsChildIsIncompleteIsSteppedPast) {
    this->fill(3, 2);
    auto const order = this->order();
    this->startAsynchronous();
    ASSERT_EQ(this->parent()->inputScanBookmark(), TypeParam::key(order[0]));
    this->elementDel(order[0]);
    EXPECT_FALSE(this->child(order[0]));
    this->run();
    EXPECT_TRUE(this->machine->ready());
    EXPECT_EQ(this->child(order[1])->scanState(), ScanState::complete);
    EXPECT_EQ(this->child(order[2])->scanState(), ScanState::complete);
}

TYPED_TEST(InputScanTest, MembersThatComeBetweenTwoSlicesAreInTheOutput) {
    this->fill(3, 2);
    this->countShareIs(1);
    this->startAsynchronous();
    this->traceIs(TestSupport::levels(7, 7));
    for (int slice = 1; this->scheduler->runOne(); ++slice) {
        if (slice <= 6) {
            this->memberIs(slice % 3 + 1, 3 + slice / 2);
        }
    }
    auto const events = this->events();
    for (int element = 1; element <= 3; ++element) {
        for (int const member : this->order(element)) {
            EXPECT_THAT(events, testing::Contains(this->presentLine(element, member)));
        }
        EXPECT_EQ(this->child(element)->intfVersionSeen(), this->stamp(element));
    }
}

// The hand-off to the root.

TYPED_TEST(InputScanTest, CompletionSetsThePairsFlagAndPublishesItOnce) {
    this->fill(1, 1);
    this->startAsynchronous(); // first scans done, flags cleared again
    TestSupport::Observer<> observer(*this->machine->inputSmScanState());
    this->run();
    EXPECT_TRUE(this->scanFlag());
    int published = 0;
    for (auto const &notice : observer.notices()) {
        published += notice.attribute == TypeParam::scanFlagAttribute ? 1 : 0;
    }
    EXPECT_EQ(published, 1);
}

TYPED_TEST(InputScanTest, TheTaskIsGoneBeforeTheFlagIsPublished) {
    this->fill(1, 1);
    this->startAsynchronous();
    TestSupport::Observer<> observer(*this->machine->inputSmScanState());
    bool taskAtNotice = true;
    observer.reactionIs([&](auto const &notice) {
        if (notice.attribute == TypeParam::scanFlagAttribute) {
            taskAtNotice = this->parent()->task() != nullptr;
        }
    });
    this->run();
    EXPECT_FALSE(taskAtNotice);
}

TYPED_TEST(InputScanTest, AScanThatEndsWithoutAScanStateIsAnAssertion) {
    this->fill(2, 0);
    this->startAsynchronous();
    EXPECT_DEATH(
        {
            this->machine->inputSmScanStateDel();
            this->run();
        },
        "pointer is not null");
}

TYPED_TEST(InputScanTest, ItsLinesPointToTheStreamsStatement) {
    this->fill(2, 2);
    this->traceIs(TestSupport::levels(8, 9));
    this->startAsynchronous();
    this->run();
    int lines = 0;
    for (TestSupport::TraceLine const &line : this->trace->records()) {
        if (line.machine == TypeParam::parentName || line.machine == TypeParam::childName) {
            EXPECT_EQ(line.source, "VlanSubIntfConfigLib") << line;
            EXPECT_EQ(line.line, TypeParam::statementLine) << line;
            ++lines;
        }
    }
    EXPECT_GT(lines, 10);
}

} // namespace
} // namespace VlanSubIntfConfigLib
