#include "platform/Nuvio/Publisher.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Nuvio {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What was heard, in order: "name attribute" each.
using Log = std::vector<std::string>;

/// A listener with a name: it logs each notice, then does what the test told it to.
class Listener {
  public:
    Listener(Log &heard, std::string itsName, std::function<void()> onNotice = {})
        : log_(heard), name_(std::move(itsName)), reaction_(std::move(onNotice)) {}
    Listener(Log &heard, std::string itsName, Publisher &publisher,
             std::function<void()> onNotice = {})
        : Listener(heard, std::move(itsName), std::move(onNotice)) {
        publisher.subscriberAdd(subscriber, false);
    }

    void reactionIs(std::function<void()> onNotice) { reaction_ = std::move(onNotice); }

    Subscriber subscriber{&Listener::onChange, this};

  private:
    static void onChange(Publisher * /*publisher*/, Subscriber *subscriber, short attribute,
                         void const * /*key*/, void const * /*reserved*/) noexcept {
        auto &self = *static_cast<Listener *>(subscriber->owner());
        self.log_.push_back(self.name_ + ' ' + std::to_string(attribute));
        if (auto const reaction = self.reaction_) { // a copy: it may destroy this listener
            reaction();
        }
    }

    Log &log_;
    std::string name_;
    std::function<void()> reaction_;
};

class PublisherTest : public testing::Test {
  public:
    /// The listeners of `publisher` in order, followed forward, and whether the list's end is
    /// right.
    static std::vector<Subscriber const *> subscribers(Publisher const &publisher) {
        std::vector<Subscriber const *> all;
        for (Subscriber const *s = publisher.first(); s; s = s->next()) {
            all.push_back(s);
            EXPECT_EQ(s->publisher(), &publisher);
        }
        return all;
    }

    Log log;
    std::optional<Publisher> publisher{std::in_place};
};

// Registration.

TEST_F(PublisherTest, DeliversNothingWithoutSubscribers) {
    EXPECT_FALSE(publisher->hasSubscribers());
    EXPECT_EQ(publisher->first(), nullptr);
    publisher->publishChange(130);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(PublisherTest, HandsPublisherSubscriberAttributeAndKeyToTheCallback) {
    struct Heard {
        Publisher *publisher = nullptr;
        Subscriber *subscriber = nullptr;
        short attribute = 0;
        void const *key = nullptr;
        void const *reserved = &publisher;
        int calls = 0;
    } heard;
    Subscriber subscriber(
        [](Publisher *p, Subscriber *s, short attribute, void const *key,
           void const *reserved) noexcept {
            auto &seen = *static_cast<Heard *>(s->owner());
            seen = {p, s, attribute, key, reserved, seen.calls + 1};
        },
        &heard);
    publisher->subscriberAdd(subscriber, true);
    int const key = 100;
    publisher->publishChange(130, &key);
    EXPECT_EQ(heard.publisher, &*publisher);
    EXPECT_EQ(heard.subscriber, &subscriber);
    EXPECT_EQ(heard.attribute, 130);
    EXPECT_EQ(heard.key, &key);
    EXPECT_EQ(heard.reserved, nullptr);
    EXPECT_EQ(heard.calls, 1);
    publisher->publishChange(131);
    EXPECT_EQ(heard.key, nullptr) << "a notice without key";
}

TEST_F(PublisherTest, ASubscriberKnowsItsCallbackOwnerAndPublisher) {
    Listener a(log, "a");
    EXPECT_EQ(a.subscriber.owner(), &a);
    EXPECT_NE(a.subscriber.callback(), nullptr);
    EXPECT_EQ(a.subscriber.publisher(), nullptr);
    publisher->subscriberAdd(a.subscriber, false);
    EXPECT_EQ(a.subscriber.publisher(), &*publisher);
    publisher->subscriberRemove(a.subscriber);
    EXPECT_EQ(a.subscriber.publisher(), nullptr);
}

TEST_F(PublisherTest, CallsSubscribersInTheOrderOfRegistration) {
    Listener const a(log, "a", *publisher);
    Listener const b(log, "b", *publisher);
    Listener const c(log, "c", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130", "c 130"));
    EXPECT_THAT(subscribers(*publisher), ElementsAre(&a.subscriber, &b.subscriber, &c.subscriber));
}

TEST_F(PublisherTest, ASubscriberThatIsRegisteredAlreadyStaysAsItIs) {
    Listener a(log, "a", *publisher);
    Listener const b(log, "b", *publisher);
    publisher->subscriberAdd(a.subscriber, false);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130"));
}

TEST_F(PublisherTest, ARemovedSubscriberIsNotCalled) {
    Listener a(log, "a", *publisher);
    publisher->subscriberRemove(a.subscriber);
    EXPECT_FALSE(publisher->hasSubscribers());
    publisher->publishChange(130);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(PublisherTest, RemovingASubscriberOfAnotherPublisherChangesNothing) {
    Publisher other;
    Listener a(log, "a", other);
    publisher->subscriberRemove(a.subscriber);
    EXPECT_EQ(a.subscriber.publisher(), &other);
    other.publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130"));
}

TEST_F(PublisherTest, RemovingTwiceChangesNothing) {
    Listener a(log, "a", *publisher);
    Listener const b(log, "b", *publisher);
    publisher->subscriberRemove(a.subscriber);
    publisher->subscriberRemove(a.subscriber);
    EXPECT_THAT(subscribers(*publisher), ElementsAre(&b.subscriber));
}

TEST_F(PublisherTest, ASubscriberMayMoveToAnotherPublisher) {
    Publisher other;
    Listener a(log, "a", *publisher);
    publisher->subscriberRemove(a.subscriber);
    other.subscriberAdd(a.subscriber, false);
    publisher->publishChange(130);
    other.publishChange(131);
    EXPECT_THAT(log, ElementsAre("a 131"));
}

TEST_F(PublisherTest, TheOrderStaysWhenTheFirstAMiddleOrTheLastOneLeaves) {
    for (std::size_t leaving = 0; leaving < 3; ++leaving) {
        Publisher three;
        Listener a(log, "a", three);
        Listener b(log, "b", three);
        Listener c(log, "c", three);
        std::vector<Subscriber *> const all{&a.subscriber, &b.subscriber, &c.subscriber};
        std::vector<Subscriber const *> expected{&a.subscriber, &b.subscriber, &c.subscriber};
        three.subscriberRemove(*all[leaving]);
        expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(leaving));
        EXPECT_EQ(subscribers(three), expected) << leaving;

        Listener const d(log, "d", three);
        expected.push_back(&d.subscriber);
        EXPECT_EQ(subscribers(three), expected) << "appended after the removal of " << leaving;
    }
}

TEST_F(PublisherTest, ASubscriberLeavesInItsDestructor) {
    Listener const a(log, "a", *publisher);
    { Listener const b(log, "b", *publisher); }
    EXPECT_THAT(subscribers(*publisher), ElementsAre(&a.subscriber));
}

TEST_F(PublisherTest, ThePublishersEndLeavesItsSubscribersUnregistered) {
    Listener a(log, "a", *publisher);
    Listener b(log, "b", *publisher);
    publisher.reset();
    EXPECT_EQ(a.subscriber.publisher(), nullptr);
    EXPECT_EQ(b.subscriber.publisher(), nullptr);
    EXPECT_EQ(a.subscriber.next(), nullptr);

    Publisher other;
    other.subscriberAdd(b.subscriber, false);
    EXPECT_THAT(subscribers(other), ElementsAre(&b.subscriber));
}

TEST(PublisherDeathTest, ASubscriberOfAnotherPublisherCannotBeAdded) {
    Log log;
    Publisher first;
    Publisher second;
    Listener a(log, "a", first);
    EXPECT_DEATH(second.subscriberAdd(a.subscriber, false), "subscriber.publisher_ == nullptr");
}

TEST(PublisherDeathTest, AnExceptionThatEscapesACallbackEndsTheProcess) {
    Log log;
    Publisher publisher;
    Listener const a(log, "a", publisher, [] { throw 1; });
    EXPECT_EXIT(publisher.publishChange(130), testing::KilledBySignal(SIGABRT), "");
}

// Adding during a delivery.

TEST_F(PublisherTest, SubscriberAddedDuringADeliveryDoesNotHearThatNotice) {
    Listener late(log, "late");
    Listener const a(log, "a", *publisher,
                     [&] { publisher->subscriberAdd(late.subscriber, false); });
    Listener const b(log, "b", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130"));
    log.clear();
    publisher->publishChange(131);
    EXPECT_THAT(log, ElementsAre("a 131", "b 131", "late 131"));
}

TEST_F(PublisherTest, SubscriberAddedByTheOnlyOneDoesNotHearThatNotice) {
    Listener late(log, "late");
    Listener const a(log, "a", *publisher,
                     [&] { publisher->subscriberAdd(late.subscriber, false); });
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130"));
}

TEST_F(PublisherTest, SubscriberAddedByTheLastOneDoesNotHearThatNotice) {
    Listener late(log, "late");
    Listener const a(log, "a", *publisher);
    Listener const b(log, "b", *publisher,
                     [&] { publisher->subscriberAdd(late.subscriber, false); });
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130"));
}

TEST_F(PublisherTest, SubscriberAddedDuringANoticeHearsTheOneNestedInIt) {
    Listener late(log, "late");
    bool nested = false;
    Listener const a(log, "a", *publisher, [&] {
        if (!std::exchange(nested, true)) {
            publisher->subscriberAdd(late.subscriber, false);
            publisher->publishChange(131);
        }
    });
    Listener const b(log, "b", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "a 131", "b 131", "late 131", "b 130"));
}

TEST_F(PublisherTest, ANoticeNestedInTheOnlySubscribersCallReachesItAgain) {
    bool nested = false;
    Listener const a(log, "a", *publisher, [&] {
        if (!std::exchange(nested, true)) {
            publisher->publishChange(131);
        }
    });
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "a 131"));
}

// Removing during a delivery.

TEST_F(PublisherTest, SubscriberRemovedDuringADeliveryIsNotCalledAnyMore) {
    Listener c(log, "c");
    Listener const a(log, "a", *publisher, [&] { publisher->subscriberRemove(c.subscriber); });
    Listener const b(log, "b", *publisher);
    publisher->subscriberAdd(c.subscriber, false);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130"));
}

TEST_F(PublisherTest, TheNextSubscriberMayBeRemoved) {
    Listener b(log, "b");
    Listener const a(log, "a", *publisher, [&] { publisher->subscriberRemove(b.subscriber); });
    publisher->subscriberAdd(b.subscriber, false);
    Listener const c(log, "c", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "c 130"));
}

TEST_F(PublisherTest, ASubscriberMayRemoveItself) {
    Listener a(log, "a", *publisher);
    a.reactionIs([&] { publisher->subscriberRemove(a.subscriber); });
    Listener const b(log, "b", *publisher);
    publisher->publishChange(130);
    publisher->publishChange(131);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130", "b 131"));
}

TEST_F(PublisherTest, ASubscriberMayDestroyItself) {
    auto a = std::make_unique<Listener>(log, "a", *publisher);
    a->reactionIs([&] { a.reset(); });
    Listener const b(log, "b", *publisher);
    publisher->publishChange(130);
    publisher->publishChange(131);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130", "b 131"));
}

TEST_F(PublisherTest, TheOnlySubscriberMayDestroyItself) {
    auto a = std::make_unique<Listener>(log, "a", *publisher);
    a->reactionIs([&] { a.reset(); });
    publisher->publishChange(130);
    publisher->publishChange(131);
    EXPECT_THAT(log, ElementsAre("a 130"));
    EXPECT_FALSE(publisher->hasSubscribers());
}

TEST_F(PublisherTest, ASubscriberMayDestroyAllOthers) {
    std::vector<std::unique_ptr<Listener>> others;
    Listener const a(log, "a", *publisher, [&] { others.clear(); });
    for (char const *const name : {"b", "c", "d"}) {
        others.push_back(std::make_unique<Listener>(log, name, *publisher));
    }
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130"));
    EXPECT_THAT(subscribers(*publisher), ElementsAre(&a.subscriber));
}

TEST_F(PublisherTest, OneThatWasCalledAlreadyMayBeRemoved) {
    Listener a(log, "a", *publisher);
    Listener const b(log, "b", *publisher, [&] { publisher->subscriberRemove(a.subscriber); });
    Listener const c(log, "c", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130", "c 130"));
}

TEST_F(PublisherTest, SubscriberReAddedDuringADeliveryDoesNotHearThatNotice) {
    Listener b(log, "b");
    Listener const a(log, "a", *publisher, [&] {
        publisher->subscriberRemove(b.subscriber);
        publisher->subscriberAdd(b.subscriber, false);
    });
    publisher->subscriberAdd(b.subscriber, false);
    Listener const c(log, "c", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "c 130"));
}

TEST_F(PublisherTest, ASubscriberThatReAddsItselfIsNotCalledTwice) {
    Listener a(log, "a", *publisher);
    a.reactionIs([&] {
        publisher->subscriberRemove(a.subscriber);
        publisher->subscriberAdd(a.subscriber, false);
    });
    Listener const b(log, "b", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130"));
    log.clear();
    publisher->publishChange(131);
    EXPECT_THAT(log, ElementsAre("b 131", "a 131")) << "re-added behind the other";
}

TEST_F(PublisherTest, EveryDeliveryUnderWayPassesOverOneThatLeaves) {
    Listener c(log, "c");
    int depth = 0;
    Listener const a(log, "a", *publisher, [&] {
        if (++depth < 3) {
            publisher->publishChange(static_cast<short>(130 + depth));
        } else {
            publisher->subscriberRemove(c.subscriber);
        }
    });
    publisher->subscriberAdd(c.subscriber, false);
    Listener const d(log, "d", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "a 131", "a 132", "d 132", "d 131", "d 130"));
}

TEST_F(PublisherTest, DeliveriesOfTwoPublishersMayBeNested) {
    Publisher inner;
    Listener const x(log, "x", inner);
    Listener y(log, "y", inner);
    Listener const a(log, "a", *publisher, [&] { inner.publishChange(200); });
    Listener b(log, "b");
    Listener const removesBoth(log, "z", inner, [&] {
        inner.subscriberRemove(y.subscriber);
        publisher->subscriberRemove(b.subscriber);
    });
    publisher->subscriberAdd(b.subscriber, false);
    Listener const c(log, "c", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "x 200", "y 200", "z 200", "c 130"));
}

// The publisher's end during a delivery.

TEST_F(PublisherTest, TheOnlySubscriberMayDestroyThePublisher) {
    Listener const a(log, "a", *publisher, [&] { publisher.reset(); });
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130"));
    EXPECT_EQ(a.subscriber.publisher(), nullptr);
}

TEST_F(PublisherTest, TheDeliveryEndsWhenThePublisherIsDestroyed) {
    Listener const a(log, "a", *publisher);
    Listener const b(log, "b", *publisher, [&] { publisher.reset(); });
    Listener const c(log, "c", *publisher);
    Listener const d(log, "d", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "b 130"));
    for (Listener const *listener : {&a, &b, &c, &d}) {
        EXPECT_EQ(listener->subscriber.publisher(), nullptr);
    }
}

TEST_F(PublisherTest, EveryDeliveryUnderWayEndsWhenThePublisherIsDestroyed) {
    int depth = 0;
    Listener const a(log, "a", *publisher, [&] {
        if (++depth < 3) {
            publisher->publishChange(static_cast<short>(130 + depth));
        } else {
            publisher.reset();
        }
    });
    Listener const b(log, "b", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "a 131", "a 132"));
}

TEST_F(PublisherTest, TheEndOfOnePublisherLeavesTheDeliveryOfAnother) {
    Publisher outer;
    Listener const a(log, "a", outer, [&] { publisher->publishChange(200); });
    Listener const b(log, "b", outer);
    Listener const x(log, "x", *publisher, [&] { publisher.reset(); });
    Listener const y(log, "y", *publisher);
    outer.publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130", "x 200", "b 130"));
}

TEST_F(PublisherTest, ANewPublisherInThePlaceOfADestroyedOneDoesNotTakeTheDeliveryOver) {
    Listener b(log, "b");
    Listener c(log, "c");
    Listener const a(log, "a", *publisher, [&] {
        publisher.emplace();
        publisher->subscriberAdd(b.subscriber, false);
        publisher->subscriberAdd(c.subscriber, false);
    });
    publisher->subscriberAdd(b.subscriber, false);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130"));
}

TEST_F(PublisherTest, ADestroyedSubscriberMayTakeThePublisherWithIt) {
    auto b = std::make_unique<Listener>(log, "b");
    Listener const a(log, "a", *publisher, [&] {
        b.reset();
        publisher.reset();
    });
    publisher->subscriberAdd(b->subscriber, false);
    Listener const c(log, "c", *publisher);
    publisher->publishChange(130);
    EXPECT_THAT(log, ElementsAre("a 130"));
}

} // namespace
} // namespace Nuvio
