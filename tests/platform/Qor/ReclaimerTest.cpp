#include "platform/Qor/Reclaimer.h"

#include "platform/Osk.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"
#include "platform/QorNuvio/Subscribe.h"
#include "tests/platform/Qor/HashMap2018Variants.h"
#include "tests/support/Census.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>

namespace Qor {
namespace {

using MapVariants::Item;
using Map = MapVariants::KeyedByFunctor::Map;
constexpr std::uint32_t many = 20000;

class ReclaimerTest : public TestSupport::CensusTest {
  protected:
    ~ReclaimerTest() override { Reclaimer::drain(); }
    static void fill(Map &map, std::uint32_t entries) {
        for (std::uint32_t i = 0; i < entries; ++i) {
            map.newMemberG(MapVariants::KeyedByFunctor::node(i, 0));
        }
    }
    static void expectGoneAtOnce(std::uint32_t entries) {
        Map map;
        fill(map, entries);
        Ptr<Item> const held = map.begin().operator*().second;
        map.emptyLater();
        EXPECT_FALSE(Reclaimer::hasWork());
        EXPECT_EQ(held->refCount(), 1U);
    }
};

TEST_F(ReclaimerTest, ALargeMapIsEmptyAtOnceAndItsEntriesGoStepByStep) {
    Reclaimer::Runner const runner;
    Map map;
    fill(map, many);
    Ptr<Item> const held = map.begin().operator*().second;
    auto const stamp = map.stamp();
    map.emptyLater();
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.capacity(), 0U);
    EXPECT_EQ(map.stamp(), stamp + 1);
    ASSERT_TRUE(Reclaimer::hasWork());
    EXPECT_EQ(held->refCount(), 2U) << "still in the array that was let go of";
    std::uint32_t steps = 0;
    for (; Reclaimer::hasWork(); ++steps) {
        Reclaimer::step();
    }
    EXPECT_EQ(held->refCount(), 1U);
    EXPECT_GT(steps, many / 100) << "a step is short";
}

TEST_F(ReclaimerTest, ASmallMapGoesAtOnce) {
    Reclaimer::Runner const runner;
    expectGoneAtOnce(100);
}

TEST_F(ReclaimerTest, WhereNobodyWillComeToItEverythingGoesAtOnce) {
    expectGoneAtOnce(many);
}

TEST_F(ReclaimerTest, WhileReferencesMayBeReleasedOnOtherThreadsEverythingGoesAtOnce) {
    Reclaimer::Runner const runner;
    VFPtrInterface::threadSafePointers_ = true;
    expectGoneAtOnce(many);
    VFPtrInterface::threadSafePointers_ = false;
}

TEST_F(ReclaimerTest, TheLastRunnerToGoLeavesNothingBehind) {
    Map map;
    fill(map, many);
    {
        Reclaimer::Runner const runner;
        map.emptyLater();
        EXPECT_TRUE(Reclaimer::hasWork());
    }
    EXPECT_FALSE(Reclaimer::hasWork());
}

TEST_F(ReclaimerTest, TheCensusListsOnlyWhatSomebodyCanReach) {
    Reclaimer::Runner const runner;
    Map map;
    fill(map, many);
    map.emptyLater();
    EXPECT_EQ(TestSupport::liveCount("Test::Item").objects, 0U);
    EXPECT_FALSE(Reclaimer::hasWork());
}

/// Lets go of a large map of its own in its step.
class Chain final : public Reclaimer::Discarded {
  public:
    explicit Chain(Map &map) noexcept : map_(map) {}
    bool step() noexcept override {
        map_.emptyLater();
        census(); // in the middle of a step there is no other
        return false;
    }

  private:
    Map &map_;
};

TEST_F(ReclaimerTest, WhatIsTakenApartMayHandMoreOver) {
    Reclaimer::Runner const runner;
    Map map;
    fill(map, many);
    Reclaimer::take(std::make_unique<Chain>(map));
    Reclaimer::step();
    EXPECT_TRUE(map.empty());
    EXPECT_TRUE(Reclaimer::hasWork()) << "the map's array";
    Reclaimer::drain();
    EXPECT_FALSE(Reclaimer::hasWork());
}

TEST_F(ReclaimerTest, ASchedulerComesToItWhenNoTaskIsReadyInSlicesOfTheShare) {
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    scheduler->shareIs(std::make_unique<Osk::CountShare>(10));
    auto const task = make<Osk::Task>(scheduler, Osk::TaskPriority::background, "task");
    bool hasWorkInTheRun = false;
    Nuvio::Subscriber subscriber(
        [](Nuvio::Publisher *, Nuvio::Subscriber *own, short, void const *, void const *) noexcept {
            *static_cast<bool *>(own->owner()) = Reclaimer::hasWork();
        },
        &hasWorkInTheRun);
    QorNuvio::subscribeTo(subscriber, task);
    Map map;
    fill(map, many);
    map.emptyLater();
    EXPECT_TRUE(scheduler->hasWork());
    task->scheduleTask();
    ASSERT_TRUE(scheduler->runOne());
    EXPECT_TRUE(hasWorkInTheRun) << "tasks come first";
    std::uint32_t slices = 0;
    while (scheduler->runOne()) {
        ++slices;
    }
    EXPECT_GT(slices, 10U);
    EXPECT_FALSE(scheduler->hasWork());
    QorNuvio::unsubscribeFrom(subscriber, task);
}

TEST_F(ReclaimerTest, RunningUntilIdleLeavesNothingAndCountsRunsOfTasksOnly) {
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    Map map;
    fill(map, many);
    map.emptyLater();
    EXPECT_EQ(scheduler->runUntilIdle(), 0U);
    EXPECT_FALSE(Reclaimer::hasWork());
}

} // namespace
} // namespace Qor
