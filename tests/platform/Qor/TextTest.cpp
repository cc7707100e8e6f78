#include "platform/Qor/Text.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace Qor {
namespace {

/// What `read` reports of a text that does not parse.
template <class Read> std::string complaint(Read read) {
    try {
        static_cast<void>(read());
    } catch (RangeException const &error) {
        return error.what();
    }
    return "it was read";
}

/// A value type as the generated ones are: parsed by its constructor.
struct Vlan {
    explicit Vlan(CharRange &range) {
        range.needString("Value('Vlan', ** {'id': ");
        id = range.needNumber(4094);
        range.needString(", 'tagged': ");
        tagged = deserializeAttr<bool>(range, "tagged");
        range.needString("})");
    }
    std::uint64_t id = 0;
    bool tagged = false;
};
constexpr Vlan const *aVlan = nullptr;

TEST(CharRange, StartsAtTheBeginning) {
    CharRange const range("abc");
    EXPECT_EQ(range.offset(), 0U);
    EXPECT_EQ(range.rest(), "abc");
}

TEST(CharRange, ReadsALiteral) {
    CharRange range("Value(1)");
    range.needString("Value(");
    EXPECT_EQ(range.offset(), 6U);
    EXPECT_EQ(range.rest(), "1)");
}

TEST(CharRange, AFailedReadLeavesItWhereItWas) {
    CharRange range("xValue('open");
    range.needString("x");
    EXPECT_THROW(range.needString("Valve"), RangeException);
    EXPECT_THROW(static_cast<void>(range.needNumber(10)), RangeException);
    EXPECT_THROW(static_cast<void>(range.needQuoted()), RangeException);
    EXPECT_FALSE(range.takeString("Valve"));
    EXPECT_EQ(range.offset(), 1U);
    range.needString("Value(");
    EXPECT_THROW(static_cast<void>(range.needQuoted()), RangeException)
        << "the quote is not closed";
    EXPECT_EQ(range.offset(), 7U);
}

TEST(CharRange, AnErrorSaysWhatWasExpectedAndWhatStandsAtWhichOffset) {
    EXPECT_EQ(complaint([] {
                  CharRange range("ab cd");
                  range.needString("ab ");
                  range.needString("xy");
                  return 0;
              }),
              "offset 3: expected \"xy\", found \"cd\"");
}

TEST(CharRange, AnErrorAtTheEndSaysSo) {
    EXPECT_EQ(complaint([] {
                  CharRange range("ab");
                  range.needString("ab");
                  range.needString("c");
                  return 0;
              }),
              "offset 2: expected \"c\", found the end");
}

TEST(CharRange, AnErrorShowsTheFirst24CharactersOfALongRest) {
    std::string const digits = "012345678901234567890123";
    auto const readX = [](std::string const &text) {
        return complaint([&text] {
            CharRange range(text);
            range.needString("x");
            return 0;
        });
    };
    EXPECT_EQ(readX(digits), "offset 0: expected \"x\", found \"" + digits + "\"");
    EXPECT_EQ(readX(digits + '4'), "offset 0: expected \"x\", found \"" + digits + "...\"");
}

TEST(CharRange, TakeStringReadsTheLiteralOnlyIfItStandsThere) {
    CharRange range("TrueFalse");
    EXPECT_FALSE(range.takeString("False"));
    EXPECT_TRUE(range.takeString("True"));
    EXPECT_TRUE(range.takeString("False"));
    EXPECT_TRUE(range.takeString(""));
    EXPECT_FALSE(range.takeString("x"));
}

TEST(CharRange, CheckAllDataConsumedRejectsWhatIsLeft) {
    CharRange range("ab");
    EXPECT_EQ(complaint([&range] {
                  range.checkAllDataConsumed();
                  return 0;
              }),
              "offset 0: expected the end, found \"ab\"");
    range.needString("ab");
    EXPECT_NO_THROW(range.checkAllDataConsumed());
}

TEST(CharRange, ReadsANumberUpToItsLimit) {
    CharRange range("0,4094,18446744073709551615;");
    EXPECT_EQ(range.needNumber(4094), 0U);
    range.needString(",");
    EXPECT_EQ(range.needNumber(4094), 4094U);
    range.needString(",");
    EXPECT_EQ(range.needNumber(std::numeric_limits<std::uint64_t>::max()),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(range.rest(), ";");
}

TEST(CharRange, RejectsWhatIsNotANumberWithinTheLimit) {
    auto const read = [](std::string_view text) {
        return complaint([text] { return CharRange(text).needNumber(4094); });
    };
    EXPECT_EQ(read("4095"), "offset 0: expected a number from 0 to 4094, found \"4095\"");
    EXPECT_EQ(read("-1"), "offset 0: expected a number from 0 to 4094, found \"-1\"");
    EXPECT_EQ(read("+1"), "offset 0: expected a number from 0 to 4094, found \"+1\"");
    EXPECT_EQ(read(" 1"), "offset 0: expected a number from 0 to 4094, found \" 1\"");
    EXPECT_EQ(read("x"), "offset 0: expected a number from 0 to 4094, found \"x\"");
    EXPECT_EQ(read(""), "offset 0: expected a number from 0 to 4094, found the end");
    EXPECT_EQ(read("18446744073709551616"),
              "offset 0: expected a number from 0 to 4094, found \"18446744073709551616\"");
}

TEST(CharRange, ReadsAQuotedName) {
    CharRange range("'Ethernet4', 'x'");
    EXPECT_EQ(range.needQuoted(), "Ethernet4");
    EXPECT_EQ(range.rest(), ", 'x'");
}

TEST(CharRange, RejectsANameWithoutBothQuotes) {
    for (char const *const text : {"", "Ethernet4", "'Ethernet4", "'", "'a\\", "'a\\'", "\"a\""}) {
        EXPECT_THAT(complaint([text] { return CharRange(text).needQuoted(); }),
                    testing::HasSubstr("expected a name in single quotes"))
            << text;
    }
}

TEST(QuotedStrep, QuotesAndEscapes) {
    EXPECT_EQ(quotedStrep("Ethernet4"), "'Ethernet4'");
    EXPECT_EQ(quotedStrep(""), "''");
    EXPECT_EQ(quotedStrep(R"(o'clock)"), R"('o\'clock')");
    EXPECT_EQ(quotedStrep(R"(back\slash)"), R"('back\\slash')");
}

TEST(QuotedStrep, IsReadBackByNeedQuoted) {
    using namespace std::string_view_literals;
    for (auto const name : {""sv, "Ethernet4"sv, "'"sv, "\\"sv, "\\'"sv, "''\\\\"sv, "a b\n\t"sv,
                            "\xC3\xA9"sv, "zero\0inside"sv}) {
        String const text = quotedStrep(name);
        CharRange range(text.view());
        EXPECT_EQ(range.needQuoted(), name);
        EXPECT_EQ(range.rest(), "");
    }
}

TEST(ValueToStrep, PrintsFlagsAsTrueAndFalse) {
    EXPECT_EQ(valueToStrep(true), "True");
    EXPECT_EQ(valueToStrep(false), "False");
}

TEST(DeserializeAttr, ReadsAFlagAsItIsPrinted) {
    for (bool const value : {true, false}) {
        String const text = valueToStrep(value);
        CharRange range(text.view());
        EXPECT_EQ(deserializeAttr<bool>(range, "tagged"), value);
        EXPECT_NO_THROW(range.checkAllDataConsumed());
    }
}

TEST(DeserializeAttr, AnErrorNamesTheAttribute) {
    for (char const *const text : {"true", "1", "Tru", "\"True\""}) {
        EXPECT_EQ(complaint([text] {
                      CharRange range(text);
                      return deserializeAttr<bool>(range, "tagged");
                  }),
                  fmt::format("tagged: offset 0: expected True or False, found \"{}\"", text));
    }
}

TEST(DeserializeAttr, ParsesAValueByItsConstructor) {
    CharRange range("Value('Vlan', ** {'id': 100, 'tagged': True})!");
    auto const vlan = deserializeAttr<Vlan>(range, "vlan");
    EXPECT_EQ(vlan.id, 100U);
    EXPECT_TRUE(vlan.tagged);
    EXPECT_EQ(range.rest(), "!");
}

TEST(DeserializeAttr, AnErrorInANestedValueNamesThePath) {
    EXPECT_EQ(complaint([] {
                  CharRange range("Value('Vlan', ** {'id': 100, 'tagged': maybe})");
                  return deserializeAttr<Vlan>(range, "vlan").id;
              }),
              "vlan: tagged: offset 39: expected True or False, found \"maybe})\"");
}

TEST(StrepToValue, ParsesAWholeText) {
    auto const vlan = strepToValue("Value('Vlan', ** {'id': 4094, 'tagged': False})", aVlan);
    EXPECT_EQ(vlan.id, 4094U);
    EXPECT_FALSE(vlan.tagged);
}

TEST(StrepToValue, RejectsCharactersLeftOver) {
    EXPECT_EQ(complaint([] {
                  return strepToValue("Value('Vlan', ** {'id': 1, 'tagged': True}) ", aVlan).id;
              }),
              "offset 43: expected the end, found \" \"");
}

TEST(StrepToValue, RejectsEveryProperPrefix) {
    std::string_view const text = "Value('Vlan', ** {'id': 100, 'tagged': True})";
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_THROW(static_cast<void>(strepToValue(text.substr(0, length), aVlan)), RangeException)
            << length;
    }
}

TEST(Format, PutsTextsIntoTheirPlaces) {
    EXPECT_EQ(_fmt("Value('Pair', ** {'a': %s, 'b': %s})", valueToStrep(true), quotedStrep("x")),
              "Value('Pair', ** {'a': True, 'b': 'x'})");
    EXPECT_EQ(_fmt("100%%"), "100%");
}

TEST(Format, KeepsATextWholeThatHoldsAZero) {
    std::string_view const name("a\0b", 3);
    EXPECT_EQ(_fmt("%s, %s", String(name), String("c")).view(), std::string_view("a\0b, c", 6));
}

} // namespace
} // namespace Qor
