#include "agent/service/Service.h"

#include "agent/DirectoryDocument.h"
#include "agent/Error.h"
#include "agent/Snapshot.h"
#include "agent/service/Supervision.h"
#include "tests/agent/loop/TurnUntil.h"
#include "tests/agent/service/PacedParts.h"
#include "tests/agent/store/NoCheckpointer.h"

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
            [this](Loop & /*loop*/, Inputs const &inputs, SourceHost &host) {
                auto source = std::make_unique<PacedSource>(inputs, host);
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
    void startReady() {
        service_->start();
        source_->tellLinks();
        source_->tellComplete();
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
    NoCheckpointer checkpointer_;
    Loop loop_{Osk::TaskScheduler::TaskSchedulerIs()};
    PacedSource *source_ = nullptr;
    std::string startProblem_; ///< of sources made from now on
    std::optional<Service> service_;
};

TEST_F(ServiceLife, WaitsForTheLinksThenForStoreAndFirstFullView) {
    EXPECT_EQ(service_->state(), Service::State::withdrawn);
    service_->start();
    idle();
    EXPECT_EQ(service_->state(), Service::State::starting);
    EXPECT_THAT(source_->asked, ElementsAre("start"));
    EXPECT_THAT(service_->waitingFor(), ElementsAre("links of fake"));
    source_->tellLinks();
    EXPECT_THAT(service_->waitingFor(), ElementsAre("first full view of fake", "store fake.db"));
    idle();
    EXPECT_THAT(service_->waitingFor(), ElementsAre("first full view of fake"));
    source_->tellComplete();
    idle();
    EXPECT_THAT(service_->waitingFor(), IsEmpty());
    EXPECT_TRUE(service_->ready());
}

TEST_F(ServiceLife, MakesNoMachineBeforeTheFirstFullViewIsComplete) {
    disk_.left = {{100, "PortChannel1.10", ""}};
    service_->start();
    source_->tellLinks();
    idle();
    EXPECT_EQ(service_->machine(), nullptr);
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10"));
    source_->tellComplete();
    idle();
    EXPECT_NE(service_->machine(), nullptr);
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(ServiceLife, NamesTheOutputsThatTheMachineHasYetToFinish) {
    service_->start();
    source_->tellLinks();
    source_->tellComplete();
    ASSERT_TRUE(turnUntil(loop_, [&] { return service_->state() == Service::State::deriving; }));
    EXPECT_THAT(service_->waitingFor(), Contains("output configIntf"));
    EXPECT_THAT(statusLine(*service_), HasSubstr("waiting for output lagPhyIntf"));
}

TEST_F(ServiceLife, DerivesFollowsAndKeepsTheChangesInTheStore) {
    source_->subIntfIs(100, "PortChannel1.10");
    source_->lagMemberIs("PortChannel1", "Ethernet1");
    startReady();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10 Ethernet1"));
    source_->lagMemberIs("PortChannel1", "Ethernet2");
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10 Ethernet1 Ethernet2"));
    idle();
    ASSERT_FALSE(disk_.written.empty());
    EXPECT_EQ(disk_.written.back().kind, DirectoryChange::Kind::memberIs);
    EXPECT_EQ(disk_.written.back().member, Iftel::IntfId("Ethernet2"));
    EXPECT_EQ(statusLine(*service_), "ready: 1 entries");
}

TEST_F(ServiceLife, AnEntryOfTheEarlierRunThatIsDerivedAgainIsNeverDeleted) {
    disk_.left = {{100, "PortChannel1.10", "Ethernet1"}, {100, "PortChannel1.11", "Ethernet1"}};
    source_->subIntfIs(100, "PortChannel1.10");
    source_->lagMemberIs("PortChannel1", "Ethernet1");
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
    source_->subIntfIs(100, "PortChannel1.10");
    startReady();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10 Ethernet1"));
    EXPECT_TRUE(service_->kept().has(Bridging::VlanId(100), Iftel::IntfId("PortChannel1.10"),
                                     Iftel::IntfId("Ethernet1")));
}

TEST_F(ServiceLife, GoesOnFromMemoryWhereTheStoreCannotBeRead) {
    disk_.broken = true;
    source_->subIntfIs(100, "PortChannel1.10");
    startReady();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10"));
    EXPECT_EQ(service_->store().status().problem, "fake.db: broken");
    EXPECT_EQ(statusLine(*service_), "ready: 1 entries; fake.db: broken");
}

TEST_F(ServiceLife, SaysWhyTheSourceCannotFollowUntilThatIsOver) {
    startReady();
    source_->host().problem("links.json: line 1: nonsense");
    EXPECT_EQ(service_->sourceProblem(), "links.json: line 1: nonsense");
    EXPECT_EQ(statusLine(*service_), "ready: 0 entries; links.json: line 1: nonsense");
    source_->host().problemOver();
    EXPECT_EQ(service_->sourceProblem(), "");
}

TEST_F(ServiceLife, TellsWhyAndWhenItResynchronisedLast) {
    startReady();
    EXPECT_EQ(service_->resync().why, "start");
    service_->resynchronise("SIGHUP");
    EXPECT_THAT(source_->asked, ElementsAre("start", "resynchronise: SIGHUP"));
    source_->tellComplete("SIGHUP");
    EXPECT_EQ(service_->resync().why, "SIGHUP");
    EXPECT_GE(service_->resync().when, service_->started());
}

TEST_F(ServiceLife, WithdrawnItHasNoEntryAndNoMachineAndFollowsNothing) {
    source_->subIntfIs(100, "PortChannel1.10");
    source_->lagMemberIs("PortChannel1", "Ethernet1");
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
        source_->subIntfIs(vlan, "PortChannel1.10");
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
    source_->subIntfIs(100, "PortChannel1.10");
    startReady();
    service_->withdraw();
    idle();
    EXPECT_THAT(entries(), IsEmpty());
    EXPECT_THAT(service_->kept().members(), IsEmpty());
}

TEST_F(ServiceLife, ResumesWithAnotherMachineWithoutTheStore) {
    source_->subIntfIs(100, "PortChannel1.10");
    startReady();
    service_->withdraw();
    idle();
    disk_.left = {{300, "PortChannel3.10", ""}}; // not read again
    service_->resume();                          // with another source
    EXPECT_THAT(source_->asked, ElementsAre("start"));
    idle();
    EXPECT_THAT(service_->waitingFor(), ElementsAre("links of fake"));
    source_->subIntfIs(100, "PortChannel1.10");
    source_->tellLinks();
    source_->tellComplete();
    idle();
    EXPECT_TRUE(service_->ready());
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10"));
}

TEST_F(ServiceLife, AProblemOfTheSourceIsNoneOfTheOneItResumesWith) {
    startReady();
    source_->host().problem("links.json: line 1: nonsense");
    service_->withdraw();
    idle();
    service_->resume();
    EXPECT_EQ(service_->sourceProblem(), "");
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
    source_->tellLinks();
    source_->tellComplete();
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
    source_->subIntfIs(100, "PortChannel1.10");
    startReady();
    source_->subIntfIs(200, "PortChannel1.10");
    service_->stop();
    EXPECT_THAT(entries(), ElementsAre("100 PortChannel1.10", "200 PortChannel1.10"));
    EXPECT_EQ(disk_.written.back().vlan, Bridging::VlanId(200));
}

} // namespace
} // namespace Agent
