// The first object of a type enters the type in the census, and memory runs out there: nothing of
// the object is left, and the next one is counted.
#include "tests/allocation/AllocationFixture.h"

#include <string_view>
#include <utility>

namespace Allocation {
namespace {

/// So many types that the list of them grows, and nothing of them was made when a child begins.
constexpr int rareTypes = 40;
template <int Number> class Rare final : public Qor::PoolAllocated<Rare<Number>> {
  public:
    static constexpr std::string_view qorTypeName = "Allocation::Rare";
};

class CensusFailureTest : public AllocationTest {
  protected:
    static void makeOneOfEach() { makeOneOfEach(std::make_integer_sequence<int, rareTypes>()); }
    static Complaint nothingIsAlive() {
        return TestSupport::liveCount("Allocation::Rare").objects == 0 ? "" : "an object is left";
    }

  private:
    template <int... Numbers>
    static void makeOneOfEach(std::integer_sequence<int, Numbers...> /*numbers*/) {
        (delete new Rare<Numbers>, ...);
    }
};

TEST_F(CensusFailureTest, ATypeThatCannotBeEnteredLosesNoBlock) {
    auto const ends = failEach(
        Memory::plain, [] { makeOneOfEach(); },
        [this] {
            auto const alive = nothingIsAlive();
            return alive.empty() ? nothingIsLeft() : alive;
        },
        nothingIsAlive);
    EXPECT_GT(ends.undone, 0);
    EXPECT_EQ(ends.ended, 0);
}

} // namespace
} // namespace Allocation
