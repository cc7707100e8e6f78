#include "agent/service/Audit.h"

#include "agent/service/Derivation.h"
#include "tests/agent/service/MachineSite.h"
#include "tests/agent/service/RandomInputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AuditTest : public MachineSite {
  protected:
    using Finding = Audit::Finding;

    /// Two VLANs of one LAG, derived.
    void site() {
        lagMember("PortChannel1", "Ethernet1");
        lagMember("PortChannel1", "Ethernet2");
        member(100, "PortChannel1.10", {true, both});
        member(200, "PortChannel1.10", {false, both});
        member(200, "Ethernet3");
        startReady();
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfig>
    vlanEntries(std::uint16_t vlanId) const {
        return dir->configIs(Bridging::VlanId(vlanId));
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntf> entry(std::uint16_t vlanId) const {
        return vlanEntries(vlanId)->intf(id("PortChannel1.10")).value();
    }
    static Audit::Line line(Finding finding, std::uint16_t vlanId, char const *intf,
                            char const *memberName = "") {
        return {finding, Bridging::VlanId(vlanId), intf, memberName};
    }
};

TEST_F(AuditTest, FindsNothingInWhatTheMachineDerived) {
    site();
    Audit const audit = audited();
    EXPECT_THAT(audit.lines(), IsEmpty());
    EXPECT_EQ(audit.entries(), 2U);
    EXPECT_EQ(audit.drift(), 0U);
}

TEST_F(AuditTest, FindsAnEntryThatIsMissing) {
    site();
    vlanEntries(100)->intfDel(id("PortChannel1.10"));
    EXPECT_THAT(audited().lines(), ElementsAre(line(Finding::missing, 100, "PortChannel1.10")));
}

TEST_F(AuditTest, FindsEveryEntryOfAMissingVlan) {
    site();
    dir->configDel(Bridging::VlanId(200));
    EXPECT_THAT(audited().lines(), ElementsAre(line(Finding::missing, 200, "PortChannel1.10")));
}

TEST_F(AuditTest, FindsAnEntryTooMany) {
    site();
    vlanEntries(100)->intfIs(id("Ethernet9.10"))->lagPhyIntfIs(id("Ethernet1"));
    vlanEntries(200)->intfIs(id("Ethernet3"));
    vlanEntries(4094)->intfIs(id("PortChannel1.10"));
    Audit const audit = audited();
    EXPECT_THAT(audit.lines(), ElementsAre(line(Finding::surplus, 100, "Ethernet9.10"),
                                           line(Finding::surplus, 200, "Ethernet3"),
                                           line(Finding::surplus, 4094, "PortChannel1.10")));
    EXPECT_EQ(audit.entries(), 5U);
    EXPECT_EQ(audit.drift(), 3U);
}

TEST_F(AuditTest, FindsOtherAttributes) {
    site();
    entry(100)->tagOnEgressIs(false);
    entry(200)->allowedTrafficDirectionIs(ingress);
    EXPECT_THAT(audited().lines(), ElementsAre(line(Finding::attributes, 100, "PortChannel1.10"),
                                               line(Finding::attributes, 200, "PortChannel1.10")));
}

TEST_F(AuditTest, FindsMembersThatAreMissingOrTooMany) {
    site();
    entry(100)->lagPhyIntfDel(id("Ethernet2"));
    entry(100)->lagPhyIntfIs(id("Ethernet8"));
    entry(200)->lagPhyIntfIs(id("Ethernet9"));
    EXPECT_THAT(audited().lines(),
                ElementsAre(line(Finding::missingMember, 100, "PortChannel1.10", "Ethernet2"),
                            line(Finding::surplusMember, 100, "PortChannel1.10", "Ethernet8"),
                            line(Finding::surplusMember, 200, "PortChannel1.10", "Ethernet9")));
}

TEST_F(AuditTest, KeptMembersAreNoDrift) {
    lag("PortChannel1");
    member(100, "PortChannel1.10");
    member(100, "Ethernet1.10");
    stale(100, "PortChannel1.10", {false, none, {"Ethernet1", "Ethernet2"}});
    stale(100, "Ethernet1.10", {false, none, {"Ethernet3"}});
    startReady();
    noteKept();
    entry(100)->lagPhyIntfIs(id("Ethernet7"));
    Audit const audit = audited();
    EXPECT_THAT(audit.lines(),
                testing::UnorderedElementsAre(
                    line(Finding::kept, 100, "PortChannel1.10", "Ethernet1"),
                    line(Finding::kept, 100, "PortChannel1.10", "Ethernet2"),
                    line(Finding::surplusMember, 100, "PortChannel1.10", "Ethernet7"),
                    line(Finding::kept, 100, "Ethernet1.10", "Ethernet3")));
    EXPECT_EQ(audit.keptMembers(), 3U);
    EXPECT_EQ(audit.drift(), 1U);
}

TEST_F(AuditTest, AKeptMemberThatJoinsTheLagIsNoLongerReported) {
    lag("PortChannel1");
    member(100, "PortChannel1.10");
    stale(100, "PortChannel1.10", {false, none, {"Ethernet1"}});
    startReady();
    noteKept();
    lagMember("PortChannel1", "Ethernet1");
    EXPECT_THAT(audited().lines(), IsEmpty());
}

TEST_F(AuditTest, LinesAreLimitedAndCountsAreNot) {
    lag("PortChannel1");
    startReady();
    for (std::uint16_t vlanId = 1; vlanId <= Audit::maxLines + 5; ++vlanId) {
        vlanEntries(vlanId)->intfIs(id("PortChannel1.10"));
        member(vlanId, "PortChannel1.20");
        auto const subIntf = vlanEntries(vlanId)->intfIs(id("PortChannel1.20"));
        subIntf->lagPhyIntfIs(id("Ethernet1"));
        kept.keptIs(Bridging::VlanId(vlanId), id("PortChannel1.20"), id("Ethernet1"));
    }
    Audit const audit = audited();
    EXPECT_EQ(audit.drift(), Audit::maxLines + 5);
    EXPECT_EQ(audit.keptMembers(), Audit::maxLines + 5);
    EXPECT_EQ(audit.lines().size(), 2 * Audit::maxLines);
}

TEST_F(AuditTest, AStepEndsWhenItsShareIsUsed) {
    site();
    countShareIs(1);
    Audit audit(inputs, *dir, kept);
    auto const runs = runSteps([&](Osk::Task const &task) { return audit.step(task); });
    EXPECT_GE(runs, lastVlan);
    EXPECT_EQ(audit.entries(), 2U);
}

TEST_F(AuditTest, FindsDriftInAVlanThatItIsIn) {
    for (int i = 0; i < 100; ++i) {
        member(7, "PortChannel1." + std::to_string(i));
    }
    startReady();
    countShareIs(1);
    Audit audit(inputs, *dir, kept);
    std::uint64_t steps = 0;
    auto const order = memberOrder(7);
    runSteps([&](Osk::Task const &task) { return audit.step(task); },
             [&] {
                 if (++steps == 50) { // in the middle of the VLAN
                     ASSERT_LT(audit.entries(), 60U);
                     vlanEntries(7)->intfDel(id(order.back()));
                 }
             });
    EXPECT_THAT(audit.lines(), ElementsAre(line(Finding::missing, 7, order.back().c_str())));
    EXPECT_EQ(audit.entries(), 100U);
}

TEST_F(AuditTest, AVlanThatGoesWhileItIsWalkedIsLeft) {
    for (int i = 0; i < 100; ++i) {
        member(7, "PortChannel1." + std::to_string(i));
    }
    member(8, "PortChannel1.1");
    startReady();
    countShareIs(1);
    Audit audit(inputs, *dir, kept);
    std::uint64_t steps = 0;
    runSteps([&](Osk::Task const &task) { return audit.step(task); },
             [&] {
                 if (++steps == 50) {
                     vlanDel(7);
                 }
             });
    EXPECT_THAT(audit.lines(), IsEmpty());
    EXPECT_LT(audit.entries(), 60U);
    EXPECT_GT(audit.entries(), 30U);
}

/// Members of an earlier run that this run may or may not want.
void leaveBehind(VlanSubIntfConfigLib::VlanSubIntfConfigDir &directory, RandomInputs &random) {
    for (int i = 0; i < 20; ++i) {
        auto const intf = random.intf();
        if (Iftel::SubIntfId::isSubIntfId(intf)) {
            directory.configIs(random.vlan())->intfIs(intf)->lagPhyIntfIs(random.member());
        }
    }
}

TEST_F(AuditTest, FindsNothingOnRandomHistoriesWithChangesBetweenSteps) {
    TestSupport::Random random(std::random_device{}());
    RandomInputs changes(inputs, random);
    std::uint64_t entries = 0;
    std::uint64_t keptMembers = 0;
    for (int history = 0; history < 100; ++history) {
        for (int i = 0; i < 60; ++i) {
            changes.change();
        }
        leaveBehind(*dir, changes);
        DirectoryJournal journal(dir);
        journal.readerIs(kept);
        startReady();
        countShareIs(random.below(5) + 1);
        KeptMembersSearch search(inputs, *dir, kept);
        // The VLANs that change are walked first.
        int early = 0;
        auto const between = [&] {
            if (++early < 60 && random.oneIn(4)) {
                changes.change();
            }
        };
        runSteps([&](Osk::Task const &task) { return search.step(task); }, between);
        early = 0;
        Audit audit(inputs, *dir, kept);
        runSteps([&](Osk::Task const &task) { return audit.step(task); }, between);
        ASSERT_EQ(audit.drift(), 0U) << "history " << history << ": finding "
                                     << static_cast<int>(audit.lines().front().finding);
        entries += audit.entries();
        keptMembers += audit.keptMembers();
        machine = nullptr;
        unlimitedShareIs();
        run();
        kept.clear();
        journal.readerDel(kept);
    }
    EXPECT_GT(entries, 100U);
    EXPECT_GT(keptMembers, 10U);
}

class KeptMembersTest : public MachineSite {
  protected:
    KeptMembersTest() { journal.readerIs(kept); }
    ~KeptMembersTest() override { journal.readerDel(kept); }

    DirectoryJournal journal{dir};
};

TEST_F(KeptMembersTest, OnlyMembersThatNoLagExplainsAreNoted) {
    lag("PortChannel1");
    lagMember("PortChannel2", "Ethernet1");
    member(100, "PortChannel1.10");
    member(100, "PortChannel2.10");
    stale(100, "PortChannel1.10", {false, none, {"Ethernet1", "Ethernet2"}});
    stale(100, "PortChannel2.10", {false, none, {"Ethernet1", "Ethernet2"}});
    startReady();
    noteKept();
    ASSERT_EQ(kept.members().size(), 1U);
    EXPECT_TRUE(kept.has(Bridging::VlanId(100), id("PortChannel1.10"), id("Ethernet1")));
    EXPECT_TRUE(kept.has(Bridging::VlanId(100), id("PortChannel1.10"), id("Ethernet2")));
    EXPECT_FALSE(kept.has(Bridging::VlanId(200), id("PortChannel1.10"), id("Ethernet1")));
    EXPECT_FALSE(kept.has(Bridging::VlanId(100), id("PortChannel2.10"), id("Ethernet2")));
}

TEST_F(KeptMembersTest, AreForgottenWhenTheyLeave) {
    lag("PortChannel1");
    member(100, "PortChannel1.10");
    stale(100, "PortChannel1.10", {false, none, {"Ethernet1", "Ethernet2"}});
    startReady();
    noteKept();
    lagMember("PortChannel1", "Ethernet1");
    lagMemberDel("PortChannel1", "Ethernet1");
    EXPECT_FALSE(kept.has(Bridging::VlanId(100), id("PortChannel1.10"), id("Ethernet1")));
    EXPECT_TRUE(kept.has(Bridging::VlanId(100), id("PortChannel1.10"), id("Ethernet2")));
    lagMember("PortChannel1", "Ethernet2");
    lagMemberDel("PortChannel1", "Ethernet2");
    EXPECT_THAT(kept.members(), IsEmpty());
}

TEST_F(KeptMembersTest, AreForgottenWhenTheEntryGoesAndComesBack) {
    lag("PortChannel1");
    member(100, "PortChannel1.10");
    stale(100, "PortChannel1.10", {false, none, {"Ethernet1"}});
    startReady();
    noteKept();
    memberDel(100, "PortChannel1.10");
    member(100, "PortChannel1.10");
    EXPECT_THAT(kept.members(), IsEmpty());
    EXPECT_TRUE(output().at(100).at("PortChannel1.10").lagPhyIntf.empty());
}

} // namespace
} // namespace Agent
