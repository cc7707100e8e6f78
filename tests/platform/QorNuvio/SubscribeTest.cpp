#include "platform/QorNuvio/Subscribe.h"

#include "platform/Bridging.h"
#include "tests/support/Census.h"

#include <functional>
#include <stdexcept>
#include <utility>

namespace QorNuvio {
namespace {

void countNotice(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                 short /*attributeId*/, void const * /*key*/, void const * /*reserved*/) noexcept {
    ++*static_cast<int *>(subscriber->owner());
}

class SubscribeTest : public TestSupport::CensusTest {
  protected:
    Qor::Ptr<Bridging::Config> config = Bridging::Config::ConfigIs();
    int notices = 0;
    Nuvio::Subscriber subscriber{countNotice, &notices};
};
using SubscribeDeathTest = SubscribeTest;
using SubscriberScopeGuardTest = SubscribeTest;

TEST_F(SubscribeTest, ASubscriberHearsTheObject) {
    subscribeTo(subscriber, config);
    config->vlanConfigIs(Bridging::VlanId(100));
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(subscriber.publisher(), &config->publisher());
}

TEST_F(SubscribeTest, ASubscriberOfAConstObjectHearsItsChanges) {
    subscribeTo(subscriber, Qor::Ptr<Bridging::Config const>(config));
    config->vlanConfigIs(Bridging::VlanId(100));
    EXPECT_EQ(notices, 1);
}

TEST_F(SubscribeTest, SubscribingTwiceDeliversOnce) {
    subscribeTo(subscriber, config);
    subscribeTo(subscriber, config);
    config->vlanConfigIs(Bridging::VlanId(100));
    EXPECT_EQ(notices, 1);
}

TEST_F(SubscribeTest, UnsubscribedHearsNothing) {
    subscribeTo(subscriber, config);
    unsubscribeFrom(subscriber, config);
    config->vlanConfigIs(Bridging::VlanId(100));
    EXPECT_EQ(notices, 0);
    EXPECT_EQ(subscriber.publisher(), nullptr);
}

TEST_F(SubscribeTest, UnsubscribingOneThatIsNotRegisteredChangesNothing) {
    unsubscribeFrom(subscriber, config);
    EXPECT_EQ(subscriber.publisher(), nullptr);
}

TEST_F(SubscribeTest, UnsubscribingFromAnotherObjectKeepsTheRegistration) {
    auto const other = Bridging::Config::ConfigIs();
    subscribeTo(subscriber, config);
    unsubscribeFrom(subscriber, other);
    EXPECT_EQ(subscriber.publisher(), &config->publisher());
}

TEST_F(SubscribeTest, ASubscriptionTakesNoReference) {
    subscribeTo(subscriber, config);
    EXPECT_EQ(config->refCount(), 1U);
}

TEST_F(SubscribeTest, TheEndOfTheObjectLeavesTheSubscriberUnregistered) {
    subscribeTo(subscriber, config);
    config = nullptr;
    EXPECT_EQ(subscriber.publisher(), nullptr);
}

TEST_F(SubscribeDeathTest, SubscribingToNoObjectIsAnAssertion) {
    config = nullptr;
    EXPECT_DEATH(subscribeTo(subscriber, config), "pointer is not null");
}

TEST_F(SubscribeDeathTest, UnsubscribingFromNoObjectIsAnAssertion) {
    config = nullptr;
    EXPECT_DEATH(unsubscribeFrom(subscriber, config), "pointer is not null");
}

TEST_F(SubscriberScopeGuardTest, KeepsTheRegistrationWhenTheScopeIsLeftNormally) {
    {
        SubscriberScopeGuard const guard(subscriber);
        subscribeTo(subscriber, config);
    }
    EXPECT_EQ(subscriber.publisher(), &config->publisher());
}

TEST_F(SubscriberScopeGuardTest, UnregistersWhenAnExceptionLeavesTheScope) {
    EXPECT_THROW(
        {
            SubscriberScopeGuard const guard(subscriber);
            subscribeTo(subscriber, config);
            throw std::runtime_error("construction fails");
        },
        std::runtime_error);
    EXPECT_EQ(subscriber.publisher(), nullptr);
    EXPECT_FALSE(config->publisher().hasSubscribers());
}

TEST_F(SubscriberScopeGuardTest, LetsAnExceptionPassWhenNothingIsRegistered) {
    EXPECT_THROW(
        {
            SubscriberScopeGuard const guard(subscriber);
            throw std::runtime_error("construction fails");
        },
        std::runtime_error);
    EXPECT_EQ(subscriber.publisher(), nullptr);
}

TEST_F(SubscriberScopeGuardTest, KeepsTheRegistrationWhenTheExceptionIsCaughtInside) {
    {
        SubscriberScopeGuard const guard(subscriber);
        subscribeTo(subscriber, config);
        EXPECT_THROW(throw std::runtime_error("caught"), std::runtime_error);
    }
    EXPECT_EQ(subscriber.publisher(), &config->publisher());
}

/// Runs its action in its destructor: inside a stack unwinding, if it is left by an exception.
class AtScopeExit {
  public:
    explicit AtScopeExit(std::function<void()> action) : action_(std::move(action)) {}
    ~AtScopeExit() { action_(); }
    AtScopeExit(AtScopeExit const &) = delete;
    AtScopeExit &operator=(AtScopeExit const &) = delete;

  private:
    std::function<void()> action_;
};

void runDuringAnUnwinding(std::function<void()> action) {
    try {
        AtScopeExit const exit(std::move(action));
        throw std::runtime_error("outer");
    } catch (std::runtime_error const &) {
        // The action has run by now.
    }
}

TEST_F(SubscriberScopeGuardTest, KeepsTheRegistrationMadeWhileAnotherExceptionUnwinds) {
    runDuringAnUnwinding([this] {
        SubscriberScopeGuard const guard(subscriber);
        subscribeTo(subscriber, config);
    });
    EXPECT_EQ(subscriber.publisher(), &config->publisher());
}

TEST_F(SubscriberScopeGuardTest, UnregistersWhenItsScopeFailsWhileAnotherExceptionUnwinds) {
    runDuringAnUnwinding([this] {
        EXPECT_THROW(
            {
                SubscriberScopeGuard const guard(subscriber);
                subscribeTo(subscriber, config);
                throw std::logic_error("inner");
            },
            std::logic_error);
    });
    EXPECT_EQ(subscriber.publisher(), nullptr);
}

/// Records when it is destroyed whether the configuration still has a subscriber.
struct Witness {
    Bridging::Config const &config;
    bool &stillRegistered;
    ~Witness() { stillRegistered = config.publisher().hasSubscribers(); }
};

struct FailingListener {
    FailingListener(Qor::Ptr<Bridging::Config> const &config, bool &stillRegistered)
        : witness{*config, stillRegistered} {
        SubscriberScopeGuard const guard(subscriber);
        subscribeTo(subscriber, config);
        throw std::runtime_error("construction fails");
    }
    int notices = 0;
    Nuvio::Subscriber subscriber{countNotice, &notices};
    Witness witness; // destroyed before the subscriber
};

TEST_F(SubscriberScopeGuardTest, UnregistersBeforeAnyMemberOfAFailedObjectIsDestroyed) {
    bool stillRegistered = true;
    EXPECT_THROW(FailingListener(config, stillRegistered), std::runtime_error);
    EXPECT_FALSE(stillRegistered);
}

} // namespace
} // namespace QorNuvio
