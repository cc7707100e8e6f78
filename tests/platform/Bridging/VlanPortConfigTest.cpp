#include "platform/Bridging/VlanPortConfig.h"

#include "platform/Qor/Exceptions.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>

namespace Bridging {
namespace {

template <class T> std::string printed(T const &value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

TEST(AllowedTrafficDirection, PrintsAsAWord) {
    EXPECT_EQ(printed(AllowedTrafficDirection::none), "none");
    EXPECT_EQ(printed(AllowedTrafficDirection::ingress), "ingress");
    EXPECT_EQ(printed(AllowedTrafficDirection::egress), "egress");
    EXPECT_EQ(printed(AllowedTrafficDirection::both), "both");
}

TEST(AllowedTrafficDirection, PrintsAValueWithoutWordByItsNumber) {
    EXPECT_EQ(printed(AllowedTrafficDirection{4}), "direction 4");
    EXPECT_EQ(printed(AllowedTrafficDirection{255}), "direction 255");
}

TEST(AllowedTrafficDirection, IsReadFromItsWord) {
    using Traits = Qor::ValueTraits<AllowedTrafficDirection>;
    for (auto const direction : {AllowedTrafficDirection::none, AllowedTrafficDirection::ingress,
                                 AllowedTrafficDirection::egress, AllowedTrafficDirection::both}) {
        EXPECT_EQ(Traits::parse(Traits::text(direction)), direction);
    }
    for (char const *const text : {"", "sideways", "Both", "both "}) {
        EXPECT_THROW(Traits::parse(text), Qor::RangeException) << '"' << text << '"';
    }
}

TEST(VlanPortConfig, IsThreeBytesWithTheDirectionInTheThird) {
    EXPECT_EQ(sizeof(VlanPortConfig), 3U);
    EXPECT_EQ(offsetof(VlanPortConfig, tagOnEgress), 0U);
    EXPECT_EQ(offsetof(VlanPortConfig, allowedTrafficDirection), 2U);
}

TEST(VlanPortConfig, IsUntaggedWithoutTrafficByDefault) {
    EXPECT_EQ(VlanPortConfig(), (VlanPortConfig{false, false, AllowedTrafficDirection::none}));
}

TEST(VlanPortConfig, EveryFieldTakesPartInEquality) {
    VlanPortConfig const config{true, true, AllowedTrafficDirection::both};
    EXPECT_EQ(config, (VlanPortConfig{true, true, AllowedTrafficDirection::both}));
    EXPECT_NE(config, (VlanPortConfig{false, true, AllowedTrafficDirection::both}));
    EXPECT_NE(config, (VlanPortConfig{true, false, AllowedTrafficDirection::both}));
    EXPECT_NE(config, (VlanPortConfig{true, true, AllowedTrafficDirection::egress}));
}

TEST(VlanPortConfig, PrintsItsFieldsByName) {
    EXPECT_EQ(printed(VlanPortConfig{true, false, AllowedTrafficDirection::both}),
              "tagOnEgress=true pvid=false allowedTrafficDirection=both");
}

} // namespace
} // namespace Bridging
