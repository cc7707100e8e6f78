// What the machine's assertions and errors say, to the letter: hosts search their logs for it.
#include "tests/VlanSubIntfConfigLib/InputPairs.h"
#include "tests/support/ForkedRun.h"
#include "tests/support/Observer.h"

#include <functional>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::assertionIn;
using TestSupport::SaidByAssertion;

// The factory's arguments.

class ArgumentAssertionsTest : public TestSupport::MachineTest {};

TEST_F(ArgumentAssertionsTest, NameTheFirstNullArgumentAndTheFunction) {
    std::string const behind =
        R"(() && "Pointer SM args cannot be null unless they are marked Optional")";
    std::string const function = "void VlanSubIntfConfigLib::ConfigSm::handleInitialized()";
    for (Synchronous const setting : {Synchronous::synchronous, Synchronous::asynchronous}) {
        control.synchronousIs(setting);
        EXPECT_EQ(
            assertionIn([this] { (void)configSmFactory(nullptr, nullptr, nullptr, control); }),
            (SaidByAssertion{"bridgingConfig" + behind, "", function}));
        EXPECT_EQ(
            assertionIn([this] { (void)configSmFactory(bridging, nullptr, nullptr, control); }),
            (SaidByAssertion{"lagPhyIntfMapping" + behind, "", function}));
        EXPECT_EQ(
            assertionIn([this] { (void)configSmFactory(bridging, lagMapping, nullptr, control); }),
            (SaidByAssertion{"vlanSubIntfConfigDir" + behind, "", function}));
    }
}

// The input machines'.

template <class Pair> class InputAssertionsTest : public InputPairTest<Pair> {
  protected:
    /// What is said when an element is removed, and when everything is withdrawn, behind `change`.
    void expectMissed(std::function<void()> const &change) {
        change();
        std::string const expected =
            fmt::format("We missed notifications that happened to {} before the enclosing entity "
                        "got deleted",
                        Pair::memberCollection);
        EXPECT_EQ(assertionIn([this] { this->elementDel(1); }).message, expected);
        EXPECT_EQ(assertionIn([this] { this->machine->doDeleteAll(); }).message, expected);
        EXPECT_EQ(assertionIn([this] { this->child(1)->doDeleteAll(); }).message, expected);
    }
    void switchedOff(std::function<void()> const &change) {
        this->machine->hasNotificationActiveIs(false);
        change();
        this->machine->hasNotificationActiveIs(true);
    }
    void anotherValue(int element, int member) {
        if constexpr (std::is_same_v<Pair, VlanPair>) {
            this->elementIs(element)->intfIs(Pair::memberKey(member), {true, true, this->both});
        } else {
            this->elementIs(element)->phyIntfIs(Pair::memberKey(member), nullptr);
        }
    }
};
TYPED_TEST_SUITE(InputAssertionsTest, BothPairs, PairNames);

TYPED_TEST(InputAssertionsTest, AScanWithoutAnInputNamesTheRule) {
    this->startReady();
    std::string const expression =
        R"(en() && "Sm args can only be null if marked as Optional in the SM type declaration")";
    EXPECT_EQ(
        assertionIn([this] { (void)TypeParam::newParent({}, this->machine.get()); }).expression,
        expression);
    EXPECT_EQ(assertionIn([this] {
                  (void)Qor::make<typename TypeParam::Child>(nullptr, this->parent().get());
              }).expression,
              expression);
}

TYPED_TEST(InputAssertionsTest, AMemberThatWasMissedIsNamedByItsCollection) {
    this->fill(1, 2);
    this->startReady();
    this->expectMissed([this] { this->switchedOff([this] { this->memberIs(1, 3); }); });
}

TYPED_TEST(InputAssertionsTest, ARemovalThatWasMissedIsNamedByItsCollection) {
    this->fill(1, 2);
    this->startReady();
    this->expectMissed([this] { this->switchedOff([this] { this->memberGone(1, 2); }); });
}

TYPED_TEST(InputAssertionsTest, AnotherValueThatWasMissedIsNamedByItsCollection) {
    this->fill(1, 2);
    this->startReady();
    this->expectMissed([this] { this->switchedOff([this] { this->anotherValue(1, 2); }); });
}

TYPED_TEST(InputAssertionsTest, ARemovalThatWasTakenBackIsMissedAllTheSame) {
    this->fill(1, 2);
    this->startReady();
    this->expectMissed([this] {
        this->switchedOff([this] {
            this->memberGone(1, 2);
            this->memberIs(1, 2);
        });
    });
}

TYPED_TEST(InputAssertionsTest, AChangeThatIsMissedWhileNoticesAreOffIsFoundOnlyWhenTheyAreOn) {
    this->fill(2, 2);
    this->startReady();
    this->machine->hasNotificationActiveIs(false);
    this->memberIs(1, 3);
    this->elementDel(1); // nobody hears of it
    this->machine->hasNotificationActiveIs(true);
    EXPECT_EQ(assertionIn([this] { this->repeatNotice(1); }).message,
              fmt::format("We missed notifications that happened to {} before the enclosing "
                          "entity got deleted",
                          TypeParam::memberCollection));
}

TYPED_TEST(InputAssertionsTest, ANoticeThatIsHeardMakesUpForThoseThatWereMissed) {
    this->fill(1, 2);
    this->startReady();
    this->switchedOff([this] { this->memberIs(1, 3); });
    this->memberIs(1, 4);
    this->elementDel(1);
    EXPECT_EQ(this->child(1), nullptr);
}

/// An observer that comes before the machine removes the element inside its member's notice.
TYPED_TEST(InputAssertionsTest, AnElementRemovedBeforeTheMachineHearsOfItsMemberIsOneMissed) {
    this->fill(1, 1);
    auto const element = this->elementIs(1);
    TestSupport::Observer<> observer(*element);
    observer.reactionIs([this](auto const & /*notice*/) { this->elementDel(1); });
    this->startReady();
    EXPECT_EQ(assertionIn([&] { TypeParam::member(*element, 2); }).message,
              fmt::format("We missed notifications that happened to {} before the enclosing "
                          "entity got deleted",
                          TypeParam::memberCollection));
}

TYPED_TEST(InputAssertionsTest, AnElementRemovedAfterTheMachineHasHeardOfItsMemberIsNot) {
    this->fill(1, 1);
    this->startReady();
    auto element = this->elementIs(1);
    TestSupport::Observer<> observer(*element);
    observer.reactionIs([&](auto const & /*notice*/) {
        this->elementDel(1);
        element = nullptr; // the last reference, inside its own notice
    });
    TypeParam::member(*element, 2);
    EXPECT_EQ(element, nullptr);
    EXPECT_EQ(this->child(1), nullptr);
    EXPECT_TRUE(this->output().empty());
}

// What a walk and a look-up say.

class LookUpAssertionsTest : public TestSupport::MachineTest {};

TEST_F(LookUpAssertionsTest, AnIteratorAtTheEndNamesItself) {
    auto const one = lag("PortChannel1");
    auto const status = Qor::make<VlanSubIntfStatusLib::VlanStatus>();
    auto member = one->phyIntf().iterator();
    auto pair = status->intfToVlanMap().iterator();
    EXPECT_EQ(assertionIn([&] { (void)member.key(); }).expression, "iter_");
    EXPECT_EQ(assertionIn([&] { member.advance(); }).expression, "iter_");
    EXPECT_EQ(assertionIn([&] { (void)pair.key(); }).expression, "iter_");
    EXPECT_EQ(assertionIn([&] { pair.advance(); }).expression, "iter_");
}

TEST_F(LookUpAssertionsTest, AMergeWithoutItsEntryIsABadOptionalAccess) {
    startSynchronous();
    try {
        machine->eventToQuam_pipeline0(Bridging::VlanId(1), id("PortChannel1.1"), id("Ethernet1"),
                                       true);
        ADD_FAILURE() << "it went on";
    } catch (Qor::BadOptionalAccess const &error) {
        EXPECT_STREQ(error.what(), "bad optional access");
    }
}

TEST_F(LookUpAssertionsTest, AMissingPartIsANullPointer) {
    member(1, "PortChannel1.1");
    startSynchronous();
    SaidByAssertion const expected{"pointer is not null", "", ""};
    auto const withoutFunction = [](std::function<void()> const &act) {
        auto said = assertionIn(act);
        said.function.clear();
        return said;
    };
    EXPECT_EQ(withoutFunction([this] {
                  machine->outputStateDel();
                  machine->handleVlanSubIntfConfigDirConfigIntfOutputInputReady();
              }),
              expected);
    EXPECT_EQ(withoutFunction([this] {
                  machine->outputStateIs();
                  machine->inputSmScanStateDel();
                  machine->handleVlanSubIntfConfigDirConfigIntfOutputInputReady();
              }),
              expected);
    EXPECT_EQ(withoutFunction([this] {
                  machine->localAttrStoreDel();
                  lagMember("PortChannel1", "Ethernet1");
              }),
              expected);
}

} // namespace
} // namespace VlanSubIntfConfigLib
