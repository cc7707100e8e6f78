// The keyed collection of the runtime: every collection attribute and every seen set.
//
// A map or set with unique keys whose entries lie in one array ordered by (seeded hash, key). An
// entry's home slot is given by the high bits of its hash; an insertion shifts its neighbours up, a
// deletion shifts them back, growth keeps the order. So the place of a key is the same before and
// after any growth, and "where the key would be" has a meaning when it is gone: a walk that is
// resumed at a key visits every entry that was there throughout exactly once, whatever was
// inserted, deleted or rebuilt meanwhile. The order itself differs from process to process with the
// seed and is no contract.
//
//   operation                cost                    iterators
//   lookupNodeG, memberHas   O(1) expected           stay
//   newMemberG               O(1) expected, amortised stay, and visit the entry if it lies ahead
//   deleteMemberG            O(1) expected           stay, also one that stands on the entry
//   replaceValue             O(1)                    stay
//   emptyAllBuckets          O(n)                    stay, and reach the end at the next advance()
//   Iterator::advance        O(1); one look-up after a change
//
// References and node pointers are valid until the next insertion or deletion. A range-for loop
// must not change the map (a debug build asserts it); an Iterator may be held over any change, but
// not longer than the map itself.
//
// The modification stamp is a 23-bit counter: 0 for a new map, moved by every insertion, deletion
// and replacement, and by nothing else. It stands in bits 8 to 30 of the state word.
//
// Small maps are small: none or up to 8 entries are kept without gaps in an array of 4 or 8 slots
// (4 slots of 8 bytes are one cache line). Beyond, the array has a power of two of home slots, is
// filled to three quarters, and has a tail for entries that are shifted past the last of them.
//
// TypeConstant goes into the seed, so that two containers of one key type order differently and
// copying one into another stays linear. With a KeyOf functor the key is not stored but read from
// the value. Value void makes a set.
//
//     HashMap2018<VlanId, Qor::Ptr<IntfSm1>, 3954338504, ChildSmKeyFunktor> childSm;
//     for (auto it = map.iteratorFrom(bookmark); it; it.advance()) { ... it.key() ... }
#pragma once

#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/HTCnt.h"
#include "platform/Qor/Hash.h"
#include "platform/Qor/Optional.h"
#include "platform/Qor/Pool.h"
#include "platform/Qor/PtrInterface.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace Qor {

/// How a key hashes and orders. View is the form in which a key is handed to look-ups.
template <class K> struct KeyTraits {
    using View = K const &;
    static std::uint32_t hash(std::uint32_t seed, View key) noexcept { return key.hash(seed); }
    static bool equal(View a, View b) noexcept { return a == b; }
    static bool before(View a, View b) noexcept { return a < b; }
    static View view(K const &key) noexcept { return key; }
};

/// Pointer keys are equal by identity; they hash and order by the object's creation serial, so that
/// walks repeat from run to run. Null is a valid key.
template <class T> struct KeyTraits<Ptr<T>> {
    using View = T const *;
    static std::uint32_t hash(std::uint32_t seed, View key) noexcept {
        return hashSingleAttr(seed, serial(key));
    }
    static bool equal(View a, View b) noexcept { return a == b; }
    static bool before(View a, View b) noexcept {
        // Serials wrap after 2^32 objects; the address then decides between equal ones.
        return serial(a) != serial(b) ? serial(a) < serial(b) : std::less<View>()(a, b);
    }
    static View view(Ptr<T> const &key) noexcept { return key.get(); }

  private:
    static std::uint32_t serial(View key) noexcept { return key ? key->creationSerial() : 0; }
};

/// Marks a map whose nodes store their keys.
struct StoredKey {};

namespace Impl {

template <class K, class V, class KeyOf> struct MapNode { // key read from the value
    V value_;
    [[nodiscard]] K key() const noexcept { return KeyOf()(value_); }
    [[nodiscard]] V const &value() const noexcept { return value_; }
};
template <class K, class V> struct MapNode<K, V, StoredKey> {
    K key_;
    V value_;
    [[nodiscard]] K const &key() const noexcept { return key_; }
    [[nodiscard]] V const &value() const noexcept { return value_; }
};
template <class K> struct MapNode<K, void, StoredKey> {
    K key_;
    [[nodiscard]] K const &key() const noexcept { return key_; }
};

/// Where the arrays of all maps are counted.
NUVIO_EXPORT AllocTrackTypeInfo &hashMapArrays() noexcept;

} // namespace Impl

template <class K, class V, std::uint32_t TypeConstant, class KeyOf = StoredKey> class HashMap2018 {
  public:
    using Key = K;
    using Node = Impl::MapNode<K, V, KeyOf>;
    using Traits = KeyTraits<K>;
    using View = typename Traits::View;
    class Iterator;
    class RangeIterator;

    static constexpr std::uint32_t typeConstant = TypeConstant;
    static_assert(std::is_nothrow_move_constructible_v<Node>, "entries move when neighbours come");

    /// `sizeHint`: entries to make room for at once.
    explicit HashMap2018(std::uint32_t sizeHint = 0) {
        if (sizeHint > 0) {
            rebuild(homeBitsFor(sizeHint), minTail);
        }
    }
    ~HashMap2018() { destroy(std::exchange(array_, nullptr)); }
    /// Not copyable, not movable: iterators and bookmarks belong to one map.
    HashMap2018(HashMap2018 const &) = delete;
    HashMap2018 &operator=(HashMap2018 const &) = delete;

    // Reads.

    [[nodiscard]] std::uint32_t size() const noexcept { return size_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    /// Home slots of the array; 0 before the first insertion.
    [[nodiscard]] std::uint32_t capacity() const noexcept { return array_ ? 1U << homeBits() : 0; }
    /// The modification stamp, 23 bits.
    [[nodiscard]] std::uint32_t stamp() const noexcept { return state_ >> 8 & 0x7fffff; }

    /// The entry of that key; null if there is none.
    [[nodiscard]] Node const *lookupNodeG(View key) const noexcept {
        return array_ ? find(hashOf(key), key) : nullptr;
    }
    [[nodiscard]] bool memberHas(View key) const noexcept { return lookupNodeG(key) != nullptr; }

    // Mutators.

    /// Insert `node` unless its key is there already. Returns the entry, and whether it is new.
    std::pair<Node *, bool> newMemberG(Node node);
    /// Take the entry of that key out; empty if there is none.
    Optional<Node> deleteMemberG(View key);
    /// Give an entry of this map another value.
    template <class U> void replaceValue(Node const &node, U &&value) {
        const_cast<Node &>(node).value_ = std::forward<U>(value);
        touch();
    }
    /// Drop all entries at once.
    void emptyAllBuckets() noexcept;
    /// Delete entry by entry, each gone from the map before it is destroyed.
    void _memberDelAll();

    // Iteration.

    /// At the first entry.
    [[nodiscard]] Iterator iterator() const noexcept { return Iterator(*this, 0); }
    /// At the end marker.
    [[nodiscard]] Iterator iteratorEnd() const noexcept { return Iterator(*this, slots()); }
    /// At the entry of that key or, when it is gone, at the first one behind its place.
    [[nodiscard]] Iterator iteratorFrom(View key) const noexcept {
        return Iterator(*this, array_ ? lowerBound(hashOf(key), key) : 0);
    }

    [[nodiscard]] RangeIterator begin() const noexcept { return {*this, nextUsed(0)}; }
    [[nodiscard]] RangeIterator end() const noexcept { return {*this, slots()}; }

  private:
    // The array: this header, one hash per slot and a sentinel, then the nodes. Hash 0 marks a free
    // slot, the largest value is the sentinel, so that searches need no bound; real hashes are kept
    // off both.
    struct Array {
        std::uint32_t slots;
        [[nodiscard]] std::uint32_t *hashes() noexcept {
            return reinterpret_cast<std::uint32_t *>(this + 1);
        }
        [[nodiscard]] Node *nodes() noexcept {
            return reinterpret_cast<Node *>(reinterpret_cast<std::byte *>(this) +
                                            nodesOffset(slots));
        }
    };
    static constexpr std::uint32_t freeSlot = 0;
    static constexpr std::uint32_t sentinel = ~0U;
    static constexpr unsigned minHomeBits = 2;
    /// Up to 2^3 slots the array has no gaps: every entry's home is slot 0.
    static constexpr unsigned denseHomeBits = 3;
    static constexpr std::uint32_t minTail = 32;
    /// Slots that a search goes through one by one.
    static constexpr std::uint32_t leapAfter = 16;

    static constexpr std::size_t nodesOffset(std::uint32_t slotCount) noexcept {
        std::size_t const hashesEnd =
            sizeof(Array) + sizeof(std::uint32_t) * (std::size_t{slotCount} + 1);
        return (hashesEnd + alignof(Node) - 1) / alignof(Node) * alignof(Node);
    }
    static constexpr std::size_t arrayBytes(std::uint32_t slotCount) noexcept {
        return nodesOffset(slotCount) + sizeof(Node) * slotCount;
    }
    static constexpr std::uint32_t roomFor(unsigned bits) noexcept {
        return bits <= denseHomeBits ? 1U << bits : (1U << bits) / 4 * 3;
    }
    static constexpr unsigned homeBitsFor(std::uint32_t entries) noexcept {
        unsigned bits = minHomeBits;
        while (roomFor(bits) < entries) {
            ++bits;
        }
        return bits;
    }

    [[nodiscard]] unsigned homeBits() const noexcept { return state_ & 0xff; }
    [[nodiscard]] std::uint32_t slots() const noexcept { return array_ ? array_->slots : 0; }
    [[nodiscard]] static std::uint32_t hashOf(View key) noexcept {
        return std::clamp(Traits::hash(HashHelper::hashSeed32() ^ TypeConstant, key), freeSlot + 1,
                          sentinel - 1);
    }
    [[nodiscard]] static std::uint32_t home(std::uint32_t hash, unsigned bits) noexcept {
        return bits <= denseHomeBits ? 0 : hash >> (32 - bits);
    }
    void touch() noexcept { state_ = (state_ & ~0x7fffff00U) | ((state_ + 0x100) & 0x7fffff00U); }

    /// The first slot from the hash's home on that is free or holds no smaller hash.
    [[nodiscard]] std::uint32_t firstNotBelow(std::uint32_t hash) const noexcept;
    [[nodiscard]] Node *find(std::uint32_t hash, View key) const noexcept;
    [[nodiscard]] std::uint32_t insertionPoint(std::uint32_t hash, View key) const noexcept;
    [[nodiscard]] std::uint32_t lowerBound(std::uint32_t hash, View key) const noexcept {
        return nextUsed(insertionPoint(hash, key));
    }
    /// Whether the entry of that key is in that slot.
    [[nodiscard]] bool holds(std::uint32_t slot, std::uint32_t hash, View key) const noexcept {
        return slot < slots() && array_->hashes()[slot] == hash &&
               Traits::equal(Traits::view(array_->nodes()[slot].key()), key);
    }
    [[nodiscard]] std::uint32_t nextUsed(std::uint32_t slot) const noexcept {
        if (array_) {
            while (array_->hashes()[slot] == freeSlot) {
                ++slot;
            }
        }
        return slot;
    }
    static void moveNode(Array *to, std::uint32_t toSlot, Array *from,
                         std::uint32_t fromSlot) noexcept {
        to->hashes()[toSlot] = from->hashes()[fromSlot];
        Node *const source = from->nodes() + fromSlot;
        std::construct_at(to->nodes() + toSlot, std::move(*source));
        std::destroy_at(source);
    }
    static Array *newArray(std::uint32_t slotCount);
    static void releaseArray(Array *array) noexcept;
    static void destroy(Array *array) noexcept;
    void rebuild(unsigned bits, std::uint32_t tail);

    Array *array_ = nullptr;
    std::uint32_t state_ = 0; ///< bits 0-7: log2 of the home slots; bits 8-30: stamp
    std::uint32_t size_ = 0;
};

/// A resumable iterator: holds slot, hash and key of its entry and the map's stamp; while the stamp
/// is unchanged a step costs no look-up. Copyable. The map must outlive it.
template <class K, class V, std::uint32_t C, class KeyOf>
class HashMap2018<K, V, C, KeyOf>::Iterator {
  public:
    /// Not at the end.
    explicit operator bool() const noexcept { return slot_ != endSlot; }
    /// Key of the entry; still that key after the entry was deleted. Requires: not at the end.
    [[nodiscard]] K const &key() const noexcept {
        checkValid();
        return key_;
    }
    /// The entry itself, never a stale one: null after it was deleted. Valid until the map changes.
    /// Requires: not at the end.
    [[nodiscard]] Node const *node() noexcept {
        checkValid();
        if (stamp_ != map_->stamp()) {
            std::uint32_t const slot = seek();
            if (!standsOn(slot)) {
                return nullptr;
            }
            settle(slot);
        }
        return map_->array_->nodes() + slot_;
    }
    /// Step to the next entry, past one that was deleted. Requires: not at the end.
    void advance() noexcept {
        checkValid();
        std::uint32_t slot = slot_ + 1;
        if (stamp_ != map_->stamp()) {
            slot = seek();
            slot += standsOn(slot) ? 1U : 0U;
        }
        moveTo(map_->nextUsed(slot));
    }
    /// Both at the end of, or at the same key of, one map.
    friend bool operator==(Iterator const &a, Iterator const &b) noexcept {
        return a.map_ == b.map_ && bool(a) == bool(b) &&
               (!a || Traits::equal(Traits::view(a.key_), Traits::view(b.key_)));
    }

  private:
    friend HashMap2018;
    static constexpr std::uint32_t endSlot = ~0U;

    Iterator(HashMap2018 const &map, std::uint32_t slot) noexcept : map_(&map) {
        moveTo(map.nextUsed(slot));
    }
    void checkValid() const noexcept {
        bool const iter_ = slot_ != endSlot;
        NUVIO_ASSERT(iter_);
    }
    /// Slot of the first entry that is not before this one.
    [[nodiscard]] std::uint32_t seek() const noexcept {
        Nuvio::HTCnt::incCount(Nuvio::HTCnt::Counter::iteratorSought);
        return map_->array_ ? map_->lowerBound(hash_, Traits::view(key_)) : 0;
    }
    [[nodiscard]] bool standsOn(std::uint32_t slot) const noexcept {
        return map_->holds(slot, hash_, Traits::view(key_));
    }
    void settle(std::uint32_t slot) noexcept {
        slot_ = slot;
        stamp_ = map_->stamp();
    }
    void moveTo(std::uint32_t slot) noexcept {
        if (slot >= map_->slots()) {
            slot_ = endSlot;
            return;
        }
        settle(slot);
        hash_ = map_->array_->hashes()[slot];
        key_ = map_->array_->nodes()[slot].key();
    }

    HashMap2018 const *map_;
    std::uint32_t slot_ = endSlot;
    std::uint32_t hash_ = 0;
    std::uint32_t stamp_ = 0;
    K key_{};
};

/// For range-for: yields `key` of a set, and the pair `[key, value]` of a map.
template <class K, class V, std::uint32_t C, class KeyOf>
class HashMap2018<K, V, C, KeyOf>::RangeIterator {
  public:
    decltype(auto) operator*() const noexcept {
        checkUnchanged();
        Node const &node = map_->array_->nodes()[slot_];
        if constexpr (std::is_void_v<V>) {
            return node.key();
        } else {
            return std::pair<decltype(node.key()), V const &>(node.key(), node.value());
        }
    }
    RangeIterator &operator++() noexcept {
        checkUnchanged();
        slot_ = map_->nextUsed(slot_ + 1);
        return *this;
    }
    friend bool operator==(RangeIterator const &a, RangeIterator const &b) noexcept {
        return a.slot_ == b.slot_;
    }

  private:
    friend HashMap2018;
    RangeIterator(HashMap2018 const &map, std::uint32_t slot) noexcept
        : map_(&map), slot_(slot), stamp_(map.stamp()) {}
    void checkUnchanged() const noexcept {
        NUVIO_DEBUG_ASSERT(stamp_ == map_->stamp(), "a range-for loop changed its map");
    }

    HashMap2018 const *map_;
    std::uint32_t slot_;
    [[maybe_unused]] std::uint32_t stamp_; ///< read by debug builds only
};

// The searches rest on this: an entry lies at or after its home slot, no slot between the two is
// free, and entries are in order of (hash, key). So the first slot from a key's home on that is
// free or not before the key is where the key is or belongs, and what is before the key in order
// lies before that slot. And a slot behind the home that holds a smaller hash has only such slots
// between: the search may leap. It does where runs are long, that is while a map is copied in
// iteration order into a smaller one of its own type.

template <class K, class V, std::uint32_t C, class KeyOf>
std::uint32_t HashMap2018<K, V, C, KeyOf>::firstNotBelow(std::uint32_t hash) const noexcept {
    std::uint32_t const *const all = array_->hashes();
    auto const isBelow = [all, hash](std::uint32_t slot) {
        return all[slot] != freeSlot && all[slot] < hash;
    };
    std::uint32_t slot = home(hash, homeBits());
    for (std::uint32_t const near = slot + leapAfter; isBelow(slot); ++slot) {
        if (slot == near) [[unlikely]] {
            std::uint32_t leap = leapAfter;
            while (leap < array_->slots - slot && isBelow(slot + leap)) {
                slot += leap;
                leap *= 2;
            }
            for (; leap != 0; leap /= 2) {
                if (leap < array_->slots - slot && isBelow(slot + leap)) {
                    slot += leap;
                }
            }
        }
    }
    return slot;
}

template <class K, class V, std::uint32_t C, class KeyOf>
auto HashMap2018<K, V, C, KeyOf>::find(std::uint32_t hash, View key) const noexcept -> Node * {
    std::uint32_t const *const all = array_->hashes();
    for (std::uint32_t slot = firstNotBelow(hash); all[slot] == hash; ++slot) {
        Node *const node = array_->nodes() + slot;
        if (Traits::equal(Traits::view(node->key()), key)) {
            return node;
        }
    }
    return nullptr;
}

template <class K, class V, std::uint32_t C, class KeyOf>
std::uint32_t HashMap2018<K, V, C, KeyOf>::insertionPoint(std::uint32_t hash,
                                                          View key) const noexcept {
    std::uint32_t const *const all = array_->hashes();
    std::uint32_t slot = firstNotBelow(hash);
    while (all[slot] == hash && Traits::before(Traits::view(array_->nodes()[slot].key()), key)) {
        ++slot;
    }
    return slot;
}

template <class K, class V, std::uint32_t C, class KeyOf>
auto HashMap2018<K, V, C, KeyOf>::newMemberG(Node node) -> std::pair<Node *, bool> {
    K const key = node.key();
    std::uint32_t const hash = hashOf(Traits::view(key));
    std::uint32_t slot = array_ ? insertionPoint(hash, Traits::view(key)) : 0;
    if (holds(slot, hash, Traits::view(key))) {
        return {array_->nodes() + slot, false};
    }
    if (!array_ || size_ == roomFor(homeBits())) {
        rebuild(homeBitsFor(size_ + 1), minTail);
        slot = insertionPoint(hash, Traits::view(key));
    }
    std::uint32_t gap = slot;
    while (array_->hashes()[gap] != freeSlot && gap < array_->slots) {
        ++gap;
    }
    if (gap == array_->slots) { // the tail is full
        rebuild(homeBits(), minTail + size_ / 2);
        slot = insertionPoint(hash, Traits::view(key));
        for (gap = slot; array_->hashes()[gap] != freeSlot;) {
            ++gap;
        }
    }
    for (; gap != slot; --gap) {
        moveNode(array_, gap, array_, gap - 1);
    }
    array_->hashes()[slot] = hash;
    Node *const place = std::construct_at(array_->nodes() + slot, std::move(node));
    ++size_;
    touch();
    return {place, true};
}

template <class K, class V, std::uint32_t C, class KeyOf>
auto HashMap2018<K, V, C, KeyOf>::deleteMemberG(View key) -> Optional<Node> {
    Node *const node = array_ ? find(hashOf(key), key) : nullptr;
    if (!node) {
        return {};
    }
    Optional<Node> taken(std::move(*node));
    std::destroy_at(node);
    auto slot = static_cast<std::uint32_t>(node - array_->nodes());
    for (std::uint32_t next = slot + 1; next < array_->slots; slot = next++) {
        std::uint32_t const hash = array_->hashes()[next];
        if (hash == freeSlot || home(hash, homeBits()) == next) {
            break;
        }
        moveNode(array_, slot, array_, next);
    }
    array_->hashes()[slot] = freeSlot;
    --size_;
    touch();
    return taken;
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::emptyAllBuckets() noexcept {
    if (size_ == 0) {
        return;
    }
    // Out first: an entry's destructor may look at the map.
    Array *const old = std::exchange(array_, nullptr);
    state_ &= ~0xffU;
    size_ = 0;
    touch();
    destroy(old);
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::_memberDelAll() {
    for (Iterator it = iterator(); it; it.advance()) {
        deleteMemberG(Traits::view(it.key()));
    }
}

template <class K, class V, std::uint32_t C, class KeyOf>
auto HashMap2018<K, V, C, KeyOf>::newArray(std::uint32_t slotCount) -> Array * {
    std::size_t const bytes = arrayBytes(slotCount);
    auto *const array = static_cast<Array *>(Pool::allocate(bytes));
    Impl::hashMapArrays().trackArray(bytes);
    array->slots = slotCount;
    std::memset(array->hashes(), 0, sizeof(std::uint32_t) * slotCount);
    array->hashes()[slotCount] = sentinel;
    return array;
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::releaseArray(Array *array) noexcept {
    std::size_t const bytes = arrayBytes(array->slots);
    Impl::hashMapArrays().untrackArray(bytes);
    Pool::release(array, bytes);
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::destroy(Array *array) noexcept {
    if (!array) {
        return;
    }
    for (std::uint32_t slot = 0; slot < array->slots; ++slot) {
        if (array->hashes()[slot] != freeSlot) {
            std::destroy_at(array->nodes() + slot);
        }
    }
    releaseArray(array);
}

template <class K, class V, std::uint32_t C, class KeyOf>
void HashMap2018<K, V, C, KeyOf>::rebuild(unsigned bits, std::uint32_t tail) {
    // The entries are in order, so each goes to its home or right behind the one before it. The
    // first pass finds how far they reach.
    std::uint32_t reach = 0;
    for (std::uint32_t slot = nextUsed(0); slot < slots(); slot = nextUsed(slot + 1)) {
        reach = std::max(reach, home(array_->hashes()[slot], bits)) + 1;
    }
    std::uint32_t const slotCount =
        bits <= denseHomeBits ? 1U << bits : std::max(reach, 1U << bits) + tail;
    Array *const bigger = newArray(slotCount);
    std::uint32_t to = 0;
    for (std::uint32_t slot = nextUsed(0); slot < slots(); slot = nextUsed(slot + 1)) {
        to = std::max(to, home(array_->hashes()[slot], bits));
        moveNode(bigger, to++, array_, slot);
    }
    if (array_) {
        Nuvio::HTCnt::incCount(Nuvio::HTCnt::Counter::rehash);
        releaseArray(array_);
    }
    array_ = bigger;
    state_ = (state_ & ~0xffU) | bits;
}

} // namespace Qor
