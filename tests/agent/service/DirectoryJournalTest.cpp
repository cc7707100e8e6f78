#include "agent/service/DirectoryJournal.h"

#include "platform/Qor/Pool.h"
#include "tests/support/Observer.h"
#include "tests/support/Random.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Agent {
namespace {

using Bridging::VlanId;
using Iftel::IntfId;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Direction = Bridging::AllowedTrafficDirection;
using Kind = DirectoryChange::Kind;

std::string place(DirectoryChange const &change) {
    return fmt::format("{} {}", change.vlan.value(), change.intf.stringValue().view());
}

/// "new 100 Ethernet1.5 tag 3", "set ...", "del ...", "+ 100 Ethernet1.5 Ethernet2", "- ...".
std::string textOf(DirectoryChange const &change) {
    switch (change.kind) {
    case Kind::entryIs:
        return fmt::format("{} {} {} {}", change.isNew ? "new" : "set", place(change),
                           change.tagOnEgress ? "tag" : "untag",
                           static_cast<int>(change.direction));
    case Kind::entryDel:
        return "del " + place(change);
    default:
        return fmt::format("{} {} {}", change.kind == Kind::memberIs ? "+" : "-", place(change),
                           change.member.stringValue().view());
    }
}

class Recorder final : public DirectoryJournal::Reader {
  public:
    std::vector<std::string> changes;
    std::function<void()> reaction;

    void change(DirectoryChange const &change) noexcept override {
        changes.push_back(textOf(change));
        if (reaction) {
            reaction();
        }
    }
};

class DirectoryJournalTest : public testing::Test {
  protected:
    static constexpr VlanId v1{1};
    static constexpr VlanId v2{2};
    IntfId const a{"Ethernet1.5"};
    IntfId const b{"Ethernet2.5"};
    IntfId const m{"Ethernet7"};
    IntfId const n{"Ethernet8"};
    Qor::Ptr<DirectoryJournal::Directory> const directory =
        DirectoryJournal::Directory::VlanSubIntfConfigDirIs();
    Recorder recorder;
};

TEST_F(DirectoryJournalTest, TellsWhatComesChangesAndGoes) {
    DirectoryJournal journal(directory);
    journal.readerIs(recorder);
    auto const entry = directory->configIs(v1)->intfIs(a);
    entry->tagOnEgressIs(true);
    entry->allowedTrafficDirectionIs(Direction::both);
    entry->lagPhyIntfIs(m);
    entry->lagPhyIntfDel(m);
    (*directory->config(v1))->intfDel(a);
    EXPECT_THAT(recorder.changes,
                ElementsAre("new 1 Ethernet1.5 untag 0", "set 1 Ethernet1.5 tag 0",
                            "set 1 Ethernet1.5 tag 3", "+ 1 Ethernet1.5 Ethernet7",
                            "- 1 Ethernet1.5 Ethernet7", "del 1 Ethernet1.5"));
    EXPECT_EQ(journal.counts().changes, 6U);
    EXPECT_EQ(journal.counts().entries, 0U);
}

TEST_F(DirectoryJournalTest, SaysNothingOfWhatIsThereAlreadyButFollowsIt) {
    auto const entry = directory->configIs(v1)->intfIs(a);
    DirectoryJournal journal(directory);
    journal.readerIs(recorder);
    EXPECT_THAT(recorder.changes, IsEmpty());
    EXPECT_EQ(journal.counts().entries, 1U);
    entry->lagPhyIntfIs(m);
    EXPECT_THAT(recorder.changes, ElementsAre("+ 1 Ethernet1.5 Ethernet7"));
}

TEST_F(DirectoryJournalTest, AVlanThatGoesTakesItsEntriesAlong) {
    DirectoryJournal journal(directory);
    directory->configIs(v1)->intfIs(a)->lagPhyIntfIs(m);
    directory->configIs(v1)->intfIs(b);
    directory->configIs(v2)->intfIs(b);
    journal.readerIs(recorder);
    directory->configDel(v1);
    EXPECT_THAT(recorder.changes, UnorderedElementsAre("del 1 Ethernet1.5", "del 1 Ethernet2.5"));
    EXPECT_EQ(journal.counts().entries, 1U);
}

TEST_F(DirectoryJournalTest, WhatLeavesAndComesBackIsTwoChanges) {
    DirectoryJournal journal(directory);
    auto const first = directory->configIs(v1)->intfIs(a);
    journal.readerIs(recorder);
    (*directory->config(v1))->intfDel(a);
    auto const second = (*directory->config(v1))->intfIs(a);
    first->tagOnEgressIs(true); // of no account any more
    second->lagPhyIntfIs(m);
    directory->configDel(v1);
    directory->configIs(v1)->intfIs(a);
    second->lagPhyIntfDel(m);
    EXPECT_THAT(recorder.changes, ElementsAre("del 1 Ethernet1.5", "new 1 Ethernet1.5 untag 0",
                                              "+ 1 Ethernet1.5 Ethernet7", "del 1 Ethernet1.5",
                                              "new 1 Ethernet1.5 untag 0"));
}

TEST_F(DirectoryJournalTest, AnEntryThatAnotherObserverBringsBackInsideTheNoticeIsTwoChanges) {
    auto const config = directory->configIs(v1);
    config->intfIs(a);
    TestSupport::Observer<IntfId> first(*config);
    bool once = true;
    first.reactionIs([&](auto const &) {
        if (std::exchange(once, false)) {
            config->intfIs(a)->lagPhyIntfIs(m);
        }
    });
    DirectoryJournal journal(directory);
    journal.readerIs(recorder);
    config->intfDel(a);
    EXPECT_THAT(recorder.changes, ElementsAre("del 1 Ethernet1.5", "new 1 Ethernet1.5 untag 0",
                                              "+ 1 Ethernet1.5 Ethernet7"));
    EXPECT_EQ(journal.counts().entries, 1U);
}

TEST_F(DirectoryJournalTest, AReaderMayLeaveAndAnotherComeInsideAChange) {
    DirectoryJournal journal(directory);
    Recorder late;
    Recorder third;
    journal.readerIs(recorder);
    journal.readerIs(third);
    recorder.reaction = [&] {
        journal.readerDel(recorder);
        journal.readerDel(third);
        journal.readerIs(late);
    };
    directory->configIs(v1)->intfIs(a);
    directory->configIs(v1)->intfIs(b);
    EXPECT_THAT(recorder.changes, ElementsAre("new 1 Ethernet1.5 untag 0"));
    EXPECT_THAT(third.changes, IsEmpty());
    EXPECT_THAT(late.changes, ElementsAre("new 1 Ethernet2.5 untag 0"));
}

TEST_F(DirectoryJournalTest, ReaderDelOfNoReaderIsHarmless) {
    DirectoryJournal journal(directory);
    journal.readerDel(recorder);
    directory->configIs(v1)->intfIs(a);
    EXPECT_THAT(recorder.changes, IsEmpty());
}

TEST_F(DirectoryJournalTest, AfterItsEndNothingIsObserved) {
    auto const entry = directory->configIs(v1)->intfIs(a);
    { DirectoryJournal const journal(directory); }
    EXPECT_FALSE(directory->publisher().hasSubscribers());
    EXPECT_FALSE((*directory->config(v1))->publisher().hasSubscribers());
    EXPECT_FALSE(entry->publisher().hasSubscribers());
}

TEST_F(DirectoryJournalTest, AnObservedEntryCostsALineOfCacheAndASlot) {
    constexpr std::uint32_t entries = 4096;
    auto const config = directory->configIs(v1);
    for (std::uint32_t i = 0; i < entries; ++i) {
        config->intfIs(IntfId::subIntf(IntfId::intf(Iftel::IntfKind::ethernet, 1), i + 1));
    }
    auto const bytes = [] {
        std::uint64_t sum = 0;
        for (auto const &line : Qor::census()) {
            sum += line.bytes;
        }
        return sum;
    };
    auto const before = bytes();
    DirectoryJournal const journal(directory);
    EXPECT_EQ(journal.counts().entries, entries);
    EXPECT_LE(bytes() - before, entries * 96U);
}

/// What the changes add up to.
class Replica final : public DirectoryJournal::Reader {
  public:
    struct Entry {
        bool tag = false;
        Direction direction = Direction::none;
        std::set<IntfId> members;
        friend bool operator==(Entry const &, Entry const &) = default;
    };
    std::map<std::pair<VlanId, IntfId>, Entry> entries;

    void change(DirectoryChange const &change) noexcept override {
        std::pair const key(change.vlan, change.intf);
        switch (change.kind) {
        case Kind::entryIs:
            EXPECT_EQ(change.isNew, !entries.contains(key));
            entries[key].tag = change.tagOnEgress;
            entries[key].direction = change.direction;
            break;
        case Kind::entryDel:
            EXPECT_EQ(entries.erase(key), 1U);
            break;
        case Kind::memberIs:
            EXPECT_TRUE(entries.at(key).members.insert(change.member).second);
            break;
        case Kind::memberDel:
            EXPECT_EQ(entries.at(key).members.erase(change.member), 1U);
            break;
        }
    }
    static std::map<std::pair<VlanId, IntfId>, Entry> of(DirectoryJournal::Directory const &from) {
        std::map<std::pair<VlanId, IntfId>, Entry> all;
        for (auto const &[vlan, config] : from.config()) {
            for (auto const &[intf, entry] : config->intf()) {
                Entry &copy = all[{vlan, intf}];
                copy.tag = entry->tagOnEgress();
                copy.direction = entry->allowedTrafficDirection();
                for (IntfId const member : entry->lagPhyIntf()) {
                    copy.members.insert(member);
                }
            }
        }
        return all;
    }
};

TEST_F(DirectoryJournalTest, ChangesOfARandomHistoryAddUpToTheDirectory) {
    TestSupport::Random random(20261122);
    DirectoryJournal journal(directory);
    Replica replica;
    journal.readerIs(replica);
    for (int step = 0; step < 20000; ++step) {
        VlanId const vlan(static_cast<std::uint16_t>(1 + random.below(5)));
        IntfId const intf = random.oneIn(2) ? a : b;
        IntfId const member = random.oneIn(2) ? m : n;
        auto const config = directory->configIs(vlan);
        switch (random.below(8)) {
        case 0:
            config->intfDel(intf);
            break;
        case 1:
            directory->configDel(vlan);
            break;
        case 2:
            config->intfIs(intf)->lagPhyIntfDel(member);
            break;
        case 3:
            config->intfIs(intf)->tagOnEgressIs(random.oneIn(2));
            break;
        case 4:
            config->intfIs(intf)->allowedTrafficDirectionIs(
                static_cast<Direction>(random.below(4)));
            break;
        default:
            config->intfIs(intf)->lagPhyIntfIs(member);
        }
        ASSERT_EQ(replica.entries, Replica::of(*directory)) << "step " << step;
        ASSERT_EQ(journal.counts().entries, replica.entries.size());
    }
}

} // namespace
} // namespace Agent
