// Null pointers where a collection of the inputs lets one in, and where none is let in.
//
// A LAG member without a configuration is a member like any other, in every situation; a null VLAN
// or LAG does not get as far as its collection.
#include "tests/model/Entities.h"
#include "tests/support/ForkedRun.h"
#include "tests/support/MachineFixture.h"

#include <fmt/format.h>

namespace VlanSubIntfConfigLib {
namespace {

using TestSupport::forkedRun;
using TestSupport::RunEnd;

/// When the machine comes up: before or behind what a test does to the inputs.
enum class Start { before, synchronouslyBehind, inSlicesBehind };
std::string startName(testing::TestParamInfo<Start> const &info) {
    static constexpr char const *names[] = {"Before", "SynchronouslyBehind", "InSlicesBehind"};
    return names[static_cast<int>(info.param)];
}

class NullMemberTest : public TestSupport::MachineTest, public testing::WithParamInterface<Start> {
  protected:
    void SetUp() override {
        member(1, "PortChannel1.1", {true, both});
        member(2, "PortChannel1.2");
        stale(1, "PortChannel1.1", {false, none, {"Ethernet1", "Ethernet8", "Ethernet9"}});
        stale(3, "PortChannel1.3", {false, none, {"Ethernet1"}});
        if (GetParam() == Start::before) {
            lagMember("PortChannel1", "Ethernet8"); // so that the stale entry is walked
            startSynchronous();
        }
    }
    void nullMember(std::string const &lagName, std::string const &name) {
        lag(lagName)->phyIntfIs(id(name), nullptr);
    }
    /// The machine is ready with the output that the model derives, without anything stale.
    void expectDerived() {
        if (GetParam() == Start::synchronouslyBehind) {
            startSynchronous();
        } else if (GetParam() == Start::inSlicesBehind) {
            countShareIs(1);
            startAsynchronous();
            run();
        }
        EXPECT_TRUE(machine->ready());
        auto const inputs = Model::read(*bridging, *lagMapping);
        EXPECT_EQ(Model::differences(Model::derive(inputs), Model::read(*dir)), "");
        EXPECT_EQ(Model::differences(Model::deriveLagVlanStatus(inputs),
                                     Model::read(*machine->localAttrStore())),
                  "");
    }
};
INSTANTIATE_TEST_SUITE_P(Started, NullMemberTest,
                         testing::Values(Start::before, Start::synchronouslyBehind,
                                         Start::inSlicesBehind),
                         startName);

TEST_P(NullMemberTest, IsAMemberLikeAnyOther) {
    nullMember("PortChannel1", "Ethernet1");
    lagMember("PortChannel1", "Ethernet2");
    expectDerived();
    EXPECT_TRUE(output()[1]["PortChannel1.1"].lagPhyIntf.contains("Ethernet1"));
}

TEST_P(NullMemberTest, IsTheOnlyMemberOfItsLag) {
    nullMember("PortChannel1", "Ethernet1");
    lagMemberDel("PortChannel1", "Ethernet8");
    expectDerived();
    EXPECT_EQ(output()[1]["PortChannel1.1"].lagPhyIntf.size(), 1U);
}

TEST_P(NullMemberTest, KeepsItsPlaceWhenItGetsAConfigurationAndLosesIt) {
    nullMember("PortChannel1", "Ethernet1");
    lagMember("PortChannel1", "Ethernet1");
    nullMember("PortChannel1", "Ethernet1");
    lagMember("PortChannel1", "Ethernet2");
    nullMember("PortChannel1", "Ethernet2");
    lagMember("PortChannel1", "Ethernet2");
    expectDerived();
    EXPECT_TRUE(output()[2]["PortChannel1.2"].lagPhyIntf.contains("Ethernet1"));
    EXPECT_TRUE(output()[2]["PortChannel1.2"].lagPhyIntf.contains("Ethernet2"));
}

TEST_P(NullMemberTest, GoesWhenItIsRemoved) {
    nullMember("PortChannel1", "Ethernet1");
    lagMember("PortChannel1", "Ethernet2");
    lagMemberDel("PortChannel1", "Ethernet1");
    expectDerived();
    EXPECT_FALSE(output()[1]["PortChannel1.1"].lagPhyIntf.contains("Ethernet1"));
}

TEST_P(NullMemberTest, GoesWithItsLag) {
    nullMember("PortChannel1", "Ethernet1");
    lagDel("PortChannel1");
    lagMember("PortChannel1", "Ethernet3");
    expectDerived();
    EXPECT_FALSE(output()[1]["PortChannel1.1"].lagPhyIntf.contains("Ethernet1"));
}

TEST_P(NullMemberTest, OfALagWithoutSubinterfacesIsNowhere) {
    nullMember("PortChannel7", "Ethernet7");
    lagMember("PortChannel1", "Ethernet2");
    expectDerived();
}

TEST_P(NullMemberTest, GoesWithTheWithdrawal) {
    nullMember("PortChannel1", "Ethernet1");
    expectDerived();
    machine->doDeleteAll();
    EXPECT_TRUE(dir->config().empty());
}

// Between the slices of a start-up.

class NullBetweenSlicesTest : public TestSupport::MachineTest {};

TEST_F(NullBetweenSlicesTest, AMemberLosesOrGetsItsConfiguration) {
    for (int slices = 0, done = 0; done == slices; ++slices) {
        bridging = Bridging::Config::ConfigIs();
        lagMapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
        dir = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
        member(1, "PortChannel1.1");
        stale(1, "PortChannel1.1", {false, none, {"Ethernet1", "Ethernet2", "Ethernet9"}});
        lagMember("PortChannel1", "Ethernet1");
        lag("PortChannel1")->phyIntfIs(id("Ethernet2"), nullptr);
        countShareIs(1);
        startAsynchronous();
        for (done = 0; done < slices && scheduler->runOne(); ++done) {
        }
        lag("PortChannel1")->phyIntfIs(id("Ethernet1"), nullptr);
        lagMember("PortChannel1", "Ethernet2");
        lag("PortChannel1")->phyIntfIs(id("Ethernet3"), nullptr);
        run();
        EXPECT_TRUE(machine->ready());
        auto const derived = Model::derive(Model::read(*bridging, *lagMapping));
        EXPECT_EQ(Model::differences(derived, Model::read(*dir)), "") << slices << " slices";
        machine = nullptr;
    }
}

// Elements.

class NullElementTest : public TestSupport::MachineTest {
  protected:
    static RunEnd endOf(std::function<void()> const &act) {
        return forkedRun([&act] {
            act();
            return "it went on";
        });
    }
};

TEST_F(NullElementTest, IsTheNullAssertionBeforeItIsInserted) {
    startSynchronous();
    EXPECT_EQ(endOf([this] { bridging->vlanConfigInsertForTest(nullptr); }),
              RunEnd::nullDereferenced);
    EXPECT_EQ(endOf([this] { lagMapping->lagPhyIntfConfigInsertForTest(nullptr); }),
              RunEnd::nullDereferenced);
}

TEST_F(NullElementTest, IsNoChildOfAnInputMachine) {
    startSynchronous();
    auto const vlans = machine->vlanConfigSm0();
    auto const lags = machine->lagPhyIntfConfigSm2();
    EXPECT_THROW(vlans->childSmIs(nullptr, vlans.get()), Qor::MutatorArgNullPointerException);
    EXPECT_THROW(lags->childSmIs(nullptr, lags.get()), Qor::MutatorArgNullPointerException);
    EXPECT_TRUE(vlans->childSm().empty());
    EXPECT_TRUE(lags->childSm().empty());
}

} // namespace
} // namespace VlanSubIntfConfigLib
