#include "platform/QorNuvio/StateObject.h"

#include "platform/Qor.h"
#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <vector>

namespace QorNuvio {
namespace {

using testing::ElementsAre;

class Flag final : public StateObject, public Qor::PoolAllocated<Flag> {
  public:
    static constexpr std::string_view qorTypeName = "StateObjectTest::Flag";
    static constexpr short raisedAttribute = 140;

    void raisedIs(bool raised) { attributeIs(raised_, raisedAttribute, raised); }
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override {
        static constexpr Qor::TypeImpl type(qorTypeName);
        static constexpr Qor::TypeImpl const *types[] = {&type};
        static constexpr Qor::Module module{"StateObjectTest", types};
        return {&module, 0};
    }

  private:
    bool raised_ = false;
};

class RecordingNotifiee final : public LegacyNotifiee {
  public:
    ~RecordingNotifiee() override = default;
    void handleChange(short attributeId, void const * /*key*/) noexcept override {
        attributes.push_back(attributeId);
    }
    std::vector<short> attributes;
};

class StateObjectTest : public TestSupport::CensusTest {
  protected:
    Qor::Ptr<Flag> flag = Qor::make<Flag>();
    RecordingNotifiee notifiee;
};

TEST_F(StateObjectTest, ANotifieeOfTheObjectHearsItsChanges) {
    flag->addLegacyNotifiee(notifiee);
    flag->raisedIs(true);
    EXPECT_THAT(notifiee.attributes, ElementsAre(Flag::raisedAttribute));
}

TEST_F(StateObjectTest, ARemovedNotifieeHearsNothing) {
    flag->addLegacyNotifiee(notifiee);
    flag->removeLegacyNotifiee(notifiee);
    flag->raisedIs(true);
    EXPECT_TRUE(notifiee.attributes.empty());
}

TEST_F(StateObjectTest, NotificationsSwitchedOffReachNoNotifiee) {
    flag->addLegacyNotifiee(notifiee);
    flag->hasNotificationActiveIs(false);
    flag->raisedIs(true);
    EXPECT_TRUE(notifiee.attributes.empty());
}

TEST_F(StateObjectTest, IteratesOverItsNotifieesOnly) {
    TestSupport::Observer<> const plain(*flag);
    flag->addLegacyNotifiee(notifiee);
    EXPECT_EQ(flag->iteratorLegacyNotifiee(nullptr), &notifiee);
    EXPECT_EQ(flag->iteratorLegacyNotifiee(&notifiee), nullptr);
}

TEST_F(StateObjectTest, VisitsItsNotifiees) {
    flag->addLegacyNotifiee(notifiee);
    std::vector<LegacyNotifiee *> visited;
    flag->visitLegacyNotifiee([&visited](LegacyNotifiee &each) { visited.push_back(&each); });
    EXPECT_THAT(visited, ElementsAre(&notifiee));
}

TEST_F(StateObjectTest, AConstObjectCanBeObserved) {
    Flag const &readOnly = *flag;
    readOnly.addLegacyNotifiee(notifiee);
    flag->raisedIs(true);
    readOnly.removeLegacyNotifiee(notifiee);
    flag->raisedIs(false);
    EXPECT_THAT(notifiee.attributes, ElementsAre(Flag::raisedAttribute));
}

TEST_F(StateObjectTest, TheEndOfTheObjectLeavesANotifieeUnregistered) {
    flag->addLegacyNotifiee(notifiee);
    flag = nullptr;
    EXPECT_EQ(notifiee.subscriber().publisher(), nullptr);
}

} // namespace
} // namespace QorNuvio
