// Reactions whose size is fixed by contract: a VLAN or a LAG that goes or comes is followed to the
// output inside its notice, however much rides on it. So each is one turn, and its length is a
// matter of how many writes it makes and what one takes.
#include "bench/latency/Scenarios.h"
#include "bench/latency/Site.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace Latency {
namespace {

using Iftel::IntfId;
using Iftel::IntfKind;

constexpr int rounds = 5;
constexpr std::uint32_t neighbours = 10'000; // what the machine holds besides
constexpr std::uint32_t ownVlan = 4090;
constexpr std::uint32_t ownLag = 1000;
constexpr std::uint32_t ownPort = 100'000;
constexpr std::uint32_t ownSubIntf = 1'000'000;
constexpr std::uint32_t fewPairs = 16;

/// Measures an event and its opposite in turn; both leave the machine as it was.
class Pair {
  public:
    Pair(std::string what, std::string removed, std::string added) {
        removed_.title = fmt::format("{}: {}", what, removed);
        added_.title = fmt::format("{}: {}", what, added);
    }
    template <class Remove, class Add>
    void measure(std::uint64_t writesRemoving, Remove remove, std::uint64_t writesAdding, Add add) {
        removed_.writes = writesRemoving;
        added_.writes = writesAdding;
        for (int round = 0; round < rounds; ++round) {
            removed_.turns.push_back(named(measured(remove), round));
            added_.turns.push_back(named(measured(add), round));
        }
    }
    void moveTo(std::vector<Record> &records) {
        records.push_back(std::move(removed_));
        records.push_back(std::move(added_));
    }

  private:
    static Turn named(Turn turn, int round) {
        turn.what = fmt::format("round {}", round + 1);
        return turn;
    }

    Record removed_;
    Record added_;
};

class ReactionSite : public Site {
  public:
    ReactionSite() : Site(neighbours, Osk::TaskScheduler::defaultShare) {
        fillInputs();
        startUntilIdle();
    }

    void vlan(std::vector<Record> &records, std::uint32_t size);
    /// A LAG of `size` members, on which `pairs` ride: itself, one of its members, one pair.
    void lag(std::vector<Record> &records, std::uint32_t size, std::uint32_t pairs);

  private:
    void lagAlone(std::vector<Record> &records, std::uint32_t size, std::uint32_t pairs);
    void lagMember(std::vector<Record> &records, std::uint32_t size, std::uint32_t pairs);
    void lagPair(std::vector<Record> &records, std::uint32_t size, std::uint32_t pairs);
    void pairIs(std::uint32_t pair);
    void pairDel(std::uint32_t pair);
    static Bridging::VlanId pairVlan(std::uint32_t pair) {
        return Bridging::VlanId(static_cast<std::uint16_t>(1 + pair % 4000));
    }
    static IntfId pairIntf(std::uint32_t pair) {
        return IntfId::subIntf(lagId(ownLag), ownSubIntf + pair);
    }
    void lagMembersOfOwnLag(std::uint64_t expected) const;
};

void ReactionSite::vlan(std::vector<Record> &records, std::uint32_t size) {
    Bridging::VlanId const id{ownVlan};
    auto const filled = Qor::make<Bridging::VlanConfig>(id);
    std::uint64_t entries = 0;
    std::uint64_t lagMembers = 0;
    for (std::uint32_t member = 0; member < size; ++member) {
        IntfId const intf = intfIdAt(member, ownSubIntf + member);
        filled->intfIs(intf, config(member));
        entries += intf.isSubIntf() ? 1U : 0U;
        lagMembers += intf.kind() == IntfKind::portChannel ? membersPerLag : 0U;
    }
    bridging->vlanConfigInsertForTest(filled);
    Pair turns(fmt::format("VLAN of {} members, {} entries with {} LAG members", size, entries,
                           lagMembers),
               "removed", "added with all its members");
    turns.measure(
        entries, [this, id] { bridging->vlanConfigDel(id); }, entries + lagMembers,
        [this, &filled] { bridging->vlanConfigInsertForTest(filled); });
    turns.moveTo(records);
    if (auto const config = dir->config(id); !config || (*config)->intf().size() != entries) {
        throw std::runtime_error("the VLAN has not all its entries");
    }
    bridging->vlanConfigDel(id);
}

void ReactionSite::pairIs(std::uint32_t pair) {
    bridging->vlanConfigIs(pairVlan(pair))->intfIs(pairIntf(pair), config(pair));
}

void ReactionSite::pairDel(std::uint32_t pair) {
    bridging->vlanConfigIs(pairVlan(pair))->intfDel(pairIntf(pair));
}

void ReactionSite::lag(std::vector<Record> &records, std::uint32_t size, std::uint32_t pairs) {
    for (std::uint32_t k = 0; k < size; ++k) {
        mapping->lagPhyIntfConfigIs(lagId(ownLag))
            ->phyIntfIs(IntfId::intf(IntfKind::ethernet, ownPort + k), nullptr);
    }
    for (std::uint32_t pair = 0; pair < pairs; ++pair) {
        pairIs(pair);
    }
    lagAlone(records, size, pairs);
    lagMember(records, size, pairs);
    lagPair(records, size, pairs);
    lagMembersOfOwnLag(std::uint64_t{size} * pairs);
    mapping->lagPhyIntfConfigDel(lagId(ownLag));
    for (std::uint32_t pair = 0; pair < pairs; ++pair) {
        pairDel(pair);
    }
}

void ReactionSite::lagAlone(std::vector<Record> &records, std::uint32_t size, std::uint32_t pairs) {
    std::uint64_t const writes = std::uint64_t{size} * pairs;
    auto const filled = mapping->lagPhyIntfConfigIs(lagId(ownLag));
    Pair turns(fmt::format("LAG of {} members, {} pairs", size, pairs), "removed",
               "added with all its members");
    turns.measure(
        writes, [this] { mapping->lagPhyIntfConfigDel(lagId(ownLag)); }, writes,
        [this, &filled] { mapping->lagPhyIntfConfigInsertForTest(filled); });
    turns.moveTo(records);
}

void ReactionSite::lagMember(std::vector<Record> &records, std::uint32_t size,
                             std::uint32_t pairs) {
    auto const own = mapping->lagPhyIntfConfigIs(lagId(ownLag));
    IntfId const member = IntfId::intf(IntfKind::ethernet, ownPort + size / 2);
    Pair turns(fmt::format("LAG of {} members, {} pairs", size, pairs), "one member removed",
               "one member added");
    turns.measure(
        pairs, [&own, member] { own->phyIntfDel(member); }, pairs,
        [&own, member] { own->phyIntfIs(member, nullptr); });
    turns.moveTo(records);
}

void ReactionSite::lagPair(std::vector<Record> &records, std::uint32_t size, std::uint32_t pairs) {
    Pair turns(fmt::format("LAG of {} members, {} pairs", size, pairs), "one pair removed",
               "one pair added");
    turns.measure(
        1, [this] { pairDel(0); }, 1 + std::uint64_t{size}, [this] { pairIs(0); });
    turns.moveTo(records);
}

void ReactionSite::lagMembersOfOwnLag(std::uint64_t expected) const {
    std::uint64_t found = 0;
    for (auto const &[vlan, config] : dir->config()) {
        for (auto const &[id, entry] : config->intf()) {
            found += id.withoutSubIntf() == lagId(ownLag) ? entry->lagPhyIntf().size() : 0U;
        }
    }
    if (found != expected) {
        throw std::runtime_error(fmt::format("{} LAG members, not {}", found, expected));
    }
}

} // namespace

std::vector<Record> reactions(Settings const &settings) {
    std::vector<Record> records;
    ReactionSite site;
    constexpr std::uint32_t sizes[] = {4096, 65536};
    for (std::uint32_t const size : sizes) {
        site.vlan(records, std::min(size, settings.members));
    }
    for (std::uint32_t const size : sizes) {
        site.lag(records, Site::membersPerLag, std::min(size, settings.members));
    }
    for (std::uint32_t const size : sizes) {
        site.lag(records, std::min(size, settings.members), fewPairs);
    }
    if (std::string const fault = site.fault(); !fault.empty()) {
        throw std::runtime_error(fault);
    }
    return records;
}

} // namespace Latency
