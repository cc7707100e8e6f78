// The machine lives on the loop's thread while others hold references on everything of it. What is
// checked beside the results: no thread reads or writes what is not its own (run it under
// ThreadSanitizer), and nothing is left behind.
#include "tests/threads/Life.h"

#include "tests/support/Census.h"
#include "tests/threads/Switch.h"

#include <gtest/gtest.h>

namespace Threads {
namespace {

using Quam::Synchronous;

class SharedLife : public TestSupport::CensusTest {
  protected:
    /// The life as it is in a process without threads.
    static std::vector<Sight> alone(Synchronous setting) {
        Qor::VFPtrInterface::creationSerialResetForTest();
        return Life(setting, nullptr).live();
    }
    static std::vector<Sight> among(Synchronous setting, Sharers &sharers) {
        SwitchOn const on;
        Qor::VFPtrInterface::creationSerialResetForTest();
        auto sights = Life(setting, &sharers).live();
        sharers.drain();
        return sights;
    }
    static void expectTheSame(Synchronous setting) {
        auto const expected = alone(setting);
        Sharers sharers;
        EXPECT_EQ(among(setting, sharers), expected);
        EXPECT_GT(sharers.shared(), 5000U);
        EXPECT_GT(sharers.lastReleases(), 100U);
        RecordProperty("shared", std::to_string(sharers.shared()));
        RecordProperty("lastReleasesElsewhere", std::to_string(sharers.lastReleases()));
    }
};

TEST_F(SharedLife, InSlicesGoesAsItDoesAlone) {
    expectTheSame(Synchronous::asynchronous);
}

TEST_F(SharedLife, SynchronousGoesAsItDoesAlone) {
    expectTheSame(Synchronous::synchronous);
}

class Stopped : SwitchOn, public TestSupport::CensusTest {
  protected:
    Sharers sharers;
    Life life{Synchronous::asynchronous, &sharers};

    ~Stopped() override { sharers.drain(); }
};

TEST_F(Stopped, AMachineIsDismantledOnTheThreadThatHeldItLast) {
    life.fill();
    life.start();
    life.run(5);
    sharers.drain();
    auto const before = sharers.lastReleases();
    sharers.give(life.machine);
    life.machine = nullptr;
    ASSERT_EQ(TestSupport::liveCount("VlanSubIntfConfigLib::ConfigSm").objects, 1U);
    sharers.drain();
    EXPECT_EQ(sharers.lastReleases(), before + 1);
    EXPECT_EQ(TestSupport::liveCount("VlanSubIntfConfigLib::ConfigSm").objects, 0U);
    EXPECT_FALSE(life.scheduler->hasWork()) << "its tasks went with it";
}

TEST_F(Stopped, WhatAMachineOwnedDiesElsewhereWhileItsSuccessorStarts) {
    life.fill();
    for (unsigned start = 0; start < 20; ++start) {
        life.start();
        life.run(start);
        sharers.drain();
        life.shareParts();
        life.machine = nullptr;
        ASSERT_EQ(TestSupport::liveCount("VlanSubIntfConfigLib::ConfigSm").objects, 0U);
        ASSERT_GE(TestSupport::liveCount("Osk::Task").objects, 1U) << "held, and queued";
        sharers.letGo();
    }
    life.start();
    life.runUntilIdle();
    EXPECT_TRUE(life.machine->ready());
    sharers.drain();
    EXPECT_GT(sharers.lastReleases(), 20U);
    life.machine = nullptr;
    EXPECT_EQ(TestSupport::liveCount("Osk::Task").objects, 0U);
}

} // namespace
} // namespace Threads
