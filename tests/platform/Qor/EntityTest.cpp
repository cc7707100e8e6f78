#include "platform/Qor/Entity.h"

#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <array>
#include <compare>
#include <cstdint>
#include <sstream>
#include <string_view>
#include <vector>

namespace Qor {
namespace {

struct Id {
    std::uint16_t number = 0;
    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept {
        return hashSingleAttr(seed, number);
    }
    friend auto operator<=>(Id const &, Id const &) = default;
};

constexpr TypeImpl childType("Test::Child");
constexpr TypeImpl inputType("Test::Input");
constexpr TypeImpl outputType("Test::Output");
constexpr std::array<TypeImpl const *, 3> types{&childType, &inputType, &outputType};
constexpr Module testModule{"EntityTest", types};

class Child final : public InputEntity, public PoolAllocated<Child> {
  public:
    static constexpr std::string_view qorTypeName = "Test::Child";
    explicit Child(Id key) noexcept : id_(key) {}
    [[nodiscard]] FwkType fwkType() const noexcept override { return {&testModule, 0}; }
    [[nodiscard]] Id id() const noexcept { return id_; }

  private:
    Id id_;
};
struct ChildKey {
    Id operator()(Ptr<Child> const &child) const noexcept { return child->id(); }
};

/// An entity with one attribute of each sort; Base says in which direction its data flows.
template <class Base, std::uint16_t Kind> class Sample final : public Base {
  public:
    static constexpr short membersId = 130;
    static constexpr short keysId = 131;
    static constexpr short valuesId = 132;
    static constexpr short enabledId = 133;

    [[nodiscard]] FwkType fwkType() const noexcept override { return {&testModule, Kind}; }

    HashMap2018<Id, Ptr<Child>, 1, ChildKey> members;
    HashMap2018<Id, void, 2> keys;
    HashMap2018<Id, int, 3> values;
    bool enabled = false;

    Ptr<Child> memberIs(Id id) {
        return Base::memberIs(members, membersId, id, [this, id] {
            ++created;
            return make<Child>(id);
        });
    }
    auto memberDel(Id id) { return Base::memberDel(members, membersId, id); }
    void keyIs(Id id) { Base::keyIs(keys, keysId, id); }
    auto keyDel(Id id) { return Base::memberDel(keys, keysId, id); }
    void valueIs(Id id, int value) { Base::valueIs(values, valuesId, id, value); }
    auto valueDel(Id id) { return Base::memberDel(values, valuesId, id); }
    void enabledIs(bool on) { Base::attributeIs(enabled, enabledId, on); }

    int created = 0;
};
using Input = Sample<InputEntity, 1>;
using Output = Sample<DerivedEntity, 2>;

using testing::ElementsAre;
using testing::IsEmpty;
using Observer = TestSupport::Observer<Id>;

/// The mutators are one scheme: what holds for inputs holds for what machines write.
template <class EntityType> class EntityTest : public TestSupport::CensusTest {
  public:
    Ptr<EntityType> entity = make<EntityType>();
    Observer observer{*entity};
};
using BothDirections = testing::Types<Input, Output>;
TYPED_TEST_SUITE(EntityTest, BothDirections);

auto notice(short attribute, std::uint16_t key) {
    return Observer::notice(attribute, Id{key});
}

TYPED_TEST(EntityTest, AMissingMemberIsMadeInsertedAndPublished) {
    auto const child = this->entity->memberIs(Id{5});
    EXPECT_EQ(child->id(), Id{5});
    EXPECT_EQ(required(this->entity->members.lookupNodeG(Id{5})).value(), child);
    EXPECT_THAT(this->observer.notices(), ElementsAre(notice(TypeParam::membersId, 5)));
}

TYPED_TEST(EntityTest, AnExistingMemberIsHandedOutAndNothingIsPublished) {
    auto const child = this->entity->memberIs(Id{5});
    this->observer.clear();
    EXPECT_EQ(this->entity->memberIs(Id{5}), child);
    EXPECT_EQ(this->entity->created, 1);
    EXPECT_THAT(this->observer.notices(), IsEmpty());
}

TYPED_TEST(EntityTest, ANewKeyOfASetIsPublishedAnExistingOneIsNot) {
    this->entity->keyIs(Id{5});
    this->entity->keyIs(Id{5});
    EXPECT_TRUE(this->entity->keys.memberHas(Id{5}));
    EXPECT_THAT(this->observer.notices(), ElementsAre(notice(TypeParam::keysId, 5)));
}

TYPED_TEST(EntityTest, ANewValueIsPublished) {
    this->entity->valueIs(Id{5}, 7);
    EXPECT_EQ(this->entity->values.lookupNodeG(Id{5})->value(), 7);
    EXPECT_THAT(this->observer.notices(), ElementsAre(notice(TypeParam::valuesId, 5)));
}

TYPED_TEST(EntityTest, AnotherValueReplacesTheFormerAndIsPublished) {
    this->entity->valueIs(Id{5}, 7);
    this->observer.clear();
    this->entity->valueIs(Id{5}, 8);
    EXPECT_EQ(this->entity->values.lookupNodeG(Id{5})->value(), 8);
    EXPECT_THAT(this->observer.notices(), ElementsAre(notice(TypeParam::valuesId, 5)));
}

TYPED_TEST(EntityTest, TheSameValueChangesNothingAndPublishesNothing) {
    this->entity->valueIs(Id{5}, 7);
    this->observer.clear();
    auto const stamp = this->entity->values.stamp();
    this->entity->valueIs(Id{5}, 7);
    EXPECT_EQ(this->entity->values.stamp(), stamp);
    EXPECT_THAT(this->observer.notices(), IsEmpty());
}

TYPED_TEST(EntityTest, ARemovalIsPublished) {
    this->entity->keyIs(Id{5});
    this->observer.clear();
    EXPECT_TRUE(this->entity->keyDel(Id{5}).hasValue());
    EXPECT_FALSE(this->entity->keys.memberHas(Id{5}));
    EXPECT_THAT(this->observer.notices(), ElementsAre(notice(TypeParam::keysId, 5)));
}

TYPED_TEST(EntityTest, RemovingWhatIsNotThereChangesNothingAndPublishesNothing) {
    EXPECT_FALSE(this->entity->memberDel(Id{5}).hasValue());
    EXPECT_FALSE(this->entity->keyDel(Id{5}).hasValue());
    EXPECT_FALSE(this->entity->valueDel(Id{5}).hasValue());
    EXPECT_THAT(this->observer.notices(), IsEmpty());
}

TYPED_TEST(EntityTest, APlainAttributeIsPublishedWithoutKeyWhenItChanges) {
    this->entity->enabledIs(true);
    this->entity->enabledIs(true);
    EXPECT_TRUE(this->entity->enabled);
    EXPECT_THAT(this->observer.notices(), ElementsAre(Observer::notice(TypeParam::enabledId)));
}

TYPED_TEST(EntityTest, ANoticeComesAfterTheChange) {
    std::vector<bool> present;
    this->observer.reactionIs(
        [&](auto const &heard) { present.push_back(this->entity->keys.memberHas(*heard.key)); });
    this->entity->keyIs(Id{5});
    this->entity->keyDel(Id{5});
    EXPECT_THAT(present, ElementsAre(true, false));
}

TYPED_TEST(EntityTest, TheKeyOfANoticeIsACopyThatSurvivesFurtherChanges) {
    // A raw subscriber: it looks at the key again after the map has changed below it.
    struct Watch {
        TypeParam *entity;
        Id before;
        Id after;
    } watch{this->entity.get(), {}, {}};
    Nuvio::Subscriber subscriber(
        [](Nuvio::Publisher *, Nuvio::Subscriber *self, short, void const *key,
           void const *) noexcept {
            auto &w = *static_cast<Watch *>(self->owner());
            if (w.before == Id{}) {
                w.before = *static_cast<Id const *>(key);
                for (std::uint16_t i = 1; i < 200; ++i) {
                    w.entity->keyIs(Id{i});
                }
                w.entity->keyDel(w.before);
                w.after = *static_cast<Id const *>(key);
            }
        },
        &watch);
    this->entity->publisher().subscriberAdd(subscriber, false);
    this->entity->keyIs(Id{100});
    EXPECT_EQ(watch.before, Id{100});
    EXPECT_EQ(watch.after, Id{100});
}

TYPED_TEST(EntityTest, ARemovedMemberOutlivesItsNotice) {
    Child const *const child = this->entity->memberIs(Id{5}).get();
    int alive = 0;
    this->observer.reactionIs([&](auto const &) { alive += child->id() == Id{5} ? 1 : 0; });
    this->entity->memberDel(Id{5});
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(TestSupport::liveCount("Test::Child").objects, 0U) << "but not its removal";
}

TYPED_TEST(EntityTest, ARemovedMemberIsHandedBack) {
    auto const child = this->entity->memberIs(Id{5});
    auto const removed = this->entity->memberDel(Id{5});
    EXPECT_EQ(removed->value(), child);
}

TYPED_TEST(EntityTest, PublishesNothingWhileItsNotificationsAreOff) {
    this->entity->hasNotificationActiveIs(false);
    this->entity->keyIs(Id{5});
    this->entity->enabledIs(true);
    EXPECT_TRUE(this->entity->keys.memberHas(Id{5}));
    EXPECT_THAT(this->observer.notices(), IsEmpty());
    this->entity->hasNotificationActiveIs(true);
    this->entity->keyDel(Id{5});
    EXPECT_THAT(this->observer.notices(), ElementsAre(notice(TypeParam::keysId, 5)));
}

TYPED_TEST(EntityTest, ListsThoseWhoObserveIt) {
    EXPECT_EQ(this->entity->notifieeList(), &this->entity->publisher());
    EXPECT_TRUE(this->entity->notifieeList()->hasSubscribers());
}

TYPED_TEST(EntityTest, ASubscriberMayReleaseTheLastReferenceOfTheEntity) {
    TypeParam *const raw = this->entity.get();
    this->observer.reactionIs([&](auto const &) { this->entity = nullptr; });
    raw->keyIs(Id{5});
    EXPECT_THAT(this->observer.notices(), ElementsAre(notice(TypeParam::keysId, 5)));
    EXPECT_EQ(Impl::derivedNotices(), 0);
}

TEST(Entity, PrintsItsTypesNameAndNeverAnAddress) {
    auto const entity = make<Input>();
    std::ostringstream out;
    out << entity.get() << '|' << static_cast<Entity const *>(nullptr);
    EXPECT_EQ(out.str(), "Test::Input|null");
}

// Who may write what inside which notice.

TEST(Entity, AnInputMayBeWrittenInsideANoticeOfAnInput) {
    auto const first = make<Input>();
    auto const second = make<Input>();
    Observer observer(*first);
    observer.reactionIs([&](auto const &) { second->keyIs(Id{6}); });
    first->keyIs(Id{5});
    EXPECT_TRUE(second->keys.memberHas(Id{6}));
}

TEST(Entity, AnOutputMayBeWrittenInsideAnyNotice) {
    auto const input = make<Input>();
    auto const output = make<Output>();
    Observer inputObserver(*input);
    Observer outputObserver(*output);
    inputObserver.reactionIs([&](auto const &) { output->keyIs(Id{5}); });
    outputObserver.reactionIs([&](auto const &heard) {
        if (heard.attribute == Output::keysId) {
            output->enabledIs(true);
        }
    });
    input->keyIs(Id{5});
    EXPECT_TRUE(output->enabled);
}

TEST(Entity, AnInputMayBeWrittenAgainAfterANoticeOfAnOutput) {
    auto const input = make<Input>();
    auto const output = make<Output>();
    Observer const observer(*output);
    output->keyIs(Id{5});
    input->keyIs(Id{5});
    EXPECT_TRUE(input->keys.memberHas(Id{5}));
}

#ifndef NDEBUG
TEST(EntityDeathTest, AnInputIsNotWrittenInsideANoticeOfAnOutput) {
    auto const input = make<Input>();
    auto const output = make<Output>();
    Observer observer(*output);
    observer.reactionIs([&](auto const &) { input->keyIs(Id{5}); });
    EXPECT_DEATH(output->keyIs(Id{5}), "an input was written inside a notice of an output");
}

TEST(EntityDeathTest, NotEvenAnInputThatNobodyObserves) {
    auto const unobserved = make<Input>();
    unobserved->hasNotificationActiveIs(false);
    auto const output = make<Output>();
    Observer observer(*output);
    observer.reactionIs([&](auto const &) { unobserved->enabledIs(true); });
    EXPECT_DEATH(output->keyIs(Id{5}), "an input was written inside a notice of an output");
}
#endif

} // namespace
} // namespace Qor
