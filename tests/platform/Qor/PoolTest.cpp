#include "platform/Qor/Pool.h"

#include "tests/support/Census.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <set>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define POOL_STEPS_ASIDE 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define POOL_STEPS_ASIDE 1
#endif
#endif

namespace Qor {
namespace {

struct Tracked : PoolAllocated<Tracked> {
    static constexpr std::string_view qorTypeName = "Test::Tracked";
    std::array<std::byte, 40> payload{};
};
struct ThrowsInConstruction : PoolAllocated<ThrowsInConstruction> {
    static constexpr std::string_view qorTypeName = "Test::ThrowsInConstruction";
    ThrowsInConstruction() { throw 1; }
};
struct VirtualBase : PoolAllocated<VirtualBase> {
    static constexpr std::string_view qorTypeName = "Test::VirtualBase";
    VirtualBase() = default;
    VirtualBase(VirtualBase const &) = delete;
    VirtualBase &operator=(VirtualBase const &) = delete;
    virtual ~VirtualBase() = default;
};
struct LargeDerived final : VirtualBase {
    std::array<std::byte, 200> payload{};
};

/// Switches a failure that did not happen off again.
class PoolTest : public TestSupport::CensusTest {
  protected:
    ~PoolTest() override { Pool::failAfterForTest(-1); }
};

using TestSupport::liveCount;

bool isAligned(void const *block) {
    return reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t) == 0;
}

TEST_F(PoolTest, BlocksOfAllSizesAreAlignedAndDoNotOverlap) {
    std::vector<std::pair<unsigned char *, std::size_t>> blocks;
    // All of the smallest, and some on both sides of the edges of every class of the larger ones.
    for (std::size_t size = 0; size <= Pool::maxKept + 64; size += size <= 1100 ? 1 : 63) {
        for (int copy = 0; copy < 2; ++copy) {
            auto *const block = static_cast<unsigned char *>(Pool::allocate(size));
            EXPECT_TRUE(isAligned(block)) << size;
            std::memset(block, static_cast<int>(blocks.size() % 251), size);
            blocks.emplace_back(block, size);
        }
    }
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        auto const [block, size] = blocks[i];
        EXPECT_EQ(std::count(block, block + size, static_cast<unsigned char>(i % 251)),
                  static_cast<std::ptrdiff_t>(size))
            << "another block of this test was written over it";
        Pool::release(block, size);
    }
}

TEST_F(PoolTest, ServesMoreThanOneSlabOfAClass) {
    constexpr std::size_t size = 512;
    std::set<void *> blocks;
    for (int i = 0; i < 1000; ++i) { // half a megabyte
        blocks.insert(Pool::allocate(size));
    }
    EXPECT_EQ(blocks.size(), 1000U) << "no block is handed out twice";
    for (void *const block : blocks) {
        std::memset(block, 0xAB, size);
    }
    for (void *const block : blocks) {
        Pool::release(block, size);
    }
}

TEST_F(PoolTest, ServesManyMegabytesOfOneClass) {
    constexpr std::size_t size = 512;
    constexpr int count = 20000; // ten megabytes
    std::vector<unsigned char *> blocks;
    for (int i = 0; i < count; ++i) {
        blocks.push_back(static_cast<unsigned char *>(Pool::allocate(size)));
        std::memset(blocks.back(), i % 251, size);
    }
    for (int i = 0; i < count; ++i) {
        auto *const block = blocks[static_cast<std::size_t>(i)];
        EXPECT_EQ(std::count(block, block + size, static_cast<unsigned char>(i % 251)),
                  static_cast<std::ptrdiff_t>(size));
        Pool::release(block, size);
    }
}

#ifndef POOL_STEPS_ASIDE
TEST_F(PoolTest, BlocksOfWholeCacheLinesStartAtOne) {
    std::vector<std::pair<void *, std::size_t>> blocks;
    // Between them blocks of all kinds, which must not push them off the lines.
    for (std::size_t const between : {16U, 48U, 80U, 513U, 700U, 32768U}) {
        for (std::size_t size = 64; size <= Pool::maxPooled; size += 64) {
            for (int i = 0; i < 300; ++i) {
                blocks.emplace_back(Pool::allocate(size), size);
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(blocks.back().first) % 64, 0U) << size;
            }
            blocks.emplace_back(Pool::allocate(between), between);
        }
    }
    for (auto const &[block, size] : blocks) {
        Pool::release(block, size);
    }
}

TEST_F(PoolTest, AReleasedBlockIsTheNextOneOfItsClass) {
    void *const block = Pool::allocate(40);
    Pool::release(block, 40);
    void *const again = Pool::allocate(33); // 33 to 48 bytes are one class
    EXPECT_EQ(again, block);
    Pool::release(again, 33);
    void *const larger = Pool::allocate(49);
    EXPECT_NE(larger, block) << "another class";
    Pool::release(larger, 49);
}

TEST_F(PoolTest, LargerBlocksAreKeptInEightClassesADoubling) {
    // The largest and the smallest size of a class, and the next class's smallest.
    for (auto const &[largest, smallest] : {std::pair{576U, 513U}, std::pair{1024U, 961U},
                                            std::pair{1152U, 1025U}, std::pair{32768U, 30721U}}) {
        void *const block = Pool::allocate(largest);
        Pool::release(block, largest);
        void *const other = Pool::allocate(smallest - 1);
        EXPECT_NE(other, block) << "the class below";
        void *const again = Pool::allocate(smallest);
        EXPECT_EQ(again, block) << smallest;
        Pool::release(again, smallest);
        Pool::release(other, smallest - 1);
    }
}

TEST_F(PoolTest, TheBlocksOfABurstServeTheNextOne) {
    for (std::size_t const size : {std::size_t{128}, std::size_t{5000}, Pool::maxKept}) {
        auto const burst = [size] {
            std::set<void *> blocks;
            for (int i = 0; i < 500; ++i) {
                blocks.insert(Pool::allocate(size));
            }
            for (void *const block : blocks) {
                Pool::release(block, size);
            }
            return blocks;
        };
        auto const first = burst();
        EXPECT_EQ(burst(), first) << size;
    }
}

TEST_F(PoolTest, ABlockReleasedWhileTheSwitchIsOnServesAllocationsOnceItIsOff) {
    for (std::size_t const size : {64U, 1000U}) {
        void *const block = Pool::allocate(size);
        VFPtrInterface::threadSafePointers_ = true;
        Pool::release(block, size);
        VFPtrInterface::threadSafePointers_ = false;
        void *const again = Pool::allocate(size);
        EXPECT_EQ(again, block);
        VFPtrInterface::threadSafePointers_ = true;
        Pool::release(again, size);
        EXPECT_EQ(Pool::allocate(size), again);
        VFPtrInterface::threadSafePointers_ = false;
        Pool::release(again, size);
    }
}

TEST_F(PoolTest, BlocksAreKeptAlsoAroundAFailureThatWasAskedFor) {
    void *const block = Pool::allocate(40);
    Pool::failAfterForTest(0);
    Pool::release(block, 40);
    EXPECT_THROW(static_cast<void>(Pool::allocate(40)), std::bad_alloc);
    EXPECT_EQ(Pool::allocate(40), block);
    Pool::release(block, 40);
}
#endif

TEST_F(PoolTest, LargeBlocksAreServedToo) {
    constexpr std::size_t megabyte = std::size_t{1} << 20;
    for (std::size_t const size : {Pool::maxKept + 1, megabyte, 4 * megabyte}) {
        void *const block = Pool::allocate(size);
        EXPECT_TRUE(isAligned(block)) << size;
        std::memset(block, 0xAB, size);
        Pool::release(block, size);
    }
}

TEST_F(PoolTest, FailsTheAllocationAfterTheGivenNumberOnce) {
    Pool::failAfterForTest(2);
    std::array<void *, 3> blocks{};
    blocks[0] = Pool::allocate(16);
    blocks[1] = Pool::allocate(Pool::maxPooled + 1); // large ones count too
    EXPECT_THROW(static_cast<void>(Pool::allocate(16)), std::bad_alloc);
    blocks[2] = Pool::allocate(16);
    Pool::release(blocks[0], 16);
    Pool::release(blocks[1], Pool::maxPooled + 1);
    Pool::release(blocks[2], 16);
}

TEST_F(PoolTest, ANegativeCountSwitchesTheFailureOff) {
    Pool::failAfterForTest(0);
    Pool::failAfterForTest(-1);
    void *const block = Pool::allocate(16);
    EXPECT_NE(block, nullptr);
    Pool::release(block, 16);
}

TEST_F(PoolTest, AllocatesFromManyThreadsWhileTheSwitchIsOn) {
    VFPtrInterface::threadSafePointers_ = true;
    std::vector<std::thread> threads;
    for (unsigned char mark = 1; mark <= 4; ++mark) {
        threads.emplace_back([mark] {
            for (int round = 0; round < 200; ++round) {
                std::size_t const size = round % 2 == 0 ? 64 : 1000;
                std::array<unsigned char *, 16> blocks{};
                for (auto &block : blocks) {
                    block = static_cast<unsigned char *>(Pool::allocate(size));
                    std::memset(block, mark, size);
                }
                for (auto *const block : blocks) {
                    if (std::count(block, block + size, mark) !=
                        static_cast<std::ptrdiff_t>(size)) {
                        std::abort(); // shared with another thread
                    }
                    Pool::release(block, size);
                }
            }
        });
    }
    for (auto &thread : threads) {
        thread.join();
    }
    VFPtrInterface::threadSafePointers_ = false;
}

// Tracking.

using AllocTrackTest = PoolTest;

TEST_F(AllocTrackTest, CountsLiveObjectsAndTheirBytes) {
    auto *const first = new Tracked;
    auto *const second = new Tracked;
    EXPECT_EQ(liveCount("Test::Tracked"), (TestSupport::LiveCount{2, 0, 2 * sizeof(Tracked)}));
    delete first;
    EXPECT_EQ(liveCount("Test::Tracked"), (TestSupport::LiveCount{1, 0, sizeof(Tracked)}));
    delete second;
    EXPECT_EQ(liveCount("Test::Tracked"), TestSupport::LiveCount());
}

TEST_F(AllocTrackTest, AConstructorThatThrowsLeavesNothingTracked) {
    EXPECT_THROW(delete new ThrowsInConstruction, int);
    EXPECT_EQ(liveCount("Test::ThrowsInConstruction"), TestSupport::LiveCount());
}

TEST_F(AllocTrackTest, AnAllocationThatFailsIsNotTracked) {
    Pool::failAfterForTest(0);
    EXPECT_THROW(delete new Tracked, std::bad_alloc);
    EXPECT_EQ(liveCount("Test::Tracked"), TestSupport::LiveCount());
}

TEST_F(AllocTrackTest, ADerivedObjectIsTrackedByItsOwnSize) {
    VirtualBase *const object = new LargeDerived;
    EXPECT_EQ(liveCount("Test::VirtualBase"), (TestSupport::LiveCount{1, 0, sizeof(LargeDerived)}));
    delete object;
    EXPECT_EQ(liveCount("Test::VirtualBase"), TestSupport::LiveCount());
}

TEST_F(AllocTrackTest, CountsArraysApartFromObjects) {
    static AllocTrackTypeInfo tracked("Test::Arrays");
    tracked.trackArray(100);
    tracked.trackObject(10);
    EXPECT_EQ(tracked.name(), "Test::Arrays");
    EXPECT_EQ(tracked.arrays(), 1U);
    EXPECT_EQ(tracked.objects(), 1U);
    EXPECT_EQ(tracked.bytes(), 110U);
    tracked.untrackArray(100);
    EXPECT_EQ(liveCount("Test::Arrays"), (TestSupport::LiveCount{1, 0, 10}));
    tracked.untrackObject(10);
}

TEST_F(AllocTrackTest, ThePeakIsTheMostThatWasLiveAtOnce) {
    static AllocTrackTypeInfo tracked("Test::Peak");
    tracked.trackObject(60);
    tracked.trackArray(40);
    tracked.untrackObject(60);
    tracked.trackObject(30);
    EXPECT_EQ(tracked.bytes(), 70U);
    EXPECT_EQ(tracked.peakBytes(), 100U);
    tracked.untrackObject(30);
    tracked.untrackArray(40);
    EXPECT_EQ(tracked.peakBytes(), 100U);
}

TEST_F(AllocTrackTest, TheCensusListsEveryTypeByName) {
    static AllocTrackTypeInfo later("Test::Census Z");
    static AllocTrackTypeInfo earlier("Test::Census A");
    earlier.trackObject(8);
    auto const lines = census();
    earlier.untrackObject(8);
    EXPECT_TRUE(std::ranges::is_sorted(lines, {}, &CensusLine::type));
    EXPECT_THAT(lines,
                testing::Contains(CensusLine{"Test::Census A", 1, 0, 8, earlier.peakBytes()}));
    EXPECT_THAT(lines, testing::Contains(CensusLine{"Test::Census Z", 0, 0, 0, 0}));
}

TEST_F(AllocTrackTest, LosesNoCountToAnotherThreadWhileTheSwitchIsOn) {
    static AllocTrackTypeInfo tracked("Test::Threads");
    VFPtrInterface::threadSafePointers_ = true;
    auto const trackMany = [] {
        for (int i = 0; i < 5000; ++i) {
            tracked.trackObject(3);
        }
    };
    std::thread other(trackMany);
    trackMany();
    other.join();
    EXPECT_EQ(tracked.objects(), 10000U);
    EXPECT_EQ(tracked.bytes(), 30000U);
    for (int i = 0; i < 10000; ++i) {
        tracked.untrackObject(3);
    }
    VFPtrInterface::threadSafePointers_ = false;
}

#ifndef NDEBUG
TEST(AllocTrackDeathTest, FreeingWhatIsNotLiveIsAnAssertion) {
    static AllocTrackTypeInfo tracked("Test::Unbalanced");
    EXPECT_DEATH(tracked.untrackObject(1), "type=Test::Unbalanced");
    tracked.trackObject(1);
    EXPECT_DEATH(tracked.untrackArray(1), "type=Test::Unbalanced");
    EXPECT_DEATH(tracked.untrackObject(2), "type=Test::Unbalanced");
    tracked.untrackObject(1);
}
#endif

// The fixture by which all suites look for leaks.

TEST(Census, TheFixtureReportsAnObjectLeftBehind) {
    class Leaky : public TestSupport::CensusTest {
      public:
        void TestBody() override {}
    };
    static Tracked *left = nullptr;
    EXPECT_NONFATAL_FAILURE(
        {
            Leaky const test;
            left = new Tracked;
        },
        "the test left objects behind");
    delete left;
}

} // namespace
} // namespace Qor
