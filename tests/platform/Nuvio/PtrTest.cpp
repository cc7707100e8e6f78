#include "platform/Nuvio/Ptr.h"

#include <gtest/gtest.h>

#include <concepts>
#include <thread>
#include <utility>
#include <vector>

namespace Nuvio {
namespace {

/// Counts its references where the test can see them, and disposes of nothing.
class Counted {
  public:
    void refAdd() const noexcept { ++count; }
    [[nodiscard]] bool refDel() const noexcept { return --count == 0; }
    void handleZeroRef() const noexcept { ++disposals; }

    mutable int count = 0;
    mutable int disposals = 0;
};
class Derived : public Counted {};

/// Tells when it dies.
class Mortal : public RefCounted {
  public:
    explicit Mortal(int *deathCount) noexcept : deaths_(deathCount) {}
    ~Mortal() override { ++*deaths_; }

  private:
    int *deaths_;
};

static_assert(std::convertible_to<Ptr<Derived>, Ptr<Counted>>);
static_assert(std::convertible_to<Ptr<Counted>, Ptr<Counted const>>);
static_assert(!std::constructible_from<Ptr<Derived>, Ptr<Counted> const &>);
static_assert(!std::constructible_from<Ptr<Counted>, Ptr<Counted const> const &>);
static_assert(!std::convertible_to<Counted *, Ptr<Counted>>, "taking a reference is explicit");

TEST(Ptr, IsNullByDefault) {
    Ptr<Counted> const pointer;
    EXPECT_FALSE(pointer);
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_EQ(pointer, nullptr);
    EXPECT_EQ(pointer, Ptr<Counted>(nullptr));
}

TEST(Ptr, TakesAReferenceAndReleasesItInItsDestructor) {
    Counted object;
    {
        Ptr<Counted> const pointer(&object);
        EXPECT_EQ(object.count, 1);
        EXPECT_EQ(object.disposals, 0);
    }
    EXPECT_EQ(object.count, 0);
    EXPECT_EQ(object.disposals, 1);
}

TEST(Ptr, ACopyTakesAReferenceOfItsOwn) {
    Counted object;
    Ptr<Counted> const first(&object);
    {
        Ptr<Counted> const second(first); // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_EQ(object.count, 2);
        EXPECT_EQ(first, second);
    }
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(object.disposals, 0);
}

TEST(Ptr, AMoveHandsTheReferenceOver) {
    Counted object;
    Ptr<Counted> first(&object);
    Ptr<Counted> const second(std::move(first));
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(first, nullptr); // NOLINT(bugprone-use-after-move): a moved-from Ptr is null
    EXPECT_EQ(second.get(), &object);
}

TEST(Ptr, CopyAssignmentReleasesWhatItHeld) {
    Counted former;
    Counted object;
    Ptr<Counted> pointer(&former);
    Ptr<Counted> const other(&object);
    pointer = other;
    EXPECT_EQ(former.disposals, 1);
    EXPECT_EQ(object.count, 2);
}

TEST(Ptr, MoveAssignmentReleasesWhatItHeldAtOnce) {
    Counted former;
    Counted object;
    Ptr<Counted> pointer(&former);
    Ptr<Counted> other(&object);
    pointer = std::move(other);
    EXPECT_EQ(former.disposals, 1);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(other, nullptr); // NOLINT(bugprone-use-after-move): a moved-from Ptr is null
}

TEST(Ptr, SurvivesAssignmentToItself) {
    Counted object;
    Ptr<Counted> pointer(&object);
    Ptr<Counted> &same = pointer;
    pointer = same;
    EXPECT_EQ(object.count, 1);
    pointer = std::move(same);
    EXPECT_EQ(pointer.get(), &object);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(object.disposals, 0);
}

TEST(Ptr, ConvertsToAPointerToTheBase) {
    Derived object;
    Ptr<Derived> const derived(&object);
    Ptr<Counted const> const base = derived;
    EXPECT_EQ(object.count, 2);
    EXPECT_EQ(base, derived);
}

TEST(Ptr, AConvertingMoveTakesNoReference) {
    Derived object;
    Ptr<Derived> derived(&object);
    Ptr<Counted> const base = std::move(derived);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(derived, nullptr); // NOLINT(bugprone-use-after-move): a moved-from Ptr is null
}

TEST(Ptr, AdoptTakesNoReference) {
    Counted object;
    object.count = 1;
    {
        auto const pointer = Ptr<Counted>::adopt(&object);
        EXPECT_EQ(object.count, 1);
    }
    EXPECT_EQ(object.disposals, 1);
}

TEST(Ptr, DetachReleasesNoReference) {
    Counted object;
    {
        Ptr<Counted> pointer(&object);
        EXPECT_EQ(pointer.detach(), &object);
        EXPECT_EQ(pointer, nullptr);
    }
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(object.disposals, 0);
}

TEST(Ptr, SwapExchangesTheObjectsAndTouchesNoCount) {
    Counted one;
    Counted two;
    Ptr<Counted> first(&one);
    Ptr<Counted> second(&two);
    first.swap(second);
    EXPECT_EQ(first.get(), &two);
    EXPECT_EQ(second.get(), &one);
    EXPECT_EQ(one.count, 1);
    EXPECT_EQ(two.count, 1);
}

TEST(Ptr, EqualityIsIdentity) {
    Counted one;
    Counted two;
    EXPECT_EQ(Ptr<Counted>(&one), Ptr<Counted const>(&one));
    EXPECT_NE(Ptr<Counted>(&one), Ptr<Counted>(&two));
    EXPECT_NE(Ptr<Counted>(&one), nullptr);
}

TEST(PtrDeathTest, DereferencingNullIsAnAssertion) {
    Ptr<Counted> const null;
    EXPECT_DEATH(static_cast<void>(null->count), "Ptr<.*Assertion `pointer is not null' failed");
    EXPECT_DEATH(static_cast<void>(*null), "Assertion `pointer is not null' failed");
}

TEST(RefCounted, StartsWithTheOneReferenceThatItsCreatorAdopts) {
    int deaths = 0;
    {
        auto const pointer = Ptr<Mortal>::adopt(new Mortal(&deaths));
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);
}

TEST(RefCounted, DiesWithTheLastReferenceOnly) {
    int deaths = 0;
    auto first = Ptr<Mortal>::adopt(new Mortal(&deaths));
    auto second = first;
    first = nullptr;
    EXPECT_EQ(deaths, 0);
    second = nullptr;
    EXPECT_EQ(deaths, 1);
}

TEST(RefCounted, DiesThroughAPointerToConst) {
    int deaths = 0;
    { Ptr<Mortal const> const pointer = Ptr<Mortal>::adopt(new Mortal(&deaths)); }
    EXPECT_EQ(deaths, 1);
}

TEST(RefCounted, CountsFromManyThreadsWhileTheSwitchIsOn) {
    ThreadControl::tsp_ = true;
    int deaths = 0;
    {
        auto shared = Ptr<Mortal>::adopt(new Mortal(&deaths));
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([own = shared]() mutable {
                for (int round = 0; round < 5000; ++round) {
                    auto copy = own;
                    own = std::move(copy);
                }
            });
        }
        shared = nullptr; // the last release happens on one of the threads
        for (auto &thread : threads) {
            thread.join();
        }
    }
    ThreadControl::tsp_ = false;
    EXPECT_EQ(deaths, 1);
}

} // namespace
} // namespace Nuvio
