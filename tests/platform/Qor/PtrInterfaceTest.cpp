#include "platform/Qor/PtrInterface.h"

#include "tests/support/Census.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Qor {
namespace {

constexpr TypeImpl thingType("Test::Thing");
constexpr std::array<TypeImpl const *, 1> types{&thingType};
constexpr Module testModule{"PtrInterfaceTest", types};

/// A counted object that tells when it dies, and whose construction a test can meddle with.
class Thing : public PtrInterface, public PoolAllocated<Thing> {
  public:
    static constexpr std::string_view qorTypeName = "Test::Thing";

    Thing() = default;
    explicit Thing(int *deathCount) : deaths_(deathCount) {}
    template <class Meddle> Thing(int *deathCount, Meddle meddle) : deaths_(deathCount) {
        meddle(this);
    }
    ~Thing() override {
        if (deaths_) {
            ++*deaths_;
        }
    }
    [[nodiscard]] FwkType fwkType() const noexcept override { return {&testModule, 0}; }

    /// Set bits of the count, where counting up would take too long.
    void bitsIs(std::uint32_t bits, bool on) noexcept { flagIs(bits, on); }

  private:
    int *deaths_ = nullptr;
};

using PtrInterfaceTest = TestSupport::CensusTest;

TEST_F(PtrInterfaceTest, TheCountMaskLeavesTheTwoFlagsOut) {
    static_assert(VFPtrInterface::countMask == 0x5FFFFFFF);
    static_assert((VFPtrInterface::countMask & VFPtrInterface::notificationActiveBit) == 0);
    static_assert((VFPtrInterface::countMask & VFPtrInterface::markedForDeletionBit) == 0);
    static_assert((VFPtrInterface::countMask | VFPtrInterface::notificationActiveBit |
                   VFPtrInterface::markedForDeletionBit) == ~0U);
    auto const thing = make<Thing>();
    thing->bitsIs(1U << 30, true);
    EXPECT_EQ(thing->refCount(), (1U << 30) + 1) << "bit 30 counts";
    thing->bitsIs(1U << 30, false);
}

TEST_F(PtrInterfaceTest, TheCountIs1DuringConstruction) {
    std::uint32_t count = 0;
    auto const thing = make<Thing>(nullptr, [&count](Thing *self) { count = self->refCount(); });
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(thing->refCount(), 1U) << "make() hands that one reference over";
}

TEST_F(PtrInterfaceTest, ReferencesTakenAndReleasedDuringConstructionDisposeOfNothing) {
    int deaths = 0;
    auto const thing = make<Thing>(&deaths, [](Thing *self) { Ptr<Thing> const mine(self); });
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(thing->refCount(), 1U);
}

TEST_F(PtrInterfaceTest, AReferenceKeptByTheConstructorKeepsTheObject) {
    int deaths = 0;
    Ptr<Thing> kept;
    auto thing = make<Thing>(&deaths, [&kept](Thing *self) { kept = Ptr<Thing>(self); });
    EXPECT_EQ(thing->refCount(), 2U);
    thing = nullptr;
    EXPECT_EQ(deaths, 0);
    kept = nullptr;
    EXPECT_EQ(deaths, 1);
}

TEST_F(PtrInterfaceTest, AConstructorThatThrowsFreesTheMemoryOnceAndDisposesOfNothing) {
    int deaths = 0;
    auto const fail = [](Thing *self) {
        { Ptr<Thing> const mine(self); }
        EXPECT_EQ(TestSupport::liveCount("Test::Thing").objects, 1U);
        throw std::runtime_error("no");
    };
    EXPECT_THROW(static_cast<void>(make<Thing>(&deaths, fail)), std::runtime_error);
    EXPECT_EQ(deaths, 0) << "what was not constructed is not destroyed";
    EXPECT_EQ(TestSupport::liveCount("Test::Thing").objects, 0U);
}

TEST_F(PtrInterfaceTest, IsDisposedOfWithItsLastReference) {
    int deaths = 0;
    auto first = make<Thing>(&deaths);
    Ptr<PtrInterface const> second = first;
    first = nullptr;
    EXPECT_EQ(deaths, 0);
    second = nullptr;
    EXPECT_EQ(deaths, 1);
}

TEST_F(PtrInterfaceTest, ZeroReferencesTellsTheObjectThatTheLastReferenceIsGone) {
    class Reused : public Thing {
      public:
        void zeroReferencesIs(bool zero) noexcept override { told = zero; }
        bool told = false;
    };
    Reused object;
    {
        auto const pointer = Ptr<Reused>::adopt(&object);
        EXPECT_FALSE(object.told);
    }
    EXPECT_TRUE(object.told);
}

TEST_F(PtrInterfaceTest, ZeroReferencesFalseDisposesOfNothing) {
    int deaths = 0;
    auto const thing = make<Thing>(&deaths);
    thing->zeroReferencesIs(false);
    EXPECT_EQ(deaths, 0);
}

TEST_F(PtrInterfaceTest, MakeSwitchesNotificationsOn) {
    bool duringConstruction = true;
    auto const thing = make<Thing>(nullptr, [&duringConstruction](Thing *self) {
        duringConstruction = self->hasNotificationActive();
    });
    EXPECT_FALSE(duringConstruction);
    EXPECT_TRUE(thing->hasNotificationActive());
}

TEST_F(PtrInterfaceTest, TheFlagsAreIndependentOfEachOtherAndOfTheCount) {
    auto const thing = make<Thing>();
    for (bool const active : {false, true}) {
        for (bool const marked : {false, true}) {
            thing->hasNotificationActiveIs(active);
            thing->qorMarkedForDeletionIs(marked);
            EXPECT_EQ(thing->hasNotificationActive(), active);
            EXPECT_EQ(thing->qorMarkedForDeletion(), marked);
            EXPECT_EQ(thing->refCount(), 1U);
            Ptr<Thing> const another = thing;
            EXPECT_EQ(thing->refCount(), 2U);
            EXPECT_EQ(thing->hasNotificationActive(), active);
            EXPECT_EQ(thing->qorMarkedForDeletion(), marked);
        }
    }
}

TEST_F(PtrInterfaceTest, TheLastReleaseDisposesWhateverTheFlagsAre) {
    int deaths = 0;
    for (bool const set : {false, true}) {
        auto const thing = make<Thing>(&deaths);
        thing->hasNotificationActiveIs(set);
        thing->qorMarkedForDeletionIs(set);
    }
    EXPECT_EQ(deaths, 2);
}

TEST_F(PtrInterfaceTest, ZombieReactorsMarkForDeletion) {
    auto const thing = make<Thing>();
    thing->qorDoZombieReactors(true);
    EXPECT_TRUE(thing->qorMarkedForDeletion());
    thing->qorDoZombieReactors(false);
    EXPECT_FALSE(thing->qorMarkedForDeletion());
}

TEST_F(PtrInterfaceTest, NothingIsListedForAnObjectThatPublishesNothing) {
    EXPECT_EQ(make<Thing>()->notifieeList(), nullptr);
}

TEST_F(PtrInterfaceTest, SerialsCountCreationsFrom1) {
    VFPtrInterface::creationSerialResetForTest();
    auto const first = make<Thing>();
    auto const second = make<Thing>();
    EXPECT_EQ(first->creationSerial(), 1U);
    EXPECT_EQ(second->creationSerial(), 2U);
}

TEST_F(PtrInterfaceTest, TheSerialFitsIntoThePaddingBehindTheCountWord) {
    static_assert(sizeof(VFPtrInterface) == 8);
    static_assert(sizeof(PtrInterface) == 16, "virtual table, count word, serial");
}

TEST_F(PtrInterfaceTest, CountsFlagsAndTrackersAreSafeAcrossThreadsWhileTheSwitchIsOn) {
    VFPtrInterface::threadSafePointers_ = true;
    int deaths = 0;
    {
        auto shared = make<Thing>(&deaths);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([own = shared]() mutable {
                for (int round = 0; round < 3000; ++round) {
                    auto copy = own;
                    own = std::move(copy);
                    auto const another = make<Thing>(); // pool, tracker and serial
                    if (!own->hasNotificationActive() || another->creationSerial() == 0) {
                        std::abort();
                    }
                }
            });
        }
        for (int round = 0; round < 3000; ++round) {
            shared->qorMarkedForDeletionIs(round % 2 == 0);
        }
        EXPECT_FALSE(shared->qorMarkedForDeletion());
        shared = nullptr; // the last release happens on one of the threads
        for (auto &thread : threads) {
            thread.join();
        }
    }
    VFPtrInterface::threadSafePointers_ = false;
    EXPECT_EQ(deaths, 1);
}

TEST_F(PtrInterfaceTest, SerialsOfManyThreadsAreDistinct) {
    VFPtrInterface::threadSafePointers_ = true;
    VFPtrInterface::creationSerialResetForTest();
    std::vector<std::vector<std::uint32_t>> perThread(4);
    std::vector<std::thread> threads;
    for (auto &serials : perThread) {
        threads.emplace_back([&serials] {
            for (int i = 0; i < 500; ++i) {
                serials.push_back(make<Thing>()->creationSerial());
            }
        });
    }
    std::set<std::uint32_t> seen;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i].join();
        for (std::uint32_t const serial : perThread[i]) {
            EXPECT_TRUE(seen.insert(serial).second) << serial;
        }
    }
    VFPtrInterface::threadSafePointers_ = false;
    EXPECT_EQ(seen.size(), 2000U);
}

#ifndef NDEBUG
TEST(PtrInterfaceDeathTest, TheCountNeverReachesTheNotificationBit) {
    auto const thing = make<Thing>();
    constexpr std::uint32_t almostAll = VFPtrInterface::notificationActiveBit - 4;
    thing->bitsIs(almostAll, true); // the count is 2^29 - 3
    thing->refAdd();
    EXPECT_DEATH(thing->refAdd(), "notificationActiveBit");
    static_cast<void>(thing->refDel());
    thing->bitsIs(almostAll, false);
}

TEST(PtrInterfaceDeathTest, ReleasingMoreThanWasTakenIsAnAssertion) {
    auto const thing = make<Thing>();
    thing->bitsIs(1, false);
    EXPECT_DEATH(static_cast<void>(thing->refDel()), "refCount\\(\\) != 0");
    thing->bitsIs(1, true);
}
#endif

} // namespace
} // namespace Qor
