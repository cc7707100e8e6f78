// What a machine keeps, read and written by number: flags, bookmarks, seen keys, the local store.
#include "tests/VlanSubIntfConfigLib/ReflectedLife.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Qor::Value;
using testing::ElementsAre;
using testing::Gt;
using testing::UnorderedElementsAre;
using TestSupport::configIntfKey;
using TestSupport::lagPhyIntfKey;
using TestSupport::Reflected;

class ReflectionState : public TestSupport::ReflectionLife {};

TEST_F(ReflectionState, ScanStateIsReadAndWrittenThroughItsPublishingSetters) {
    Reflected root = begin();
    Reflected scan = root.at(133);
    EXPECT_EQ(scan.text(131), "false");
    EXPECT_EQ(scan.text(132), "false");
    EXPECT_EQ(scan.text(133), "false");

    using StateObserver = TestSupport::Observer<>;
    StateObserver const observer(*machine->inputSmScanState());
    scan.write(133, {"true"});
    scan.write(133, {"true"});
    scan.call(130);
    EXPECT_THAT(observer.notices(), ElementsAre(StateObserver::notice(133)));
    scan.write(133, {"false"});
    scan.call(130);
    EXPECT_EQ(scan.text(133), "true");
}

TEST_F(ReflectionState, AFlagOfTheOutputStateRecomputesReady) {
    Reflected state = readyRoot().at(134);
    state.write(132, {"false"});
    EXPECT_EQ(state.text(135), "false");
    EXPECT_EQ(Reflected(machine).call(162).text(), "false");
    state.write(132, {"true"});
    EXPECT_EQ(state.text(135), "true");
    state.write(135, {"false"});
    EXPECT_EQ(state.text(135), "false");
    state.call(136);
    EXPECT_EQ(state.text(135), "true");
}

TEST_F(ReflectionState, ABookmarkThatIsNotToBeUsedDoesNotMoveTheWalk) {
    for (std::uint16_t vlanId = 1; vlanId <= 4; ++vlanId) {
        member(vlanId, "Ethernet4.1");
        stale(vlanId, "Ethernet4.1");
    }
    Reflected root = begin();
    while (root.text(152) == "false") {
        ASSERT_TRUE(scheduler->runOne());
    }
    std::string const afterOneItem = root.text(148);
    scheduler->runOne();
    EXPECT_NE(root.text(148), afterOneItem);
    root.write(152, {"false"});
    scheduler->runOne();
    EXPECT_EQ(root.text(148), afterOneItem);
}

TEST_F(ReflectionState, SeenKeysAreMarkedAndUnmarked) {
    Reflected root = readyRoot();
    std::string const one = configIntfKey("100", "Ethernet4.20");
    std::string const two = configIntfKey("200", "PortChannel10.200");
    root.write(146, {one.c_str()});
    root.write(146, {one.c_str(), Value::of(true)});
    root.write(146, {two.c_str()});
    EXPECT_EQ(root.size(146), "2");
    EXPECT_THAT(root.keys(146), UnorderedElementsAre(one, two));
    EXPECT_EQ(root.text(146, {one.c_str()}), "true");
    EXPECT_EQ(root.done(146, 5, {one.c_str()}).text(), "true");
    root.del(146, {one.c_str()});
    EXPECT_EQ(root.text(146, {one.c_str()}), "false");
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(
        {Bridging::VlanId(200), id("PortChannel10.200"), true, true}));

    auto const walk = Qor::GenericIf::genericIfIterator(root.object(), 146);
    EXPECT_EQ(walk->iterObj().text(), "true");
    walk->iterDel();
    EXPECT_EQ(root.size(146), "0");
    walk->iterInc();
    EXPECT_FALSE(walk->iterNonnull());
}

TEST_F(ReflectionState, SeenMembersAreCollectedPerSubinterfaceNullIncluded) {
    Reflected root = readyRoot();
    Value const subIntf = entry(root, "100", "PortChannel10.100").target();
    Value const null = Value::of(Qor::Ptr<VlanSubIntf>());
    Reflected coll(root.write(138, {subIntf}));
    Reflected const ofNull(root.write(138, {null}));
    EXPECT_EQ(Reflected(root.write(138, {subIntf})), coll) << "made once";
    EXPECT_EQ(root.size(138), "2");
    EXPECT_EQ(coll.at(130), Reflected(subIntf));
    EXPECT_EQ(Reflected(ofNull).text(130), "null");

    coll.write(131, {lagPhyIntfKey("Ethernet1").c_str()});
    coll.write(131, {lagPhyIntfKey("Ethernet1", "False").c_str()});
    EXPECT_EQ(coll.size(131), "2") << "the Valid flag makes another key";
    coll.del(131, {lagPhyIntfKey("Ethernet1").c_str()});
    EXPECT_THAT(coll.keys(131), ElementsAre(lagPhyIntfKey("Ethernet1", "False")));
    EXPECT_THAT(std::stoul(coll.done(131, 4).text()), Gt(0U));

    EXPECT_EQ(root.at(138, {null}), ofNull);
    EXPECT_EQ(Reflected(root.del(138, {null})), ofNull);
    EXPECT_EQ(Reflected(root.del(138, {subIntf})), coll);
    EXPECT_EQ(root.del(138, {subIntf}).text(), "null");
    EXPECT_EQ(root.size(138), "0");
}

TEST_F(ReflectionState, BookmarksAreReadAndWritten) {
    Reflected root = begin();
    EXPECT_EQ(root.text(141), lagPhyIntfKey("", "False"));
    root.write(141, {lagPhyIntfKey("Ethernet2").c_str()});
    EXPECT_EQ(root.text(141), lagPhyIntfKey("Ethernet2"));
    root.write(148, {configIntfKey("7", "Ethernet4.7").c_str()});
    EXPECT_EQ(root.text(148), configIntfKey("7", "Ethernet4.7"));
    for (int const flag : {149, 150, 151, 152}) {
        std::string const opposite = root.text(flag) == "true" ? "false" : "true";
        root.write(flag, {opposite.c_str()});
        EXPECT_EQ(root.text(flag), opposite);
    }
    EXPECT_EQ(root.text(139), "null");
    auto const subIntf = Qor::make<VlanSubIntf>(id("Ethernet4.7"));
    root.write(139, {Value::of(subIntf)});
    EXPECT_EQ(root.at(139), Reflected(subIntf));
    EXPECT_EQ(Reflected(root.del(139)), Reflected(subIntf));
    EXPECT_EQ(root.text(139), "null");

    Reflected vlans = vlanParent(root);
    vlans.write(264, {"77"});
    EXPECT_EQ(vlans.text(264), "77");
    Reflected lags = lagParent(root);
    lags.write(264, {"PortChannel3"});
    EXPECT_EQ(lags.text(264), "PortChannel3");
}

/// Write the opposite under each number: the accessor beside it, and no other, sees it.
template <class Object>
void expectOwnFlags(Reflected target, Object const &object,
                    std::vector<std::pair<int, bool (Object::*)() const noexcept>> const &flags) {
    auto const read = [&] {
        std::vector<bool> values;
        for (auto const &[number, accessor] : flags) {
            values.push_back((object.*accessor)());
        }
        return values;
    };
    for (std::size_t i = 0; i < flags.size(); ++i) {
        int const number = flags[i].first;
        auto expected = read();
        EXPECT_EQ(target.text(number) == "true", expected[i]) << number;
        expected[i] = !expected[i];
        target.write(number, {expected[i] ? "true" : "false"});
        EXPECT_EQ(read(), expected) << number;
    }
}

TEST_F(ReflectionState, EveryFlagIsTheOneOfItsName) {
    Reflected root = begin();
    expectOwnFlags<ConfigSm>(
        root, *machine,
        {{149, &ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling},
         {150, &ConfigSm::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputUseBookmark},
         {151, &ConfigSm::vlanSubIntfConfigDirConfigIntfOutputReconciling},
         {152, &ConfigSm::vlanSubIntfConfigDirConfigIntfOutputUseBookmark},
         {156, &ConfigSm::synchronous},
         {163, &ConfigSm::initialScanDone},
         {165, &ConfigSm::initialized}});
    using Scan = ConfigSm::InputSmScanState;
    expectOwnFlags<Scan>(root.at(133), *machine->inputSmScanState(),
                         {{131, &Scan::lagUpdateStreamScan},
                          {132, &Scan::vlanConfigStreamScan},
                          {133, &Scan::idle}});
    using State = ConfigSm::OutputState;
    expectOwnFlags<State>(
        root.at(134), *machine->outputState(),
        {{130, &State::vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReady},
         {131, &State::lagVlanStatusIntfToVlanMapOutputReady},
         {132, &State::vlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputReady},
         {133, &State::vlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputReady},
         {134, &State::vlanSubIntfConfigDirConfigIntfOutputReady}});
}

TEST_F(ReflectionState, AReadyMachineIsNotIdleWhileItsScanStateIsNot) {
    Reflected root = readyRoot();
    EXPECT_EQ(root.call(161).text(), "true");
    root.at(133).write(133, {"false"});
    EXPECT_EQ(root.call(161).text(), "false");
    EXPECT_EQ(root.call(162).text(), "true");
}

TEST_F(ReflectionState, AScanResumesAtTheBookmarkThatWasWritten) {
    for (std::uint16_t vlanId = 300; vlanId < 304; ++vlanId) {
        vlan(vlanId);
    }
    Reflected root = begin();
    Reflected parent = vlanParent(root);
    ASSERT_EQ(parent.text(261), "1") << "interrupted";
    auto const order = parent.at(258).keys(258);
    parent.write(264, {order[4].c_str()});
    lagParent(root).del(269); // so that the next slice is the VLANs'
    listen();
    root.at(158).call(131);
    auto lines = heardTraces();
    std::erase_if(lines, [](std::string const &line) {
        return !line.starts_with("8 VlanConfigSm0::handleVlanConfig ");
    });
    EXPECT_THAT(lines, ElementsAre("8 VlanConfigSm0::handleVlanConfig k: " + order[4]));
}

TEST_F(ReflectionState, KeysAreBuiltFromTextAndCompared) {
    Reflected root = begin();
    Reflected bookmark = root.at(148);
    Value const built = bookmark.done(4, 11, {configIntfKey("10", "Ethernet4.20").c_str()});
    EXPECT_EQ(built.text(), configIntfKey("10", "Ethernet4.20"));
    Reflected smaller(bookmark.done(4, 11, {configIntfKey("2", "Ethernet4.20").c_str()}));
    EXPECT_EQ(smaller.call(4, {built}).text(), "true") << "by number, not by text";
    EXPECT_EQ(Reflected(built).call(4, {smaller.target()}).text(), "false");
    EXPECT_EQ(smaller.call(4, {smaller.target()}).text(), "false");

    smaller.write(0, {"10"});
    smaller.write(3, {"false"});
    EXPECT_EQ(smaller.call(4, {built}).text(), "true") << "false before true";
    smaller.write(1, {"Ethernet4.21"});
    EXPECT_EQ(smaller.text(1), "Ethernet4.21");
    EXPECT_EQ(smaller.call(4, {built}).text(), "false");
    EXPECT_EQ(root.text(148), bookmark.target().text()) << "a key is a copy";

    Reflected memberBookmark = root.at(141);
    Reflected member1(memberBookmark.done(2, 11, {lagPhyIntfKey("Ethernet1").c_str()}));
    Reflected member2(memberBookmark.done(2, 11, {lagPhyIntfKey("Ethernet2").c_str()}));
    EXPECT_EQ(member1.call(2, {member2.target()}).text(), "true");
    EXPECT_EQ(member2.call(2, {member1.target()}).text(), "false");
    member2.write(0, {"Ethernet1"});
    member2.write(1, {"false"});
    EXPECT_EQ(member2.call(2, {member1.target()}).text(), "true");
}

TEST_F(ReflectionState, TheLocalStoreIsReadAndWritten) {
    Reflected store = readyRoot().at(170);
    EXPECT_THAT(store.at(130, {"PortChannel10"}).at(131).keys(130).size(), 2U);
    Reflected entry20(store.write(130, {"PortChannel20"}));
    EXPECT_EQ(entry20.text(130), "PortChannel20");
    EXPECT_EQ(entry20.text(131), "null");
    Reflected const value(entry20.write(131));
    EXPECT_EQ(Reflected(entry20.write(131)), value) << "made once";
    EXPECT_EQ(Reflected(entry20.del(131)), value);
    EXPECT_EQ(Reflected(store.del(130, {"PortChannel20"})), entry20);
    EXPECT_THAT(store.keys(130), ElementsAre("PortChannel10"));
}

} // namespace
} // namespace VlanSubIntfConfigLib
