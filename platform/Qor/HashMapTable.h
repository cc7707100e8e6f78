// The table of a HashMap2018: entries in one array ordered by (hash, key).
//
// An entry's home slot is given by the high bits of its hash. An entry lies at or after its home
// slot, no slot between the two is free, and entries are in order. So the first slot from a key's
// home on that is free or not before the key is where the key is or belongs, and what is before the
// key in order lies before that slot.
//
// One block of memory: the nodes, from the last to the first; the header, to which the table's
// pointer points; one hash per slot; the sentinels. So a look-up finds hash and node of a slot from
// the pointer alone, and touches two cache lines, both on their way at once. Of a hash 31 bits are
// kept, and 1 is added: so 0 marks a free slot, and the largest value is the sentinel, by which
// searches and shifts need no bound, and the header is not read. Behind the last home slot there is
// a tail for entries that are shifted past it.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Qor/HashMapNode.h"
#include "platform/Qor/Pool.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Qor::Impl {

/// Where the arrays of all maps are counted.
NUVIO_EXPORT AllocTrackTypeInfo &hashMapArrays() noexcept;

/// The memory of an array of some map, now counted.
inline void *mapArrayCounted(void *array, std::size_t bytes) noexcept {
    hashMapArrays().trackArray(bytes);
    return array;
}
inline void mapArrayDelete(void *array, std::size_t bytes) noexcept {
    hashMapArrays().untrackArray(bytes);
    Pool::release(array, bytes);
}

template <class Node, class Traits> class alignas(8) HashTable {
  public:
    using View = typename Traits::View;

    static constexpr std::uint32_t freeSlot = 0;
    static constexpr std::uint32_t sentinel = ~0U;
    /// Up to 2^3 home slots the table has no gaps: every entry's home is slot 0.
    static constexpr unsigned denseHomeBits = 3;

    /// What is kept of a key's hash: neither of the two above.
    static constexpr std::uint32_t storedHash(std::uint32_t hash) noexcept {
        return (hash >> 1) + 1;
    }
    /// Entries that a table of 2^bits home slots takes.
    static constexpr std::uint32_t roomFor(unsigned bits) noexcept {
        return bits <= denseHomeBits ? 1U << bits : (1U << bits) / 4 * 3;
    }
    /// Slots that a table gets behind its last home slot.
    static constexpr std::uint32_t tailOf(unsigned bits) noexcept {
        return bits <= denseHomeBits ? 0 : std::clamp((1U << bits) / 16, 8U, 32U);
    }
    /// How many of a hash's high bits say where its home slot is.
    static constexpr unsigned homeDigits(unsigned bits) noexcept {
        return bits <= denseHomeBits ? 0 : bits;
    }
    /// The slot at which the search for a hash starts. The five low bits of `digits` count.
    static constexpr std::uint32_t home(std::uint32_t hash, unsigned digits) noexcept {
        return (hash - 1) >> (~digits & 31);
    }

    /// An empty table of so many slots, for so many entries. Throws std::bad_alloc.
    [[nodiscard]] static HashTable *make(std::uint32_t slotCount, std::uint32_t room) {
        std::size_t const size = bytes(slotCount);
        bool const isLarge = size > Pool::maxKept; // then it is not touched before it is written
        auto *const block = static_cast<std::byte *>(
            mapArrayCounted(isLarge ? Pool::allocateZeroed(size) : Pool::allocate(size), size));
        auto *const table = new (block + nodesBytes(slotCount)) HashTable(slotCount, room);
        if (!isLarge) {
            std::memset(table->hashes(), 0, sizeof(std::uint32_t) * slotCount);
        }
        std::fill_n(table->hashes() + slotCount, sentinels, sentinel);
        return table;
    }
    /// Give back the memory. Requires: no entry is left.
    void release() noexcept {
        std::uint32_t const slotCount = slots_;
        mapArrayDelete(reinterpret_cast<std::byte *>(this) - nodesBytes(slotCount),
                       bytes(slotCount));
    }
    /// Destroy the entries and give back the memory.
    void destroy() noexcept {
        destroyFrom(0, slots_);
        release();
    }
    /// Destroy the entries of some slots; what they point to is fetched in good time.
    void destroyFrom(std::uint32_t slot, std::uint32_t end) noexcept {
        for (; slot < end; ++slot) {
            if (Node *const later = nodeIfUsed(slot + destroyAhead)) {
                prefetchTargets(*later);
            }
            if (hashes()[slot] != freeSlot) {
                std::destroy_at(node(slot));
            }
        }
    }

    [[nodiscard]] std::uint32_t slots() const noexcept { return slots_; }
    /// How many entries it takes.
    [[nodiscard]] std::uint32_t room() const noexcept { return room_; }
    [[nodiscard]] Node *node(std::uint32_t slot) noexcept {
        return reinterpret_cast<Node *>(this) - 1 - slot;
    }
    [[nodiscard]] std::uint32_t slotOf(Node const *node) noexcept {
        return static_cast<std::uint32_t>(reinterpret_cast<Node *>(this) - 1 - node);
    }
    [[nodiscard]] std::uint32_t hash(std::uint32_t slot) const noexcept { return hashes()[slot]; }
    /// The node of a slot; null for a free one, and behind the last.
    [[nodiscard]] Node *nodeIfUsed(std::uint32_t slot) noexcept {
        return slot < slots_ && hashes()[slot] != freeSlot ? node(slot) : nullptr;
    }
    void prefetch(std::uint32_t hash, unsigned digits) noexcept {
        std::uint32_t const slot = home(hash, digits);
        __builtin_prefetch(hashes() + slot);
        __builtin_prefetch(node(slot));
    }
    /// The first used slot from there on; slots() when there is none.
    [[nodiscard]] std::uint32_t nextUsed(std::uint32_t slot) const noexcept {
        // Eight slots at once: how long a gap is cannot be predicted. The sentinels end it.
        unsigned isFree = equalBits(slot, freeSlot);
        while (isFree == allEqual) {
            slot += sentinels;
            isFree = equalBits(slot, freeSlot);
        }
        return slot + static_cast<std::uint32_t>(std::countr_one(isFree)) / 2;
    }
    /// `digits`: the table's homeDigits(), here and below.
    [[nodiscard]] Node *find(std::uint32_t hash, View key, unsigned digits) noexcept {
        std::uint32_t const slot = home(hash, digits);
        unsigned const equal = equalBits(slot, hash);
        if (Node *const near = findNear(slot, equal, key)) [[likely]] {
            return near;
        }
        // Where no hash is equal, a gap says that the key is not there.
        return equal == 0 && equalBits(slot, freeSlot) != 0 ? nullptr : findFar(hash, key, digits);
    }
    /// The same, but only the first slots from the key's home on are looked at, and of those the
    /// first one of that hash.
    [[nodiscard]] Node *findNear(std::uint32_t hash, View key, unsigned digits) noexcept {
        std::uint32_t const slot = home(hash, digits);
        return findNear(slot, equalBits(slot, hash), key);
    }
    /// The whole search, for a key that is not near, or not there.
    [[nodiscard, gnu::noinline]] Node *findFar(std::uint32_t hash, View key,
                                               unsigned digits) noexcept {
        std::uint32_t slot = firstNotBelow(hash, digits);
        for (; hashes()[slot] == hash; ++slot) {
            if (Traits::equal(Traits::view(node(slot)->key()), key)) {
                return node(slot);
            }
        }
        return nullptr;
    }
    /// The slot where the key is or belongs, and whether it is there.
    [[nodiscard]] std::pair<std::uint32_t, bool> locate(std::uint32_t hash, View key,
                                                        unsigned digits) noexcept {
        std::uint32_t slot = firstNotBelow(hash, digits);
        for (; hashes()[slot] == hash; ++slot) {
            auto &&other = node(slot)->key();
            if (Traits::equal(Traits::view(other), key)) {
                return {slot, true};
            }
            if (!Traits::before(Traits::view(other), key)) {
                break;
            }
        }
        return {slot, false};
    }

    /// Shift the entries from `slot` on by one, up to the next gap; false when the tail is full.
    [[nodiscard]] bool open(std::uint32_t slot) noexcept {
        std::uint32_t gap = slot;
        for (; hashes()[gap] != freeSlot; ++gap) {
            if (hashes()[gap] == sentinel) {
                return false;
            }
        }
        for (; gap != slot; --gap) {
            moveNode(gap, gap - 1);
        }
        return true;
    }
    /// The entry inserted or replaced last, if it has that key.
    [[nodiscard]] Node *changed(View key) noexcept {
        Node *const there = node(changed_);
        bool const isIt =
            hashes()[changed_] != freeSlot && Traits::equal(Traits::view(there->key()), key);
        return isIt ? there : nullptr;
    }
    void changedIs(Node const &entry) noexcept { changed_ = slotOf(&entry); }
    /// Construct an entry in an open slot.
    Node *put(std::uint32_t slot, std::uint32_t hash, Node &&entry) noexcept {
        hashes()[slot] = hash;
        changed_ = slot;
        return std::construct_at(node(slot), std::move(entry));
    }
    /// Take the entry out and shift those behind it back, as far as their homes allow.
    Node take(std::uint32_t slot, unsigned digits) noexcept {
        Node taken(std::move(*node(slot)));
        std::destroy_at(node(slot));
        for (std::uint32_t next = slot + 1;; slot = next++) {
            std::uint32_t const hash = hashes()[next];
            if (hash == freeSlot || hash == sentinel || home(hash, digits) == next) {
                break;
            }
            moveNode(slot, next);
        }
        hashes()[slot] = freeSlot;
        return taken;
    }

  private:
    /// Hashes that are looked at together; as many sentinels let that run over the end.
    static constexpr std::uint32_t sentinels = 8;
    /// What equalBits() gives for eight equal slots.
    static constexpr unsigned allEqual = 0xFFFF;
    static constexpr std::uint32_t destroyAhead = 12;
    /// Slots that a search goes through before it leaps.
    static constexpr std::uint32_t leapAfter = 16;

    HashTable(std::uint32_t slotCount, std::uint32_t room) noexcept
        : slots_(slotCount), room_(room) {}

    /// `equal`: the equalBits() of that slot and the key's hash.
    [[nodiscard]] Node *findNear(std::uint32_t slot, unsigned equal, View key) noexcept {
        Node *const first = node(slot);
        __builtin_prefetch(first); // on its way while the hashes are compared
        if (equal != 0) [[likely]] {
            Node *const there = first - static_cast<unsigned>(std::countr_zero(equal)) / 2;
            if (Traits::equal(Traits::view(there->key()), key)) [[likely]] {
                return there;
            }
        }
        return nullptr;
    }
    void moveNode(std::uint32_t slot, std::uint32_t from) noexcept {
        hashes()[slot] = hashes()[from];
        std::construct_at(node(slot), std::move(*node(from)));
        std::destroy_at(node(from));
    }

    /// Rounded up so that header and nodes are aligned.
    static constexpr std::size_t nodesBytes(std::uint32_t slotCount) noexcept {
        constexpr std::size_t alignment = std::max(alignof(Node), alignof(HashTable));
        return (sizeof(Node) * slotCount + alignment - 1) / alignment * alignment;
    }
    static constexpr std::size_t bytes(std::uint32_t slotCount) noexcept {
        return nodesBytes(slotCount) + sizeof(HashTable) +
               sizeof(std::uint32_t) * (slotCount + sentinels);
    }
    [[nodiscard]] std::uint32_t *hashes() noexcept {
        return reinterpret_cast<std::uint32_t *>(this + 1);
    }
    [[nodiscard]] std::uint32_t const *hashes() const noexcept {
        return reinterpret_cast<std::uint32_t const *>(this + 1);
    }
    [[nodiscard]] bool isBelow(std::uint32_t slot, std::uint32_t hash) const noexcept {
        return hashes()[slot] - 1 < hash - 1; // a free slot is not: it wraps to the largest
    }
    /// How many of the slots from there on are below: 8, or the number before the first that is
    /// not.
    [[nodiscard]] std::uint32_t countBelow(std::uint32_t slot, std::uint32_t hash) const noexcept;
    /// Which of the eight slots from there on hold that hash: two bits each.
    [[nodiscard]] unsigned equalBits(std::uint32_t slot, std::uint32_t hash) const noexcept;
    /// The first slot from the hash's home on that is free or holds no smaller hash.
    [[nodiscard]] std::uint32_t firstNotBelow(std::uint32_t hash, unsigned digits) noexcept {
        std::uint32_t const slot = home(hash, digits);
        std::uint32_t const count = countBelow(slot, hash);
        return count < sentinels ? slot + count : firstNotBelowFar(slot + count, hash);
    }
    [[nodiscard, gnu::noinline]] std::uint32_t firstNotBelowFar(std::uint32_t slot,
                                                                std::uint32_t hash) const noexcept;
    [[nodiscard, gnu::cold, gnu::noinline]] std::uint32_t leap(std::uint32_t slot,
                                                               std::uint32_t hash) const noexcept;

    std::uint32_t slots_;
    std::uint32_t room_;
    std::uint32_t changed_ = 0; ///< where the entry changed last lay then
};

template <class Node, class Traits>
std::uint32_t HashTable<Node, Traits>::countBelow(std::uint32_t slot,
                                                  std::uint32_t hash) const noexcept {
#ifdef __SSE2__
    // Unsigned order as signed order: subtracting 1 and flipping the sign bit is one addition.
    __m128i const shift = _mm_set1_epi32(0x7FFFFFFF);
    __m128i const limit = _mm_add_epi32(_mm_set1_epi32(static_cast<int>(hash)), shift);
    auto const *const group = reinterpret_cast<__m128i const *>(hashes() + slot);
    __m128i const low = _mm_cmpgt_epi32(limit, _mm_add_epi32(_mm_loadu_si128(group), shift));
    __m128i const high = _mm_cmpgt_epi32(limit, _mm_add_epi32(_mm_loadu_si128(group + 1), shift));
    auto const below = static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi32(low, high)));
    return static_cast<std::uint32_t>(std::countr_one(below)) / 2;
#else
    std::uint32_t count = 0;
    while (count < sentinels && isBelow(slot + count, hash)) {
        ++count;
    }
    return count;
#endif
}

template <class Node, class Traits>
unsigned HashTable<Node, Traits>::equalBits(std::uint32_t slot, std::uint32_t hash) const noexcept {
#ifdef __SSE2__
    __m128i const wanted = _mm_set1_epi32(static_cast<int>(hash));
    auto const *const group = reinterpret_cast<__m128i const *>(hashes() + slot);
    __m128i const low = _mm_cmpeq_epi32(wanted, _mm_loadu_si128(group));
    __m128i const high = _mm_cmpeq_epi32(wanted, _mm_loadu_si128(group + 1));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi32(low, high)));
#else
    unsigned equal = 0;
    for (std::uint32_t i = 0; i < sentinels; ++i) {
        equal |= (hashes()[slot + i] == hash ? 3U : 0U) << 2 * i;
    }
    return equal;
#endif
}

template <class Node, class Traits>
std::uint32_t HashTable<Node, Traits>::firstNotBelowFar(std::uint32_t slot,
                                                        std::uint32_t hash) const noexcept {
    std::uint32_t const count = countBelow(slot, hash);
    return count < sentinels ? slot + count : leap(slot + count, hash);
}

/// A slot behind the home that holds a smaller hash has only such slots between, so the search may
/// leap. It does where runs are long, that is while a map is copied in the order of its walk into a
/// smaller one of its own type.
template <class Node, class Traits>
std::uint32_t HashTable<Node, Traits>::leap(std::uint32_t slot, std::uint32_t hash) const noexcept {
    if (!isBelow(slot, hash)) {
        return slot;
    }
    std::uint32_t step = leapAfter;
    while (step < slots_ - slot && isBelow(slot + step, hash)) {
        slot += step;
        step *= 2;
    }
    for (; step != 0; step /= 2) {
        if (step < slots_ - slot && isBelow(slot + step, hash)) {
            slot += step;
        }
    }
    return slot + 1;
}

} // namespace Qor::Impl
