// The flat hash-ordered map of the peer P2h: one array in the order of (hash, key), the home slot
// from the highest bits of the hash, linear probing. Its order depends on nothing but the keys, so
// a walk can be resumed at any key. What Qor::HashMap2018 promises, without its notices, its small
// forms and its seed.
//
// An entry that does not fit before the end of the array makes it grow; a tail of slots behind the
// last home makes that rare.
#pragma once

#include "bench/Ids.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <tuple>
#include <utility>

namespace Bench {

/// Never 0, which marks a free slot.
inline std::uint64_t orderedHash(std::uint64_t key) noexcept {
    key *= 0x9E3779B97F4A7C15U;
    key ^= key >> 32;
    key *= 0xD6E8FEB86659FD93U;
    return key | 1;
}
inline std::uint64_t orderedHash(std::pair<PeerIds::Intf, PeerIds::Vlan> const &pair) noexcept {
    return orderedHash(pair.first ^ std::uint64_t{pair.second} << 40);
}

template <class Key, class Value> class HashOrderedMap {
  public:
    using value_type = std::pair<Key, Value>;

  private:
    struct Slot {
        std::uint64_t hash;
        union {
            value_type entry;
        };
        Slot() noexcept : hash(0) {}
        ~Slot() {}
    };

  public:
    class iterator {
      public:
        explicit iterator(Slot *slot) noexcept : slot_(slot) {}
        value_type &operator*() const noexcept { return slot_->entry; }
        value_type *operator->() const noexcept { return &slot_->entry; }
        iterator &operator++() noexcept {
            do {
                ++slot_;
            } while (slot_->hash == 0);
            return *this;
        }
        bool operator==(iterator const &) const noexcept = default;

      private:
        friend HashOrderedMap;
        Slot *slot_;
    };

    HashOrderedMap() = default;
    HashOrderedMap(HashOrderedMap &&other) noexcept { swap(other); }
    HashOrderedMap &operator=(HashOrderedMap &&other) noexcept {
        swap(other);
        return *this;
    }
    ~HashOrderedMap() { clear(); }

    void clear() noexcept {
        for (std::uint32_t i = 0; i < slotCount_; ++i) {
            if (slots_[i].hash != 0) {
                slots_[i].entry.~value_type();
            }
        }
        ::operator delete(slots_);
        slots_ = nullptr;
        size_ = slotCount_ = 0;
        shift_ = 64;
    }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    iterator end() noexcept { return iterator(slots_ + slotCount_); }
    iterator begin() noexcept {
        if (size_ == 0) {
            return end();
        }
        Slot *slot = slots_;
        while (slot->hash == 0) {
            ++slot;
        }
        return iterator(slot);
    }
    void reserve(std::size_t size) {
        std::uint32_t homes = 4;
        while (homes * 3 / 4 < size) {
            homes *= 2;
        }
        if (homes > homeCount() || slots_ == nullptr) {
            rehash(homes);
        }
    }
    iterator find(Key const &key) noexcept {
        if (slots_ == nullptr) {
            return end();
        }
        std::uint64_t const hash = orderedHash(key);
        Slot *slot = slots_ + home(hash);
        while (slot->hash != 0 && slot->hash < hash) {
            ++slot;
        }
        for (; slot->hash == hash; ++slot) {
            if (slot->entry.first == key) {
                return iterator(slot);
            }
        }
        return end();
    }
    template <class... Arguments>
    std::pair<iterator, bool> try_emplace(Key const &key, Arguments &&...arguments) {
        std::uint64_t const hash = orderedHash(key);
        for (;;) {
            if (slots_ == nullptr || size_ + 1 > std::max(3U, homeCount() * 3 / 4)) {
                if (iterator const found = find(key); found != end()) {
                    return {found, false};
                }
                rehash(homeCount() != 0 ? homeCount() * 2 : 4);
                continue;
            }
            Slot *const slot = positionOf(hash, key);
            if (slot->hash == hash && slot != slots_ + slotCount_ && slot->entry.first == key) {
                return {iterator(slot), false};
            }
            if (!makeRoom(slot)) {
                rehash(homeCount() * 2);
                continue;
            }
            slot->hash = hash;
            new (&slot->entry)
                value_type(std::piecewise_construct, std::forward_as_tuple(key),
                           std::forward_as_tuple(std::forward<Arguments>(arguments)...));
            ++size_;
            return {iterator(slot), true};
        }
    }
    template <class V> std::pair<iterator, bool> insert_or_assign(Key const &key, V &&value) {
        auto const result = try_emplace(key);
        result.first->second = std::forward<V>(value);
        return result;
    }
    /// The entry behind the erased one.
    iterator eraseAt(iterator position) noexcept {
        Slot *const slot = position.slot_;
        [[maybe_unused]] Value const erased = std::move(slot->entry.second);
        slot->entry.~value_type();
        slot->hash = 0;
        --size_;
        Slot *const last = slots_ + slotCount_;
        for (Slot *next = slot + 1;
             next != last && next->hash != 0 && home(next->hash) < index(next); ++next) {
            move(next, next - 1);
        }
        return slot->hash != 0 ? iterator(slot) : ++iterator(slot);
    }
    std::size_t erase(Key const &key) noexcept {
        auto const position = find(key);
        if (position == end()) {
            return 0;
        }
        eraseAt(position);
        return 1;
    }

  private:
    static constexpr std::uint32_t tail = 32;

    void swap(HashOrderedMap &other) noexcept {
        std::swap(slots_, other.slots_);
        std::swap(size_, other.size_);
        std::swap(slotCount_, other.slotCount_);
        std::swap(shift_, other.shift_);
    }
    [[nodiscard]] std::size_t home(std::uint64_t hash) const noexcept {
        return shift_ == 64 ? 0 : hash >> shift_;
    }
    [[nodiscard]] std::size_t index(Slot const *slot) const noexcept {
        return static_cast<std::size_t>(slot - slots_);
    }
    [[nodiscard]] std::uint32_t homeCount() const noexcept {
        return shift_ == 64 ? (slotCount_ != 0 ? 1 : 0) : 1U << (64 - shift_);
    }
    static void move(Slot *from, Slot *to) noexcept {
        to->hash = from->hash;
        new (&to->entry) value_type(std::move(from->entry));
        from->entry.~value_type();
        from->hash = 0;
    }
    /// Where the key is, or where it belongs.
    Slot *positionOf(std::uint64_t hash, Key const &key) noexcept {
        Slot *slot = slots_ + home(hash);
        while (slot->hash != 0 &&
               (slot->hash < hash || (slot->hash == hash && slot->entry.first < key))) {
            ++slot;
        }
        return slot;
    }
    /// False when there is no free slot from here to the end.
    bool makeRoom(Slot *position) noexcept {
        Slot *const last = slots_ + slotCount_;
        Slot *gap = position;
        while (gap->hash != 0 && gap != last) {
            ++gap;
        }
        if (gap == last) {
            return false;
        }
        for (; gap != position; --gap) {
            move(gap - 1, gap);
        }
        return true;
    }
    void allocate(std::uint32_t homes) {
        shift_ = static_cast<std::uint8_t>(64 - __builtin_ctz(homes));
        slotCount_ = homes + (homes < 16 ? 8 : tail);
        // One more ends every walk and every search.
        slots_ = static_cast<Slot *>(::operator new(sizeof(Slot) * (slotCount_ + 1)));
        for (std::uint32_t i = 0; i < slotCount_; ++i) {
            slots_[i].hash = 0;
        }
        slots_[slotCount_].hash = ~std::uint64_t{0};
    }
    void rehash(std::uint32_t homes) {
        Slot *const old = slots_;
        std::uint32_t const oldCount = slotCount_;
        allocate(homes);
        std::size_t free = 0;
        for (std::uint32_t i = 0; i < oldCount; ++i) { // in order already
            if (old[i].hash != 0) {
                std::size_t const to = std::max(free, home(old[i].hash));
                if (to >= slotCount_) {
                    std::fputs("HashOrderedMap: the tail is too short\n", stderr);
                    std::abort();
                }
                move(old + i, slots_ + to);
                free = to + 1;
            }
        }
        ::operator delete(old);
    }

    Slot *slots_ = nullptr;
    std::uint32_t size_ = 0;
    std::uint32_t slotCount_ = 0;
    std::uint8_t shift_ = 64;
};

} // namespace Bench
