// The keyed collection of the runtime: every collection attribute and every seen set.
//
// A map or set with unique keys that is walked in the order of (seeded hash, key). So the place of
// a key is the same before and after any growth, and "where the key would be" has a meaning when it
// is gone: a walk that is resumed at a key visits every entry that was there throughout exactly
// once, whatever was inserted, deleted or rebuilt meanwhile. The order itself differs from process
// to process with the seed and is no contract.
//
//   operation                cost                    iterators
//   lookupNodeG, memberHas   O(1) expected           stay
//   newMemberG               O(1) expected, amortised stay, and visit the entry if it lies ahead
//   deleteMemberG            O(1) expected           stay, also one that stands on the entry
//   replaceValue             O(1)                    stay
//   emptyAllBuckets          O(n)                    stay, and reach the end at the next advance()
//   emptyLater               O(1) for a large map    the same
//   Iterator::advance        O(1); one look-up after a change
//
// References and node pointers are valid until the next insertion or deletion. A range-for loop
// must not change the map (a debug build asserts it); an Iterator may be held over any change, but
// not longer than the map itself.
//
// The modification stamp is a 23-bit counter: 0 for a new map, moved by every insertion, deletion
// and replacement, and by nothing else. It stands in bits 8 to 30 of the state word.
//
// Two layouts:
//   small   up to 8 entries, in the order in which they came. A look-up compares keys and needs no
//           hash; the order of the walk is found when one begins, and kept until the next change.
//           Reading changes what is kept for the next reading: no two threads at once.
//           The first array takes 8 entries of up to 16 bytes, or 4 larger ones. It may be a Room
//           in the map's owner.
//   table   entries in order in an array of a power of two of home slots, see HashMapTable.h. Maps
//           whose key is read from the value are tables at any size: comparing keys would touch
//           every value.
//
// TypeConstant goes into the seed: containers of one key type with different constants order
// differently, and copying one into another stays linear; with one constant they order alike. With
// a KeyOf functor the key is not stored but read from the value. Value void makes a set, Beside<T>
// one whose owner keeps a T with each key.
//
//     HashMap2018<VlanId, Qor::Ptr<IntfSm1>, 3954338504, ChildSmKeyFunktor> childSm;
//     for (auto it = map.iteratorFrom(bookmark); it; it.advance()) { ... it.key() ... }
#pragma once

#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/HTCnt.h"
#include "platform/Qor/Hash.h"
#include "platform/Qor/HashMapNode.h"
#include "platform/Qor/HashMapTable.h"
#include "platform/Qor/Optional.h"
#include "platform/Qor/Reclaimer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace Qor {

template <class K, class V, std::uint32_t TypeConstant, class KeyOf = StoredKey> class HashMap2018 {
  public:
    using Key = K;
    using Node = Impl::MapNode<K, V, KeyOf>;
    using Traits = KeyTraits<K>;
    using View = typename Traits::View;
    class Iterator;
    class RangeIterator;

    static constexpr std::uint32_t typeConstant = TypeConstant;
    static_assert(std::is_nothrow_move_constructible_v<Node> &&
                      std::is_nothrow_move_assignable_v<Node>,
                  "entries move when neighbours come and go");
    static_assert(alignof(Node) <= alignof(std::max_align_t), "as the pool aligns arrays");

    /// `sizeHint`: entries to make room for at once.
    explicit HashMap2018(std::uint32_t sizeHint = 0) { reserve(sizeHint); }
    /// Memory for the array of a small map, as part of the map's owner.
    class Room;
    /// Use `room`, which lives as long as the map, until more is needed or everything is dropped.
    explicit HashMap2018(Room *room) noexcept : array_(room) {
        static_assert(mayBeSmall && std::is_trivially_destructible_v<Node>);
        homeBitsIs(smallHomeBits);
        state_ |= borrowedBit;
    }
    ~HashMap2018() { destroy(release()); }
    /// Not copyable, not movable: iterators and bookmarks belong to one map.
    HashMap2018(HashMap2018 const &) = delete;
    HashMap2018 &operator=(HashMap2018 const &) = delete;

    // Reads.

    [[nodiscard]] std::uint32_t size() const noexcept {
        return isSmall() ? count_ & smallSizeMask : count_;
    }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    /// Home slots of the array; 0 while there is none.
    [[nodiscard]] std::uint32_t capacity() const noexcept { return array_ ? 1U << homeBits() : 0; }
    /// The modification stamp, 23 bits.
    [[nodiscard]] std::uint32_t stamp() const noexcept { return state_ >> 8 & 0x7fffff; }

    /// The entry of that key; null if there is none.
    [[nodiscard]] Node const *lookupNodeG(View key) const noexcept { return find(key); }
    [[nodiscard]] bool memberHas(View key) const noexcept { return find(key) != nullptr; }
    /// The same as lookupNodeG(), quicker for the entry inserted or replaced last: for who hears of
    /// a change and wants to see it.
    [[nodiscard]] Node const *lookupChangedG(View key) const noexcept {
        if (isTable()) {
            if (Node const *const changed = table().changed(key)) [[likely]] {
                return changed;
            }
        }
        return find(key);
    }

    /// The most entries of a small map.
    static constexpr std::uint32_t smallEntries = 8;
    /// The entries of a small map as they lie, which is the order in which they came as long as
    /// none is removed; none of any other map. Valid until the map changes.
    [[nodiscard]] std::span<Node const> unordered() const noexcept {
        return {smallNodes(), isSmall() ? size() : 0};
    }

    /// Have the cache lines fetched that a look-up of that key touches.
    void prefetch(View key) const noexcept {
        if (isTable()) {
            table().prefetch(hashOf(key), state_);
        } else {
            __builtin_prefetch(array_);
        }
    }
    /// Have the first cache line of a small map's array fetched.
    void prefetch() const noexcept { __builtin_prefetch(array_); }

    // Mutators.

    /// Insert `node` unless its key is there already. Returns the entry, and whether it is new.
    std::pair<Node *, bool> newMemberG(Node node) {
        auto &&key = node.key();
        return newMemberG(Traits::view(key), [&node] { return std::move(node); });
    }
    /// The same for a node that `create()` makes only if the key is not there. It must not touch
    /// the map; what it throws leaves the map as it was.
    template <class Create> std::pair<Node *, bool> newMemberG(View key, Create create);
    /// Insert into a set those keys of several that are not there already. Nothing is searched for
    /// where those that are there are the first ones that came, in this order.
    /// `nodeOf( source )` makes an entry. Requires: no key twice.
    template <class Source, class NodeOf>
    void newMembersG(std::span<Source const> sources, NodeOf nodeOf);
    /// Take the entry of that key out; empty if there is none.
    Optional<Node> deleteMemberG(View key);
    /// Give an entry of this map another value.
    template <class U> void replaceValue(Node const &node, U &&value) {
        auto &replaced = const_cast<Node &>(node);
        replaced.value_ = std::forward<U>(value);
        touch();
        if (isTable()) {
            table().changedIs(replaced);
        }
    }
    /// Make room for so many entries in all.
    void reserve(std::uint32_t entries) {
        if (entries > size() && entries > capacityInEntries()) {
            rebuild(homeBitsFor(entries));
        }
    }
    /// Drop all entries at once.
    void emptyAllBuckets() noexcept;
    /// The same, but the entries of a large map are destroyed in later turns; for those whose end
    /// nobody observes. See Reclaimer.h.
    void emptyLater() noexcept;
    /// Delete entry by entry, each gone from the map before it is destroyed.
    void _memberDelAll();

    // Iteration.

    /// At the first entry.
    [[nodiscard]] Iterator iterator() const noexcept { return Iterator(*this, firstFrom(0)); }
    /// At the end marker.
    [[nodiscard]] Iterator iteratorEnd() const noexcept { return Iterator(*this, places()); }
    /// At the entry of that key or, when it is gone, at the first one behind its place.
    [[nodiscard]] Iterator iteratorFrom(View key) const noexcept {
        return Iterator(*this, lowerBound(key));
    }

    [[nodiscard]] RangeIterator begin() const noexcept { return {*this, firstFrom(0)}; }
    [[nodiscard]] RangeIterator end() const noexcept { return {*this, places()}; }

  private:
    using Table = Impl::HashTable<Node, Traits>;

    static constexpr unsigned minHomeBits = 2;
    /// A small map has at most so many entries, as a power of two.
    static constexpr unsigned smallHomeBits = 3;
    static_assert(smallEntries == 1U << smallHomeBits);
    /// From 2^13 home slots on a map is large: to empty it takes a fraction of a millisecond.
    static constexpr unsigned largeHomeBits = 13;
    static constexpr bool mayBeSmall = std::is_same_v<KeyOf, StoredKey>;
    static constexpr unsigned firstHomeBits =
        mayBeSmall && sizeof(Node) <= 16 ? smallHomeBits : minHomeBits;

    // The state word's low byte: bits 0-4 the table's homeDigits(), as look-ups need them; where
    // there are none, bits 5-7 log2 of the home slots.
    static constexpr std::uint32_t digitsMask = 0x1f;
    static constexpr unsigned denseShift = 5;
    static_assert(smallHomeBits == Table::denseHomeBits);

    /// In the state word: the array is a Room.
    static constexpr std::uint32_t borrowedBit = 1U << 31;

    // The count word of a small map: bits 0-3 the entries, bit 4 set while the order of the walk is
    // known, bits 8-31 that order: three bits each for the slots of the first to the last. Bits 5-7
    // are the slot behind the one found last: keys are often looked up in the order in which they
    // came.
    static constexpr std::uint32_t smallSizeMask = 0xf;
    static constexpr std::uint32_t orderKnown = 0x10;
    static constexpr unsigned nextShift = 5;
    static constexpr unsigned orderShift = 8;
    static constexpr std::uint32_t nextMask = 0x7U << nextShift;
    static constexpr std::uint32_t orderOfOne(std::uint32_t place, std::uint32_t slot) noexcept {
        return slot << (orderShift + 3 * place);
    }

    static constexpr unsigned homeBitsFor(std::uint32_t entries) noexcept {
        unsigned bits = firstHomeBits;
        while (Table::roomFor(bits) < entries) {
            ++bits;
        }
        return bits;
    }
    [[nodiscard]] static std::uint32_t hashOf(View key) noexcept {
        return Table::storedHash(Traits::hash(HashHelper::hashSeed32() ^ TypeConstant, key));
    }
    [[nodiscard]] unsigned homeBits() const noexcept {
        unsigned const digits = state_ & digitsMask;
        return digits != 0 ? digits : state_ >> denseShift & 7;
    }
    [[nodiscard]] std::uint32_t capacityInEntries() const noexcept {
        return array_ ? Table::roomFor(homeBits()) : 0;
    }
    /// Also a map without array, if it may be small.
    [[nodiscard]] bool isSmall() const noexcept { return mayBeSmall && (state_ & digitsMask) == 0; }
    [[nodiscard]] Node *smallNodes() const noexcept { return static_cast<Node *>(array_); }
    [[nodiscard]] Table &table() const noexcept { return *static_cast<Table *>(array_); }
    [[nodiscard]] bool isTable() const noexcept {
        return mayBeSmall ? (state_ & digitsMask) != 0 : array_ != nullptr;
    }
    void touch(std::uint32_t changes = 1) noexcept {
        state_ = (state_ & ~0x7fffff00U) | ((state_ + (changes << 8)) & 0x7fffff00U);
    }
    void homeBitsIs(unsigned bits) noexcept {
        unsigned const digits = Table::homeDigits(bits);
        state_ = (state_ & ~0xffU) | (digits != 0 ? digits : bits << denseShift);
    }

    [[nodiscard]] Node *find(View key) const noexcept {
        if (isTable()) {
            return table().find(hashOf(key), key, state_);
        }
        return isSmall() ? smallFind(key) : nullptr;
    }
    [[nodiscard]] Node *smallFind(View key) const noexcept {
        Node *const nodes = smallNodes();
        std::uint32_t const entries = count_ & smallSizeMask;
        std::uint32_t slot = (count_ & nextMask) >> nextShift;
        if (slot >= entries || !Traits::equal(Traits::view(nodes[slot].key()), key)) {
            for (slot = 0;; ++slot) {
                if (slot == entries) {
                    return nullptr;
                }
                if (Traits::equal(Traits::view(nodes[slot].key()), key)) {
                    break;
                }
            }
        }
        count_ = (count_ & ~nextMask) | ((slot + 1) << nextShift & nextMask);
        return nodes + slot;
    }
    /// Put an entry whose key is not there behind the others.
    [[gnu::noinline]] Node *smallPut(Node &&node);
    template <class Create>
    [[gnu::noinline]] std::pair<Node *, bool> tableInsert(std::uint32_t hash, View key,
                                                          Create &&create);
    /// Put an entry whose key is not there where it belongs.
    Node *tablePut(std::uint32_t slot, std::uint32_t hash, Node &&node);

    // Places: where an iterator stands. In a small map, which in the order of the walk; in a table,
    // the slot.

    /// The place behind the last.
    [[nodiscard]] std::uint32_t places() const noexcept {
        return isTable() ? table().slots() : size();
    }
    /// The first place from there on that has an entry. Finds the order of a small map.
    [[nodiscard]] std::uint32_t firstFrom(std::uint32_t place) const noexcept {
        if (isTable()) {
            return table().nextUsed(place);
        }
        smallOrderFind();
        return place;
    }
    [[nodiscard]] Node *nodeAt(std::uint32_t place) const noexcept {
        return isTable() ? table().node(place)
                         : smallNodes() + (count_ >> (orderShift + 3 * place) & 7);
    }
    /// Place of the first entry that is not before that key.
    [[nodiscard]] std::uint32_t lowerBound(View key) const noexcept;
    [[nodiscard]] bool standsOn(std::uint32_t place, View key) const noexcept {
        return place < places() && Traits::equal(Traits::view(nodeAt(place)->key()), key);
    }
    void smallOrderFind() const noexcept {
        if (isSmall() && (count_ & orderKnown) == 0) {
            count_ = (count_ & (smallSizeMask | nextMask)) | orderKnown | smallOrder();
        }
    }
    [[nodiscard]] std::uint32_t smallOrder() const noexcept;

    // The array as a whole.

    /// What a map has when it lets go of its entries.
    struct Released {
        void *array; ///< null for a Room
        unsigned homeBits;
        std::uint32_t smallEntries;
    };
    /// Let go of all entries, so that an entry that looks at the map while it is destroyed finds
    /// none.
    [[nodiscard]] Released release() noexcept {
        Released const released{isBorrowed() ? nullptr : array_, homeBits(),
                                isSmall() ? size() : 0};
        array_ = nullptr;
        count_ = 0;
        homeBitsIs(0);
        state_ &= ~borrowedBit;
        return released;
    }
    static void destroy(Released released) noexcept;
    [[nodiscard]] bool isBorrowed() const noexcept { return (state_ & borrowedBit) != 0; }
    /// Give back the array of a small map whose entries have moved out.
    void smallArrayDelete() noexcept {
        if (!isBorrowed()) {
            Impl::mapArrayDelete(array_, smallBytes(homeBits()));
        }
        state_ &= ~borrowedBit;
    }
    class Discarded;
    static constexpr std::size_t smallBytes(unsigned bits) noexcept { return sizeof(Node) << bits; }
    [[gnu::cold, gnu::noinline]] void rebuild(unsigned bits);
    void smallRebuild(unsigned bits);
    [[gnu::cold, gnu::noinline]] void tableRebuild(unsigned bits, std::uint32_t tail);

    void *array_ = nullptr;   ///< small: the nodes; table: a Table
    std::uint32_t state_ = 0; ///< bits 0-7: see digitsMask; bits 8-30: stamp; see borrowedBit
    mutable std::uint32_t count_ = 0; ///< small: see smallSizeMask; table: entries
};

template <class K, class V, std::uint32_t C, class KeyOf> class HashMap2018<K, V, C, KeyOf>::Room {
    alignas(Node) std::byte nodes_[sizeof(Node) * smallEntries];
};

// Insertion and deletion.

template <class K, class V, std::uint32_t C, class KeyOf>
template <class Create>
auto HashMap2018<K, V, C, KeyOf>::newMemberG(View key, Create create) -> std::pair<Node *, bool> {
    if (!isSmall()) {
        std::uint32_t const hash = hashOf(key);
        if (isTable()) {
            if (Node *const node = table().findNear(hash, key, state_)) {
                return {node, false};
            }
        }
        return tableInsert(hash, key, create);
    }
    if (Node *const node = smallFind(key)) {
        return {node, false};
    }
    return {smallPut(create()), true};
}

template <class K, class V, std::uint32_t C, class KeyOf>
auto HashMap2018<K, V, C, KeyOf>::smallPut(Node &&node) -> Node * {
    std::uint32_t const entries = count_ & smallSizeMask;
    if (entries == capacityInEntries()) {
        rebuild(homeBitsFor(entries + 1));
        if (!isSmall()) {
            auto &&key = node.key();
            return tableInsert(hashOf(Traits::view(key)), Traits::view(key),
                               [&node] { return std::move(node); })
                .first;
        }
    }
    count_ = entries + 1;
    touch();
    return std::construct_at(smallNodes() + entries, std::move(node));
}

template <class K, class V, std::uint32_t C, class KeyOf>
template <class Create>
auto HashMap2018<K, V, C, KeyOf>::tableInsert(std::uint32_t hash, View key, Create &&create)
    -> std::pair<Node *, bool> {
    std::uint32_t slot = 0;
    if (isTable()) {
        auto const [place, isThere] = table().locate(hash, key, state_);
        if (isThere) {
            return {table().node(place), false};
        }
        slot = place;
    }
    return {tablePut(slot, hash, create()), true};
}

template <class K, class V, std::uint32_t C, class KeyOf>
[[gnu::always_inline]] inline auto HashMap2018<K, V, C, KeyOf>::tablePut(std::uint32_t slot,
                                                                         std::uint32_t hash,
                                                                         Node &&node) -> Node * {
    auto const locateAgain = [this, hash, &node] {
        auto &&key = node.key();
        return table().locate(hash, Traits::view(key), state_).first;
    };
    if (!isTable() || count_ == table().room()) {
        rebuild(homeBitsFor(count_ + 1));
        slot = locateAgain();
    }
    if (!table().open(slot)) {
        tableRebuild(homeBits(), Table::tailOf(homeBits()) + count_ / 2);
        slot = locateAgain();
        [[maybe_unused]] bool const hasRoom = table().open(slot);
    }
    ++count_;
    touch();
    return table().put(slot, hash, std::move(node));
}

template <class K, class V, std::uint32_t C, class KeyOf>
template <class Source, class NodeOf>
void HashMap2018<K, V, C, KeyOf>::newMembersG(std::span<Source const> sources, NodeOf nodeOf) {
    static_assert(mayBeSmall && Impl::isSet<Node>);
    std::size_t next = 0;
    if (isSmall() && sources.size() <= smallEntries) {
        std::uint32_t const entries = size();
        std::size_t const both = std::min<std::size_t>(entries, sources.size());
        bool areTheFirst = true; // most often they are, so all are compared and no branch taken
        for (std::size_t i = 0; i < both; ++i) {
            areTheFirst &= smallNodes()[i].key() == nodeOf(sources[i]).key();
        }
        next = areTheFirst ? both : 0;
        if (next == entries && next < sources.size()) { // none of the others is there
            auto const size = static_cast<std::uint32_t>(sources.size());
            reserve(size);
            for (; next < size; ++next) {
                std::construct_at(smallNodes() + next, nodeOf(sources[next]));
            }
            count_ = size;
            touch(size - entries);
        }
    }
    for (Source const &source : sources.subspan(next)) {
        newMemberG(nodeOf(source));
    }
}

template <class K, class V, std::uint32_t C, class KeyOf>
auto HashMap2018<K, V, C, KeyOf>::deleteMemberG(View key) -> Optional<Node> {
    Node *const node = find(key);
    if (!node) {
        return {};
    }
    touch();
    if (!isSmall()) {
        --count_;
        return table().take(table().slotOf(node), state_);
    }
    Optional<Node> taken(std::move(*node));
    count_ = (count_ & smallSizeMask) - 1;
    Node *const last = smallNodes() + count_;
    if (node != last) {
        *node = std::move(*last);
    }
    std::destroy_at(last);
    return taken;
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::emptyAllBuckets() noexcept {
    if (!empty()) {
        touch();
    }
    destroy(release());
}

/// The table of a large map that was emptied, taken apart from its first slot on.
template <class K, class V, std::uint32_t C, class KeyOf>
class HashMap2018<K, V, C, KeyOf>::Discarded final : public Reclaimer::Discarded {
  public:
    explicit Discarded(Table &table) noexcept : table_(table) {}
    ~Discarded() override {
        table_.destroyFrom(slot_, table_.slots());
        table_.release();
    }
    bool step() noexcept override {
        std::uint32_t const end = std::min(slot_ + slotsPerStep, table_.slots());
        table_.destroyFrom(slot_, end);
        slot_ = end;
        return slot_ != table_.slots();
    }

  private:
    static constexpr std::uint32_t slotsPerStep = 32;
    Table &table_;
    std::uint32_t slot_ = 0;
};

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::emptyLater() noexcept {
    if (!isTable() || homeBits() < largeHomeBits) {
        emptyAllBuckets();
        return;
    }
    Table &table = this->table();
    try {
        auto discarded = std::make_unique<Discarded>(table);
        if (!empty()) {
            touch();
        }
        static_cast<void>(release());
        Reclaimer::take(std::move(discarded));
    } catch (std::bad_alloc const &) {
        emptyAllBuckets();
    }
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::_memberDelAll() {
    for (Iterator it = iterator(); it; it.advance()) {
        deleteMemberG(Traits::view(it.key()));
    }
}

// Order.

template <class K, class V, std::uint32_t C, class KeyOf>
std::uint32_t HashMap2018<K, V, C, KeyOf>::smallOrder() const noexcept {
    std::uint32_t const entries = size();
    std::array<std::uint32_t, 1U << smallHomeBits>
        hashes; // NOLINT(*-member-init): only `entries` of them are used
    std::array<std::uint32_t, 1U << smallHomeBits> place{};
    for (std::uint32_t i = 0; i < entries; ++i) {
        View const key = Traits::view(smallNodes()[i].key());
        hashes[i] = hashOf(key);
        for (std::uint32_t j = 0; j < i; ++j) {
            bool const isBefore = hashes[j] != hashes[i]
                                      ? hashes[j] < hashes[i]
                                      : Traits::before(Traits::view(smallNodes()[j].key()), key);
            ++place[isBefore ? i : j];
        }
    }
    std::uint32_t order = 0;
    for (std::uint32_t i = 0; i < entries; ++i) {
        order |= orderOfOne(place[i], i);
    }
    return order;
}

template <class K, class V, std::uint32_t C, class KeyOf>
std::uint32_t HashMap2018<K, V, C, KeyOf>::lowerBound(View key) const noexcept {
    std::uint32_t const hash = hashOf(key);
    if (isTable()) {
        return table().nextUsed(table().locate(hash, key, state_).first);
    }
    smallOrderFind();
    std::uint32_t place = 0;
    for (; place < places(); ++place) {
        auto &&other = nodeAt(place)->key();
        std::uint32_t const otherHash = hashOf(Traits::view(other));
        if (otherHash != hash ? otherHash > hash : !Traits::before(Traits::view(other), key)) {
            break;
        }
    }
    return place;
}

// The array as a whole.

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::destroy(Released released) noexcept {
    if (!released.array) {
        return;
    }
    if (!mayBeSmall || released.homeBits > smallHomeBits) {
        static_cast<Table *>(released.array)->destroy();
        return;
    }
    std::destroy_n(static_cast<Node *>(released.array), released.smallEntries);
    Impl::mapArrayDelete(released.array, smallBytes(released.homeBits));
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::rebuild(unsigned bits) {
    if (mayBeSmall && bits <= smallHomeBits) {
        smallRebuild(bits);
    } else {
        tableRebuild(bits, Table::tailOf(bits));
    }
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::smallRebuild(unsigned bits) {
    auto *const bigger = static_cast<Node *>(
        Impl::mapArrayCounted(Pool::allocate(smallBytes(bits)), smallBytes(bits)));
    if (array_) {
        Nuvio::HTCnt::incCount(Nuvio::HTCnt::Counter::rehash);
        std::uninitialized_move_n(smallNodes(), size(), bigger);
        std::destroy_n(smallNodes(), size());
        smallArrayDelete();
    }
    array_ = bigger;
    homeBitsIs(bits);
}

/// The entries are taken in order, so each goes to its home or right behind the one before it. The
/// first pass finds how far they reach.
template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::tableRebuild(unsigned bits, std::uint32_t tail) {
    auto const hashAt = [this](std::uint32_t place) {
        return isTable() ? table().hash(place) : hashOf(Traits::view(nodeAt(place)->key()));
    };
    unsigned const digits = Table::homeDigits(bits);
    std::uint32_t reach = 0;
    for (std::uint32_t place = firstFrom(0); place < places(); place = firstFrom(place + 1)) {
        reach = std::max(reach, Table::home(hashAt(place), digits)) + 1;
    }
    Table &bigger = *Table::make(std::max(reach, 1U << bits) + tail, Table::roomFor(bits));
    std::uint32_t const entries = size();
    std::uint32_t to = 0;
    for (std::uint32_t place = firstFrom(0); place < places(); place = firstFrom(place + 1)) {
        std::uint32_t const hash = hashAt(place);
        to = std::max(to, Table::home(hash, digits));
        Node *const node = nodeAt(place);
        bigger.put(to++, hash, std::move(*node));
        std::destroy_at(node);
    }
    if (array_) {
        Nuvio::HTCnt::incCount(Nuvio::HTCnt::Counter::rehash);
        if (isTable()) {
            table().release();
        } else {
            smallArrayDelete();
        }
    }
    array_ = &bigger;
    count_ = entries;
    homeBitsIs(bits);
}

} // namespace Qor

#include "platform/Qor/HashMapIterators.h"
