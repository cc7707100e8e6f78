#include "platform/Qor/Optional.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

namespace Qor {
namespace {

TEST(Optional, IsEmptyByDefaultAndFromNullopt) {
    Optional<int> const byDefault;
    Optional<int> const fromNullopt = std::nullopt;
    EXPECT_FALSE(byDefault.hasValue());
    EXPECT_FALSE(byDefault);
    EXPECT_EQ(byDefault, fromNullopt);
}

TEST(Optional, HoldsTheValueThatItWasMadeOf) {
    Optional<std::string> const text = std::string("both");
    EXPECT_TRUE(text.hasValue());
    EXPECT_TRUE(text);
    EXPECT_EQ(text.value(), "both");
    EXPECT_EQ(*text, "both");
    EXPECT_EQ(text->size(), 4U);
}

TEST(Optional, HoldsAValueThatIsFalseOrNull) {
    Optional<bool> const no = false;
    EXPECT_TRUE(no.hasValue());
    EXPECT_FALSE(*no);
    Optional<int *> const null = static_cast<int *>(nullptr);
    EXPECT_TRUE(null.hasValue());
}

TEST(Optional, EveryReadOfAnAbsentValueThrows) {
    Optional<std::string> empty;
    EXPECT_THROW(static_cast<void>(empty.value()), BadOptionalAccess);
    EXPECT_THROW(static_cast<void>(*empty), BadOptionalAccess);
    EXPECT_THROW(static_cast<void>(empty->size()), BadOptionalAccess);
    EXPECT_THROW(static_cast<void>(empty.take()), BadOptionalAccess);
}

TEST(Optional, TakeMovesTheValueOutAndLeavesItEmpty) {
    Optional<std::unique_ptr<int>> number = std::make_unique<int>(7);
    std::unique_ptr<int> const taken = number.take();
    EXPECT_EQ(*taken, 7);
    EXPECT_FALSE(number.hasValue());
}

TEST(Optional, ComparesPresenceAndValue) {
    EXPECT_EQ(Optional<int>(7), Optional<int>(7));
    EXPECT_NE(Optional<int>(7), Optional<int>(8));
    EXPECT_NE(Optional<int>(0), Optional<int>());
    EXPECT_EQ(Optional<int>(), Optional<int>());
}

TEST(Optional, AssignmentReplacesTheValue) {
    Optional<int> number = 7;
    number = 8;
    EXPECT_EQ(*number, 8);
    number = std::nullopt;
    EXPECT_FALSE(number);
}

TEST(Required, IsTheObjectBehindThePointer) {
    int object = 7;
    EXPECT_EQ(&required(&object), &object);
}

TEST(Required, ThrowsForAMissingEntry) {
    EXPECT_THROW(required(static_cast<int *>(nullptr)), BadOptionalAccess);
}

} // namespace
} // namespace Qor
