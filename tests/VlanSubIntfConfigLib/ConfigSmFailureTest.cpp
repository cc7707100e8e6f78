// A machine whose construction runs out of memory leaves nothing behind.
//
// Every allocation of a construction is made to fail, one after the other, each in a process of its
// own. In throwing code the exception reaches the caller of the factory, and no subscriber and no
// object is left. The allocations of noexcept code end the process instead; there are few: the
// creators of the local attribute store, which are noexcept. The reactions to the state objects,
// which are noexcept as well, allocate nothing during a construction.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/MachineFixture.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <map>
#include <new>

namespace VlanSubIntfConfigLib {
namespace {

/// How the construction ended, as an exit status.
enum Outcome { constructed = 10, failedCleanly, leftSubscriber, leftObject, terminated, otherwise };

class ConfigSmFailureTest : public TestSupport::MachineTest {
  protected:
    ConfigSmFailureTest() {
        // What the process keeps for good is made now, not counted later.
        startSynchronous();
        machine = nullptr;
    }

    void fillInputs() {
        for (std::uint16_t number = 1; number <= 3; ++number) {
            member(number, fmt::format("PortChannel{}.{}", number, number));
            member(number, fmt::format("Ethernet1.{}", number));
            lagMember(fmt::format("PortChannel{}", number), fmt::format("Ethernet{}", number));
        }
    }
    void dropEverything() {
        bridging = nullptr;
        lagMapping = nullptr;
        dir = nullptr;
        scheduler = nullptr;
        control = {};
    }
    [[nodiscard]] bool somebodyListens() const {
        bool listens = bridging->publisher().hasSubscribers() ||
                       lagMapping->publisher().hasSubscribers() || scheduler->hasWork();
        for (auto const &[vlanId, config] : bridging->vlanConfig()) {
            listens = listens || config->publisher().hasSubscribers();
        }
        for (auto const &[lagId, config] : lagMapping->lagPhyIntfConfig()) {
            listens = listens || config->publisher().hasSubscribers();
        }
        return listens;
    }
    /// Construct with the allocation after `allocations` ones failing.
    Outcome construct(Synchronous setting, std::int64_t allocations) {
        Qor::Pool::failAfterForTest(allocations);
        try {
            start(setting);
        } catch (std::bad_alloc const &) {
            Qor::Pool::failAfterForTest(-1);
            if (machine || somebodyListens()) {
                return leftSubscriber;
            }
            dropEverything(); // the directory keeps what was written so far: it is the host's
            return TestSupport::liveCounts().empty() ? failedCleanly : leftObject;
        }
        return constructed;
    }
    /// The same in a process of its own.
    int constructInChild(Synchronous setting, std::int64_t allocations) {
        pid_t const child = fork();
        if (child == 0) {
            std::set_terminate([] { _exit(terminated); });
            _exit(construct(setting, allocations));
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : otherwise;
    }
    /// Every allocation fails once; how many constructions ended in which way.
    std::map<int, int> outcomes(Synchronous setting) {
        std::map<int, int> counts;
        for (std::int64_t allocations = 0; allocations < 1000; ++allocations) {
            int const outcome = constructInChild(setting, allocations);
            ++counts[outcome];
            if (outcome == constructed) {
                break;
            }
            EXPECT_TRUE(outcome == failedCleanly || outcome == terminated)
                << "allocation " << allocations << ": outcome " << outcome;
        }
        EXPECT_EQ(counts[constructed], 1);
        return counts;
    }
};

TEST_F(ConfigSmFailureTest, NothingIsAliveWithoutAMachineAndItsEntities) {
    dropEverything();
    EXPECT_EQ(TestSupport::liveCounts(), (std::map<std::string, TestSupport::LiveCount>()));
}

TEST_F(ConfigSmFailureTest, AnAsynchronousConstructionThatFailsLeavesNothing) {
    fillInputs();
    auto counts = outcomes(Synchronous::asynchronous);
    EXPECT_GT(counts[failedCleanly], 10);
    EXPECT_EQ(counts[terminated], 0) << "its scans are cut after one member";
}

TEST_F(ConfigSmFailureTest, ASynchronousConstructionThatFailsLeavesNothing) {
    fillInputs();
    auto counts = outcomes(Synchronous::synchronous);
    EXPECT_GT(counts[failedCleanly], 30);
    // Per LAG with a subinterface: the entry and its status; and the store's array once.
    EXPECT_EQ(counts[terminated], 3 * 2 + 1);
}

TEST_F(ConfigSmFailureTest, AMachineIsMadeOverTheSameInputsAfterAFailure) {
    fillInputs();
    for (std::int64_t const allocations : {0, 5, 10}) {
        Qor::Pool::failAfterForTest(allocations);
        EXPECT_THROW(startAsynchronous(), std::bad_alloc);
    }
    Qor::Pool::failAfterForTest(-1);
    startAsynchronous();
    run();
    EXPECT_TRUE(machine->ready());
    EXPECT_EQ(output()[2]["PortChannel2.2"].lagPhyIntf.size(), 1U);
}

} // namespace
} // namespace VlanSubIntfConfigLib
