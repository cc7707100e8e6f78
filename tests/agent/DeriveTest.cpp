#include "agent/Derive.h"

#include "agent/DirectoryDocument.h"
#include "agent/MachineRun.h"
#include "tests/agent/DirectoryTest.h"
#include "tests/agent/Site.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::IsEmpty;

std::string textOf(auto const &write) {
    std::ostringstream text;
    write(text);
    return text.str();
}

/// Derives a site on top of an earlier run's directory, and watches what is deleted from it.
class DeriveTest : public DirectoryTest {
  protected:
    static constexpr unsigned vlans = 60;
    static constexpr unsigned subIntfs = 36;
    static constexpr unsigned lagCount = 12;
    /// The earlier run lacks the first subinterfaces and has a stale one in every second VLAN.
    static constexpr unsigned firstEarlier = 4;
    static constexpr unsigned staleEvery = 2;
    Site const site{vlans, subIntfs, lagCount, 3};

    /// Loaded before the earlier run's entries, so that their names are those of current links.
    Inputs const inputs =
        loadInputs({dir.write("links", textOf([this](std::ostream &out) { site.writeLinks(out); })),
                    dir.write("vlans", textOf([this](std::ostream &out) { site.writeVlans(out); })),
                    {}},
                   progress);

    void loadDocument(std::string_view text) {
        withFile("old", text, [this](InputFile &file) { readDirectoryDocument(file, *directory); });
    }
    void loadEarlier() {
        loadDocument(textOf(
            [this](std::ostream &out) { site.writePrevious(out, firstEarlier, staleEvery); }));
    }
    std::string document() {
        return written([this](Output &output) {
            writeDirectoryDocument(output, DirectoryView(*directory), true);
        });
    }
    std::string expected() const {
        return textOf([this](std::ostream &out) { site.writeDocument(out); });
    }

    void expectDerived(MachineOptions const &options) {
        MachineRun const run = makeMachine(inputs, directory, options);
        runUntilIdle(run, inputs, progress);
        auto const &machine = run.machine;
        EXPECT_TRUE(machine->ready());
        EXPECT_TRUE(machine->idle());
        EXPECT_EQ(document(), expected());
    }

    using MapObserver = TestSupport::Observer<Iftel::IntfId>;
    std::vector<std::unique_ptr<MapObserver>> observers;
    std::multiset<std::string> deleted; ///< "<vlan> <name>", once for each notice

    void watch() {
        for (auto const &[vlan, entry] : directory->config()) {
            auto &observer = *observers.emplace_back(std::make_unique<MapObserver>(*entry));
            observer.reactionIs([this, &vlanEntry = *entry](auto const &notice) {
                if (!vlanEntry.intf().memberHas(*notice.key)) {
                    deleted.insert(std::to_string(vlanEntry.vlanId().value()) + " " +
                                   std::string(notice.key->stringValue().view()));
                }
            });
        }
    }
    static std::multiset<std::string> stale() {
        std::multiset<std::string> names;
        for (unsigned vlan = staleEvery; vlan <= vlans; vlan += staleEvery) {
            names.insert(std::to_string(vlan) + " stale." + std::to_string(vlan));
        }
        return names;
    }
    void expectOnlyStaleDeleted(MachineOptions const &options) {
        loadEarlier();
        watch();
        expectDerived(options);
        EXPECT_EQ(deleted, stale());
    }
};

TEST_F(DeriveTest, OnTasksASiteIsDerivedWhole) {
    expectDerived({});
}

TEST_F(DeriveTest, SynchronouslyASiteIsDerivedWhole) {
    expectDerived({.synchronous = true, .share = {}});
}

TEST_F(DeriveTest, CutAfterEveryYieldTestASiteIsDerivedWhole) {
    expectDerived({.synchronous = false, .share = 1});
}

TEST_F(DeriveTest, OnTasksExactlyTheStaleEntriesAreDeleted) {
    expectOnlyStaleDeleted({});
}

TEST_F(DeriveTest, SynchronouslyExactlyTheStaleEntriesAreDeleted) {
    expectOnlyStaleDeleted({.synchronous = true, .share = {}});
}

TEST_F(DeriveTest, CutAfterEveryYieldTestExactlyTheStaleEntriesAreDeleted) {
    expectOnlyStaleDeleted({.synchronous = false, .share = 1});
}

TEST_F(DeriveTest, ADeletionIsSeenByTheObservers) {
    add(5, "gone.5", true, Direction::both, {});
    watch();
    del(5, "gone.5");
    EXPECT_EQ(deleted, std::multiset<std::string>{"5 gone.5"});
}

TEST_F(DeriveTest, WhatIsAsItWasIsNotWritten) {
    loadDocument(expected());
    std::vector<std::unique_ptr<TestSupport::Observer<>>> watched;
    watched.push_back(std::make_unique<TestSupport::Observer<>>(*directory));
    for (auto const &[vlan, entry] : directory->config()) {
        watched.push_back(std::make_unique<TestSupport::Observer<>>(*entry));
        for (auto const &[intf, subIntf] : entry->intf()) {
            watched.push_back(std::make_unique<TestSupport::Observer<>>(*subIntf));
        }
    }
    expectDerived({});
    EXPECT_EQ(watched.size(), 1 + vlans + site.entries());
    for (auto const &observer : watched) {
        EXPECT_THAT(observer->notices(), IsEmpty());
    }
}

} // namespace
} // namespace Agent
