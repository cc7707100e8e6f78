// A fixture that fails the allocations of an act, one after the other, each in a process of its
// own.
//
// Either the failure reaches the caller as a std::bad_alloc, and then the act is undone: the test
// says what that means. Or it happens in code that may not throw, and the process ends by
// std::terminate(). A third way there is not: a failure that goes unnoticed, a crash and an
// assertion are all wrong.
//
//     auto const ends = failEach(Memory::pool, [this] { startAsynchronous(); },
//                                [this] { return machine ? "there is a machine" : ""; });
//     EXPECT_EQ(ends.undone, 20);
#pragma once

#include "tests/allocation/PlainNew.h"
#include "tests/model/Entities.h"
#include "tests/support/EveryNotice.h"
#include "tests/support/ForkedRun.h"
#include "tests/support/MachineFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace Allocation {

/// Whose allocations fail: the pool's, one of them; operator new's, one of them or from one on.
enum class Memory { pool, plain, plainOnwards };
inline void PrintTo(Memory memory, std::ostream *out) {
    static constexpr char const *names[] = {"Pool", "Plain", "PlainOnwards"};
    *out << names[static_cast<int>(memory)];
}
inline std::string memoryName(testing::TestParamInfo<Memory> const &info) {
    return testing::PrintToString(info.param);
}

/// How the acts ended, in the order of the allocations that failed in them.
struct Ends {
    std::vector<TestSupport::RunEnd> each;
    int undone = 0; ///< the caller got the failure
    int ended = 0;  ///< std::terminate()

    [[nodiscard]] int failed() const { return undone + ended; }
    void add(TestSupport::RunEnd end) {
        each.push_back(end);
        ++(end == TestSupport::RunEnd::returned ? undone : ended);
    }
};
inline std::ostream &operator<<(std::ostream &out, Ends const &ends) {
    return out << ends.failed() << " allocations failed: " << ends.undone << " undone, "
               << ends.ended << " ended the process";
}

class AllocationTest : public TestSupport::MachineTest {
  protected:
    using Complaint = std::string; ///< what is wrong, or nothing
    using Check = std::function<Complaint()>;

    AllocationTest();
    ~AllocationTest() override;
    /// Prints and records how many allocations failed in the test.
    void TearDown() override;

    /// Fail every allocation of `act`. `undone` looks after a failure that the caller got, `done`
    /// after the act that met none.
    Ends failEach(
        Memory memory, std::function<void()> const &act, Check const &undone,
        Check const &done = [] { return ""; });

    /// Let go of everything, and find that nothing is left that was not there when the child
    /// process began.
    Complaint nothingIsLeft();
    /// Nobody listens to an input, no task waits.
    [[nodiscard]] Complaint nobodyListens() const;
    /// A machine made over what is there gets ready, with the output that the model derives.
    Complaint aNewMachineTakesOver();

    /// Two VLANs and a LAG with members of every kind, and what an earlier run left behind.
    void fillSmallWorld();
    /// Trace all levels from here on, to a sink that keeps nothing.
    void traceToNobody();

  private:
    struct Shared; // with the child
    Complaint actWithFailure(Memory memory, std::int64_t count, std::function<void()> const &act,
                             Check const &undone, Check const &done);
    void makeWorld();

    Shared *shared_;
    Ends inAll_; ///< without each
};

} // namespace Allocation
