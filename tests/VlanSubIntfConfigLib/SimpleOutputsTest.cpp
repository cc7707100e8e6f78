// The three outputs that need no walk, and the order in which all five become ready.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/JournalFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace VlanSubIntfConfigLib {
namespace {

using testing::ElementsAre;
using testing::Not;

struct SimpleOutput {
    ConfigSm::Output output;
    int attribute;
    std::string handler;
    std::string name;
    void (ConfigSm::*handle)();

    friend std::ostream &operator<<(std::ostream &out, SimpleOutput const &simple) {
        return out << simple.name;
    }
};

SimpleOutput const intfToVlanMap{ConfigSm::Output::intfToVlanMap, 131,
                                 "handleLagVlanStatusIntfToVlanMapOutputInputReady",
                                 "lagVlanStatusIntfToVlanMapOutput",
                                 &ConfigSm::handleLagVlanStatusIntfToVlanMapOutputInputReady};
SimpleOutput const direction{
    ConfigSm::Output::allowedTrafficDirection, 132,
    "handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady",
    "vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutput",
    &ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady};
SimpleOutput const tagOnEgress{
    ConfigSm::Output::tagOnEgress, 133,
    "handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady",
    "vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutput",
    &ConfigSm::handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady};

class SimpleOutputs : public TestSupport::JournalTest,
                      public testing::WithParamInterface<SimpleOutput> {
  protected:
    void handle() { (*machine.*GetParam().handle)(); }
    [[nodiscard]] bool isReady() const {
        return machine->outputState()->outputReady(GetParam().output);
    }
    [[nodiscard]] static std::string line(std::string const &message) {
        return "9 ConfigSm::" + GetParam().handler + " " + message;
    }
    std::string const scansComplete_ = line("Input scans for " + GetParam().name + " complete");
};

TEST_P(SimpleOutputs, WaitForTheVlanScanWithoutAWord) {
    startUntilInitialScanDone();
    handle();
    EXPECT_THAT(heard(), ElementsAre(line("")));
    EXPECT_FALSE(isReady());
}

TEST_P(SimpleOutputs, HandOverToTheRootBeforeTheInitialScanIsDone) {
    startDuringInitialScan();
    machine->hasNotificationActiveIs(false); // so that no other handler is first
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    handle();
    auto const lines = heard();
    EXPECT_THAT(Lines(lines.begin(), lines.begin() + 2),
                ElementsAre(line(""), "9 ConfigSm::handleInitialScanDone Initial scan done for "
                                      "child SMs. Now scanning with events triggered."));
    EXPECT_THAT(lines, Not(testing::Contains(scansComplete_)));
    EXPECT_FALSE(isReady());
}

TEST_P(SimpleOutputs, AreReadyWithTheVlanScanAndPublishTheirOwnFlag) {
    startUntilInitialScanDone();
    machine->hasNotificationActiveIs(false); // so that this handler runs alone
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    journal.watch(*machine->outputState());
    ASSERT_FALSE(machine->inputSmScanState()->lagUpdateStreamScan());
    handle();
    EXPECT_THAT(heard(), ElementsAre(line(""), scansComplete_,
                                     fmt::format("* output {}", GetParam().attribute)));
    EXPECT_TRUE(isReady());
    handle();
    EXPECT_THAT(heard(), ElementsAre(line(""), line(" already ready, not reconciling.")));
}

TEST_P(SimpleOutputs, NeedNoTask) {
    startUntilInitialScanDone();
    machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTaskDel();
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTaskDel();
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    EXPECT_TRUE(isReady());
}

TEST_P(SimpleOutputs, PublishReadyBeforeTheirOwnFlagWhenTheyAreTheLast) {
    startUntilInitialScanDone();
    for (ConfigSm::Output const other : DovraCode::ConfigSm::outputs) {
        if (other != GetParam().output) {
            machine->outputState()->outputReadyIs(other, true);
        }
    }
    EXPECT_FALSE(machine->ready());
    journal.watch(*machine->outputState());
    machine->inputSmScanState()->vlanConfigStreamScanIs(true);
    auto lines = heard();
    std::erase_if(lines, [](auto const &text) { return !text.starts_with("* "); });
    EXPECT_THAT(lines,
                ElementsAre("* output 135", fmt::format("* output {}", GetParam().attribute)));
    EXPECT_TRUE(machine->ready());
}

INSTANTIATE_TEST_SUITE_P(All, SimpleOutputs, testing::Values(intfToVlanMap, direction, tagOnEgress),
                         [](auto const &tested) { return tested.param.name; });

class OutputReadiness : public TestSupport::JournalTest {
  protected:
    Lines heardNotices() {
        auto lines = heard();
        std::erase_if(lines, [](auto const &text) { return !text.starts_with("* output "); });
        return lines;
    }
};

TEST_F(OutputReadiness, IsPublishedInTheOrderOfTheHandlers) {
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    member(100, "PortChannel10.100");
    lagMember("PortChannel10", "Ethernet1");
    lagMember("PortChannel10", "Ethernet2");
    countShareIs(1);
    startUntilInitialScanDone();
    journal.watch(*machine->outputState());
    run();
    ASSERT_TRUE(machine->ready());
    // The walks end in slices of their own; the last flag brings 135, which comes before it.
    EXPECT_THAT(heardNotices(), ElementsAre("* output 131", "* output 132", "* output 133",
                                            "* output 134", "* output 135", "* output 130"));
}

TEST_F(OutputReadiness, OfTheLagMembersComesInsideThatOfTheEntries) {
    member(100, "PortChannel10.100");
    startUntilInitialScanDone();
    journal.watch(*machine->outputState());
    run();
    ASSERT_TRUE(machine->ready());
    // The root hears 134 first and reconciles the LAG members, with nothing to walk, in it.
    EXPECT_THAT(heardNotices(), ElementsAre("* output 131", "* output 132", "* output 133",
                                            "* output 135", "* output 130", "* output 134"));
}

TEST_F(OutputReadiness, IsFinal) {
    startReady();
    journal.watch(*machine->outputState());
    member(100, "PortChannel10.100");
    lagMember("PortChannel10", "Ethernet1");
    vlanDel(100);
    lagDel("PortChannel10");
    EXPECT_THAT(heardNotices(), testing::IsEmpty());
    EXPECT_TRUE(machine->ready());
}

} // namespace
} // namespace VlanSubIntfConfigLib
