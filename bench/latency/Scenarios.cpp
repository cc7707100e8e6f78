#include "bench/latency/Scenarios.h"

#include "bench/latency/Site.h"
#include "bench/latency/Watch.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace Latency {
namespace {

void expectNoFault(Site const &site) {
    if (std::string const fault = site.fault(); !fault.empty()) {
        throw std::runtime_error(fault);
    }
}

void expectEmpty(Site const &site) {
    if (!site.dir->config().empty()) {
        throw std::runtime_error("the directory is not empty");
    }
}

/// The members in a fixed order in which neighbours are far apart.
class Strides {
  public:
    explicit Strides(Site const &site) noexcept : members_(site.members()) {}
    std::uint32_t next() noexcept {
        at_ += 2654435761U; // prime, so every member has its turn where their number is no multiple
        return static_cast<std::uint32_t>(at_ % members_);
    }

  private:
    std::uint64_t at_ = 0;
    std::uint32_t members_;
};

/// Start on the site as it stands, every turn of it.
std::vector<Record> watchedStart(Site &site, Settings const &settings, std::string title) {
    Watch watch(site, settings.share, settings.items);
    watch.factoryCall();
    watch.runUntilIdle();
    expectNoFault(site);
    return {{std::move(title), watch.takeTurns(), 0, settings.share}};
}

std::vector<Record> start(Settings const &settings) {
    Site site(settings.members, settings.share);
    site.fillInputs();
    return watchedStart(site, settings, fmt::format("start with {} members", settings.members));
}

std::vector<Record> restartAllStale(Settings const &settings) {
    Site site(settings.members, settings.share);
    site.fillInputs();
    site.fillDirWithStaleEntries();
    return watchedStart(
        site, settings,
        fmt::format("start with {0} members over {0} stale entries", settings.members));
}

std::vector<Record> restartTenthStale(Settings const &settings) {
    Site site(settings.members, settings.share);
    site.fillInputs();
    site.fillDirAsDerived();
    for (std::uint32_t member = 0; member < site.members(); ++member) {
        if ((member / 16 + member) % 10 == 0) { // of every VLAN and kind
            site.memberDel(member);
        }
    }
    return watchedStart(
        site, settings,
        fmt::format("restart with {} members, a tenth of them gone meanwhile", settings.members));
}

/// `count` changes, each made by `change( number )`, which names it.
template <class Change>
Record changesInOneTurn(std::string title, std::uint32_t count, Change change) {
    Record record;
    record.turns.reserve(count);
    for (std::uint32_t number = 0; number < count; ++number) {
        char const *what = "";
        Turn turn = measured([&what, &change, number] { what = change(number); });
        turn.what = what;
        record.turns.push_back(std::move(turn));
    }
    record.title = std::move(title);
    return record;
}

std::vector<Record> memberChanges(Settings const &settings) {
    Site site(settings.members, settings.share);
    site.fillInputs();
    site.startUntilIdle();
    Strides strides(site);
    std::uint32_t member = 0;
    auto const change = [&](std::uint32_t number) {
        switch (number % 3) {
        case 0: {
            member = strides.next();
            auto changed = Site::config(member);
            changed.tagOnEgress = !changed.tagOnEgress;
            site.memberIs(member, changed);
            return "member changed";
        }
        case 1:
            site.memberDel(member);
            return "member removed";
        default:
            site.memberIs(member);
            return "member added";
        }
    };
    std::uint32_t const count = settings.changes / 3 * 3;
    std::vector<Record> records{changesInOneTurn(
        fmt::format("{} changes of members among {}", count, settings.members), count, change)};
    expectNoFault(site);
    return records;
}

std::vector<Record> lagMemberChanges(Settings const &settings) {
    Site site(settings.members, settings.share);
    site.fillInputs();
    site.startUntilIdle();
    auto const change = [&site](std::uint32_t number) {
        std::uint32_t const lag = number / 2 % Site::lags;
        std::uint32_t const k = number / 2 / Site::lags % Site::membersPerLag;
        if (number % 2 == 0) {
            site.lagMemberDel(lag, k);
            return "LAG member removed";
        }
        site.lagMemberIs(lag, k);
        return "LAG member added";
    };
    std::uint32_t const count = settings.changes / 2 * 2;
    std::vector<Record> records{
        changesInOneTurn(fmt::format("{} changes of LAG members, about {} pairs on each LAG", count,
                                     settings.members / 2 / Site::lags),
                         count, change)};
    records.front().writes = settings.members / 2 / Site::lags;
    expectNoFault(site);
    return records;
}

/// Let go of the machine; what it leaves to later turns counts.
std::vector<Record> releaseNow(Site &site, Settings const &settings, std::string title) {
    site.scheduler->shareIs(settings.share);
    Watch watch(site, settings.share, settings.items);
    Turn turn = measured([&site] { site.machine = nullptr; });
    turn.what = "release";
    watch.runUntilIdle();
    std::vector<Turn> turns = watch.takeTurns();
    turns.insert(turns.begin(), std::move(turn));
    return {{std::move(title), std::move(turns), 0, settings.share}};
}

std::vector<Record> release(Settings const &settings) {
    Site site(settings.members, settings.share);
    site.fillInputs();
    site.startUntilIdle();
    expectNoFault(site);
    return releaseNow(site, settings,
                      fmt::format("release of a ready machine with {} members", settings.members));
}

std::vector<Record> releaseInStart(Settings const &settings) {
    Site site(settings.members, settings.share);
    site.fillInputs();
    site.fillDirWithStaleEntries(); // so that entries are recorded, too
    std::uint32_t const items = std::max(settings.members / 100, 1U);
    site.scheduler->shareIs(std::make_unique<Osk::CountShare>(items));
    site.factoryCall();
    auto const &seen = site.machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen();
    while (seen.size() < std::uint64_t{settings.members} / 2 * 9 / 10) {
        if (!site.scheduler->runOne()) {
            throw std::runtime_error("the machine has forgotten before it had seen");
        }
    }
    std::string title =
        fmt::format("release during the start, {} entries and {} collections seen",
                    site.machine->vlanSubIntfConfigDirConfigIntfOutputSeen().size(), seen.size());
    return releaseNow(site, settings, std::move(title));
}

std::vector<Record> withdrawal(Settings const &settings) {
    Site site(settings.members, settings.share);
    site.fillInputs();
    site.startUntilIdle();
    expectNoFault(site);
    Watch watch(site, settings.share, settings.items);
    Turn turn = measured([&site] { site.machine->doDeleteAll(); });
    turn.what = "withdrawal";
    watch.runUntilIdle();
    expectEmpty(site);
    std::vector<Turn> turns = watch.takeTurns();
    turns.insert(turns.begin(), std::move(turn));
    return {{fmt::format("withdrawal of {} members", settings.members), std::move(turns), 0,
             settings.share}};
}

constexpr Scenario all[] = {{"start", true, start},
                            {"restart-all-stale", true, restartAllStale},
                            {"restart-tenth-stale", true, restartTenthStale},
                            {"member-changes", false, memberChanges},
                            {"lag-member-changes", false, lagMemberChanges},
                            {"release", true, release},
                            {"release-in-start", true, releaseInStart},
                            {"withdrawal", true, withdrawal},
                            {"reactions", false, reactions}};

} // namespace

std::span<Scenario const> scenarios() noexcept {
    return all;
}

} // namespace Latency
