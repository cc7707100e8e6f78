#include "platform/Qor/Value.h"

#include "tests/support/Census.h"

#include <gtest/gtest.h>

#include <any>
#include <cstdint>
#include <string>
#include <string_view>

namespace Qor {
namespace {

struct Plain : PtrInterface {
    static constexpr std::string_view qorTypeName = "ValueTest::Plain";
    [[nodiscard]] FwkType fwkType() const noexcept override;
};
struct Derived : Plain {};

constexpr TypeImpl plainType(Plain::qorTypeName);
constexpr TypeImpl const *types[] = {&plainType};
constexpr Module module{"ValueTest", types};

FwkType Plain::fwkType() const noexcept {
    return {&module, 0};
}

/// A type that prints but cannot be entered.
struct Opaque {
    int content = 0;
};

} // namespace

template <> struct ValueTraits<Opaque> {
    static constexpr std::string_view name = "ValueTest::Opaque";
    static std::string text(Opaque const &value) {
        return "opaque " + std::to_string(value.content);
    }
};

namespace {

template <class T> std::string throughText(std::string_view text) {
    return Value::parse(valueTypeOf<T>, text).text();
}

class ValueTest : public TestSupport::CensusTest {};

TEST_F(ValueTest, OfNothingIsEmptyAndHasNoType) {
    Value const nothing;
    EXPECT_TRUE(nothing.empty());
    EXPECT_EQ(nothing.type(), nullptr);
    EXPECT_EQ(nothing.text(), "-");
    EXPECT_EQ(nothing.get<bool>(), nullptr);
    EXPECT_FALSE(nothing.isObject());
    EXPECT_EQ(nothing.object(), nullptr);
}

TEST_F(ValueTest, HoldsACopyAndGivesItBackAsItsOwnTypeOnly) {
    std::uint32_t number = 7;
    Value const value = Value::of(number);
    number = 8;
    ASSERT_NE(value.get<std::uint32_t>(), nullptr);
    EXPECT_EQ(*value.get<std::uint32_t>(), 7U);
    EXPECT_EQ(value.get<std::uint64_t>(), nullptr);
    EXPECT_EQ(value.get<bool>(), nullptr);
    EXPECT_FALSE(value.empty());
}

TEST_F(ValueTest, NamesItsType) {
    EXPECT_EQ(Value::of(true).type()->name, "bool");
    EXPECT_EQ(Value::of(std::uint32_t{1}).type()->name, "uint32");
    EXPECT_EQ(Value::of(std::uint64_t{1}).type()->name, "uint64");
    EXPECT_EQ(Value::of(String("a")).type()->name, "string");
    EXPECT_EQ(Value::of(Ptr<Plain>()).type()->name, "ValueTest::Plain");
    EXPECT_EQ(Value::of(Ptr<Plain const>()).type()->name, "ValueTest::Plain");
    EXPECT_EQ(Value::of(Optional<bool>()).type()->name, "Optional<bool>");
    EXPECT_EQ(Value::of(Optional<Ptr<Plain>>()).type()->name, "Optional<ValueTest::Plain>");
    EXPECT_EQ(valueTypeOf<ObjectPtr>.name, "object");
}

TEST_F(ValueTest, PrintsAndReadsTheRuntimesTypes) {
    EXPECT_EQ(throughText<bool>("true"), "true");
    EXPECT_EQ(throughText<bool>("false"), "false");
    EXPECT_EQ(throughText<std::uint32_t>("4294967295"), "4294967295");
    EXPECT_EQ(throughText<std::uint64_t>("18446744073709551615"), "18446744073709551615");
    EXPECT_EQ(throughText<String>(" any text, 'quoted' "), " any text, 'quoted' ");
    EXPECT_EQ(throughText<String>(""), "");
}

TEST_F(ValueTest, RejectsATextThatDoesNotFit) {
    for (std::string_view const text : {"", "True", "1", "true "}) {
        EXPECT_THROW((void)throughText<bool>(text), RangeException) << text;
    }
    for (std::string_view const text : {"", "-1", "4294967296", "1 ", "0x1"}) {
        EXPECT_THROW((void)throughText<std::uint32_t>(text), RangeException) << text;
    }
    EXPECT_THROW((void)throughText<std::uint64_t>("18446744073709551616"), RangeException);
}

TEST_F(ValueTest, OfATypeWithoutTextCannotBeEntered) {
    EXPECT_EQ(Value::of(Opaque{3}).text(), "opaque 3");
    EXPECT_EQ(valueTypeOf<Opaque>.parse, nullptr);
    try {
        (void)Value::parse(valueTypeOf<Opaque>, "opaque 3");
        FAIL() << "it was entered";
    } catch (RangeException const &error) {
        EXPECT_STREQ(error.what(), "ValueTest::Opaque: cannot be entered as text");
    }
}

TEST_F(ValueTest, HoldsAReferenceOnAnObject) {
    auto const object = make<Plain>();
    {
        Value const value = Value::of(object);
        Value const copy = value;
        EXPECT_EQ(object->refCount(), 3U);
        EXPECT_TRUE(value.isObject());
        EXPECT_EQ(value.object(), object);
        EXPECT_EQ(copy.object(), object);
    }
    EXPECT_EQ(object->refCount(), 1U);
}

TEST_F(ValueTest, OutlivesEveryOtherReferenceOnItsObject) {
    Value const value = Value::of(make<Plain>());
    EXPECT_EQ(value.object()->refCount(), 2U); // the Value's, and the one just asked for
    EXPECT_EQ(value.text(), "ValueTest::Plain");
}

TEST_F(ValueTest, PrintsAnObjectAsItsOwnTypeNotAsThePointersType) {
    ObjectPtr const object = make<Derived>();
    EXPECT_EQ(Value::of(object).type()->name, "object");
    EXPECT_EQ(Value::of(object).text(), "ValueTest::Plain");
}

TEST_F(ValueTest, OfANullPointerIsAnObjectValueButNoObject) {
    Value const null = Value::of(Ptr<Plain>());
    EXPECT_FALSE(null.empty());
    EXPECT_TRUE(null.isObject());
    EXPECT_EQ(null.object(), nullptr);
    EXPECT_EQ(null.text(), "null");
}

TEST_F(ValueTest, TheOnlyPointerThatCanBeEnteredIsNull) {
    Value const null = Value::parse(valueTypeOf<Ptr<Plain>>, "null");
    EXPECT_TRUE(null.isObject());
    EXPECT_EQ(null.object(), nullptr);
    EXPECT_THROW((void)Value::parse(valueTypeOf<Ptr<Plain>>, "ValueTest::Plain"), RangeException);
}

TEST_F(ValueTest, TellsAnAbsentPointerFromANullOne) {
    EXPECT_EQ((throughText<Optional<Ptr<Plain>>>("None")), "None");
    EXPECT_EQ((throughText<Optional<Ptr<Plain>>>("null")), "null");
    Value const absent = Value::parse(valueTypeOf<Optional<Ptr<Plain>>>, "None");
    EXPECT_FALSE(absent.get<Optional<Ptr<Plain>>>()->hasValue());
    Value const null = Value::parse(valueTypeOf<Optional<Ptr<Plain>>>, "null");
    EXPECT_TRUE(null.get<Optional<Ptr<Plain>>>()->hasValue());
    EXPECT_EQ(Value::of(Optional<Ptr<Plain>>(make<Plain>())).text(), "ValueTest::Plain");
    EXPECT_EQ(throughText<Optional<bool>>("None"), "None");
    EXPECT_EQ(throughText<Optional<bool>>("false"), "false");
}

TEST_F(ValueTest, AddressIsThatOfTheValueInside) {
    Value value = Value::of(true);
    *static_cast<bool *>(value.address()) = false;
    EXPECT_EQ(value.text(), "false");
}

} // namespace
} // namespace Qor
