#include "platform/Nuvio/String.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Nuvio {
namespace {

static_assert(sizeof(String) == sizeof(void *), "a String is one pointer");

TEST(String, IsEmptyByDefault) {
    String const text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.size(), 0U);
    EXPECT_STREQ(text.data(), "");
    EXPECT_EQ(text.view(), "");
}

TEST(String, TheEmptyTextHasNoBuffer) {
    EXPECT_EQ(Impl::StrB::make(""), nullptr);
    EXPECT_TRUE(String("").empty());
    EXPECT_EQ(String(""), String());
}

TEST(String, HoldsACopyOfACString) {
    char source[] = "Ethernet4";
    String const text(source);
    source[0] = 'X';
    EXPECT_EQ(text.view(), "Ethernet4");
    EXPECT_EQ(text.size(), 9U);
    EXPECT_FALSE(text.empty());
}

TEST(String, HoldsACopyOfAViewAndClosesItWithAZero) {
    std::string_view const whole = "PortChannel10.100";
    String const text(whole.substr(0, 13));
    EXPECT_EQ(text.view(), "PortChannel10");
    EXPECT_EQ(std::strlen(text.data()), 13U);
}

TEST(String, KeepsZerosInside) {
    std::string_view const source("a\0b", 3);
    String const text(source);
    EXPECT_EQ(text.size(), 3U);
    EXPECT_EQ(text.view(), source);
}

TEST(String, ACopySharesTheCharacters) {
    String const text("Ethernet4");
    String const copy = text; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.data(), text.data());
}

TEST(String, TheCharactersLiveAsLongAsAnyCopy) {
    String copy;
    char const *characters = nullptr;
    {
        String const text("Ethernet4");
        characters = text.data();
        copy = text;
    }
    EXPECT_STREQ(characters, "Ethernet4");
    EXPECT_EQ(copy.data(), characters);
}

TEST(String, AMoveHandsTheCharactersOver) {
    String text("Ethernet4");
    char const *const characters = text.data();
    String const moved = std::move(text);
    EXPECT_EQ(moved.data(), characters);
    EXPECT_TRUE(text.empty()); // NOLINT(bugprone-use-after-move): a moved-from String is empty
}

TEST(String, AssignmentReplacesTheText) {
    String text("Ethernet4");
    text = String("Ethernet5");
    EXPECT_EQ(text.view(), "Ethernet5");
    String &same = text;
    text = same;
    EXPECT_EQ(text.view(), "Ethernet5");
    text = String();
    EXPECT_TRUE(text.empty());
}

TEST(String, EqualityComparesTheText) {
    EXPECT_EQ(String("Ethernet4"), String(std::string_view("Ethernet4")));
    EXPECT_NE(String("Ethernet4"), String("Ethernet40"));
    EXPECT_NE(String("Ethernet4"), String());
    EXPECT_NE(String(std::string_view("a\0b", 3)), String(std::string_view("a\0c", 3)));
}

TEST(String, PrintsItsText) {
    std::ostringstream out;
    out << String("Ethernet4") << '|' << String();
    EXPECT_EQ(out.str(), "Ethernet4|");
}

TEST(StringDeathTest, ATextOfFourGibibytesIsAnAssertion) {
    // Nothing is read of it before it is refused.
    std::string_view const text("x", std::numeric_limits<std::uint32_t>::max());
    EXPECT_DEATH(String{text}, "size=4294967295");
}

TEST(String, IsCopiedByManyThreadsWhileTheSwitchIsOn) {
    ThreadControl::tsp_ = true;
    {
        String shared("PortChannel10.100");
        std::vector<std::thread> threads;
        std::vector<int> mismatches(4, -1);
        for (auto &mismatch : mismatches) {
            threads.emplace_back([own = shared, &mismatch]() mutable {
                int different = 0;
                for (int round = 0; round < 5000; ++round) {
                    String const copy = own;
                    different += copy == own ? 0 : 1;
                    own = copy;
                }
                different += own.view() == "PortChannel10.100" ? 0 : 1;
                mismatch = different;
            });
        }
        shared = String(); // the last release happens on one of the threads
        for (auto &thread : threads) {
            thread.join();
        }
        EXPECT_EQ(mismatches, std::vector<int>(4, 0));
    }
    ThreadControl::tsp_ = false;
}

} // namespace
} // namespace Nuvio
