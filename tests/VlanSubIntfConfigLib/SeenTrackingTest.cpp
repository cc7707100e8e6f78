#include "VlanSubIntfConfigLib/SeenColl.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/MachineFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;

static_assert(ConfigSm::ConfigIntfSeenSet::typeConstant == 0xC1698447);
static_assert(ConfigSm::LagPhyIntfPtrSeenMap::typeConstant == 0x5FCC0AD6);
static_assert(LagPhyIntfOutputColl::SeenSet::typeConstant == 0x6EA91963);

std::uint64_t liveCollections() {
    return TestSupport::liveCount(std::string(LagPhyIntfOutputColl::qorTypeName)).objects;
}

/// The records are looked at on a machine that is ready, so that it does not touch them itself.
class SeenTracking : public TestSupport::MachineTest {
  protected:
    SeenTracking() { startSynchronous(); }

    ConfigIntfOutputKey const key_{VlanId(100), id("PortChannel10.100"), true, true};
    Qor::Ptr<VlanSubIntf> const subIntf_ = Qor::make<VlanSubIntf>(id("PortChannel10.100"));
};

TEST_F(SeenTracking, IsEmptyOnAMachineThatIsReady) {
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().empty());
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().empty());
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(key_));
}

TEST_F(SeenTracking, MarkingAKeyTwiceLeavesOneEntry) {
    auto const *const node = machine->vlanSubIntfConfigDirConfigIntfOutputSeenIs(key_);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->key(), key_);
    EXPECT_EQ(machine->vlanSubIntfConfigDirConfigIntfOutputSeenIs(key_), node);
    EXPECT_EQ(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().size(), 1U);
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(key_));
}

TEST_F(SeenTracking, KeysThatDifferInAFlagAreTwoEntries) {
    auto unset = key_;
    unset.k1Valid = false;
    machine->vlanSubIntfConfigDirConfigIntfOutputSeenIs(key_);
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(unset));
    machine->vlanSubIntfConfigDirConfigIntfOutputSeenIs(unset);
    EXPECT_EQ(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().size(), 2U);
}

TEST_F(SeenTracking, DeletingAKeyForgetsItAndIgnoresAnAbsentOne) {
    ConfigIntfOutputKey const other{VlanId(101), key_.k1, true, true};
    machine->vlanSubIntfConfigDirConfigIntfOutputSeenIs(key_);
    machine->vlanSubIntfConfigDirConfigIntfOutputSeenDel(other);
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(key_));
    machine->vlanSubIntfConfigDirConfigIntfOutputSeenDel(key_);
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(key_));
}

TEST_F(SeenTracking, DeletingAllEmptiesTheSet) {
    for (std::uint16_t vlanId = 1; vlanId <= 50; ++vlanId) {
        machine->vlanSubIntfConfigDirConfigIntfOutputSeenIs({VlanId(vlanId), key_.k1, true, true});
    }
    machine->vlanSubIntfConfigDirConfigIntfOutputSeenDelAll();
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().empty());
    EXPECT_FALSE(
        machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas({VlanId(7), key_.k1, true, true}));
}

TEST_F(SeenTracking, ASubinterfaceHasOneCollection) {
    auto const coll =
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_);
    ASSERT_TRUE(coll);
    EXPECT_EQ(coll->vlanSubIntf(), subIntf_);
    EXPECT_TRUE(coll->seen().empty());
    EXPECT_GT(coll->seen().capacity(), 0U) << "there is room for the first key";
    EXPECT_TRUE(coll->hasNotificationActive());
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_), coll);
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().size(), 1U);
    EXPECT_EQ(liveCollections(), 1U);
}

TEST_F(SeenTracking, SubinterfacesAreToldApartByIdentity) {
    auto const sameName = Qor::make<VlanSubIntf>(subIntf_->intfId());
    auto const one = machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_);
    auto const two = machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(sameName);
    EXPECT_NE(one, two);
    EXPECT_EQ(two->vlanSubIntf(), sameName);
}

TEST_F(SeenTracking, NullIsASubinterfaceLikeAnyOther) {
    auto const coll = machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(nullptr);
    ASSERT_TRUE(coll);
    EXPECT_EQ(coll->vlanSubIntf(), nullptr);
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(nullptr), coll);
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(nullptr), coll);
}

TEST_F(SeenTracking, ACollectionSharesItsSubinterface) {
    auto const references = subIntf_->refCount();
    auto coll = Qor::make<LagPhyIntfOutputColl>(subIntf_);
    EXPECT_EQ(subIntf_->refCount(), references + 1);
    coll = nullptr;
    EXPECT_EQ(subIntf_->refCount(), references);
}

TEST_F(SeenTracking, DeletingACollectionHandsItOutOrNull) {
    auto const coll =
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_);
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(subIntf_),
              coll);
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().empty());
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(subIntf_),
              nullptr);
}

TEST_F(SeenTracking, DeletingAllCollectionsDropsThem) {
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_);
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(nullptr);
    EXPECT_EQ(liveCollections(), 2U);
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDelAll();
    EXPECT_EQ(liveCollections(), 0U);
    EXPECT_EQ(subIntf_->refCount(), 1U);
}

TEST_F(SeenTracking, EachSubinterfaceHasItsOwnCollectionInWhateverOrderTheyAreAskedFor) {
    auto const other = Qor::make<VlanSubIntf>(id("PortChannel10.101"));
    auto const ask = [this](Qor::Ptr<VlanSubIntf> const &subIntf) {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf);
    };
    auto const one = ask(subIntf_);
    auto const two = ask(other);
    auto const ofNull = ask(nullptr);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(ask(subIntf_), one);
        EXPECT_EQ(ask(ofNull->vlanSubIntf()), ofNull);
        EXPECT_EQ(ask(other), two);
        EXPECT_EQ(ask(other), two);
    }
    EXPECT_EQ(liveCollections(), 3U);
}

TEST_F(SeenTracking, ACollectionThatWasDeletedIsNotUsedAgain) {
    auto const ask = [this] {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_);
    };
    ask()->seenIs({id("Ethernet1"), true});
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(subIntf_);
    EXPECT_EQ(liveCollections(), 0U);
    EXPECT_TRUE(ask()->seen().empty()) << "a new one";
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().size(), 1U);

    ask()->seenIs({id("Ethernet1"), true});
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDelAll();
    EXPECT_EQ(liveCollections(), 0U);
    EXPECT_TRUE(ask()->seen().empty()) << "a new one";
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().size(), 1U);
}

TEST_F(SeenTracking, DeletingACollectionLeavesTheOneThatWasAskedForLast) {
    auto const other = Qor::make<VlanSubIntf>(id("PortChannel10.101"));
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(other);
    auto const last =
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_);
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDel(other);
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_), last);
    EXPECT_EQ(liveCollections(), 1U);
}

TEST_F(SeenTracking, AMachineGoesWithItsCollectionsAndASuccessorMakesItsOwn) {
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_)->seenIs(
        {id("Ethernet1"), true});
    machine = nullptr;
    EXPECT_EQ(liveCollections(), 0U);
    EXPECT_EQ(subIntf_->refCount(), 1U);
    startSynchronous();
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_)
                    ->seen()
                    .empty());
}

TEST_F(SeenTracking, ACollectionLivesOnWithWhoeverHoldsIt) {
    auto const coll =
        machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_);
    machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenDelAll();
    EXPECT_EQ(coll->vlanSubIntf(), subIntf_);
    EXPECT_NE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeenIs(subIntf_), coll);
}

TEST_F(SeenTracking, ACollectionMarksAndForgetsItsKeys) {
    auto const coll = Qor::make<LagPhyIntfOutputColl>(subIntf_);
    LagPhyIntfOutputKey const key(id("Ethernet1"), true);
    auto const *const node = coll->seenIs(key);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(coll->seenIs(key), node);
    EXPECT_EQ(coll->seen().size(), 1U);
    coll->seenIs({id("Ethernet1"), false});
    EXPECT_EQ(coll->seen().size(), 2U) << "another key: its flag is not set";
    coll->seenDel({id("Ethernet2"), true});
    coll->seenDel(key);
    EXPECT_FALSE(coll->seen().memberHas(key));
    EXPECT_EQ(coll->seen().size(), 1U);
    coll->seenDelAll();
    EXPECT_TRUE(coll->seen().empty());
}

TEST_F(SeenTracking, ACollectionSaysWhatItIs) {
    EXPECT_EQ(Qor::make<LagPhyIntfOutputColl>(subIntf_)->fwkType().type().name(),
              "VlanSubIntfConfigLib::ConfigSm::"
              "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputCollType");
}

class SeenDuringStartUp : public TestSupport::MachineTest {};

TEST_F(SeenDuringStartUp, HasEveryWrittenEntryUntilItsOutputIsReadyAndNoneAfterwards) {
    stale(900, "Ethernet4.90");
    stale(900, "Ethernet4.91");
    member(100, "PortChannel10.100", {true, both});
    lagMember("PortChannel10", "Ethernet1");
    countShareIs(1);
    startAsynchronous();
    ConfigIntfOutputKey const key(VlanId(100), id("PortChannel10.100"), true, true);
    while (!machine->vlanSubIntfConfigDirConfigIntfOutputUseBookmark()) {
        ASSERT_TRUE(scheduler->runOne());
    }
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(key));
    EXPECT_EQ(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().size(), 1U);
    EXPECT_EQ(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().size(), 1U);
    run();
    ASSERT_TRUE(machine->ready());
    EXPECT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(key));
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().empty());
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().empty());
    EXPECT_EQ(liveCollections(), 0U);
    member(100, "PortChannel10.101", {true, both});
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().empty());
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().empty());
}

// The room that the records have before the second scans fill them.

class SeenRoom : public TestSupport::MachineTest {
  protected:
    SeenRoom() {
        stale(900, "Ethernet4.90"); // an empty directory has no walk, and entries no record
        lagMember("PortChannel10", "Ethernet1");
        lag("PortChannel20");
    }
    /// Make a machine whose first scans go item by item, and leave them at their first ones.
    void startScanning() {
        countShareIs(1);
        startAsynchronous();
        ASSERT_FALSE(machine->initialScanDone());
    }
    void firstScansFinish() {
        ASSERT_FALSE(machine->initialScanDone());
        while (!machine->initialScanDone() && scheduler->runOne()) {
        }
        ASSERT_TRUE(machine->initialScanDone());
        ASSERT_TRUE(entries().empty());
        ASSERT_TRUE(subIntfs().empty());
    }
    /// Whether the machine hears of the members of a VLAN.
    [[nodiscard]] bool hears(std::uint16_t vlanId) const {
        return machine->vlanConfigSm0()->childSm(VlanId(vlanId)) != nullptr;
    }
    [[nodiscard]] ConfigSm::ConfigIntfSeenSet const &entries() const {
        return machine->vlanSubIntfConfigDirConfigIntfOutputSeen();
    }
    [[nodiscard]] ConfigSm::LagPhyIntfPtrSeenMap const &subIntfs() const {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen();
    }
    /// Expect the room for so many subinterfaces, of which so many are on LAGs with members.
    void expectRoomFor(std::uint32_t all, std::uint32_t onLags) const {
        EXPECT_EQ(entries().capacity(), ConfigSm::ConfigIntfSeenSet(all).capacity());
        EXPECT_EQ(subIntfs().capacity(), ConfigSm::LagPhyIntfPtrSeenMap(onLags).capacity());
    }
};

TEST_F(SeenRoom, IsThatOfTheSubinterfacesAndIsEnoughForTheSecondScan) {
    for (int i = 1; i <= 40; ++i) {
        auto const number = std::to_string(i);
        member(100, "PortChannel10." + number);
        member(100, "PortChannel20." + number); // a LAG without members
        member(100, "PortChannel30." + number); // no LAG
        member(100, "Ethernet4." + number);
        member(100, "Ethernet" + number); // no subinterface
    }
    startScanning();
    firstScansFinish();
    expectRoomFor(160, 40);
    while (entries().size() < 160 || subIntfs().size() < 40) {
        ASSERT_TRUE(scheduler->runOne());
    }
    expectRoomFor(160, 40);
}

TEST_F(SeenRoom, OfAMemberThatFlapsInTheFirstScanIsNoMoreThanThatOfTheMembersThatAreThere) {
    for (std::uint16_t vlanId = 1; vlanId <= 3; ++vlanId) {
        member(vlanId, "PortChannel10.100");
    }
    startScanning();
    std::uint16_t const first = vlanOrder().front();
    ASSERT_TRUE(hears(first));
    for (int flap = 0; flap < 1000; ++flap) {
        memberDel(first, "PortChannel10.100");
        member(first, "PortChannel10.100");
    }
    firstScansFinish();
    expectRoomFor(3, 3);
}

TEST_F(SeenRoom, IsNotMadeByRemovals) {
    for (int i = 1; i <= 40; ++i) {
        member(100, "PortChannel10." + std::to_string(i));
        member(100, "Ethernet" + std::to_string(i));
    }
    startScanning();
    ASSERT_TRUE(hears(100));
    for (int i = 1; i <= 40; ++i) {
        memberDel(100, "PortChannel10." + std::to_string(i));
    }
    firstScansFinish();
    EXPECT_LE(entries().capacity(), ConfigSm::ConfigIntfSeenSet(1).capacity());
    EXPECT_LE(subIntfs().capacity(), ConfigSm::LagPhyIntfPtrSeenMap(1).capacity());
}

TEST_F(SeenRoom, IsNotMadeForMembersThatLeaveBeforeTheFirstScanIsDone) {
    for (int i = 1; i <= 100; ++i) {
        member(100, "PortChannel10." + std::to_string(i));
        member(200, "PortChannel10." + std::to_string(i));
    }
    startScanning();
    while (!hears(vlanOrder().back())) { // then the other VLAN is counted
        ASSERT_TRUE(scheduler->runOne());
    }
    for (int i = 2; i <= 100; ++i) {
        memberDel(100, "PortChannel10." + std::to_string(i));
        memberDel(200, "PortChannel10." + std::to_string(i));
    }
    firstScansFinish();
    expectRoomFor(2, 2);
}

} // namespace
} // namespace VlanSubIntfConfigLib
