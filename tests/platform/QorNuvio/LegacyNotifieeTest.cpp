#include "platform/QorNuvio/LegacyNotifiee.h"

#include "tests/support/Observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace QorNuvio {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Writes "name:attribute" to a log that all notifiees of a test share, and remembers the key.
class LoggingNotifiee final : public LegacyNotifiee {
  public:
    LoggingNotifiee(std::string name, std::vector<std::string> &log)
        : name_(std::move(name)), log_(log) {}
    ~LoggingNotifiee() override = default;
    void handleChange(short attributeId, void const *key) noexcept override {
        log_.push_back(name_ + ":" + std::to_string(attributeId));
        lastKey = key;
    }
    void const *lastKey = nullptr;

  private:
    std::string name_;
    std::vector<std::string> &log_;
};

class LegacyNotifieeTest : public testing::Test {
  protected:
    [[nodiscard]] std::vector<LegacyNotifiee *> visited() const {
        std::vector<LegacyNotifiee *> all;
        Impl::visitLegacyNotifiee(publisher,
                                  [&all](LegacyNotifiee &notifiee) { all.push_back(&notifiee); });
        return all;
    }

    std::vector<std::string> log;
    Nuvio::Publisher publisher;
    LoggingNotifiee a{"a", log};
    LoggingNotifiee b{"b", log};
};

TEST_F(LegacyNotifieeTest, AnAddedNotifieeIsTold) {
    Impl::addLegacyNotifiee(publisher, a);
    publisher.publishChange(130);
    EXPECT_THAT(log, ElementsAre("a:130"));
}

TEST_F(LegacyNotifieeTest, TheKeyReachesTheNotifiee) {
    int const key = 7;
    Impl::addLegacyNotifiee(publisher, a);
    publisher.publishChange(130, &key);
    EXPECT_EQ(a.lastKey, &key);
}

TEST_F(LegacyNotifieeTest, AddingTwiceTellsOnce) {
    Impl::addLegacyNotifiee(publisher, a);
    Impl::addLegacyNotifiee(publisher, a);
    publisher.publishChange(130);
    EXPECT_THAT(log, ElementsAre("a:130"));
}

TEST_F(LegacyNotifieeTest, ARemovedNotifieeIsNotTold) {
    Impl::addLegacyNotifiee(publisher, a);
    Impl::addLegacyNotifiee(publisher, b);
    Impl::removeLegacyNotifiee(publisher, a);
    publisher.publishChange(130);
    EXPECT_THAT(log, ElementsAre("b:130"));
}

TEST_F(LegacyNotifieeTest, RemovingOneThatWasNeverAddedChangesNothing) {
    Impl::addLegacyNotifiee(publisher, b);
    Impl::removeLegacyNotifiee(publisher, a);
    EXPECT_THAT(visited(), ElementsAre(&b));
}

TEST_F(LegacyNotifieeTest, ADestroyedNotifieeLeavesThePublisher) {
    auto gone = std::make_unique<LoggingNotifiee>("gone", log);
    Impl::addLegacyNotifiee(publisher, *gone);
    gone.reset();
    EXPECT_FALSE(publisher.hasSubscribers());
}

TEST_F(LegacyNotifieeTest, ADestroyedPublisherLeavesItsNotifieesUnregistered) {
    {
        Nuvio::Publisher shortLived;
        Impl::addLegacyNotifiee(shortLived, a);
    }
    EXPECT_EQ(a.subscriber().publisher(), nullptr);
}

TEST_F(LegacyNotifieeTest, NotifieesAndSubscribersAreToldInOrderOfRegistration) {
    Impl::addLegacyNotifiee(publisher, b);
    TestSupport::Observer<> plain(publisher);
    plain.reactionIs([this](auto const &) { log.emplace_back("plain"); });
    Impl::addLegacyNotifiee(publisher, a);
    publisher.publishChange(131);
    EXPECT_THAT(log, ElementsAre("b:131", "plain", "a:131"));
}

TEST_F(LegacyNotifieeTest, IterationSkipsPlainSubscribers) {
    TestSupport::Observer<> const first(publisher);
    Impl::addLegacyNotifiee(publisher, a);
    TestSupport::Observer<> const middle(publisher);
    Impl::addLegacyNotifiee(publisher, b);
    TestSupport::Observer<> const last(publisher);

    EXPECT_EQ(Impl::iteratorLegacyNotifiee(publisher, nullptr), &a);
    EXPECT_EQ(Impl::iteratorLegacyNotifiee(publisher, &a), &b);
    EXPECT_EQ(Impl::iteratorLegacyNotifiee(publisher, &b), nullptr);
}

TEST_F(LegacyNotifieeTest, IterationOfAPublisherWithPlainSubscribersOnlyEndsAtOnce) {
    TestSupport::Observer<> const plain(publisher);
    EXPECT_EQ(Impl::iteratorLegacyNotifiee(publisher, nullptr), nullptr);
}

TEST_F(LegacyNotifieeTest, IterationOfAPublisherWithoutSubscribersEndsAtOnce) {
    EXPECT_EQ(Impl::iteratorLegacyNotifiee(publisher, nullptr), nullptr);
}

TEST_F(LegacyNotifieeTest, VisitsEachNotifieeInOrderOfRegistration) {
    Impl::addLegacyNotifiee(publisher, b);
    TestSupport::Observer<> const plain(publisher);
    Impl::addLegacyNotifiee(publisher, a);
    EXPECT_THAT(visited(), ElementsAre(&b, &a));
}

TEST_F(LegacyNotifieeTest, VisitsNothingWhereThereIsNoNotifiee) {
    TestSupport::Observer<> const plain(publisher);
    EXPECT_THAT(visited(), IsEmpty());
}

TEST_F(LegacyNotifieeTest, TheSubscriberLeadsBackToItsNotifiee) {
    EXPECT_EQ(LegacyNotifiee::of(&a.subscriber()), &a);
}

TEST_F(LegacyNotifieeTest, APlainSubscriberHasNoNotifiee) {
    TestSupport::Observer<> const plain(publisher);
    EXPECT_EQ(LegacyNotifiee::of(publisher.first()), nullptr);
}

} // namespace
} // namespace QorNuvio
