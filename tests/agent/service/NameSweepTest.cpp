#include "agent/service/NameSweep.h"

#include "tests/agent/loop/TurnUntil.h"
#include "tests/agent/service/FakeParts.h"

#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

/// A host that needs not be told anything.
class NoHost final : public SourceHost {
    void linksKnown() override {}
    void viewComplete(std::string_view /*why*/) override {}
    void problem(std::string_view /*message*/) override {}
    void problemOver() override {}
    void retired(Iftel::IntfId /*id*/) override {}
};

class NameSweepTest : public testing::Test {
  protected:
    using Directory = DirectoryJournal::Directory;

    NameSweepTest() {
        names_.resetForTest();
        source_.used.emplace();
        sweep_.sourceIs(source_);
    }
    ~NameSweepTest() override { names_.resetForTest(); }

    Iftel::IntfId link(char const *name) {
        return names_.intfIs(name, Iftel::IntfKind::portChannel);
    }
    [[nodiscard]] bool isKnown(char const *name) const { return names_.lookup(name).has_value(); }
    void sweep() {
        sweep_.sweepNow();
        turnUntilIdle(loop_);
    }

    Iftel::NameTable &names_ = Iftel::NameTable::instance();
    Loop loop_{Osk::TaskScheduler::TaskSchedulerIs()};
    Inputs inputs_ = emptyInputs();
    Qor::Ptr<Directory> directory_ = Directory::VlanSubIntfConfigDirIs();
    DirectoryJournal journal_{directory_};
    bool busy_ = false;
    NoHost host_;
    FakeSource source_{loop_, host_};
    NameSweep sweep_{loop_, inputs_, journal_, [this] { return busy_; }};
};

TEST_F(NameSweepTest, ReleasesWhatNothingRefersTo) {
    link("bond0");
    sweep();
    EXPECT_FALSE(isKnown("bond0"));
    EXPECT_EQ(sweep_.released(), 1U);
}

TEST_F(NameSweepTest, KeepsWhatTheSourceUses) {
    source_.used = {link("bond0").bits()};
    sweep();
    EXPECT_TRUE(isKnown("bond0"));
}

TEST_F(NameSweepTest, KeepsEntriesTheirParentsAndTheirMembers) {
    auto const entry =
        directory_->configIs(Bridging::VlanId(5))->intfIs(names_.subIntfIs("sub", link("bond0")));
    entry->lagPhyIntfIs(names_.intfIs("eth1", Iftel::IntfKind::ethernet));
    sweep();
    EXPECT_TRUE(isKnown("sub"));
    EXPECT_TRUE(isKnown("bond0"));
    EXPECT_TRUE(isKnown("eth1"));
    EXPECT_EQ(sweep_.released(), 0U);
}

TEST_F(NameSweepTest, KeepsLagsTheirMembersAndSubinterfacesOfTheInputs) {
    auto const lag = link("bond0");
    inputs_.lagPhyIntfMapping->lagPhyIntfConfigIs(lag)->phyIntfIs(
        names_.intfIs("eth1", Iftel::IntfKind::ethernet), nullptr);
    inputs_.bridgingConfig->vlanConfigIs(Bridging::VlanId(5))
        ->intfIs(names_.subIntfIs("sub", link("bond1")), {});
    sweep();
    EXPECT_EQ(sweep_.released(), 0U);
}

TEST_F(NameSweepTest, ReleasesTheNamesOfAnEntryThatHasGone) {
    auto const config = directory_->configIs(Bridging::VlanId(5));
    auto const sub = names_.subIntfIs("sub", Iftel::IntfId());
    config->intfIs(sub);
    sweep();
    EXPECT_TRUE(isKnown("sub"));
    config->intfDel(sub);
    sweep();
    EXPECT_FALSE(isKnown("sub"));
}

TEST_F(NameSweepTest, ReleasesNothingWhileAChangeWaitsToBeWritten) {
    link("bond0");
    busy_ = true;
    sweep();
    EXPECT_TRUE(isKnown("bond0"));
    busy_ = false;
    sweep();
    EXPECT_FALSE(isKnown("bond0"));
}

TEST_F(NameSweepTest, ARequestDuringASweepBringsAnotherOne) {
    loop_.scheduler()->shareIs(std::make_unique<Osk::CountShare>(1));
    auto const sub = names_.subIntfIs("sub", Iftel::IntfId());
    directory_->configIs(Bridging::VlanId(1))->intfIs(sub);
    directory_->configIs(Bridging::VlanId(9))->intfIs(names_.subIntfIs("other", Iftel::IntfId()));
    int sweeps = 0;
    auto const count = [&] {
        ++sweeps;
        return false;
    };
    NameSweep sweep(loop_, inputs_, journal_, count, std::chrono::milliseconds(1));
    sweep.sourceIs(source_);
    sweep.sweepNow();
    loop_.turn(std::chrono::milliseconds(0)); // it has passed VLAN 1
    ASSERT_EQ(sweeps, 0);
    directory_->configIs(Bridging::VlanId(1))->intfDel(sub);
    EXPECT_TRUE(turnUntil(loop_, [&] { return !isKnown("sub"); }));
    EXPECT_EQ(sweeps, 2);
}

TEST_F(NameSweepTest, KeepsWhatComesIntoUseWhileItIsUnderWay) {
    loop_.scheduler()->shareIs(std::make_unique<Osk::CountShare>(1));
    auto const sub = names_.subIntfIs("sub", Iftel::IntfId());
    auto const other = names_.subIntfIs("other", Iftel::IntfId());
    directory_->configIs(Bridging::VlanId(1))->intfIs(other);
    directory_->configIs(Bridging::VlanId(9))->intfIs(other);
    sweep_.sweepNow();
    loop_.turn(std::chrono::milliseconds(0)); // it has passed VLAN 1
    directory_->configIs(Bridging::VlanId(1))->intfIs(sub);
    turnUntilIdle(loop_);
    EXPECT_TRUE(isKnown("sub"));
}

} // namespace
} // namespace Agent
