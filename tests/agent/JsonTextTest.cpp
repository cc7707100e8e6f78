#include "agent/JsonText.h"

#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

std::string jsonString(std::string_view text) {
    std::string to = "> ";
    appendJsonString(to, text);
    return to;
}

TEST(JsonText, APlainStringIsAppendedInQuotes) {
    EXPECT_EQ(jsonString("bond0.100"), "> \"bond0.100\"");
    EXPECT_EQ(jsonString(""), "> \"\"");
}

TEST(JsonText, WhatJsonReservesIsEscaped) {
    EXPECT_EQ(jsonString("a\"b\\c\n\x01"), R"(> "a\"b\\c\n\u0001")");
}

TEST(JsonText, AnEscapedStringReadsBackAsItWas) {
    std::string const text = "tab\t quote\" \xC3\xA4 \x7F";
    std::string json;
    appendJsonString(json, text);
    EXPECT_EQ(nlohmann::json::parse(json).get<std::string>(), text);
}

TEST(JsonText, WhatIsNotUtf8IsReplaced) {
    std::string json;
    appendJsonString(json, "a\xFF");
    EXPECT_EQ(nlohmann::json::parse(json).get<std::string>(), "a\xEF\xBF\xBD");
}

TEST(JsonText, AQuoteShowsScalarsAndNamesContainers) {
    EXPECT_EQ(quote(nullptr), "null");
    EXPECT_EQ(quote(5000), "5000");
    EXPECT_EQ(quote("x"), "\"x\"");
    EXPECT_EQ(quote(nlohmann::json::object()), "an object");
    EXPECT_EQ(quote(nlohmann::json::array()), "an array");
}

TEST(JsonText, ALongQuoteIsCutOffBetweenCharacters) {
    std::string text = "x";
    for (int i = 0; i < 200; ++i) {
        text += "\xC3\xA4";
    }
    std::string const cut = quote(text);
    EXPECT_LE(cut.size(), 110U);
    EXPECT_TRUE(cut.ends_with("\xC3\xA4..."));
}

TEST(JsonText, APrintableNameHoldsNoControlCharacter) {
    EXPECT_EQ(printable("eth1"), "eth1");
    EXPECT_EQ(printable("\033[31m"), R"(\u001b[31m)");
    EXPECT_EQ(printable("a\x7F\xC2\x9B\xC2\xA0"), "a\\u007f\\u009b\xC2\xA0");
}

TEST(JsonText, AQuoteHoldsNoControlCharacter) {
    EXPECT_EQ(quote("\x7F\xC2\x80"), R"("\u007f\u0080")");
}

TEST(JsonText, AVisibleMessageKeepsItsWordsAndShowsControlCharacters) {
    EXPECT_EQ(visible("last read: '\"\\x'"), "last read: '\"\\x'");
    EXPECT_EQ(visible("\033[2J \x7F \xC2\x9Bm"), R"(\u001b[2J \u007f \u009bm)");
    EXPECT_EQ(visible("\xC3\xA4 \xFF\xC3"), "\xC3\xA4 \xEF\xBF\xBD\xEF\xBF\xBD");
}

} // namespace
} // namespace Agent
