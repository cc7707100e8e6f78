#include "agent/Summary.h"

#include "agent/JsonText.h"
#include "agent/NaturalOrder.h"
#include "agent/VlanRanges.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <vector>

namespace Agent {
namespace {

struct NaturalLess {
    bool operator()(std::string const &a, std::string const &b) const noexcept {
        return naturallyBefore(a, b);
    }
};

/// Entries to be named: for each subinterface its VLANs, in ascending order.
class Naming {
  public:
    void add(Snapshot::Entry const &entry) {
        vlans_[entry.intf].push_back(entry.vlan.value());
        ++count_;
    }
    [[nodiscard]] std::size_t count() const noexcept { return count_; }

    void appendTo(std::string &text, std::string_view what) const {
        std::multimap<std::string, std::vector<std::uint16_t> const *, NaturalLess> byName;
        for (auto const &[intf, vlans] : vlans_) {
            byName.emplace(printable(intf.stringValue().view()), &vlans);
        }
        for (auto const &[name, vlans] : byName) {
            fmt::format_to(std::back_inserter(text), "  {}: {} in VLAN{} {}\n", what, name,
                           vlans->size() == 1 ? "" : "s", vlanRanges(*vlans));
        }
    }

  private:
    std::map<Iftel::IntfId, std::vector<std::uint16_t>> vlans_;
    std::size_t count_ = 0;
};

/// Whether this run has members for the subinterface.
bool hasMembers(Iftel::IntfId subIntf, Lag::LagPhyIntfMapping const &lags) {
    if (!Iftel::PortChannelIntfId::isPortChannelIntfId(subIntf)) {
        return false;
    }
    auto const lag = lags.lagPhyIntfConfig(Iftel::SubIntfId::parentIntfId(subIntf));
    return lag && !(*lag)->phyIntf().empty();
}

} // namespace

std::string summaryOf(std::string_view previousName, Snapshot const &before, Snapshot const &after,
                      Lag::LagPhyIntfMapping const &lags) {
    using Change = Snapshot::Change;
    std::size_t kept = 0;
    Naming added;
    Naming changed;
    Naming deleted;
    Naming oldMembers;
    Snapshot::compare(before, after, [&](Snapshot::Entry const &entry, Change change) {
        if (change == Change::deleted) {
            deleted.add(entry);
            return;
        }
        if (change == Change::kept) {
            ++kept;
        } else {
            (change == Change::added ? added : changed).add(entry);
        }
        if (!after.members(entry).empty() && !hasMembers(entry.intf, lags)) {
            oldMembers.add(entry);
        }
    });
    std::string text =
        fmt::format("compared with {}: {} kept, {} added, {} changed, {} deleted as stale\n",
                    previousName, kept, added.count(), changed.count(), deleted.count());
    added.appendTo(text, "added");
    changed.appendTo(text, "changed");
    deleted.appendTo(text, "deleted as stale");
    oldMembers.appendTo(text, "keeps its old LAG members, for it got none in this run");
    return text;
}

} // namespace Agent
