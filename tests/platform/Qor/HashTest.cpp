#include "platform/Qor/Hash.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>

namespace Qor {
namespace {

template <class... Fields> std::uint32_t hashOf(std::uint32_t seed, Fields... fields) {
    Hash hash(seed);
    (hash.hashMix(fields), ...);
    return hash.result();
}

TEST(Hash, IsAFunctionOfSeedAndField) {
    static_assert(hashSingleAttr(7, std::uint16_t{100}) == hashSingleAttr(7, std::uint16_t{100}));
    EXPECT_NE(hashSingleAttr(7, std::uint16_t{100}), hashSingleAttr(7, std::uint16_t{101}));
    EXPECT_NE(hashSingleAttr(7, std::uint16_t{100}), hashSingleAttr(8, std::uint16_t{100}));
    EXPECT_NE(hashSingleAttr(7, std::uint64_t{1}), hashSingleAttr(7, std::uint64_t{1} << 63));
}

TEST(Hash, DistinguishesSmallNumbersUnderEverySeed) {
    for (std::uint32_t const seed : {0U, 1U, 0x80000000U, 0xFFFFFFFFU}) {
        std::set<std::uint32_t> hashes;
        for (std::uint32_t i = 0; i < 4096; ++i) {
            hashes.insert(hashSingleAttr(seed, static_cast<std::uint16_t>(i)));
        }
        EXPECT_GE(hashes.size(), 4090U) << "seed " << seed;
    }
}

TEST(Hash, SpreadsConsecutiveNumbersOverTheHighBits) {
    std::array<int, 16> counts{};
    for (std::uint64_t i = 0; i < 16000; ++i) {
        ++counts[hashSingleAttr(12345, i) >> 28];
    }
    for (int const count : counts) {
        EXPECT_NEAR(count, 1000, 200);
    }
}

TEST(Hash, EveryBitOfAFieldReachesAboutHalfOfTheResult) {
    for (unsigned bit = 0; bit < 64; ++bit) {
        int flipped = 0;
        for (std::uint64_t i = 0; i < 64; ++i) {
            flipped += std::popcount(hashSingleAttr(1, i) ^
                                     hashSingleAttr(1, i ^ std::uint64_t{1} << bit));
        }
        EXPECT_NEAR(flipped, 64 * 16, 64 * 4) << "bit " << bit;
    }
}

TEST(Hash, OfSeveralFieldsDependsOnTheirOrder) {
    EXPECT_EQ(hashOf(7, std::uint64_t{1}, std::uint16_t{2}),
              hashOf(7, std::uint64_t{1}, std::uint16_t{2}));
    EXPECT_NE(hashOf(7, std::uint16_t{1}, std::uint16_t{2}),
              hashOf(7, std::uint16_t{2}, std::uint16_t{1}));
}

TEST(Hash, OfSeveralFieldsDependsOnTheirWidthAndNumber) {
    EXPECT_NE(hashOf(7, std::uint16_t{1}), hashOf(7, std::uint64_t{1}));
    EXPECT_NE(hashOf(7, std::uint16_t{0}), hashOf(7, std::uint16_t{0}, std::uint16_t{0}));
    EXPECT_NE(hashOf(7), hashOf(7, std::uint16_t{0}));
}

TEST(Hash, OfSeveralFieldsDependsOnTheSeed) {
    EXPECT_NE(hashOf(7, std::uint64_t{1}, true), hashOf(8, std::uint64_t{1}, true));
}

TEST(Hash, MixesAFlagInAsAByte) {
    EXPECT_NE(hashOf(7, true), hashOf(7, false));
    EXPECT_EQ(hashOf(7, true), hashOf(7, std::uint8_t{1}));
}

TEST(HashHelper, TheSeedCanBeReplacedForTests) {
    std::uint32_t const seed = HashHelper::hashSeed32();
    HashHelper::hashSeed32IsForTest(seed + 1);
    EXPECT_EQ(HashHelper::hashSeed32(), seed + 1);
    HashHelper::hashSeed32IsForTest(seed);
}

/// The seed is read when a process starts, so these look at it in a process of its own: what the
/// "threadsafe" style of death tests runs.
class HashSeedDeathTest : public testing::Test {
  protected:
    HashSeedDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    ~HashSeedDeathTest() override {
        GTEST_FLAG_SET(death_test_style, "fast");
        // Restored, for later tests that start a process.
        former_ ? setenv("QOR_HASH_SEED", former_->c_str(), 1) : unsetenv("QOR_HASH_SEED");
    }

    [[noreturn]] static void reportSeed() {
        std::fprintf(stderr, "seed=%u\n", HashHelper::hashSeed32());
        std::exit(0);
    }

  private:
    static std::optional<std::string> fromEnvironment() {
        char const *const value = std::getenv("QOR_HASH_SEED");
        return value ? std::optional<std::string>(value) : std::nullopt;
    }
    std::optional<std::string> former_ = fromEnvironment();
};

TEST_F(HashSeedDeathTest, TheEnvironmentFixesTheSeedInDecimal) {
    setenv("QOR_HASH_SEED", "305419896", 1);
    EXPECT_EXIT(reportSeed(), testing::ExitedWithCode(0), "seed=305419896\n");
}

TEST_F(HashSeedDeathTest, TheEnvironmentFixesTheSeedInHexadecimal) {
    setenv("QOR_HASH_SEED", "0x10", 1);
    EXPECT_EXIT(reportSeed(), testing::ExitedWithCode(0), "seed=16\n");
}

TEST_F(HashSeedDeathTest, ALeadingZeroIsStillDecimal) {
    setenv("QOR_HASH_SEED", "010", 1);
    EXPECT_EXIT(reportSeed(), testing::ExitedWithCode(0), "seed=10\n");
}

} // namespace
} // namespace Qor
