#include "platform/Jotlog.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace Jotlog {
namespace {

TEST(TraceHandle, IsKnownByItsName) {
    TraceHandle const handle("agent");
    EXPECT_EQ(handle.name(), Nuvio::String("agent"));
}

TEST(TraceHandle, IsNotCopiedForMachinesHoldItsAddress) {
    EXPECT_FALSE(std::is_copy_constructible_v<TraceHandle>);
    EXPECT_FALSE(std::is_copy_assignable_v<TraceHandle>);
}

} // namespace
} // namespace Jotlog
