// The peers' own containers: as little as the workloads need, so that what is compared is not the
// standard library's allocation habits.
//
// FlatMap: open addressing with linear probing in one array of a power of two, at most 3/4 full; a
// deletion shifts back what follows. The default key stands for a free slot and cannot be stored.
// IdSet: up to 8 ids in place, unordered, the others in a vector.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Iftel/IntfId.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Bench {

/// A subinterface in a VLAN.
struct Ride {
    Iftel::IntfId intfId;
    std::uint16_t vlan = 0;
    friend bool operator==(Ride const &, Ride const &) noexcept = default;
};

struct FlatHash {
    std::size_t operator()(std::uint64_t x) const noexcept {
        x *= 0x9E3779B97F4A7C15U;
        return x ^ (x >> 32);
    }
    std::size_t operator()(Iftel::IntfId id) const noexcept { return (*this)(id.bits()); }
    std::size_t operator()(Ride const &ride) const noexcept {
        return (*this)(ride.intfId.bits() ^ std::uint64_t{ride.vlan} << 20);
    }
};

template <class Key, class Value> class FlatMap {
  public:
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }

    void reserve(std::size_t entries) {
        std::size_t capacity = 4;
        while (capacity / 4 * 3 < entries) {
            capacity *= 2;
        }
        if (capacity > slots_.size()) {
            rebuild(capacity);
        }
    }
    [[nodiscard]] Value *find(Key const &key) noexcept {
        if (slots_.empty()) {
            return nullptr;
        }
        Slot &slot = slots_[seek(key)];
        return slot.key == key ? &slot.value : nullptr;
    }
    [[nodiscard]] Value const *find(Key const &key) const noexcept {
        return const_cast<FlatMap *>(this)->find(key);
    }
    /// The value of `key`, a default one if it was missing. Valid until the next change.
    Value &operator[](Key const &key) {
        if (size_ + 1 > slots_.size() / 4 * 3) {
            if (Value *const there = find(key)) {
                return *there;
            }
            rebuild(slots_.empty() ? 4 : slots_.size() * 2);
        }
        Slot &slot = slots_[seek(key)];
        if (slot.key != key) {
            slot.key = key;
            ++size_;
        }
        return slot.value;
    }
    void erase(Key const &key) {
        if (slots_.empty()) {
            return;
        }
        std::size_t gap = seek(key);
        if (slots_[gap].key != key) {
            return;
        }
        std::size_t const mask = slots_.size() - 1;
        for (std::size_t next = (gap + 1) & mask; slots_[next].key != Key();
             next = (next + 1) & mask) {
            if (((next - home(slots_[next].key)) & mask) >= ((next - gap) & mask)) {
                slots_[gap] = std::move(slots_[next]);
                gap = next;
            }
        }
        slots_[gap] = Slot();
        --size_;
    }
    void clear() {
        slots_ = {};
        size_ = 0;
    }
    /// Call `visit(key, value)` for each entry. It must not change the map.
    template <class Visit> void each(Visit visit) {
        for (Slot &slot : slots_) {
            if (slot.key != Key()) {
                visit(std::as_const(slot.key), slot.value);
            }
        }
    }
    template <class Visit> void each(Visit visit) const {
        for (Slot const &slot : slots_) {
            if (slot.key != Key()) {
                visit(slot.key, slot.value);
            }
        }
    }

  private:
    struct Slot {
        Key key{};
        [[no_unique_address]] Value value{};
    };

    [[nodiscard]] std::size_t home(Key const &key) const noexcept {
        return FlatHash()(key) & (slots_.size() - 1);
    }
    /// The key's slot, or the free one where it belongs.
    [[nodiscard]] std::size_t seek(Key const &key) const noexcept {
        std::size_t slot = home(key);
        while (slots_[slot].key != key && slots_[slot].key != Key()) {
            slot = (slot + 1) & (slots_.size() - 1);
        }
        return slot;
    }
    void rebuild(std::size_t capacity) {
        auto old = std::exchange(slots_, std::vector<Slot>(capacity));
        for (Slot &slot : old) {
            if (slot.key != Key()) {
                slots_[seek(slot.key)] = std::move(slot);
            }
        }
    }

    std::vector<Slot> slots_;
    std::size_t size_ = 0;
};

struct NoValue {};
template <class Key> using FlatSet = FlatMap<Key, NoValue>;

class IdSet {
  public:
    void add(Iftel::IntfId id) {
        if (has(id)) {
            return;
        }
        if (size_ < near_.size()) {
            near_[size_] = id;
        } else {
            far_.push_back(id);
        }
        ++size_;
    }
    void remove(Iftel::IntfId id) noexcept {
        for (std::uint32_t i = 0; i < size_; ++i) {
            if (at(i) == id) {
                at(i) = at(--size_);
                far_.resize(size_ < near_.size() ? 0 : size_ - near_.size());
                return;
            }
        }
    }
    [[nodiscard]] bool has(Iftel::IntfId id) const noexcept {
        auto const *const end = near_.data() + std::min<std::size_t>(size_, near_.size());
        return std::find(near_.data(), end, id) != end ||
               std::find(far_.begin(), far_.end(), id) != far_.end();
    }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    template <class Visit> void each(Visit visit) const {
        for (std::uint32_t i = 0; i < size_; ++i) {
            visit(const_cast<IdSet *>(this)->at(i));
        }
    }

  private:
    [[nodiscard]] Iftel::IntfId &at(std::uint32_t i) noexcept {
        return i < near_.size() ? near_[i] : far_[i - near_.size()];
    }

    std::uint32_t size_ = 0;
    std::array<Iftel::IntfId, 8> near_;
    std::vector<Iftel::IntfId> far_;
};

} // namespace Bench
