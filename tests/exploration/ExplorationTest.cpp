// All histories of small worlds: a start with nothing else, and with up to three changes of every
// kind at every moment, over an empty directory and over one that an earlier run left.
//
// Each test prints how many histories there were. EXPLORATION_MORE=<n> in the environment allows n
// changes more in each. Builds that run many times slower explore the worlds with changes with half
// the VLANs and LAGs.
#include "tests/exploration/Exploration.h"

#include "tests/support/Build.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace Exploration {
namespace {

using Histories::Kind;
using Histories::Step;

/// VLANs with two members each and LAGs with two members each, overlapping.
Setting world(unsigned vlans, unsigned lags) {
    static Step const ports[3][2] = {{{Kind::portIs, 0, 0, 3}, {Kind::portIs, 0, 2, 5}},
                                     {{Kind::portIs, 1, 1, 7}, {Kind::portIs, 1, 5, 2}},
                                     {{Kind::portIs, 2, 0, 9}, {Kind::portIs, 2, 4, 4}}};
    static Step const members[2][2] = {{{Kind::memberIs, 0, 0, 1}, {Kind::memberIs, 0, 1, 0}},
                                       {{Kind::memberIs, 1, 1, 1}, {Kind::memberIs, 1, 2, 1}}};
    Setting setting;
    setting.world.manner.seed = 1;
    for (unsigned vlan = 0; vlan < vlans; ++vlan) {
        setting.world.before.insert(setting.world.before.end(), {ports[vlan][0], ports[vlan][1]});
    }
    for (unsigned lag = 0; lag < lags; ++lag) {
        setting.world.before.insert(setting.world.before.end(), {members[lag][0], members[lag][1]});
    }
    return setting;
}

/// A wanted entry with a member that is wanted and one that is not, an entry that nobody wants, and
/// a VLAN with nothing in it.
Model::Output const leftBehind = {
    {1,
     {{"PortChannel1.10", {true, "both", {"Ethernet101", "Ethernet103"}}},
      {"PortChannel3.10", {false, "none", {"Ethernet101"}}}}},
    {3, {}}};

unsigned moreChanges() {
    char const *const given = std::getenv("EXPLORATION_MORE");
    return given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : 0;
}

/// Fewer than `atLeast` histories: something was not explored.
void expectExplored(Setting setting, double atLeast) {
    setting.budget += moreChanges();
    Figures const figures = explore(setting);
    std::cout << "[ EXPLORED ] " << figures << std::endl;
    if (!std::getenv("EXPLORATION_CHOICES") && TestSupport::optimised) {
        EXPECT_GE(figures.histories, atLeast);
    }
}

// Nothing but the start.

TEST(ExploredStartUp, OverAnEmptyDirectory) {
    expectExplored(world(2, 2), 1e9);
}

TEST(ExploredStartUp, OverWhatAnEarlierRunLeft) {
    Setting setting = world(2, 2);
    setting.world.leftBehind = leftBehind;
    expectExplored(setting, 1e11);
}

TEST(ExploredStartUp, WithoutInputs) {
    Setting setting;
    setting.world.leftBehind = leftBehind;
    expectExplored(setting, 7);
}

TEST(ExploredStartUp, OfThreeVlansUnderOtherOrdersOfHashes) {
    for (std::uint32_t const seed : {2U, 3U}) {
        Setting setting = world(3, 2);
        setting.world.manner.seed = seed;
        setting.world.leftBehind = leftBehind;
        expectExplored(setting, 1e12);
    }
}

// One change of each kind, at every moment.

struct Change {
    char const *name;
    Step step;
};

void PrintTo(Change const &change, std::ostream *out) {
    *out << change.name;
}

std::vector<Change> const changes = {{"NewVlan", {Kind::vlanAdd, 3, 0, 0}},
                                     {"VlanGone", {Kind::vlanDel, 0, 0, 0}},
                                     {"VlanReplaced", {Kind::vlanFilled, 0, 0b101001, 1}},
                                     {"NewPort", {Kind::portIs, 0, 3, 3}},
                                     {"NewPortOfAnotherVlan", {Kind::portIs, 3, 0, 3}},
                                     {"PortThatIsNoSubinterface", {Kind::portIs, 0, 7, 3}},
                                     {"ChangedPort", {Kind::portIs, 0, 0, 4}},
                                     {"PortGone", {Kind::portDel, 0, 0, 0}},
                                     {"OtherPortGone", {Kind::portDel, 1, 5, 0}},
                                     {"NewLag", {Kind::lagAdd, 2, 0, 0}},
                                     {"LagGone", {Kind::lagDel, 0, 0, 0}},
                                     {"LagReplaced", {Kind::lagFilled, 0, 0b1100, 1}},
                                     {"NewMember", {Kind::memberIs, 0, 3, 1}},
                                     {"NewMemberOfAnotherLag", {Kind::memberIs, 2, 0, 1}},
                                     {"ChangedMember", {Kind::memberIs, 0, 0, 0}},
                                     {"MemberGone", {Kind::memberDel, 0, 0, 0}},
                                     {"OtherMemberGone", {Kind::memberDel, 1, 1, 0}},
                                     {"VlanNotice", {Kind::vlanNotice, 0, 0, 0}},
                                     {"LagNotice", {Kind::lagNotice, 0, 0, 0}},
                                     {"Silence", {Kind::quiet, 0, 0, 0}},
                                     {"ReleaseInSilence", {Kind::quiet, 0, 0, 3}},
                                     {"Restart", {Kind::restart, 0, 0, 0}},
                                     {"Release", {Kind::release, 0, 0, 0}},
                                     {"Withdrawal", {Kind::withdraw, 0, 0, 0}},
                                     {"WithdrawalAndRelease", {Kind::withdraw, 0, 0, 1}}};

Setting worldWith(bool leavings, std::vector<Step> const &steps, unsigned budget) {
    unsigned const size = TestSupport::optimised ? 2 : 1;
    Setting setting = world(size, size);
    if (leavings) {
        setting.world.leftBehind = leftBehind;
    }
    setting.changes = steps;
    setting.budget = budget;
    return setting;
}

class ExploredChange : public testing::TestWithParam<Change> {};

TEST_P(ExploredChange, WhileAMachineStartsOverAnEmptyDirectory) {
    expectExplored(worldWith(false, {GetParam().step}, 1), 1e9);
}

TEST_P(ExploredChange, WhileAMachineTakesOver) {
    expectExplored(worldWith(true, {GetParam().step}, 1), 1e11);
}

INSTANTIATE_TEST_SUITE_P(OfEveryKind, ExploredChange, testing::ValuesIn(changes),
                         [](auto const &instance) { return instance.param.name; });

// The machine released inside a notice: of the directory, of a state object. (Those of an
// input come with a change of it: that is for the random histories.)

class ExploredRelease : public testing::TestWithParam<unsigned> {};

TEST_P(ExploredRelease, InsideEachNotice) {
    std::vector<Step> traps;
    for (std::uint8_t notice = 0; notice < 8; ++notice) {
        traps.push_back({Kind::releaseInside, static_cast<std::uint8_t>(GetParam()), notice, 0});
    }
    expectExplored(worldWith(true, traps, 1), 1e11);
}

INSTANTIATE_TEST_SUITE_P(OfTheDirectory, ExploredRelease, testing::Values(0U));
INSTANTIATE_TEST_SUITE_P(OfTheOutputState, ExploredRelease, testing::Values(1U));

// Two and three changes.

std::vector<Step> stepsNamed(std::vector<std::string> const &names) {
    std::vector<Step> steps;
    for (Change const &change : changes) {
        if (std::ranges::find(names, change.name) != names.end()) {
            steps.push_back(change.step);
        }
    }
    EXPECT_EQ(steps.size(), names.size());
    return steps;
}

TEST(ExploredPairs, OfChangesOfOneVlan) {
    expectExplored(
        worldWith(true, stepsNamed({"VlanGone", "NewPort", "ChangedPort", "PortGone"}), 2), 1e14);
}

TEST(ExploredPairs, OfChangesOfOneLag) {
    expectExplored(
        worldWith(true, stepsNamed({"LagGone", "NewMember", "ChangedMember", "MemberGone"}), 2),
        1e14);
}

TEST(ExploredPairs, OfChangesOfBothInputs) {
    expectExplored(
        worldWith(true, stepsNamed({"PortGone", "ChangedPort", "MemberGone", "NewMember"}), 2),
        1e14);
}

TEST(ExploredPairs, OfRestartsAndChanges) {
    expectExplored(worldWith(true, stepsNamed({"PortGone", "MemberGone", "Restart"}), 2), 1e14);
}

Setting smallWorldWith(std::vector<Step> const &steps, unsigned budget) {
    Setting setting = world(1, 1);
    setting.world.leftBehind = leftBehind;
    setting.changes = steps;
    setting.budget = budget;
    return setting;
}

TEST(ExploredTriples, OfChangesInASmallerWorld) {
    expectExplored(smallWorldWith(stepsNamed({"VlanGone", "ChangedPort", "PortGone", "LagGone",
                                              "NewMember", "MemberGone"}),
                                  3),
                   1e9);
}

TEST(ExploredTriples, OfLivesInASmallerWorld) {
    expectExplored(smallWorldWith(stepsNamed({"PortGone", "Restart", "Silence", "Withdrawal"}), 3),
                   1e9);
}

} // namespace
} // namespace Exploration
