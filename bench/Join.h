// The incremental join that the peers of Peers.h share: what an engineer would write who needs the
// output and nothing else of this library. No slices, no bookmarks, no record of what was written:
// a restart compares the output with the inputs.
//
// The inputs' VLANs and LAGs lead to their members; the output's VLANs to their entries; the index
// from a LAG to the (subinterface, VLAN) pairs that ride on it.
#pragma once

#include "bench/Checksum.h"
#include "bench/Peers.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace Bench {

template <class Peer> class Join : public InputSink {
  public:
    using Ids = PeerIds;
    using Vlan = PeerIds::Vlan;
    using Intf = PeerIds::Intf;
    static constexpr bool rebuilds = false;

    Join() = default;
    Join(Join const &) = delete;
    Join &operator=(Join const &) = delete;

    // Input writes that nothing reacts to.

    void memberFill(Vlan vlan, Intf intf, PeerConfig config) {
        (*getOrMake<VlanInput>(vlans_, vlan).first)->intf.insert_or_assign(intf, config);
    }
    void memberUnfill(Vlan vlan, Intf intf) { memberErase(*lookUp(vlans_, vlan), vlan, intf); }
    void lagMemberFill(Intf lag, Intf member) {
        getOrMake<LagPort>((*getOrMake<LagInput>(lags_, lag).first)->members, member);
    }
    void lagMemberUnfill(Intf lag, Intf member) {
        auto &input = *lookUp(lags_, lag);
        input->members.erase(member);
        if (input->members.empty()) {
            lags_.erase(lag);
        }
    }

    // Input writes that the output follows.

    void liveIs(bool) noexcept {}
    void batchBegin() noexcept {}
    void batchEnd() noexcept {}
    void memberIs(Vlan vlan, Intf intf, PeerConfig config) {
        auto &input = *getOrMake<VlanInput>(vlans_, vlan).first;
        auto const position = input->intf.insert_or_assign(intf, config).first;
        if constexpr (Peer::notifies) {
            sink_->handleMember(vlan, intf, &position->second);
        } else {
            react(vlan, intf, &position->second);
        }
    }
    void memberDel(Vlan vlan, Intf intf) {
        auto *const input = lookUp(vlans_, vlan);
        if (input == nullptr) {
            return;
        }
        memberErase(*input, vlan, intf);
        if constexpr (Peer::notifies) {
            sink_->handleMember(vlan, intf, nullptr);
        } else {
            react(vlan, intf, nullptr);
        }
    }
    void lagMemberIs(Intf lag, Intf member) {
        lagMemberFill(lag, member);
        lagMemberChanged(lag, member, true);
    }
    void lagMemberDel(Intf lag, Intf member) {
        lagMemberUnfill(lag, member);
        lagMemberChanged(lag, member, false);
    }

    /// Derive everything. Requires: the output is empty.
    void start() {
        reserve(output_, vlans_.size());
        for (auto &[vlan, input] : vlans_) {
            Box<VlanOutput> *output = nullptr;
            for (auto &[intf, config] : input->intf) {
                if (!PeerIds::isSubIntf(intf)) {
                    continue;
                }
                if (output == nullptr) {
                    output = vlanOutput(vlan);
                    reserve((*output)->intf, input->intf.size() * 3 / 4);
                }
                memberPresent(vlan, *output->get(), intf, config);
            }
        }
    }
    /// Derive everything from what the inputs are now. The output survived, the index did not.
    void restart() {
        index_.clear();
        for (auto &[vlan, input] : vlans_) {
            Box<VlanOutput> *output = nullptr;
            for (auto &[intf, config] : input->intf) {
                if (!PeerIds::isSubIntf(intf)) {
                    continue;
                }
                if (output == nullptr) {
                    output = vlanOutput(vlan);
                }
                memberTakenOver(vlan, *output->get(), intf, config);
            }
        }
        staleDel();
    }

    [[nodiscard]] Checksum checksum() {
        Checksum result;
        for (auto &[vlan, output] : output_) {
            for (auto &[intf, entry] : output->intf) {
                result.entryAdd(vlan, intf, entry->tagOnEgress, entry->direction);
                for (Intf const member : entry->members) {
                    result.memberAdd(vlan, intf, member);
                }
            }
        }
        for (auto &[lag, status] : index_) {
            for (auto const &indexed : status->pairs) {
                Pair const &pair = pairOf(indexed);
                result.indexAdd(lag, pair.first, pair.second);
            }
        }
        return result;
    }

    void handleMember(Vlan vlan, Intf intf, PeerConfig const *config) override {
        react(vlan, intf, config);
    }
    void handleLagMember(Intf lag, Intf member, bool present) override {
        reactToLag(lag, member, present);
    }

  protected:
    template <class Key, class Value> using Map = typename Peer::template Map<Key, Value>;
    template <class T> using Box = typename Peer::template Box<T>;
    /// What stays there while it is written.
    template <class T> using Hold = std::conditional_t<Peer::holds, Box<T>, Box<T> &>;

    struct LagPort : Peer::Base {
        int configuration = 0;
    };
    struct LagInput : Peer::Base {
        Map<Intf, Box<LagPort>> members;
    };
    struct VlanInput : Peer::Base {
        Map<Intf, PeerConfig> intf;
    };
    struct Entry : Peer::Base {
        typename Peer::Members members;
        bool tagOnEgress = false;
        std::uint8_t direction = 0;
    };
    struct VlanOutput : Peer::Base {
        Map<Intf, Box<Entry>> intf;
    };
    template <class P, bool indexesEntries> struct IndexOf { using Pairs = typename P::Pairs; };
    template <class P> struct IndexOf<P, true> {
        using Pairs = typename P::template PairMap<Entry *>;
    };
    struct LagStatus : Peer::Base {
        typename IndexOf<Peer, Peer::indexesEntries>::Pairs pairs;
    };

    template <class M, class Key> static auto *lookUp(M &map, Key const &key) {
        auto const position = map.find(key);
        return position == map.end() ? nullptr : &position->second;
    }
    template <class T, class M, class Key>
    std::pair<Box<T> *, bool> getOrMake(M &map, Key const &key) {
        auto const [position, isNew] = map.try_emplace(key);
        if (isNew) {
            Peer::make(position->second, key);
            if constexpr (Peer::notifies) {
                position->second->observer = observer_.get();
            }
        }
        return {&position->second, isNew};
    }
    template <class M> static void reserve(M &map, std::size_t size) {
        if constexpr (Peer::reserves && requires { map.reserve(size); }) {
            map.reserve(size);
        }
    }
    template <class E>
    void publish([[maybe_unused]] E &entity, [[maybe_unused]] Change change,
                 [[maybe_unused]] std::uint64_t key) {
        if constexpr (Peer::notifies) {
            if (entity.observer != nullptr) {
                entity.observer->changed(change, key, &entity);
            }
        }
    }
    void publishRoot([[maybe_unused]] Change change, [[maybe_unused]] std::uint64_t key) {
        if constexpr (Peer::notifies) {
            if (observer_ != nullptr) {
                observer_->changed(change, key, nullptr);
            }
        }
    }

    Box<VlanOutput> *vlanOutput(Vlan vlan) {
        auto const [output, isNew] = getOrMake<VlanOutput>(output_, vlan);
        if (isNew) {
            publishRoot(Change::vlanAdded, vlan);
        }
        return output;
    }
    void attributesAre(Entry &entry, PeerConfig const &config) {
        bool const tagOnEgress = config.tagOnEgress != 0;
        if (entry.tagOnEgress != tagOnEgress) {
            entry.tagOnEgress = tagOnEgress;
            publish(entry, Change::tag, tagOnEgress);
        }
        if (entry.direction != config.direction) {
            entry.direction = config.direction;
            publish(entry, Change::direction, config.direction);
        }
    }
    void indexAdd(Intf lag, Intf intf, Vlan vlan, [[maybe_unused]] Entry *entry) {
        auto &status = *getOrMake<LagStatus>(index_, lag).first;
        if constexpr (Peer::indexesEntries) {
            status->pairs.try_emplace(Pair{intf, vlan}, entry);
        } else {
            status->pairs.insert(Pair{intf, vlan});
        }
    }
    static bool memberAdd(Entry &entry, Intf member) {
        if constexpr (requires { entry.members.insert(member).second; }) {
            return entry.members.insert(member).second;
        } else {
            return entry.members.insert(member);
        }
    }
    template <class M> static auto erase(M &map, typename M::iterator position) {
        if constexpr (requires { map.eraseAt(position); }) {
            return map.eraseAt(position);
        } else {
            map.erase(position++);
            return position;
        }
    }

    Map<Vlan, Box<VlanInput>> vlans_;
    Map<Intf, Box<LagInput>> lags_;
    Map<Vlan, Box<VlanOutput>> output_;
    Map<Intf, Box<LagStatus>> index_;

  private:
    template <class I> static Pair const &pairOf(I const &indexed) {
        if constexpr (Peer::indexesEntries) {
            return indexed.first;
        } else {
            return indexed;
        }
    }
    void memberErase(Box<VlanInput> &input, Vlan vlan, Intf intf) {
        input->intf.erase(intf);
        if (input->intf.empty()) {
            vlans_.erase(vlan);
        }
    }
    void lagMemberChanged(Intf lag, Intf member, bool present) {
        if constexpr (Peer::notifies) {
            sink_->handleLagMember(lag, member, present);
        } else {
            reactToLag(lag, member, present);
        }
    }

    // Reactions.

    void react(Vlan vlan, Intf intf, PeerConfig const *config) {
        if (!PeerIds::isSubIntf(intf)) {
            return;
        }
        if (config != nullptr) {
            Hold<VlanOutput> output = *vlanOutput(vlan);
            memberPresent(vlan, *output.get(), intf, *config);
            return;
        }
        auto *const found = lookUp(output_, vlan);
        if (found == nullptr) {
            return;
        }
        Hold<VlanOutput> output = *found;
        memberGone(vlan, *output.get(), intf);
        if (output->intf.empty()) {
            output_.erase(vlan);
            publishRoot(Change::vlanDeleted, vlan);
        }
    }
    void memberPresent(Vlan vlan, VlanOutput &output, Intf intf, PeerConfig const &config) {
        auto const [box, isNew] = getOrMake<Entry>(output.intf, intf);
        Hold<Entry> entry = *box;
        if (isNew) {
            publish(output, Change::intfAdded, intf);
            if (PeerIds::isLagSubIntf(intf)) {
                lagMembersAdd(vlan, intf, *entry.get());
            }
        }
        attributesAre(*entry.get(), config);
    }
    void lagMembersAdd(Vlan vlan, Intf intf, Entry &entry) {
        Intf const lag = PeerIds::parentOf(intf);
        indexAdd(lag, intf, vlan, &entry);
        auto *const found = lookUp(lags_, lag);
        if (found == nullptr) {
            return;
        }
        Hold<LagInput> input = *found;
        reserve(entry.members, input->members.size());
        for (auto &[member, port] : input->members) {
            memberAdd(entry, member);
            publish(entry, Change::memberAdded, member);
        }
    }
    void memberGone(Vlan vlan, VlanOutput &output, Intf intf) {
        if (output.intf.erase(intf) == 0) {
            return;
        }
        publish(output, Change::intfDeleted, intf);
        if (PeerIds::isLagSubIntf(intf)) {
            Intf const lag = PeerIds::parentOf(intf);
            auto &status = *lookUp(index_, lag);
            status->pairs.erase(Pair{intf, vlan});
            if (status->pairs.empty()) {
                index_.erase(lag);
            }
        }
    }
    void reactToLag(Intf lag, Intf member, bool present) {
        auto *const found = lookUp(index_, lag);
        if (found == nullptr) {
            return;
        }
        Hold<LagStatus> status = *found;
        for (auto &indexed : status->pairs) {
            if constexpr (Peer::indexesEntries) {
                lagMemberWrite(*indexed.second, member, present);
            } else {
                auto &output = *lookUp(output_, indexed.second);
                Hold<Entry> entry = *lookUp(output->intf, indexed.first);
                lagMemberWrite(*entry.get(), member, present);
            }
        }
    }
    void lagMemberWrite(Entry &entry, Intf member, bool present) {
        if (present) {
            if (memberAdd(entry, member)) {
                publish(entry, Change::memberAdded, member);
            }
        } else if (entry.members.erase(member) != 0) {
            publish(entry, Change::memberDeleted, member);
        }
    }

    // A restart.

    void memberTakenOver(Vlan vlan, VlanOutput &output, Intf intf, PeerConfig const &config) {
        auto const [box, isNew] = getOrMake<Entry>(output.intf, intf);
        if (isNew) {
            publish(output, Change::intfAdded, intf);
        }
        Hold<Entry> entry = *box;
        attributesAre(*entry.get(), config);
        if (PeerIds::isLagSubIntf(intf)) {
            Intf const lag = PeerIds::parentOf(intf);
            indexAdd(lag, intf, vlan, entry.get());
            lagMembersAre(*entry.get(), lookUp(lags_, lag));
        }
    }
    void lagMembersAre(Entry &entry, Box<LagInput> *input) {
        std::size_t wanted = 0;
        if (input != nullptr) {
            wanted = (*input)->members.size();
            for (auto &[member, port] : (*input)->members) {
                if (memberAdd(entry, member)) {
                    publish(entry, Change::memberAdded, member);
                }
            }
        }
        if (entry.members.size() > wanted) {
            staleMembersDel(entry, input);
        }
    }
    void staleMembersDel(Entry &entry, Box<LagInput> *input) {
        std::vector<Intf> stale;
        for (Intf const member : entry.members) {
            if (input == nullptr || lookUp((*input)->members, member) == nullptr) {
                stale.push_back(member);
            }
        }
        for (Intf const member : stale) {
            entry.members.erase(member);
            publish(entry, Change::memberDeleted, member);
        }
    }
    void staleDel() {
        for (auto i = output_.begin(); i != output_.end();) {
            VlanOutput &output = *i->second.get();
            staleEntriesDel(output, lookUp(vlans_, i->first));
            if (output.intf.empty()) {
                publishRoot(Change::vlanDeleted, i->first);
                i = erase(output_, i);
            } else {
                ++i;
            }
        }
    }
    void staleEntriesDel(VlanOutput &output, Box<VlanInput> *input) {
        for (auto i = output.intf.begin(); i != output.intf.end();) {
            if (input != nullptr && lookUp((*input)->intf, i->first) != nullptr) {
                ++i;
            } else {
                publish(output, Change::intfDeleted, i->first);
                i = erase(output.intf, i);
            }
        }
    }

    std::unique_ptr<Observer> observer_ = Peer::notifies ? countingObserver() : nullptr;
    InputSink *sink_ = opaque(this);
};

} // namespace Bench
