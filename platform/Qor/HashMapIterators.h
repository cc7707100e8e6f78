// The iterators of a HashMap2018, which includes this header at its end.
#pragma once

#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/HTCnt.h"
#include "platform/Qor/HashMap2018.h"

#include <cstdint>
#include <utility>

namespace Qor {

/// A resumable iterator: holds the place and the key of its entry and the map's stamp; while the
/// stamp is unchanged a step costs no look-up. Copyable. The map must outlive it.
template <class K, class V, std::uint32_t C, class KeyOf>
class HashMap2018<K, V, C, KeyOf>::Iterator {
  public:
    /// Not at the end.
    explicit operator bool() const noexcept { return place_ != endPlace; }
    /// Key of the entry; still that key after the entry was deleted. Requires: not at the end.
    [[nodiscard]] K const &key() const noexcept {
        checkValid();
        return key_;
    }
    /// The entry itself, never a stale one: null after it was deleted. Valid until the map changes.
    /// Requires: not at the end.
    [[nodiscard]] Node const *node() noexcept {
        checkValid();
        if (state_ != map_->state_) [[unlikely]] {
            std::uint32_t const place = seek();
            if (!map_->standsOn(place, Traits::view(key_))) {
                return nullptr;
            }
            place_ = place;
            state_ = map_->state_;
        }
        return map_->nodeAt(place_);
    }
    /// The entry that a walk comes to that many slots later, for its cache lines to be fetched in
    /// good time; null where there is none, and in a small map. Requires: not at the end, and the
    /// map has not changed since the last step.
    [[nodiscard]] Node const *ahead(std::uint32_t slots) const noexcept {
        return map_->isTable() ? map_->table().nodeIfUsed(place_ + slots) : nullptr;
    }
    /// Step to the next entry, past one that was deleted. Requires: not at the end.
    void advance() noexcept {
        checkValid();
        std::uint32_t place = place_ + 1;
        if (state_ != map_->state_) [[unlikely]] {
            place = seek();
            place += map_->standsOn(place, Traits::view(key_)) ? 1U : 0U;
        }
        moveTo(map_->firstFrom(place));
    }
    /// Both at the end of, or at the same key of, one map.
    friend bool operator==(Iterator const &a, Iterator const &b) noexcept {
        return a.map_ == b.map_ && bool(a) == bool(b) &&
               (!a || Traits::equal(Traits::view(a.key_), Traits::view(b.key_)));
    }

  private:
    friend HashMap2018;
    static constexpr std::uint32_t endPlace = ~0U;

    Iterator(HashMap2018 const &map, std::uint32_t place) noexcept : map_(&map) { moveTo(place); }
    void checkValid() const noexcept {
        bool const iter_ = place_ != endPlace;
        NUVIO_ASSERT(iter_);
    }
    /// Place of the first entry that is not before this one.
    [[nodiscard]] std::uint32_t seek() const noexcept {
        Nuvio::HTCnt::incCount(Nuvio::HTCnt::Counter::iteratorSought);
        return map_->lowerBound(Traits::view(key_));
    }
    /// `place` has an entry, or is the end.
    void moveTo(std::uint32_t place) noexcept {
        if (place >= map_->places()) {
            place_ = endPlace;
            return;
        }
        place_ = place;
        state_ = map_->state_;
        key_ = map_->nodeAt(place)->key();
    }

    HashMap2018 const *map_;
    std::uint32_t place_ = endPlace;
    std::uint32_t state_ = 0; ///< the map's state word: stamp and size of the array
    K key_{};
};

/// For range-for: yields `key` of a set, and the pair `[key, value]` of a map.
template <class K, class V, std::uint32_t C, class KeyOf>
class HashMap2018<K, V, C, KeyOf>::RangeIterator {
  public:
    decltype(auto) operator*() const noexcept {
        checkUnchanged();
        Node const &node = *map_->nodeAt(place_);
        if constexpr (Impl::isSet<Node>) {
            return node.key();
        } else {
            return std::pair<decltype(node.key()), V const &>(node.key(), node.value());
        }
    }
    RangeIterator &operator++() noexcept {
        checkUnchanged();
        place_ = map_->firstFrom(place_ + 1);
        return *this;
    }
    friend bool operator==(RangeIterator const &a, RangeIterator const &b) noexcept {
        return a.place_ == b.place_;
    }

  private:
    friend HashMap2018;
    RangeIterator(HashMap2018 const &map, std::uint32_t place) noexcept
        : map_(&map), place_(place), stamp_(map.stamp()) {}
    void checkUnchanged() const noexcept {
        NUVIO_DEBUG_ASSERT(stamp_ == map_->stamp(), "a range-for loop changed its map");
    }

    HashMap2018 const *map_;
    std::uint32_t place_;
    [[maybe_unused]] std::uint32_t stamp_; ///< read by debug builds only
};

} // namespace Qor
