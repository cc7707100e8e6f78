// How long a machine lives: it goes with its last reference, but not under the feet of what runs in
// it. Whoever lets go inside a notice finds it alive until the entry from outside has returned.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/MachineFixture.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <functional>
#include <initializer_list>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::Output;

class ConfigSmLifetimeTest : public TestSupport::MachineTest {
  protected:
    static bool machineIsAlive() {
        return TestSupport::liveCount("VlanSubIntfConfigLib::ConfigSm").objects != 0;
    }
    static bool partsAreAlive() {
        for (auto const &[type, count] : TestSupport::liveCounts()) {
            if (type.starts_with("VlanSubIntfConfigLib::DovraCode::") || type == "Osk::Task") {
                return true;
            }
        }
        return false;
    }
    [[nodiscard]] bool inputsAreUnobserved() const {
        bool observed =
            bridging->publisher().hasSubscribers() || lagMapping->publisher().hasSubscribers();
        for (auto const &[vlanId, config] : bridging->vlanConfig()) {
            observed = observed || config->publisher().hasSubscribers();
        }
        for (auto const &[lagId, config] : lagMapping->lagPhyIntfConfig()) {
            observed = observed || config->publisher().hasSubscribers();
        }
        return !observed;
    }
    void fillInputs() {
        for (std::uint16_t number = 1; number <= 3; ++number) {
            for (int subIntf = 1; subIntf <= 3; ++subIntf) {
                member(number, fmt::format("PortChannel{}.{}", number, subIntf));
                lagMember(fmt::format("PortChannel{}", number), fmt::format("Ethernet{}", subIntf));
            }
        }
    }
    /// Let go of the machine at the first notice of `entity`, and run `act`, which gives one.
    void letGoInNotice(Qor::Entity const &entity, std::function<void()> const &act) {
        bool aliveInNotice = false;
        TestSupport::Observer<> observer(entity);
        observer.reactionIs([&](auto const & /*notice*/) {
            if (machine) {
                machine = nullptr;
                aliveInNotice = machineIsAlive();
            }
        });
        act();
        EXPECT_FALSE(machine) << "there was no notice";
        EXPECT_TRUE(aliveInNotice) << "it went under the feet of its own reaction";
        EXPECT_FALSE(machineIsAlive());
        EXPECT_FALSE(partsAreAlive());
        EXPECT_TRUE(inputsAreUnobserved());
        EXPECT_FALSE(scheduler->hasWork());
    }
    void startReady() {
        startAsynchronous();
        run();
        ASSERT_TRUE(machine->ready());
    }
};

TEST_F(ConfigSmLifetimeTest, AMachineGoesWithItsLastReference) {
    fillInputs();
    startReady();
    auto other = machine;
    machine = nullptr;
    EXPECT_TRUE(machineIsAlive());
    other = nullptr;
    EXPECT_FALSE(machineIsAlive());
    EXPECT_FALSE(partsAreAlive());
}

// In steady state: each of the reactions.

TEST_F(ConfigSmLifetimeTest, LetGoInADirectoryNoticeOfANewMember) {
    startReady();
    vlan(100);
    letGoInNotice(*dir, [&] { member(100, "PortChannel1.100"); });
    EXPECT_TRUE(output().contains(100)) << "the reaction went on to its end";
    EXPECT_TRUE(output()[100].contains("PortChannel1.100"));
}

TEST_F(ConfigSmLifetimeTest, LetGoInADirectoryNoticeOfANewVlan) {
    startReady();
    auto const filled = Qor::make<Bridging::VlanConfig>(Bridging::VlanId(100));
    filled->intfIs(id("Ethernet1.100"), {});
    filled->intfIs(id("Ethernet2.100"), {});
    letGoInNotice(*dir, [&] { bridging->vlanConfigInsertForTest(filled); });
    EXPECT_EQ(output()[100].size(), 2U) << "the reaction went on to its end";
}

TEST_F(ConfigSmLifetimeTest, LetGoInADirectoryNoticeOfARemovedVlan) {
    member(100, "Ethernet1.100");
    member(100, "Ethernet2.100");
    startReady();
    letGoInNotice(**dir->config(Bridging::VlanId(100)), [&] { vlanDel(100); });
    EXPECT_TRUE(output().empty()) << "the reaction went on to its end";
}

TEST_F(ConfigSmLifetimeTest, LetGoInANoticeOfANewLagMember) {
    member(100, "PortChannel1.100");
    lag("PortChannel1");
    startReady();
    auto const subIntf = *(*dir->config(Bridging::VlanId(100)))->intf(id("PortChannel1.100"));
    letGoInNotice(*subIntf, [&] { lagMember("PortChannel1", "Ethernet1"); });
    EXPECT_THAT(output()[100]["PortChannel1.100"].lagPhyIntf, testing::ElementsAre("Ethernet1"));
}

TEST_F(ConfigSmLifetimeTest, LetGoInANoticeOfARemovedLag) {
    member(100, "PortChannel1.100");
    lagMember("PortChannel1", "Ethernet1");
    lagMember("PortChannel1", "Ethernet2");
    startReady();
    auto const subIntf = *(*dir->config(Bridging::VlanId(100)))->intf(id("PortChannel1.100"));
    letGoInNotice(*subIntf, [&] { lagDel("PortChannel1"); });
    EXPECT_TRUE(output()[100]["PortChannel1.100"].lagPhyIntf.empty());
}

TEST_F(ConfigSmLifetimeTest, LetGoDuringTheWithdrawal) {
    fillInputs();
    startReady();
    letGoInNotice(*dir, [&] { machine->doDeleteAll(); });
    EXPECT_TRUE(output().empty()) << "the withdrawal went on to its end";
}

TEST_F(ConfigSmLifetimeTest, LetGoInTheFirstHalfOfTheWithdrawal) {
    fillInputs();
    startReady();
    auto const subIntf = *(*dir->config(Bridging::VlanId(1)))->intf(id("PortChannel1.1"));
    letGoInNotice(*subIntf, [&] { machine->doDeleteAll(); });
    EXPECT_TRUE(output().empty()) << "the withdrawal went on to its end";
}

// A host that writes a state object is an entry from outside, too.

TEST_F(ConfigSmLifetimeTest, LetGoInTheReactionToAScanFlag) {
    startReady();
    auto const scanState = machine->inputSmScanStateDel();
    machine->outputState()->lagVlanStatusIntfToVlanMapOutputReadyIs(false);
    scanState->vlanConfigStreamScanIs(false);
    machine->inputSmScanStateIs(scanState);
    bool alive = false;
    TestSupport::Observer<> observer(*machine->outputState());
    observer.reactionIs([&](auto const & /*notice*/) {
        machine = nullptr;
        alive = machineIsAlive();
    });
    scanState->vlanConfigStreamScanIs(true);
    EXPECT_TRUE(alive);
    EXPECT_FALSE(machineIsAlive());
}

TEST_F(ConfigSmLifetimeTest, LetGoInTheReactionToAnOutputFlag) {
    startReady();
    auto const state = machine->outputState();
    state->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReadyIs(false);
    state->vlanSubIntfConfigDirConfigIntfOutputReadyIs(false);
    bool alive = false;
    TestSupport::Observer<> observer(*state);
    observer.reactionIs([&](auto const &notice) {
        if (notice.attribute == 130) { // inside the root's reaction to 134
            machine = nullptr;
            alive = machineIsAlive();
        }
    });
    state->vlanSubIntfConfigDirConfigIntfOutputReadyIs(true);
    EXPECT_TRUE(alive);
    EXPECT_FALSE(machineIsAlive());
}

// During start-up: notices of the directory and of the state objects.

TEST_F(ConfigSmLifetimeTest, LetGoInADirectoryNoticeOfTheSecondScan) {
    fillInputs();
    startAsynchronous();
    letGoInNotice(*dir, [&] { run(); });
}

TEST_F(ConfigSmLifetimeTest, LetGoInANoticeOfTheScanState) {
    for (int const notices : {1, 2, 3, 4, 5, 6, 7}) {
        fillInputs();
        startAsynchronous();
        ASSERT_FALSE(machine->initialScanDone());
        auto const state = machine->inputSmScanState();
        int left = notices;
        bool alive = false;
        TestSupport::Observer<> observer(*state);
        observer.reactionIs([&](auto const & /*notice*/) {
            if (--left == 0) {
                machine = nullptr;
                alive = machineIsAlive();
            }
        });
        run();
        EXPECT_FALSE(machine) << notices;
        EXPECT_TRUE(alive) << notices;
        EXPECT_FALSE(machineIsAlive()) << notices;
        EXPECT_TRUE(inputsAreUnobserved()) << notices;
        EXPECT_FALSE(scheduler->hasWork()) << notices;
    }
}

TEST_F(ConfigSmLifetimeTest, LetGoInANoticeOfTheOutputState) {
    for (short const attribute : std::initializer_list<short>{130, 131, 132, 133, 134, 135}) {
        fillInputs();
        stale(9, "Ethernet9.9");
        startAsynchronous();
        countShareIs(1);
        auto const state = machine->outputState();
        bool alive = false;
        TestSupport::Observer<> observer(*state);
        observer.reactionIs([&](auto const &notice) {
            if (notice.attribute == attribute) {
                machine = nullptr;
                alive = machineIsAlive();
            }
        });
        run();
        EXPECT_FALSE(machine) << attribute;
        EXPECT_TRUE(alive) << attribute;
        EXPECT_FALSE(machineIsAlive()) << attribute;
        EXPECT_TRUE(inputsAreUnobserved()) << attribute;
        EXPECT_FALSE(scheduler->hasWork()) << attribute;
    }
}

TEST_F(ConfigSmLifetimeTest, LetGoInANoticeOfTheDeletionWalk) {
    stale(1, "Ethernet1.1");
    stale(2, "Ethernet1.2");
    startAsynchronous();
    letGoInNotice(*dir, [&] { run(); });
}

TEST_F(ConfigSmLifetimeTest, LetGoBeforeEachSliceOfAnAsynchronousStart) {
    int slices = 0;
    for (bool ended = false; !ended; ++slices) {
        fillInputs();
        stale(9, "Ethernet9.9", {true, both, {"Ethernet1"}});
        stale(1, "PortChannel1.1", {true, both, {"Ethernet44"}});
        startAsynchronous();
        countShareIs(1);
        for (int slice = 0; slice < slices && !ended; ++slice) {
            ended = !scheduler->runOne();
        }
        auto const standing = output();
        machine = nullptr;
        EXPECT_EQ(output(), standing) << "slice " << slices;
        EXPECT_FALSE(machineIsAlive()) << "slice " << slices;
        EXPECT_FALSE(partsAreAlive()) << "slice " << slices;
        EXPECT_TRUE(inputsAreUnobserved()) << "slice " << slices;
        EXPECT_FALSE(scheduler->hasWork()) << "slice " << slices;
        dir = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    }
    EXPECT_GT(slices, 20) << "the start had too few slices to say anything";
}

} // namespace
} // namespace VlanSubIntfConfigLib
