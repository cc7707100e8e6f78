// What all objects of a process share: the pool's free lists, the trackers behind the census, the
// counter of serials and the counts of the tables, used by many threads at once.
#include "platform/Lag.h"
#include "platform/Nuvio/HTCnt.h"
#include "tests/support/Census.h"
#include "tests/threads/Life.h"
#include "tests/threads/Switch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Threads {
namespace {

constexpr unsigned crowd = 4;

class Contention : SwitchOn, public TestSupport::CensusTest {
  protected:
    /// Run `body( number of the thread )` on several threads that begin at once.
    template <class Body> static void onManyThreads(Body body) {
        std::barrier begin(crowd);
        std::vector<std::thread> threads;
        for (unsigned number = 0; number < crowd; ++number) {
            threads.emplace_back([&begin, &body, number] {
                begin.arrive_and_wait();
                body(number);
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
};

/// Blocks that wait to be released by another thread than the one that allocated them.
class Exchange {
  public:
    struct Block {
        unsigned char *bytes = nullptr;
        std::size_t size = 0;
        unsigned char mark = 0;
    };
    /// Leave a block and take one that another left; none may be there yet.
    Block swap(Block left) {
        std::lock_guard const lock(mutex_);
        std::swap(left, slots_[next_++ % slots_.size()]);
        return left;
    }
    [[nodiscard]] std::array<Block, 61> const &slots() const { return slots_; }

  private:
    std::mutex mutex_;
    std::array<Block, 61> slots_{};
    std::size_t next_ = 0;
};

/// False when another has written into it.
bool released(Exchange::Block const &block) {
    bool intact = true;
    for (std::size_t i = 0; i < block.size; ++i) {
        intact = intact && block.bytes[i] == block.mark;
    }
    if (block.bytes) {
        Qor::Pool::release(block.bytes, block.size);
    }
    return intact;
}

TEST_F(Contention, BlocksReleasedByOtherThreadsAreHandedOutOnceEach) {
    Exchange exchange;
    std::atomic<unsigned> spoilt = 0;
    onManyThreads([&](unsigned number) {
        for (unsigned round = 0; round < 20000; ++round) {
            std::size_t const size = 16 + (round * 40) % 560; // pooled ones and larger ones
            auto const mark = static_cast<unsigned char>(number * 60 + round % 60 + 1);
            auto *const bytes = static_cast<unsigned char *>(Qor::Pool::allocate(size));
            std::memset(bytes, mark, size);
            spoilt += released(exchange.swap({bytes, size, mark})) ? 0U : 1U;
        }
    });
    for (Exchange::Block const &block : exchange.slots()) {
        spoilt += released(block) ? 0U : 1U;
    }
    EXPECT_EQ(spoilt, 0U);
}

TEST_F(Contention, TheCensusIsRightWheneverItIsTaken) {
    constexpr std::uint64_t bytes = 24;
    constexpr std::uint64_t atOnce = 50;
    static Qor::AllocTrackTypeInfo tracked("Test::Contention");
    std::atomic<unsigned> wrong = 0;
    onManyThreads([&](unsigned number) {
        for (unsigned round = 0; round < 1000; ++round) {
            if (number == 0) {
                auto const live = TestSupport::liveCount("Test::Contention");
                wrong += live.bytes == bytes * (live.objects + live.arrays) ? 0U : 1U;
                wrong += tracked.objects() <= (crowd - 1) * atOnce ? 0U : 1U;
                wrong += tracked.bytes() <= tracked.peakBytes() ? 0U : 1U;
                continue;
            }
            for (unsigned i = 0; i < atOnce; ++i) {
                i % 2 == 0 ? tracked.trackObject(bytes) : tracked.trackArray(bytes);
            }
            for (unsigned i = 0; i < atOnce; ++i) {
                i % 2 == 0 ? tracked.untrackObject(bytes) : tracked.untrackArray(bytes);
            }
        }
    });
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(tracked.bytes(), 0U);
    EXPECT_LE(tracked.peakBytes(), (crowd - 1) * atOnce * bytes);
}

struct First : Qor::PoolAllocated<First> {
    static constexpr std::string_view qorTypeName = "Test::First";
    std::uint64_t payload = 0;
};

TEST_F(Contention, TypesSeenForTheFirstTimeOnManyThreadsAreListedOnce) {
    onManyThreads([](unsigned /*number*/) {
        for (int i = 0; i < 100; ++i) {
            delete new First;
        }
    });
    auto const lines = Qor::census();
    EXPECT_EQ(std::ranges::count(lines, "Test::First", &Qor::CensusLine::type), 1);
}

TEST_F(Contention, ObjectsMadeOnManyThreadsHaveSerialsOfTheirOwn) {
    constexpr std::uint32_t perThread = 20000;
    std::vector<std::vector<std::uint32_t>> serials(crowd);
    onManyThreads([&serials](unsigned number) {
        for (std::uint32_t i = 0; i < perThread; ++i) {
            auto const made = Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();
            serials[number].push_back(made->creationSerial());
        }
    });
    std::set<std::uint32_t> all;
    for (auto const &ofThread : serials) {
        EXPECT_TRUE(std::ranges::is_sorted(ofThread));
        all.insert(ofThread.begin(), ofThread.end());
    }
    EXPECT_EQ(all.size(), perThread * crowd);
}

TEST_F(Contention, AHostMayLookAtCensusAndCountersWhileTheMachineRuns) {
    using Nuvio::HTCnt;
    Sharers sharers;
    std::atomic<bool> done = false;
    std::uint64_t looks = 0;
    std::uint64_t rehashes = HTCnt::count(HTCnt::Counter::rehash);
    std::thread host([&] {
        for (; !done || looks == 0; ++looks) {
            auto const live = TestSupport::liveCounts();
            EXPECT_LE(live.size(), Qor::census().size());
            auto const now = HTCnt::count(HTCnt::Counter::rehash);
            EXPECT_GE(now, std::exchange(rehashes, now));
        }
    });
    auto const sights = Life(Quam::Synchronous::asynchronous, &sharers).live();
    done = true;
    host.join();
    sharers.drain();
    EXPECT_EQ(sights.back().where, "gone");
    EXPECT_GT(looks, 0U);
}

} // namespace
} // namespace Threads
