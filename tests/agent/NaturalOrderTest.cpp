#include "agent/NaturalOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Agent {
namespace {

TEST(NaturalOrder, NumbersCompareByTheirValue) {
    EXPECT_TRUE(naturallyBefore("eth2", "eth10"));
    EXPECT_FALSE(naturallyBefore("eth10", "eth2"));
    EXPECT_TRUE(naturallyBefore("bond0.20", "bond0.100"));
    EXPECT_TRUE(naturallyBefore("bond2.100", "bond10.1"));
}

TEST(NaturalOrder, NumbersMayBeLongerThanAnyMachineWord) {
    std::string const small = "eth" + std::string(40, '9');
    std::string const large = "eth1" + std::string(40, '0');
    EXPECT_TRUE(naturallyBefore(small, large));
    EXPECT_FALSE(naturallyBefore(large, small));
}

TEST(NaturalOrder, AllElseComparesByteByByte) {
    EXPECT_TRUE(naturallyBefore("bond0", "eth0"));
    EXPECT_TRUE(naturallyBefore("eth", "eth0"));
    EXPECT_TRUE(naturallyBefore("", "a"));
    EXPECT_TRUE(naturallyBefore("a", "\xC3\xA4"));
}

TEST(NaturalOrder, LeadingZerosDecideLast) {
    EXPECT_TRUE(naturallyBefore("eth1", "eth01"));
    EXPECT_TRUE(naturallyBefore("eth01", "eth2"));
    EXPECT_TRUE(naturallyBefore("eth01.5", "eth1.6"));
    EXPECT_TRUE(naturallyBefore("eth0", "eth00"));
}

TEST(NaturalOrder, IsAStrictTotalOrder) {
    std::vector<std::string> const names = {"",      "0",    "00",   "a",     "a0",    "a00",
                                            "a01",   "a1",   "a1.0", "a01.0", "a1.00", "a10",
                                            "a1a10", "a1a9", "b",    "eth10", "eth9",  "eth09"};
    for (auto const &a : names) {
        EXPECT_FALSE(naturallyBefore(a, a)) << a;
        for (auto const &b : names) {
            EXPECT_TRUE(a == b || naturallyBefore(a, b) != naturallyBefore(b, a)) << a << " " << b;
            for (auto const &c : names) {
                if (naturallyBefore(a, b) && naturallyBefore(b, c)) {
                    EXPECT_TRUE(naturallyBefore(a, c)) << a << " " << b << " " << c;
                }
            }
        }
    }
}

} // namespace
} // namespace Agent
