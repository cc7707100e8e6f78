// A machine's life through numbers alone: behind the factory nothing but Qor::GenericIf and Values.
#include "tests/VlanSubIntfConfigLib/ReflectedLife.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Qor::Value;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using TestSupport::configIntfKey;
using TestSupport::Reflected;
using TestSupport::ReflectionLife;

TEST_F(ReflectionLife, InitialScanDoneIsHandledWhenInvoked) {
    Reflected root = begin();
    root.call(164);
    EXPECT_EQ(root.text(163), "false") << "the scans are not complete";

    root.write(165, {"false"}); // the machine's own handlers stand back
    root.at(158).call(132);
    EXPECT_EQ(root.at(133).text(131), "true");
    EXPECT_EQ(root.at(133).text(132), "true");
    EXPECT_EQ(root.text(163), "false");
    root.write(165, {"true"});
    root.call(164);
    EXPECT_EQ(root.text(163), "true");
    EXPECT_EQ(root.at(133).text(133), "true");
    EXPECT_EQ(root.at(133).text(131), "false") << "the second scan is under way";
    EXPECT_EQ(root.at(132).size(130), "0");

    root.at(158).call(132);
    EXPECT_EQ(root.call(162).text(), "true");
    EXPECT_THAT(members(root, "100", "PortChannel10.100"),
                UnorderedElementsAre("Ethernet1", "Ethernet2"));
    EXPECT_EQ(entry(root, "200", "PortChannel10.200").text(132), "egress");
}

TEST_F(ReflectionLife, WrittenSynchronousTheSecondScansRunInline) {
    Reflected root = begin();
    root.write(165, {"false"});
    root.at(158).call(132);
    root.write(165, {"true"});
    root.write(156, {"true"});
    vlanParent(root).del(269); // a scan yields as long as its machine has a task
    lagParent(root).del(269);
    EXPECT_EQ(root.text(156), "true");
    EXPECT_EQ(root.text(157), "false") << "the default stays";
    root.call(164);
    EXPECT_EQ(root.call(162).text(), "true") << "no task had to run";
    EXPECT_EQ(root.call(161).text(), "true");
}

TEST_F(ReflectionLife, WrittenSynchronousTheSecondScansBeginInlineBesideTheirTasks) {
    Reflected root = begin();
    root.write(165, {"false"});
    root.at(158).call(132);
    root.write(165, {"true"});
    root.write(156, {"true"});
    ASSERT_TRUE(machine->vlanConfigSm0()->task());
    ASSERT_TRUE(machine->lagPhyIntfConfigSm2()->task());
    root.call(164);
    EXPECT_NE(machine->vlanConfigSm0()->scanState(), Quam::Gen::ScanState::completeInitially);
    EXPECT_NE(machine->lagPhyIntfConfigSm2()->scanState(), Quam::Gen::ScanState::completeInitially);
    root.at(158).call(132);
    EXPECT_EQ(root.call(162).text(), "true");
}

TEST_F(ReflectionLife, ASwappedSchedulerIsWhereReplacedTasksRun) {
    stale(300, "Ethernet9.300");
    Reflected root = begin();
    Reflected const former = root.at(158);
    root.write(158, {Value::of(other_)});
    EXPECT_EQ(root.at(158), Reflected(other_));
    EXPECT_EQ(machine->dovraControl().scheduler(), other_) << "it is the control's";

    Reflected(vlanParent(root)).write(269, {Value::of(other_), "high", "vlans"});
    Reflected(lagParent(root)).write(269, {Value::of(other_), "low", "lags"});
    root.write(147, {Value::of(other_), "normal", "entries"});
    root.write(140, {Value::of(other_), "background", "members"});
    EXPECT_EQ(root.at(147),
              Reflected(machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask()));
    EXPECT_EQ(root.at(147).text(130), "entries");
    EXPECT_EQ(root.at(140).text(132), "background");
    EXPECT_EQ(vlanParent(root).at(269).text(130), "vlans");

    EXPECT_EQ(Reflected(former).call(130).text(), "false") << "nothing is left to do there";
    Reflected(other_).call(132);
    EXPECT_EQ(root.call(162).text(), "true");
    EXPECT_THAT(root.at(132).keys(130), UnorderedElementsAre("100", "200"));
}

TEST_F(ReflectionLife, ATaskOfTheSameNameAndSchedulerStaysAndTakesThePriority) {
    Reflected root = begin();
    Reflected parent = vlanParent(root);
    Reflected task = parent.at(269);
    Value const name = task.read(130);
    Reflected const again(parent.write(269, {root.read(158), "high", name}));
    EXPECT_EQ(again, task);
    EXPECT_EQ(task.text(132), "high");
    EXPECT_EQ(Reflected(parent.del(269)), task);
    EXPECT_EQ(parent.text(269), "null");
    EXPECT_EQ(parent.del(269).text(), "null") << "removers tolerate an empty attribute";
}

TEST_F(ReflectionLife, ChildSmIsWalkedWhileItChanges) {
    for (std::uint16_t vlanId = 300; vlanId < 312; ++vlanId) {
        member(vlanId, "Ethernet4." + std::to_string(vlanId));
    }
    Reflected parent = vlanParent(readyRoot());
    auto const order = parent.keys(265);
    ASSERT_EQ(order.size(), 14U);
    EXPECT_EQ(parent.size(265), "14");

    std::vector<std::string> visited;
    auto const walk = Qor::GenericIf::genericIfIterator(parent.object(), 265);
    for (; walk->iterNonnull(); walk->iterInc()) {
        visited.push_back(walk->iterKey().text());
        EXPECT_EQ(Reflected(walk->iterObj()).at(260), parent);
        if (visited.size() == 3) {
            walk->iterDel();
            EXPECT_TRUE(walk->iterObj().empty());
            EXPECT_EQ(walk->iterKey().text(), order[2]);
            parent.del(265, {order[0].c_str()});
            parent.del(265, {order[10].c_str()});
        } else if (visited.size() == 4) { // what is behind the walk comes back unseen
            parent.write(265, {order[0].c_str(), parent.at(258).read(258, {order[0].c_str()})});
        }
    }
    auto expected = order;
    expected.erase(expected.begin() + 10);
    EXPECT_EQ(visited, expected);
    EXPECT_EQ(parent.size(265), "12");
    EXPECT_TRUE(parent.read(265, {order[2].c_str()}).empty());
    EXPECT_EQ(parent.at(265, {order[0].c_str()}).text(259), Value::of(machine).text());
}

TEST_F(ReflectionLife, EveryHandlerIsTheOneOfItsName) {
    Reflected root = readyRoot();
    listen();
    for (int const number : {137, 142, 143, 144, 145}) {
        root.call(number);
        std::string const name(Qor::GenericIf::attribute(root.type(), number)->name);
        EXPECT_THAT(heardTraces(),
                    ElementsAre("9 ConfigSm::" + name + ' ',
                                "9 ConfigSm::" + name + "  already ready, not reconciling."));
    }
}

TEST_F(ReflectionLife, OnlyTheReactorHandlesInFull) {
    for (std::uint16_t i = 1; i < 4; ++i) {
        member(300, "Ethernet4." + std::to_string(i));
    }
    startUntilInitialScanDone();
    Reflected root(machine);
    ASSERT_EQ(root.at(132).size(130), "0");
    vlanParent(root).call(266, {"300"});
    EXPECT_EQ(root.at(132).at(130, {"300"}).size(130), "1") << "the rest is left to the task";
    vlanParent(root).call(267, {"300"});
    EXPECT_EQ(root.at(132).at(130, {"300"}).size(130), "3");
    root.at(158).call(132);
    EXPECT_EQ(root.call(162).text(), "true");
}

TEST_F(ReflectionLife, EventsWriteAndDeleteTheDirectory) {
    Reflected root = readyRoot();
    root.call(168, {"300", "PortChannel10.300",
                    "tagOnEgress=true pvid=false allowedTrafficDirection=egress"});
    EXPECT_EQ(entry(root, "300", "PortChannel10.300").text(131), "true");
    EXPECT_EQ(entry(root, "300", "PortChannel10.300").text(132), "egress");
    EXPECT_THAT(members(root, "300", "PortChannel10.300"),
                UnorderedElementsAre("Ethernet1", "Ethernet2"));

    root.call(167, {"300", "PortChannel10.300", "Ethernet8", "true"});
    root.call(167, {"300", "PortChannel10.300", "Ethernet1", "false"});
    EXPECT_THAT(members(root, "300", "PortChannel10.300"),
                UnorderedElementsAre("Ethernet2", "Ethernet8"));

    root.call(169, {"PortChannel10", "Ethernet3", "null"}); // there, without a configuration
    EXPECT_THAT(members(root, "200", "PortChannel10.200"),
                UnorderedElementsAre("Ethernet1", "Ethernet2", "Ethernet3"));
    root.call(169, {"PortChannel10", "Ethernet3", "None"});
    EXPECT_THAT(members(root, "200", "PortChannel10.200"),
                UnorderedElementsAre("Ethernet1", "Ethernet2"));

    root.call(168, {"300", "PortChannel10.300", "None"});
    EXPECT_TRUE(root.at(132).read(130, {"300"}).empty());
}

TEST_F(ReflectionLife, AnEventTakesTheValueItselfForAnOptionalOne) {
    Reflected root = readyRoot();
    Qor::Value const input = root.at(130).at(258, {"200"}).read(262, {"PortChannel10.200"});
    root.call(168, {"300", "PortChannel10.300", input});
    EXPECT_EQ(entry(root, "300", "PortChannel10.300").text(132),
              entry(root, "200", "PortChannel10.200").text(132));
    Qor::Value const member = root.at(131).at(131, {"PortChannel10"}).read(131, {"Ethernet1"});
    root.call(169, {"PortChannel10", "Ethernet3", member});
    EXPECT_THAT(members(root, "200", "PortChannel10.200"),
                UnorderedElementsAre("Ethernet1", "Ethernet2", "Ethernet3"));
}

TEST_F(ReflectionLife, EventsDoNothingBeforeTheInitialScanIsDone) {
    Reflected root = begin();
    root.call(167, {"100", "PortChannel10.100", "Ethernet1", "true"});
    root.call(168, {"100", "PortChannel10.100",
                    "tagOnEgress=true pvid=false allowedTrafficDirection=egress"});
    root.call(169, {"PortChannel10", "Ethernet3", "null"});
    EXPECT_EQ(root.at(132).size(130), "0");
    EXPECT_EQ(root.at(170).size(130), "0");
}

TEST_F(ReflectionLife, HandlersOfTheInputMachinesTellWhatTheInputHolds) {
    Reflected root = readyRoot();
    for (int const handler : {266, 267}) {
        root.call(168, {"100", "Ethernet4.20", "None"});
        ASSERT_TRUE(root.at(132).at(130, {"100"}).read(130, {"Ethernet4.20"}).empty());
        vlanParent(root).at(265, {"100"}).call(handler, {"Ethernet4.20"});
        EXPECT_EQ(entry(root, "100", "Ethernet4.20").text(132), "ingress");

        root.call(169, {"PortChannel10", "Ethernet2", "None"});
        ASSERT_THAT(members(root, "100", "PortChannel10.100"), ElementsAre("Ethernet1"));
        lagParent(root).at(265, {"PortChannel10"}).call(handler, {"Ethernet2"});
        EXPECT_THAT(members(root, "100", "PortChannel10.100"),
                    UnorderedElementsAre("Ethernet1", "Ethernet2"));

        // A child that was taken out comes back, with everything that its VLAN holds.
        vlanParent(root).del(265, {"200"});
        root.call(168, {"200", "PortChannel10.200", "None"});
        ASSERT_TRUE(root.at(132).read(130, {"200"}).empty());
        vlanParent(root).call(handler, {"200"});
        EXPECT_EQ(vlanParent(root).at(265, {"200"}).at(258),
                  vlanParent(root).at(258).at(258, {"200"}));
        EXPECT_THAT(members(root, "200", "PortChannel10.200"),
                    UnorderedElementsAre("Ethernet1", "Ethernet2"));
    }
}

TEST_F(ReflectionLife, OwnedObjectsAreTakenOutAndMadeAnew) {
    Reflected root = readyRoot();
    Reflected const scan(root.del(133));
    EXPECT_EQ(root.text(133), "null");
    root.write(133, {scan.target()});
    EXPECT_EQ(root.at(133), scan);
    Reflected const store = root.at(170);
    EXPECT_FALSE(Reflected(root.write(170)) == store);
    EXPECT_EQ(root.at(170).size(130), "0");

    Reflected const parent = vlanParent(root);
    EXPECT_EQ(Reflected(root.del(136)), parent);
    EXPECT_EQ(root.text(136), "null");
    EXPECT_EQ(Reflected(parent).text(259), "null") << "it has no root any more";
    Reflected const made(root.write(136, {root.read(130)}));
    EXPECT_EQ(vlanParent(root), made);
    EXPECT_EQ(Reflected(made).at(259), root);
    root.at(158).call(132);
    EXPECT_THAT(Reflected(made).keys(265), UnorderedElementsAre("100", "200"));
}

TEST_F(ReflectionLife, AMachineHeldBeyondItsRootAnswersAndDoesNothing) {
    Reflected root = readyRoot();
    Reflected parent = vlanParent(root);
    Reflected child = parent.at(265, {"100"});
    root = Reflected(Value());
    machine = nullptr;
    auto const before = output();
    EXPECT_EQ(parent.text(259), "null");
    EXPECT_EQ(parent.text(260), "null");
    EXPECT_EQ(child.text(259), "null");
    EXPECT_EQ(child.at(260), parent);
    child.call(266, {"Ethernet4.20"});
    child.call(267, {"Ethernet4.20"});
    child.call(263);
    EXPECT_EQ(parent.size(265), "2") << "its children are still there to be looked at";
    parent.call(266, {"100"});
    parent.call(267, {"200"});
    parent.call(263);
    member(100, "Ethernet4.21");
    memberDel(100, "Ethernet4.20");
    vlan(400);
    EXPECT_EQ(output(), before);
}

TEST_F(ReflectionLife, DoDeleteAllWithdrawsTheMembersOfTheLagsFirst) {
    Reflected root = readyRoot();
    listen();
    root.call(153);
    auto const lines = heard();
    EXPECT_EQ(root.at(132).size(130), "0");
    EXPECT_EQ(root.at(170).size(130), "0");
    EXPECT_EQ(vlanParent(root).size(265), "0");
    EXPECT_EQ(lagParent(root).size(265), "0");

    std::vector<std::string> withdrawals;
    std::ranges::copy_if(lines, std::back_inserter(withdrawals), [](std::string const &line) {
        return line.find("::doDeleteAll ") != std::string::npos;
    });
    EXPECT_THAT(withdrawals,
                ElementsAre("9 LagPhyIntfConfigSm2::doDeleteAll ", "9 PhyIntfSm3::doDeleteAll ",
                            "9 VlanConfigSm0::doDeleteAll ", "9 IntfSm1::doDeleteAll ",
                            "9 IntfSm1::doDeleteAll "));
    // The first notices are of members: two of each of the two subinterfaces of the port-channel.
    std::vector<std::string> notices;
    std::ranges::copy_if(lines, std::back_inserter(notices),
                         [](std::string const &line) { return line.starts_with("* config "); });
    ASSERT_GT(notices.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_THAT(notices[i], AllOf(HasSubstr("lagPhyIntf"), HasSubstr("removed")));
    }
    EXPECT_THAT(std::vector(notices.begin() + 4, notices.end()),
                testing::Each(testing::Not(HasSubstr("lagPhyIntf"))));
}

TEST_F(ReflectionLife, FromTheFirstSliceToTheEmptyDirectory) {
    stale(100, "PortChannel10.100", {false, none, {"Ethernet7"}});
    stale(300, "Ethernet9.300");
    Reflected root = begin();
    EXPECT_EQ(root.text(165), "true");
    EXPECT_EQ(root.text(151), "true") << "the directory held entries";
    root.write(158, {Value::of(other_)});
    root.write(159, {"high"});
    vlanParent(root).write(269, {root.read(158), root.read(159), "vlans"});
    lagParent(root).write(269, {root.read(158), root.read(159), "lags"});
    root.write(147, {root.read(158), root.read(159), "entries"});
    root.write(140, {root.read(158), root.read(159), "members"});

    while (root.text(163) == "false") {
        ASSERT_EQ(root.at(158).call(131).text(), "true");
    }
    root.write(146, {configIntfKey("300", "Ethernet9.300").c_str()}); // spare it
    root.at(158).call(132);
    EXPECT_EQ(root.call(161).text(), "true");
    EXPECT_EQ(root.at(134).text(135), "true");
    EXPECT_THAT(root.at(132).keys(130), UnorderedElementsAre("100", "200", "300"));
    EXPECT_THAT(members(root, "100", "PortChannel10.100"),
                UnorderedElementsAre("Ethernet1", "Ethernet2"));
    EXPECT_EQ(root.size(146), "0") << "ready: the record is empty";

    root.call(168, {"300", "Ethernet9.300", "None"});
    root.call(153);
    EXPECT_EQ(root.at(132).size(130), "0");
    machine = nullptr;
}

} // namespace
} // namespace VlanSubIntfConfigLib
