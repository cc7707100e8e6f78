#include "agent/service/Derivation.h"

#include "VlanSubIntfConfigLib/Trace.h"
#include "tests/agent/service/MachineSite.h"
#include "tests/agent/service/RandomInputs.h"
#include "tests/model/Entities.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace Agent {
namespace {

namespace Statements = VlanSubIntfConfigLib::DovraCode::Statements;
using testing::ElementsAre;
using testing::IsEmpty;
using Outcome = DerivationStep::Outcome;

/// The steps' lines, with their outcomes' first letters: "29p".
std::vector<std::string> lines(std::vector<DerivationStep> const &steps) {
    std::vector<std::string> texts;
    for (DerivationStep const &step : steps) {
        texts.push_back(std::to_string(step.line) + "pwe"[static_cast<int>(step.outcome)]);
    }
    return texts;
}

class DerivationTest : public MachineSite {
  protected:
    /// What the inputs derive, entry by entry, VLAN by VLAN.
    Model::Output derivedOutput() const {
        Model::Output output;
        for (std::uint16_t vlan = 1; vlan <= RandomInputs::vlans; ++vlan) {
            for (char const *const name : RandomInputs::interfaces) {
                Bridging::VlanId const vlanId(vlan);
                if (auto const entry = deriveEntry(inputs, vlanId, id(name))) {
                    output[vlan][name] = modelEntry(*entry);
                }
            }
        }
        return output;
    }
    static Model::Entry modelEntry(DerivedEntry const &entry) {
        EXPECT_TRUE(std::ranges::is_sorted(entry.members));
        Model::Entry model{entry.tagOnEgress, Model::wordOf(entry.direction), {}};
        for (Iftel::IntfId const member : entry.members) {
            model.members.insert(Model::nameOf(member));
        }
        return model;
    }
    [[nodiscard]] DerivationPath path(std::uint16_t vlan, char const *name) const {
        return derivationPath(inputs, Bridging::VlanId(vlan), id(name));
    }
    [[nodiscard]] std::vector<std::string> pathLines(std::uint16_t vlan, char const *name) const {
        return lines(path(vlan, name).steps);
    }

    using Numbers = std::set<std::uint32_t>;

    /// The lines of the statements that the machine traces while `change()` changes its inputs.
    Numbers tracedBy(auto const &change) {
        traceIs(TestSupport::levels(6, 7));
        change();
        Numbers numbers;
        for (TestSupport::TraceLine const &record : trace->records()) {
            numbers.insert(record.line);
        }
        trace.reset();
        return numbers;
    }
    /// The steps that leave a trace line: a filter does where it ends an event.
    static Numbers traceable(std::vector<DerivationStep> const &steps) {
        Numbers numbers;
        for (DerivationStep const &step : steps) {
            if (step.outcome != Outcome::passed || !step.statement.starts_with("filter(")) {
                numbers.insert(step.line);
            }
        }
        return numbers;
    }
};

TEST_F(DerivationTest, EveryEntryIsWhatTheModelDerives) {
    TestSupport::Random random(std::random_device{}());
    RandomInputs changes(inputs, random);
    std::size_t entries = 0;
    for (int i = 0; i < 2000; ++i) {
        changes.change();
        auto const derived = derivedOutput();
        auto const expected = Model::derive(Model::read(*bridging, *lagMapping));
        ASSERT_EQ(Model::differences(expected, derived), "") << "after change " << i;
        for (auto const &[vlan, inVlan] : derived) {
            entries += inVlan.size();
        }
    }
    EXPECT_GT(entries, 2000U) << "hardly any entries were compared";
}

TEST_F(DerivationTest, APathSaysAnEntryExactlyWhereThereIsOne) {
    TestSupport::Random random(std::random_device{}());
    RandomInputs changes(inputs, random);
    for (int i = 0; i < 2000; ++i) {
        changes.change();
        auto const vlan = changes.vlan();
        auto const intf = changes.intf();
        auto const entry = deriveEntry(inputs, vlan, intf);
        auto const path = derivationPath(inputs, vlan, intf);
        ASSERT_EQ(path.entry, entry.hasValue());
        ASSERT_EQ(derivesEntry(inputs, vlan, intf), entry.hasValue());
        bool const merges = path.steps.back().statement == Statements::intoLagPhyIntf.text;
        ASSERT_EQ(merges, entry && !entry->members.empty());
        ASSERT_EQ(path.steps.back().outcome, merges ? Outcome::wrote : Outcome::ended);
    }
}

TEST_F(DerivationTest, EveryStepIsAStatementOfTheTraceInTheOrderOfTheProgram) {
    TestSupport::Random random(std::random_device{}());
    RandomInputs changes(inputs, random);
    for (int i = 0; i < 500; ++i) {
        changes.change();
        for (auto const &steps : {derivationPath(inputs, changes.vlan(), changes.intf()).steps,
                                  lagDerivationPath(inputs, changes.lag()).steps}) {
            ASSERT_FALSE(steps.empty());
            auto const *statement = Statements::all.begin();
            for (DerivationStep const &step : steps) {
                statement = std::find_if(statement, Statements::all.end(), [&](auto const &known) {
                    return known.line == step.line && known.text == step.statement;
                });
                ASSERT_NE(statement, Statements::all.end()) << step.line << ' ' << step.statement;
                ++statement;
            }
        }
    }
}

TEST_F(DerivationTest, AnEventOfAMemberIsTracedAtTheStatementsOfItsPath) {
    TestSupport::Random random(std::random_device{}());
    RandomInputs changes(inputs, random);
    startReady();
    Numbers ends;
    for (int i = 0; i < 2000; ++i) {
        changes.change();
        auto const vlan = changes.vlan();
        auto const intf = changes.intf();
        auto const member = vlanMember(inputs, vlan, intf);
        Bridging::VlanPortConfig const other{!(member && member->tagOnEgress), false, both};
        auto const traced = tracedBy([&] { bridging->vlanConfigIs(vlan)->intfIs(intf, other); });
        auto expected = traceable(derivationPath(inputs, vlan, intf).steps);
        ends.insert(*expected.rbegin());
        // Of the LAG stream, which is not at work here.
        expected.erase(Statements::fromLagUpdate.line);
        expected.erase(Statements::foreachVidIntf.line);
        ASSERT_EQ(traced, expected) << intf << " in " << vlan;
    }
    EXPECT_THAT(ends, ElementsAre(29, 37, 44, 45, 69)) << "not every end was met";
}

TEST_F(DerivationTest, AnEventOfALagMemberIsTracedAtTheStatementsOfItsPath) {
    TestSupport::Random random(std::random_device{}());
    RandomInputs changes(inputs, random);
    startReady();
    Numbers ends;
    for (int i = 0; i < 2000; ++i) {
        changes.change();
        auto const config = lagMapping->lagPhyIntfConfigIs(changes.lag());
        auto const newMember = changes.member();
        config->phyIntfDel(newMember);
        auto const traced = tracedBy([&] { config->phyIntfIs(newMember, nullptr); });
        auto const expected = traceable(lagDerivationPath(inputs, config->intfId()).steps);
        ends.insert(*expected.rbegin());
        ASSERT_EQ(traced, expected) << config->intfId();
    }
    EXPECT_THAT(ends, ElementsAre(54, 69)) << "not every end was met";
}

TEST_F(DerivationTest, AnInterfaceThatIsNoMemberDoesNotEnterTheStream) {
    member(100, "PortChannel1.10");
    EXPECT_THAT(pathLines(100, "PortChannel1.20"), ElementsAre("25e"));
    EXPECT_THAT(pathLines(200, "PortChannel1.10"), ElementsAre("25e"));
    EXPECT_EQ(path(100, "PortChannel1.20").steps[0].values,
              "vlanId=100 intfId=PortChannel1.20: is no member of the VLAN");
    EXPECT_EQ(path(200, "PortChannel1.10").steps[0].values,
              "vlanId=200 intfId=PortChannel1.10: no such VLAN");
}

TEST_F(DerivationTest, AnInterfaceThatIsNoSubinterfaceEndsAtTheFilter) {
    member(100, "Ethernet1");
    member(100, "PortChannel1");
    EXPECT_THAT(pathLines(100, "Ethernet1"), ElementsAre("25p", "29e"));
    EXPECT_THAT(pathLines(100, "PortChannel1"), ElementsAre("25p", "29e"));
}

TEST_F(DerivationTest, ASubinterfaceOfNoLagEndsBehindItsAttributes) {
    member(100, "Ethernet1.10");
    EXPECT_THAT(pathLines(100, "Ethernet1.10"),
                ElementsAre("25p", "29p", "30w", "33w", "34w", "37e"));
}

TEST_F(DerivationTest, ASubinterfaceOfAnUnknownParentEndsThereToo) {
    bridging->vlanConfigIs(Bridging::VlanId(100))->intfIs(subLink("lost.1", {}), {});
    auto const steps = path(100, "lost.1").steps;
    EXPECT_THAT(lines(steps), ElementsAre("25p", "29p", "30w", "33w", "34w", "37e"));
    EXPECT_EQ(steps.back().values, "intfId=lost.1: its parent is not known");
}

TEST_F(DerivationTest, ALagThatTheMappingDoesNotHaveEndsBehindTheIndex) {
    member(100, "PortChannel1.10");
    EXPECT_THAT(pathLines(100, "PortChannel1.10"),
                ElementsAre("25p", "29p", "30w", "33w", "34w", "37p", "40w", "43p", "44e"));
}

TEST_F(DerivationTest, ALagWithoutMembersEndsAtTheLoop) {
    member(100, "PortChannel1.10");
    lag("PortChannel1");
    EXPECT_THAT(pathLines(100, "PortChannel1.10"),
                ElementsAre("25p", "29p", "30w", "33w", "34w", "37p", "40w", "43p", "44p", "45e"));
}

TEST_F(DerivationTest, MembersOfTheLagComeThroughBothStreams) {
    member(100, "PortChannel1.10");
    lagMember("PortChannel1", "Ethernet10");
    lagMember("PortChannel1", "Ethernet9");
    auto const steps = path(100, "PortChannel1.10").steps;
    EXPECT_THAT(lines(steps), ElementsAre("25p", "29p", "30w", "33w", "34w", "37p", "40w", "43p",
                                          "44p", "45p", "50p", "54p", "55p", "65p", "69w"));
    EXPECT_EQ(steps.back().values, "k1=Ethernet9, Ethernet10");
}

TEST_F(DerivationTest, ALagThatTheMappingDoesNotHaveHasNoStream) {
    member(100, "PortChannel1.10");
    auto const path = lagDerivationPath(inputs, id("PortChannel1"));
    EXPECT_THAT(lines(path.steps), ElementsAre("50e"));
    EXPECT_THAT(path.pairs, ElementsAre(std::pair(Bridging::VlanId(100), id("PortChannel1.10"))));
}

TEST_F(DerivationTest, ALagThatNothingRidesOnEndsAtTheFilter) {
    lagMember("PortChannel1", "Ethernet9");
    member(100, "PortChannel2.10");
    member(100, "PortChannel1");
    auto const path = lagDerivationPath(inputs, id("PortChannel1"));
    EXPECT_THAT(lines(path.steps), ElementsAre("50p", "54e"));
    EXPECT_THAT(path.pairs, IsEmpty());
}

TEST_F(DerivationTest, AnEthernetInTheMappingCarriesNoPairs) {
    lagMember("Ethernet1", "Ethernet9");
    member(100, "Ethernet1.10");
    EXPECT_THAT(lines(lagDerivationPath(inputs, id("Ethernet1")).steps), ElementsAre("50p", "54e"));
}

TEST_F(DerivationTest, ALagReachesEachOfItsPairs) {
    lagMember("PortChannel1", "Ethernet9");
    member(200, "PortChannel1.10");
    member(100, "PortChannel1.20");
    member(100, "PortChannel1.10");
    auto const path = lagDerivationPath(inputs, id("PortChannel1"));
    EXPECT_THAT(lines(path.steps), ElementsAre("50p", "54p", "55p", "65p", "69w"));
    EXPECT_THAT(path.pairs, ElementsAre(std::pair(Bridging::VlanId(100), id("PortChannel1.10")),
                                        std::pair(Bridging::VlanId(100), id("PortChannel1.20")),
                                        std::pair(Bridging::VlanId(200), id("PortChannel1.10"))));
}

} // namespace
} // namespace Agent
