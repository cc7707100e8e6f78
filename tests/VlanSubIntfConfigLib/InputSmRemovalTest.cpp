// How the input machines take back what is removed: one element, or everything.
#include "tests/VlanSubIntfConfigLib/InputPairs.h"

namespace VlanSubIntfConfigLib {
namespace {

using Quam::Gen::ScanState;
using testing::ElementsAre;
using testing::IsEmpty;

template <class Pair> class InputRemovalTest : public InputPairTest<Pair> {};
TYPED_TEST_SUITE(InputRemovalTest, BothPairs, PairNames);

// Removed elements.

TYPED_TEST(InputRemovalTest, ARemovedElementIsOneRemovalEventPerMemberInOrder) {
    this->fill(2, 3);
    this->startReady();
    auto const members = this->order(1);
    auto const removed = this->child(1);
    this->traceIs(TestSupport::levels(7, 9));
    this->elementDel(1);
    auto const &records = this->trace->records();
    ASSERT_GE(records.size(), 2U);
    EXPECT_EQ(records[0].text(), this->handleElementLine(1));
    EXPECT_EQ(records[1].text(), this->childLine(9, "doDeleteAll", ""));
    EXPECT_THAT(this->events(),
                ElementsAre(this->goneLine(1, members[0]), this->goneLine(1, members[1]),
                            this->goneLine(1, members[2])));
    EXPECT_FALSE(this->child(1));
    EXPECT_EQ(removed->parent(), nullptr);
    EXPECT_EQ(removed->root(), nullptr);
    EXPECT_TRUE(this->child(2));
}

TYPED_TEST(InputRemovalTest, ARemovedChildThatSomebodyHoldsEmitsNothing) {
    this->fill(1, 2);
    this->startReady();
    auto const element = this->elementIs(1);
    auto const removed = this->child(1);
    this->elementDel(1);
    this->traceIs();
    TypeParam::member(*element, 3);
    removed->doInputScan();
    removed->doDeleteAll();
    removed->handleKey(TypeParam::memberKey(1));
    removed->inReactorIs(true);
    EXPECT_THAT(this->traced(), IsEmpty());
    EXPECT_FALSE(removed->inReactor());
    EXPECT_FALSE(removed->synchronous());
    EXPECT_FALSE(removed->initialScanDone());
    EXPECT_FALSE(removed->shouldYield());
    EXPECT_FALSE(removed->traceHandle());
}

TYPED_TEST(InputRemovalTest, AnElementThatWasNeverSeenIsRemovedSilently) {
    this->fill(3, 1);
    this->startAsynchronous();
    int const last = this->order()[2];
    ASSERT_FALSE(this->child(last));
    this->traceIs();
    this->elementDel(last);
    EXPECT_THAT(this->traced(), ElementsAre(this->handleElementLine(last)));
}

TYPED_TEST(InputRemovalTest, AnEmptyElementThatWasNotYetScannedIsRemoved) {
    this->fill(2, 2);
    this->startAsynchronous();
    this->elementIs(3);
    ASSERT_EQ(this->child(3)->scanState(), ScanState::notScanned);
    ASSERT_EQ(this->stamp(3), 0U);
    this->traceIs();
    this->elementDel(3);
    EXPECT_THAT(this->traced(),
                ElementsAre(this->handleElementLine(3), this->childLine(9, "doDeleteAll", "")));
    EXPECT_FALSE(this->child(3));
}

TYPED_TEST(InputRemovalTest, AnElementThatWasEmptiedBeforeItsScanIsRemovedSilently) {
    this->memberIs(1, 1);
    this->memberGone(1, 1);
    this->startReady();
    this->traceIs();
    this->elementDel(1);
    EXPECT_THAT(this->events(), testing::IsEmpty());
    EXPECT_FALSE(this->child(1));
}

TYPED_TEST(InputRemovalTest, AnElementThatComesBackHasANewChild) {
    this->fill(1, 2);
    this->startReady();
    auto const before = this->child(1);
    this->elementDel(1);
    this->traceIs();
    this->fill(1, 1);
    EXPECT_THAT(this->events(), ElementsAre(this->presentLine(1, 1)));
    EXPECT_NE(this->child(1), before);
}

// Missed notices.

TYPED_TEST(InputRemovalTest, AMissedMemberIsFoundWhenItsElementIsRemoved) {
    this->fill(1, 1);
    this->startReady();
    this->child(1)->hasNotificationActiveIs(false);
    this->memberIs(1, 2);
    EXPECT_NE(this->child(1)->intfVersionSeen(), this->stamp(1));
    EXPECT_DEATH(this->elementDel(1),
                 fmt::format("We missed notifications that happened to {} before the enclosing "
                             "entity got deleted\n",
                             TypeParam::memberCollection));
}

TYPED_TEST(InputRemovalTest, AMissedRemovalIsFoundByTheWithdrawal) {
    this->fill(1, 2);
    this->startReady();
    this->child(1)->hasNotificationActiveIs(false);
    this->memberGone(1, 2);
    EXPECT_DEATH(this->machine->doDeleteAll(),
                 fmt::format("We missed notifications that happened to {} before",
                             TypeParam::memberCollection));
}

// Withdrawal.

TYPED_TEST(InputRemovalTest, WithdrawalRemovesChildByChildInOrder) {
    this->fill(3, 2);
    this->startReady();
    auto const order = this->order();
    typename TestFixture::Lines walk;
    for (auto const &key : TestSupport::walkOrder(this->parent()->childSm())) {
        walk.push_back(TypeParam::text(key));
    }
    this->traceIs(TestSupport::levels(7, 9));
    this->parent()->doDeleteAll();
    EXPECT_EQ(this->trace->records().front().text(), this->parentLine(9, "doDeleteAll", ""));
    EXPECT_TRUE(this->parent()->childSm().empty());
    typename TestFixture::Lines expected;
    for (std::string const &text : walk) {
        for (int const element : order) {
            if (this->text(element) == text) {
                for (int const member : this->order(element)) {
                    expected.push_back(this->goneLine(element, member));
                }
            }
        }
    }
    EXPECT_EQ(expected.size(), 6U);
    EXPECT_EQ(this->events(), expected);
}

TYPED_TEST(InputRemovalTest, AfterWithdrawalAnElementHasNoChildUntilItIsNotifiedAgain) {
    this->fill(1, 1);
    this->startReady();
    this->machine->doDeleteAll();
    this->traceIs();
    this->memberIs(1, 2);
    EXPECT_THAT(this->events(), IsEmpty());
    this->repeatNotice(1);
    EXPECT_EQ(this->events().size(), 2U);
}

} // namespace
} // namespace VlanSubIntfConfigLib
