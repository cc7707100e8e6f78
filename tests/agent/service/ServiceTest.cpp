#include "agent/service/Service.h"

#include "agent/DirectoryDocument.h"
#include "agent/Error.h"
#include "agent/Snapshot.h"
#include "agent/service/Supervision.h"
#include "tests/agent/loop/TurnUntil.h"
#include "tests/agent/service/FakeParts.h"
#include "tests/agent/store/FakeCheckpointer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ServiceLife : public testing::Test {
  protected:
    ServiceLife() {
        Iftel::NameTable::instance().resetForTest();
        service_.emplace(
            loop_,
            [this](Loop &loop, Inputs const & /*inputs*/, SourceHost &host) {
                auto source = std::make_unique<FakeSource>(loop, host);
                source_ = source.get();
                source_->startProblem = startProblem_;
                return source;
            },
            "fake.db", [this] { return std::make_unique<RecordingStore>(disk_); }, checkpointer_);
    }
    ~ServiceLife() override {
        service_.reset();
        Iftel::NameTable::instance().resetForTest();
    }

    void idle() { turnUntilIdle(loop_); }
    void subIntfIs(std::uint16_t vlan, char const *name) {
        service_->inputs()
            .bridgingConfig->vlanConfigIs(Bridging::VlanId(vlan))
            ->intfIs(Iftel::IntfId(name), {true, false, Bridging::AllowedTrafficDirection::both});
    }
    void lagMemberIs(char const *lag, char const *member) {
        service_->inputs()
            .lagPhyIntfMapping->lagPhyIntfConfigIs(Iftel::IntfId(lag))
            ->phyIntfIs(Iftel::IntfId(member), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    }
    void startReady() {
        service_->start();
        idle();
        ASSERT_TRUE(service_->ready());
    }
    /// "100 PortChannel1.10 Ethernet1", in order.
    std::vector<std::string> entries() {
        std::vector<std::string> lines;
        for (auto const &[vlan, config] : service_->directory().config()) {
            for (auto const &[intf, entry] : config->intf()) {
                std::string line =
                    std::to_string(vlan.value()) + " " + std::string(intf.stringValue().view());
                std::vector<std::string> members;
                for (Iftel::IntfId const member : entry->lagPhyIntf()) {
                    members.emplace_back(member.stringValue().view());
                }
                std::sort(members.begin(), members.end());
                for (std::string const &member : members) {
                    line += " " + member;
                }
                lines.push_back(line);
            }
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    Recording disk_;
    FakeCheckpointer checkpointer_;
    Loop loop_{Osk::TaskScheduler::TaskSchedulerIs()};
    FakeSource *source_ = nullptr;
    std::string startProblem_; ///< of sources made from now on
    std::optional<Service> service_;
};

TEST_F(ServiceLife, WaitsForTheLinksThenForStoreAndFirstFullView) {
    EXPECT_EQ(service_->state(), Service::State::withdrawn);
    source_->holdBack(FakeSource::Held::links);
    service_->start();
    idle();
    EXPECT_EQ(service_->state(), Service::State::starting);
    EXPECT_THAT(source_->asked, ElementsAre("start"));
    EXPECT_THAT(service_->waitingFor(), ElementsAre("links of test \x1b[1m"));
    source_->tellLinks();
    EXPECT_THAT(service_->waitingFor(),
                ElementsAre("first full view of test \x1b[1m", "store fake.db"));
    idle();
    EXPECT_THAT(service_->waitingFor(), ElementsAre("first full view of test \x1b[1m"));
    source_->letGo();
    idle();
    EXPECT_THAT(service_->waitingFor(), IsEmpty());
    EXPECT_TRUE(service_->ready());
}

TEST_F(ServiceLife, MakesNoMachineBeforeTheFirstFullViewIsComplete) {
    disk_.left = {{100, "PortChannel1.10", ""}};
    source_->holdBack();
    service_->start();
    idle();
    EXPECT_EQ(service_->machine(), nullptr);
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10"));
    source_->letGo();
    idle();
    EXPECT_NE(service_->machine(), nullptr);
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(ServiceLife, NamesTheOutputsThatTheMachineHasYetToFinish) {
    service_->start();
    ASSERT_TRUE(turnUntil(loop_, [&] { return service_->state() == Service::State::deriving; }));
    EXPECT_THAT(service_->waitingFor(), Contains("output configIntf"));
    EXPECT_THAT(statusLine(*service_), HasSubstr("waiting for output lagPhyIntf"));
}

TEST_F(ServiceLife, DerivesFollowsAndKeepsTheChangesInTheStore) {
    subIntfIs(100, "PortChannel1.10");
    lagMemberIs("PortChannel1", "Ethernet1");
    startReady();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10 Ethernet1"));
    lagMemberIs("PortChannel1", "Ethernet2");
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10 Ethernet1 Ethernet2"));
    idle();
    ASSERT_FALSE(disk_.written.empty());
    EXPECT_EQ(disk_.written.back().kind, DirectoryChange::Kind::memberIs);
    EXPECT_EQ(disk_.written.back().member, Iftel::IntfId("Ethernet2"));
    EXPECT_EQ(statusLine(*service_), "ready: 1 entries");
}

TEST_F(ServiceLife, AnEntryOfTheEarlierRunThatIsDerivedAgainIsNeverDeleted) {
    disk_.left = {{100, "PortChannel1.10", "Ethernet1"}, {100, "PortChannel1.11", "Ethernet1"}};
    subIntfIs(100, "PortChannel1.10");
    lagMemberIs("PortChannel1", "Ethernet1");
    startReady();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10 Ethernet1"));
    for (DirectoryChange const &change : disk_.written) {
        if (change.kind == DirectoryChange::Kind::entryDel) {
            EXPECT_EQ(change.intf, Iftel::IntfId("PortChannel1.11"));
        }
    }
}

TEST_F(ServiceLife, NotesMembersThatTheEarlierRunLeftAndNothingReplaced) {
    disk_.left = {{100, "PortChannel1.10", "Ethernet1"}};
    subIntfIs(100, "PortChannel1.10");
    startReady();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10 Ethernet1"));
    EXPECT_TRUE(service_->kept().has(Bridging::VlanId(100), Iftel::IntfId("PortChannel1.10"),
                                     Iftel::IntfId("Ethernet1")));
}

TEST_F(ServiceLife, GoesOnFromMemoryWhereTheStoreCannotBeRead) {
    disk_.broken = true;
    subIntfIs(100, "PortChannel1.10");
    startReady();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10"));
    EXPECT_EQ(service_->store().status().problem, "fake.db: broken");
    EXPECT_EQ(statusLine(*service_), "ready: 1 entries; fake.db: broken");
}

TEST_F(ServiceLife, SaysWhyTheSourceCannotFollowUntilThatIsOver) {
    startReady();
    source_->fails("links.json: line 1: nonsense");
    EXPECT_EQ(service_->sourceProblem(), "links.json: line 1: nonsense");
    EXPECT_EQ(statusLine(*service_), "ready: 0 entries; links.json: line 1: nonsense");
    source_->recovers();
    EXPECT_EQ(service_->sourceProblem(), "");
}

TEST_F(ServiceLife, TellsWhyAndWhenItResynchronisedLast) {
    startReady();
    EXPECT_EQ(service_->resync().why, "start");
    service_->resynchronise("SIGHUP");
    EXPECT_THAT(source_->asked, ElementsAre("start", "resynchronise: SIGHUP"));
    idle();
    EXPECT_EQ(service_->resync().why, "SIGHUP");
    EXPECT_GE(service_->resync().when, service_->started());
}

TEST_F(ServiceLife, WithdrawnItHasNoEntryAndNoMachineAndFollowsNothing) {
    subIntfIs(100, "PortChannel1.10");
    lagMemberIs("PortChannel1", "Ethernet1");
    startReady();
    service_->withdraw();
    EXPECT_EQ(service_->state(), Service::State::withdrawing);
    EXPECT_THAT(service_->waitingFor(), ElementsAre("withdrawal"));
    idle();
    EXPECT_EQ(service_->state(), Service::State::withdrawn);
    EXPECT_EQ(service_->machine(), nullptr);
    EXPECT_THAT(entries(), IsEmpty());
    EXPECT_EQ(source_->asked.back(), "stop");
    EXPECT_EQ(disk_.written.back().kind, DirectoryChange::Kind::entryDel);
    service_->resynchronise("SIGHUP");
    EXPECT_EQ(source_->asked.back(), "stop");
}

TEST_F(ServiceLife, WithdrawsInSlices) {
    for (std::uint16_t vlan = 1; vlan <= 50; ++vlan) {
        subIntfIs(vlan, "PortChannel1.10");
    }
    startReady();
    loop_.scheduler()->shareIs(std::make_unique<Osk::CountShare>(10));
    service_->withdraw();
    loop_.turn(std::chrono::milliseconds(0));
    EXPECT_THAT(entries(), testing::SizeIs(testing::AllOf(testing::Ge(30U), testing::Lt(50U))));
    idle();
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(ServiceLife, WithdrawsMembersOfTheEarlierRunToo) {
    disk_.left = {{100, "PortChannel1.10", "Ethernet1"}};
    subIntfIs(100, "PortChannel1.10");
    startReady();
    service_->withdraw();
    idle();
    EXPECT_THAT(entries(), IsEmpty());
    EXPECT_THAT(service_->kept().members(), IsEmpty());
}

TEST_F(ServiceLife, ResumesWithAnotherMachineWithoutTheStore) {
    subIntfIs(100, "PortChannel1.10");
    startReady();
    service_->withdraw();
    idle();
    disk_.left = {{300, "PortChannel3.10", ""}}; // not read again
    service_->resume();                          // with another source
    source_->holdBack(FakeSource::Held::links);
    EXPECT_THAT(source_->asked, ElementsAre("start"));
    idle();
    EXPECT_THAT(service_->waitingFor(), ElementsAre("links of test \x1b[1m"));
    subIntfIs(100, "PortChannel1.10");
    source_->letGo();
    idle();
    EXPECT_TRUE(service_->ready());
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10"));
}

TEST_F(ServiceLife, AProblemOfTheSourceIsNoneOfTheOneItResumesWith) {
    startReady();
    source_->fails("links.json: line 1: nonsense");
    service_->withdraw();
    idle();
    service_->resume();
    EXPECT_EQ(service_->sourceProblem(), "");
}

TEST_F(ServiceLife, WithdrawnItHasNoProblemOfASourceThatNobodyFollows) {
    startReady();
    source_->fails("links.json: line 1: nonsense");
    service_->withdraw();
    EXPECT_EQ(service_->sourceProblem(), "");
    idle();
    EXPECT_EQ(statusLine(*service_), "withdrawn");
}

TEST_F(ServiceLife, AResumeThatFailsLeavesItWithdrawnAndMayBeTriedAgain) {
    startReady();
    service_->withdraw();
    idle();
    startProblem_ = "there is no namespace blue";
    EXPECT_THROW(service_->resume(), Error);
    ASSERT_EQ(service_->state(), Service::State::withdrawn);
    startProblem_.clear();
    service_->resume();
    idle();
    EXPECT_TRUE(service_->ready());
}

TEST_F(ServiceLife, TellsEveryChangeOfItsState) {
    std::vector<std::string> told;
    Service::StateWatch const watch(
        *service_, [&](Service::State state) { told.emplace_back(stateWord(state)); });
    startReady();
    service_->withdraw();
    idle();
    EXPECT_THAT(told, ElementsAre("starting", "deriving", "ready", "withdrawing", "withdrawn"));
}

TEST_F(ServiceLife, AWatchOfItsStateMayEndInsideACall) {
    std::optional<Service::StateWatch> watch;
    int calls = 0;
    watch.emplace(*service_, [&](Service::State /*state*/) {
        ++calls;
        watch.reset();
    });
    startReady();
    EXPECT_EQ(calls, 1);
}

TEST_F(ServiceLife, AtItsEndTheOutputStandsAndTheStoreHasIt) {
    subIntfIs(100, "PortChannel1.10");
    startReady();
    subIntfIs(200, "PortChannel1.10");
    service_->stop();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10", "200 PortChannel1.10"));
    EXPECT_EQ(disk_.written.back().vlan, Bridging::VlanId(200));
}

} // namespace
} // namespace Agent
