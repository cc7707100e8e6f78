// What the directory holds while a machine takes over what an earlier run left in it, step by step.
//
// A step is one change of an input or one run of a task. What start-up does in which order depends
// on hash order and on the scheduler, and the model does not repeat that. It is told what can be
// observed (each step's end, the deletions that the directory published, the pairs in
// lagVlanStatus) and knows from it, per entry, what may stand there:
//
//   firstScan    the directory is as it was found
//   secondScan   an entry of the inputs is either as it was found (missing included) or written; it
//                is certainly written if it changed in this phase, or if its pair is in the index
//   entryWalk    every entry of the inputs is written; others go
//   memberWalk   the entries are exactly those of the inputs; their old members may go
//   ready        and the old members of those that got a LAG member in this run are gone; where the
//                first one came during memberWalk, the walk was there before or after: all or none
//
// A written entry has its attributes from the inputs, and as members those of its LAG and what is
// left of its old ones. An old member that joins the LAG and leaves it again is gone.
#pragma once

#include "tests/model/Model.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <type_traits>
#include <utility>

namespace Model {

enum class Phase { firstScan, secondScan, entryWalk, memberWalk, ready };

class TakeOver {
  public:
    /// A machine starts over a directory with `leftBehind` in it.
    explicit TakeOver(Output leftBehind) : left_(std::move(leftBehind)) {
        for (auto const &[vlan, entries] : left_) {
            if (entries.empty()) {
                leftEmpty_.insert(vlan);
            }
        }
    }

    /// The inputs changed while the machine was in that phase.
    void inputsChange(Inputs const &before, Inputs const &after, Phase phase) {
        if (phase == Phase::firstScan) {
            return;
        }
        forEachSubIntf(before, [&](int vlan, std::string const &intf, Port const & /*port*/) {
            if (!portOf(after, vlan, intf)) {
                entryDeleted(vlan, intf);
            }
        });
        forEachSubIntf(after, [&](int vlan, std::string const &intf, Port const &port) {
            Port const *const former = portOf(before, vlan, intf);
            if (!former || *former != port) {
                written_.insert({vlan, intf});
            }
        });
    }
    /// The machine was told of a VLAN while it was in that phase.
    void vlanNoticed(Inputs const &inputs, int vlan, Phase phase) {
        for (auto const &[intf, port] : inputs.vlans.at(vlan)) {
            if (phase != Phase::firstScan && isSubIntf(intf)) {
                written_.insert({vlan, intf});
            }
        }
    }
    /// The directory published that an entry is gone, or a VLAN.
    void entryDeleted(int vlan, std::string const &intf) {
        written_.erase({vlan, intf});
        gotMember_.erase({vlan, intf});
        gotMemberLate_.erase({vlan, intf});
        auto const found = left_.find(vlan);
        if (found != left_.end()) {
            found->second.erase(intf);
        }
    }
    void vlanDeleted(int vlan) { leftEmpty_.erase(vlan); }

    /// A step is over, the machine's index holds these pairs and the directory this.
    void stepEnds(Phase phase, Inputs const &inputs, LagVlanStatus const &index,
                  Output const &actual) {
        if (phase == Phase::firstScan) {
            return;
        }
        for (auto const &[lag, pairs] : index) {
            for (auto const &[intf, vlan] : pairs) {
                indexed(vlan, intf, membersOf(inputs, intf));
            }
        }
        if (phase == Phase::ready && lastPhase_ != Phase::ready) {
            membersReady(actual);
        }
        lastPhase_ = phase;
    }

    /// What is wrong with the directory at the end of a step; empty when it is as it must be.
    [[nodiscard]] std::string differencesAt(Phase phase, Inputs const &inputs,
                                            Output const &actual) const {
        return differences(expected(phase, inputs, actual), actual);
    }

    /// The same of the index: exact once the first stream is through, a part of it before.
    [[nodiscard]] std::string differencesAt(Phase phase, Inputs const &inputs,
                                            LagVlanStatus const &actual,
                                            Output const &output) const {
        LagVlanStatus expected;
        if (phase != Phase::firstScan) {
            expected = deriveLagVlanStatus(inputs);
        }
        if (phase == Phase::secondScan) {
            keepPairsOf(expected, actual, output);
        }
        return differences(expected, actual);
    }

    /// Whether the entry is known to have been written in this run.
    [[nodiscard]] bool isWritten(int vlan, std::string const &intf) const {
        return written_.contains({vlan, intf});
    }

    /// Once it is ready: members that stay from the earlier run under entries that the inputs want,
    /// although their LAGs do not have them. Nothing was merged into these entries.
    [[nodiscard]] std::size_t keptMembers(Inputs const &inputs) const {
        std::size_t kept = 0;
        forEachSubIntf(inputs, [&](int vlan, std::string const &intf, Port const & /*port*/) {
            if (Entry const *const old = entryOf(left_, vlan, intf)) {
                auto const members = membersOf(inputs, intf);
                kept += static_cast<std::size_t>(
                    std::ranges::count_if(old->members, [&](std::string const &member) {
                        return !members.contains(member);
                    }));
            }
        });
        return kept;
    }

    /// Everything known, word by word and text by text.
    template <class Sink> void addTo(Sink &sink) const {
        for (auto const &[vlan, entries] : left_) {
            sink.add(static_cast<std::uint64_t>(vlan));
            for (auto const &[intf, entry] : entries) {
                sink.add(intf);
                sink.add(entry.direction);
                sink.add(std::uint64_t{entry.tagOnEgress});
                for (std::string const &member : entry.members) {
                    sink.add(member);
                }
                sink.add(entry.members.size());
            }
            sink.add(entries.size());
        }
        for (auto const *places : {&written_, &gotMember_, &gotMemberLate_}) {
            for (auto const &[vlan, intf] : *places) {
                sink.add(static_cast<std::uint64_t>(vlan));
                sink.add(intf);
            }
            sink.add(places->size());
        }
        for (int const vlan : leftEmpty_) {
            sink.add(static_cast<std::uint64_t>(vlan));
        }
        sink.add(static_cast<std::uint64_t>(lastPhase_));
    }

  private:
    using Place = std::pair<int, std::string>;

    static Port const *portOf(Inputs const &inputs, int vlan, std::string const &intf) {
        auto const ports = inputs.vlans.find(vlan);
        if (ports == inputs.vlans.end()) {
            return nullptr;
        }
        auto const port = ports->second.find(intf);
        return port == ports->second.end() ? nullptr : &port->second;
    }
    template <class OutputType>
    using EntryOf = std::conditional_t<std::is_const_v<OutputType>, Entry const, Entry>;
    template <class OutputType>
    static EntryOf<OutputType> *entryOf(OutputType &output, int vlan, std::string const &intf) {
        auto const entries = output.find(vlan);
        if (entries == output.end()) {
            return nullptr;
        }
        auto const entry = entries->second.find(intf);
        return entry == entries->second.end() ? nullptr : &entry->second;
    }
    Entry *leftEntry(int vlan, std::string const &intf) { return entryOf(left_, vlan, intf); }

    /// A pair is in the index: the entry is written and joined to the members of its LAG.
    void indexed(int vlan, std::string const &intf, std::set<std::string> const &members) {
        written_.insert({vlan, intf});
        if (members.empty()) {
            return;
        }
        if (gotMember_.insert({vlan, intf}).second && lastPhase_ == Phase::memberWalk) {
            gotMemberLate_.insert({vlan, intf});
        }
        if (Entry *const old = leftEntry(vlan, intf)) {
            for (auto const &member : members) {
                old->members.erase(member);
            }
        }
    }

    void membersReady(Output const &actual) {
        for (auto const &[vlan, intf] : gotMember_) {
            Entry *const old = leftEntry(vlan, intf);
            Entry const *const there = entryOf(actual, vlan, intf);
            bool const mayHaveThem = gotMemberLate_.contains({vlan, intf});
            if (old &&
                !(mayHaveThem && there && std::ranges::includes(there->members, old->members))) {
                old->members.clear();
            }
        }
    }

    [[nodiscard]] Output expected(Phase phase, Inputs const &inputs, Output const &actual) const {
        if (phase == Phase::firstScan) {
            return foundOutput();
        }
        Output output = derive(inputs);
        for (auto &[vlan, entries] : output) {
            for (auto entry = entries.begin(); entry != entries.end();) {
                bool const isThere = expectEntry(phase, vlan, *entry, actual);
                entry = isThere ? std::next(entry) : entries.erase(entry);
            }
        }
        std::erase_if(output, [](auto const &vlan) { return vlan.second.empty(); });
        if (phase <= Phase::entryWalk) {
            // What is not of the inputs stays until the walk deletes it.
            Output const found = foundOutput();
            for (auto const &[vlan, entries] : found) {
                for (auto const &[intf, old] : entries) {
                    if (!portOf(inputs, vlan, intf) || !isSubIntf(intf)) {
                        output[vlan][intf] = old;
                    }
                }
                if (entries.empty()) {
                    output.try_emplace(vlan);
                }
            }
        }
        return output;
    }

    /// Make of a derived entry what must stand there; false for none.
    bool expectEntry(Phase phase, int vlan, std::pair<std::string const, Entry> &derived,
                     Output const &actual) const {
        auto &[intf, entry] = derived;
        Entry const *const old = entryOf(left_, vlan, intf);
        Entry const *const there = entryOf(actual, vlan, intf);
        if (phase == Phase::secondScan && !isWritten(vlan, intf)) {
            if (old && there && *there == *old) {
                entry = *old;
                return true;
            }
            if (!old && !there) {
                return false;
            }
        }
        if (!old) {
            return true;
        }
        for (auto const &member : old->members) {
            bool const mayBeGone = phase == Phase::memberWalk && gotMember_.contains({vlan, intf});
            if (!mayBeGone || (there && there->members.contains(member))) {
                entry.members.insert(member);
            }
        }
        return true;
    }

    /// What was found and is still there.
    [[nodiscard]] Output foundOutput() const {
        Output output = left_;
        std::erase_if(output, [this](auto const &vlan) {
            return vlan.second.empty() && !leftEmpty_.contains(vlan.first);
        });
        return output;
    }

    /// Take the pairs out that may be there and are not: an entry that is not known to be written.
    void keepPairsOf(LagVlanStatus &expected, LagVlanStatus const &actual,
                     Output const &output) const {
        for (auto &[lag, pairs] : expected) {
            auto const found = actual.find(lag);
            std::erase_if(pairs, [&](auto const &pair) {
                auto const &[intf, vlan] = pair;
                bool const isThere = found != actual.end() && found->second.contains(pair);
                bool const hasEntry = entryOf(output, vlan, intf) != nullptr;
                return !(isThere && hasEntry) && !isWritten(vlan, intf);
            });
        }
        std::erase_if(expected, [](auto const &lag) { return lag.second.empty(); });
    }

    Output left_;                   ///< of what was found: what has not been deleted since
    std::set<int> leftEmpty_;       ///< VLANs that were found without entries
    std::set<Place> written_;       ///< certainly written in this run
    std::set<Place> gotMember_;     ///< and joined with a LAG member
    std::set<Place> gotMemberLate_; ///< for the first time during the walk over the members
    Phase lastPhase_ = Phase::firstScan;
};

} // namespace Model
