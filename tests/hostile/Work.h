// What a map has to do for a set of keys, as counts: keys moved, keys compared, slots searched.
#pragma once

#include "platform/Qor/HashMap2018.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <ostream>
#include <span>
#include <vector>

namespace Hostile {

struct Work {
    std::uint64_t moves = 0;       ///< of entries, as neighbours come and go and tables grow
    std::uint64_t comparisons = 0; ///< of keys, where hashes are equal
    std::uint64_t slots = 0;       ///< from each key's home slot to where it lies
    std::uint64_t longestRun = 0;  ///< slots in use without a gap

    [[nodiscard]] std::uint64_t total() const { return moves + comparisons + slots; }
    friend std::ostream &operator<<(std::ostream &out, Work const &work) {
        return out << work.moves << " moves, " << work.comparisons << " comparisons, " << work.slots
                   << " slots, longest run " << work.longestRun;
    }
};

/// A key that counts what is done with it. One Work at a time is counted.
template <class Id> struct Counted {
    Id id{};

    Counted() = default;
    explicit Counted(Id const &key) : id(key) {}
    Counted(Counted const &) = default;
    Counted &operator=(Counted const &) = default;
    Counted(Counted &&other) noexcept : id(other.id) { ++work.moves; }
    Counted &operator=(Counted &&) noexcept = default;
    ~Counted() = default;

    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept { return id.hash(seed); }
    friend bool operator==(Counted const &a, Counted const &b) noexcept {
        ++work.comparisons;
        return a.id == b.id;
    }
    friend bool operator<(Counted const &a, Counted const &b) noexcept {
        ++work.comparisons;
        return a.id < b.id;
    }

    static inline Work work{};
};

/// Where the entries of a map lie, computed from their order and hashes as its header describes.
template <class Map> void addStructure(Map const &map, Work &work) {
    using Traits = typename Map::Traits;
    if (map.capacity() <= 8) {
        return; // every home is slot 0
    }
    auto const bits = static_cast<unsigned>(std::bit_width(map.capacity())) - 1;
    std::uint64_t next = 0;
    std::uint64_t runBegin = 0;
    for (auto it = map.iterator(); it; it.advance()) {
        std::uint32_t const seed = Qor::HashHelper::hashSeed32() ^ Map::typeConstant;
        std::uint64_t const home = Traits::hash(seed, Traits::view(it.key())) >> (32 - bits);
        if (home > next || next == 0) {
            next = runBegin = home;
        }
        work.slots += next - home + 1;
        work.longestRun = std::max(work.longestRun, ++next - runBegin);
    }
}

/// The work of a whole life: insert the keys, insert them again, find them all, walk with a
/// deletion at every other key, delete the rest.
template <class Id, std::uint32_t TypeConstant = 0x40CF24F4> Work workOf(std::span<Id const> ids) {
    using Key = Counted<Id>;
    Qor::HashMap2018<Key, void, TypeConstant> map;
    Key::work = Work();
    for (int time = 0; time < 2; ++time) {
        for (Id const &id : ids) {
            map.newMemberG({Key(id)});
        }
    }
    for (Id const &id : ids) {
        static_cast<void>(map.memberHas(Key(id)));
    }
    Work structure;
    addStructure(map, structure);
    bool isDeleted = false;
    for (auto it = map.iterator(); it; it.advance()) {
        isDeleted = !isDeleted;
        if (isDeleted) {
            map.deleteMemberG(it.key());
        }
    }
    for (Id const &id : ids) {
        map.deleteMemberG(Key(id));
    }
    structure.moves = Key::work.moves;
    structure.comparisons = Key::work.comparisons;
    return structure;
}

/// Replaces the seed for its life. Requires: no collection has an entry at either end of it.
class SeedIs {
  public:
    explicit SeedIs(std::uint32_t seed) { Qor::HashHelper::hashSeed32IsForTest(seed); }
    ~SeedIs() { Qor::HashHelper::hashSeed32IsForTest(former_); }
    SeedIs(SeedIs const &) = delete;
    SeedIs &operator=(SeedIs const &) = delete;

  private:
    std::uint32_t former_ = Qor::HashHelper::hashSeed32();
};

} // namespace Hostile
