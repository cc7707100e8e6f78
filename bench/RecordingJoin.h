// The peer P0s: P0 that records what it writes during a start, checks the whole output against the
// record, deletes what is not in it, and empties the record. That is what the machine does: LAG
// members are recorded always, entries only over a filled output.
#pragma once

#include "bench/Join.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include <cstddef>
#include <utility>

namespace Bench {

class RecordingJoin : public Join<P0> {
  public:
    void start() { derive(); }
    void restart() {
        index_.clear();
        derive();
    }

  private:
    /// The members written under each entry. By pair: an entry of a flat map has no address to stay
    /// at.
    using WrittenMembers = absl::flat_hash_map<Pair, absl::flat_hash_set<Intf>>;

    void derive() {
        recordsEntries_ = !output_.empty();
        recordReserve();
        reserve(output_, vlans_.size());
        for (auto &[vlan, input] : vlans_) {
            vlanDerive(vlan, *input.get());
        }
        staleDel();
        writtenMembers_ = {};
        writtenEntries_ = {};
    }
    void recordReserve() {
        std::size_t members = 0;
        for (auto &[vlan, input] : vlans_) {
            members += input->intf.size();
        }
        writtenMembers_.reserve(members / 2);
        if (recordsEntries_) {
            writtenEntries_.reserve(members * 3 / 4);
        }
    }
    void vlanDerive(Vlan vlan, VlanInput &input) {
        VlanOutput *output = nullptr;
        for (auto &[intf, config] : input.intf) {
            if (!PeerIds::isSubIntf(intf)) {
                continue;
            }
            if (output == nullptr) {
                output = vlanOutput(vlan)->get();
                if (!recordsEntries_) {
                    reserve(output->intf, input.intf.size() * 3 / 4);
                }
            }
            Entry &entry = *getOrMake<Entry>(output->intf, intf).first->get();
            if (recordsEntries_) {
                writtenEntries_.insert(Pair{intf, vlan});
            }
            if (PeerIds::isLagSubIntf(intf)) {
                lagMembersWrite(vlan, intf, entry);
            }
            attributesAre(entry, config);
        }
    }
    void lagMembersWrite(Vlan vlan, Intf intf, Entry &entry) {
        Intf const lag = PeerIds::parentOf(intf);
        indexAdd(lag, intf, vlan, &entry);
        auto *const input = lookUp(lags_, lag);
        if (input == nullptr) {
            return;
        }
        auto &members = (*input)->members;
        auto &written = writtenMembers_[Pair{intf, vlan}];
        reserve(entry.members, members.size());
        reserve(written, members.size());
        for (auto &[member, port] : members) {
            entry.members.insert(member);
            written.insert(member);
        }
    }

    void staleDel() {
        for (auto i = output_.begin(); i != output_.end();) {
            VlanOutput &output = *i->second.get();
            staleEntriesDel(i->first, output);
            i = output.intf.empty() ? erase(output_, i) : ++i;
        }
    }
    void staleEntriesDel(Vlan vlan, VlanOutput &output) {
        for (auto i = output.intf.begin(); i != output.intf.end();) {
            Pair const pair{i->first, vlan};
            if (recordsEntries_ && !writtenEntries_.contains(pair)) {
                i = erase(output.intf, i);
                continue;
            }
            Entry &entry = *i->second.get();
            if (!entry.members.empty()) {
                staleMembersDel(entry, lookUp(writtenMembers_, pair));
            }
            ++i;
        }
    }
    static void staleMembersDel(Entry &entry, absl::flat_hash_set<Intf> const *written) {
        for (auto i = entry.members.begin(); i != entry.members.end();) {
            if (written == nullptr || !written->contains(*i)) {
                entry.members.erase(i++);
            } else {
                ++i;
            }
        }
    }

    WrittenMembers writtenMembers_;
    absl::flat_hash_set<Pair> writtenEntries_;
    bool recordsEntries_ = false;
};

} // namespace Bench
