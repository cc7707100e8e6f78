// An exception that escapes a notice ends the process: whoever throws it, an observer or the
// machine's own reaction, and whatever the notice is of. Outside of notices it reaches the caller.
#include "platform/QorNuvio/LegacyNotifiee.h"
#include "tests/VlanSubIntfConfigLib/LifeFixture.h"
#include "tests/support/ForkedRun.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::forkedRun;
using TestSupport::Pace;
using TestSupport::Place;
using TestSupport::RunEnd;

// Observers: in each notice of a life, one life for each.

class ThrowingObserverTest : public TestSupport::LifeTest {};
INSTANTIATE_TEST_SUITE_P(Lives, ThrowingObserverTest,
                         testing::Combine(testing::Values(Pace::synchronous, Pace::oneItemASlice),
                                          testing::Values(Place::first)),
                         TestSupport::lifeName);

TEST_P(ThrowingObserverTest, EndsTheProcessInEachNotice) {
    int const lives = livesEndingIn([] {});
    EXPECT_GT(lives, 50);
    for (int n = 1; n <= lives; ++n) {
        EXPECT_EQ(forkedRun([&] {
                      liveAndTake(n, [] { throw std::runtime_error("from an observer"); });
                      return "it went on";
                  }),
                  RunEnd::terminated)
            << "notice " << n;
    }
}

// Legacy notifiees, which state objects have besides.

class ThrowingNotifiee final : public QorNuvio::LegacyNotifiee {
  public:
    void handleChange(short /*attributeId*/, void const * /*key*/) noexcept override { throwing(); }

  private:
    static void throwing() { throw std::runtime_error("from a notifiee"); }
};

class ThrowingCallbackTest : public TestSupport::MachineTest {
  protected:
    void startReady() {
        member(1, "PortChannel1.1");
        lagMember("PortChannel1", "Ethernet1");
        startAsynchronous();
        run();
        ASSERT_TRUE(machine->ready());
    }
    static RunEnd endOf(std::function<void()> const &act) {
        return forkedRun([&act] {
            act();
            return "it went on";
        });
    }
};

TEST_F(ThrowingCallbackTest, ALegacyNotifieeEndsTheProcess) {
    startReady();
    ThrowingNotifiee notifiee;
    auto const scanState = machine->inputSmScanState();
    scanState->addLegacyNotifiee(notifiee);
    EXPECT_EQ(endOf([&] { scanState->idleIs(false); }), RunEnd::terminated);
    scanState->removeLegacyNotifiee(notifiee);

    auto const store = machine->localAttrStore();
    store->addLegacyNotifiee(notifiee);
    EXPECT_EQ(endOf([this] { memberDel(1, "PortChannel1.1"); }), RunEnd::terminated);
    store->removeLegacyNotifiee(notifiee);
}

TEST_F(ThrowingCallbackTest, AVisitOfLegacyNotifieesIsNoNoticeAndHandsTheExceptionOn) {
    startReady();
    ThrowingNotifiee first;
    ThrowingNotifiee second;
    auto const state = machine->outputState();
    state->addLegacyNotifiee(first);
    state->addLegacyNotifiee(second);
    int visits = 0;
    EXPECT_THROW(state->visitLegacyNotifiee([&visits](QorNuvio::LegacyNotifiee & /*notifiee*/) {
        ++visits;
        throw std::runtime_error("from a visitor");
    }),
                 std::runtime_error);
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(state->iteratorLegacyNotifiee(&first), &second) << "both are still registered";
}

// The machine's own reactions: what is required and missing, or there and another.

TEST_F(ThrowingCallbackTest, AnEntryDeletedUnderTheMachineEndsTheProcessInALagsNotice) {
    startReady();
    dir->configDel(Bridging::VlanId(1));
    EXPECT_THROW(machine->eventToLagUpdateStream(id("PortChannel1"), id("Ethernet2"), {}),
                 Qor::BadOptionalAccess)
        << "a caller from outside gets it";
    EXPECT_EQ(endOf([this] { lagMember("PortChannel1", "Ethernet2"); }), RunEnd::terminated);
}

TEST_F(ThrowingCallbackTest, AnotherVlanUnderAMissedOnesKeyEndsTheProcessInItsNotice) {
    startReady();
    machine->hasNotificationActiveIs(false);
    vlanDel(1);
    auto const another = vlan(1);
    machine->hasNotificationActiveIs(true);
    auto const key = another->vlanId();
    EXPECT_THROW(machine->vlanConfigSm0()->handleVlanConfig(key),
                 Qor::MutatorReinstantiatingException);
    EXPECT_EQ(endOf([&] {
                  bridging->publisher().publishChange(Bridging::Config::vlanConfigAttribute, &key);
              }),
              RunEnd::terminated);
}

TEST_F(ThrowingCallbackTest, AnotherLagUnderAMissedOnesKeyEndsTheProcessInItsNotice) {
    startReady();
    machine->hasNotificationActiveIs(false);
    lagDel("PortChannel1");
    auto const key = lag("PortChannel1")->intfId();
    machine->hasNotificationActiveIs(true);
    EXPECT_EQ(endOf([&] {
                  lagMapping->publisher().publishChange(
                      Lag::LagPhyIntfMapping::lagPhyIntfConfigAttribute, &key);
              }),
              RunEnd::terminated);
}

// A sink of trace lines must not throw. One that does is no notice of its own: it ends the process
// inside a notice, and undoes a factory.

TEST_F(ThrowingCallbackTest, ASinkEndsTheProcessInANoticeAndUndoesAFactory) {
    auto const handle = Nuvio::Platform::getDebugHandler("ThrowingCallbackTest", true);
    int lines = 0;
    int linesBefore = 1000000;
    handle->sinkIs([&](Nuvio::TraceRecord const & /*record*/) {
        if (++lines > linesBefore) {
            throw std::runtime_error("from a sink");
        }
    });
    control.nameIs("ThrowingCallbackTest");
    startReady();
    machine = nullptr;
    int const linesOfFactory = 20;
    for (int const before : {0, 1, 5, linesOfFactory - 1}) {
        lines = 0;
        linesBefore = before;
        EXPECT_THROW(startAsynchronous(), std::runtime_error) << before;
        EXPECT_FALSE(bridging->publisher().hasSubscribers()) << before;
        EXPECT_FALSE(scheduler->hasWork()) << before;
    }
    linesBefore = 1000000;
    startAsynchronous();
    linesBefore = lines;
    EXPECT_EQ(endOf([this] { run(); }), RunEnd::terminated);
    linesBefore = 1000000;
    run();
    EXPECT_TRUE(machine->ready());
    handle->sinkIs({});
}

} // namespace
} // namespace VlanSubIntfConfigLib
