#include "platform/Bridging/VlanId.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Bridging {
namespace {

TEST(VlanId, IsOneByDefault) {
    EXPECT_EQ(VlanId().value(), 1U);
}

TEST(VlanId, TakesAnyNumberOf16Bits) {
    EXPECT_EQ(VlanId(0).value(), 0U);
    EXPECT_EQ(VlanId(65535).value(), 65535U);
}

TEST(VlanId, EqualsAndOrdersByNumber) {
    EXPECT_EQ(VlanId(100), VlanId(100));
    EXPECT_NE(VlanId(100), VlanId(101));
    EXPECT_LT(VlanId(9), VlanId(10));
}

TEST(VlanId, HashesByNumberAndSeed) {
    EXPECT_EQ(VlanId(100).hash(7), VlanId(100).hash(7));
    EXPECT_NE(VlanId(100).hash(7), VlanId(101).hash(7));
    EXPECT_NE(VlanId(100).hash(7), VlanId(100).hash(8));
}

TEST(VlanId, PrintsAsItsNumber) {
    std::ostringstream out;
    out << VlanId(100);
    EXPECT_EQ(out.str(), "100");
    EXPECT_EQ(valueToStrep(VlanId(4094)), Nuvio::String("4094"));
}

TEST(VlanId, IsParsedFromItsNumber) {
    Qor::CharRange range("4094, rest");
    EXPECT_EQ(VlanId(range), VlanId(4094));
    EXPECT_EQ(range.rest(), ", rest");
}

TEST(VlanId, ATextThatIsNoNumberOf16BitsIsAnError) {
    for (char const *const text : {"", "x", "-1", "'1'", "65536", "99999999999999999999"}) {
        Qor::CharRange range(text);
        EXPECT_THROW(VlanId{range}, Qor::RangeException) << text;
        EXPECT_EQ(range.offset(), 0U) << text;
    }
}

} // namespace
} // namespace Bridging
