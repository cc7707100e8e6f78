// HashMap2018 beside the flat maps of Abseil and Boost: insertion into an empty map that grows,
// look-ups, iteration, deletion until it is empty; and the iterator resumed at every step.
#include "bench/micro/MapKeys.h"
#include "bench/micro/MapSubjects.h"
#include "bench/micro/Micro.h"

#include <absl/container/flat_hash_map.h>
#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Bench::Micro {
namespace {

/// At 32,000 and 49,000 a table of ours is half and three quarters full, as full as it gets.
constexpr std::size_t sizes[] = {8, 64, 1000, 32000, 49000, 1000000};
constexpr std::size_t most16BitKeys = 32768;
/// In as many maps of one size as it takes.
constexpr std::size_t entriesInAll = 32768;
/// A walk cannot be another one each time. Over less than this, a processor knows its branches by
/// heart after some rounds, as it never does at work.
constexpr std::size_t entriesToWalk = 262144;
/// Look-ups in a round; each round has others.
constexpr std::size_t probesPerRound = 16384;

/// As many maps of one size as it takes to have some thousand entries.
template <class Subject> class Maps {
  public:
    using Key = typename Subject::Key;
    using Map = typename Subject::Map;
    struct Probe {
        Map const *map = nullptr;
        Key key{};
    };

    explicit Maps(std::size_t perMap, std::size_t inAll = entriesInAll)
        : perMap_(perMap), count_(std::max<std::size_t>(1, inAll / perMap)), keys_(count_, perMap) {
        makeEmpty();
    }

    [[nodiscard]] std::size_t entries() const { return count_ * perMap_; }
    [[nodiscard]] Map const *begin() const { return maps_.get(); }
    [[nodiscard]] Map const *end() const { return maps_.get() + count_; }

    /// Other orders of insertion and deletion.
    void shuffle() { keys_.shuffle(); }
    void makeEmpty() { maps_ = std::make_unique<Map[]>(count_); }
    /// Returns how many were new.
    std::size_t fill() {
        std::size_t done = 0;
        Value value = 0;
        forEach(keys_.present, [&](Map &map, Key const &key) {
            done += Subject::insert(map, key, ++value) ? 1U : 0U;
        });
        return done;
    }
    /// Returns how many were there.
    std::size_t drain() {
        std::size_t done = 0;
        forEach(keys_.deleted,
                [&done](Map &map, Key const &key) { done += Subject::erase(map, key) ? 1U : 0U; });
        return done;
    }
    /// Look-ups of keys, present or absent, at random over all maps.
    void draw(std::vector<Probe> &probes, bool present) {
        auto const &keys = present ? keys_.present : keys_.absent;
        for (Probe &probe : probes) {
            std::size_t const index = random_() % entries();
            probe = {maps_.get() + index / perMap_, keys[index]};
        }
    }

  private:
    template <class Visit> void forEach(std::vector<Key> const &keys, Visit visit) {
        Key const *key = keys.data();
        for (std::size_t i = 0; i < count_; ++i) {
            for (std::size_t j = 0; j < perMap_; ++j) {
                visit(maps_[i], *key++);
            }
        }
    }

    std::size_t perMap_;
    std::size_t count_;
    Keys<Key> keys_;
    std::unique_ptr<Map[]> maps_;
    Random random_{7};
};

template <class Subject> void insertAll(benchmark::State &state, std::size_t size) {
    Maps<Subject> maps(size);
    auto const prepare = [&] {
        maps.makeEmpty();
        maps.shuffle();
    };
    timedRounds(
        state, prepare, [&] { expect(state, maps.fill(), maps.entries()); }, [] {});
    operationsPerRound(state, maps.entries());
}

template <class Subject> void eraseAll(benchmark::State &state, std::size_t size) {
    Maps<Subject> maps(size);
    auto const prepare = [&] {
        maps.fill();
        maps.shuffle();
    };
    timedRounds(
        state, prepare, [&] { expect(state, maps.drain(), maps.entries()); },
        [&] { maps.makeEmpty(); });
    operationsPerRound(state, maps.entries());
}

template <class Subject, bool Present> void findAll(benchmark::State &state, std::size_t size) {
    Maps<Subject> maps(size);
    maps.fill();
    std::vector<typename Maps<Subject>::Probe> probes(probesPerRound);
    auto const lookUp = [&] {
        std::size_t found = 0;
        Value sum = 0;
        for (auto const &probe : probes) {
            if (Value const *const value = Subject::find(*probe.map, probe.key)) {
                ++found;
                sum += *value;
            }
        }
        benchmark::DoNotOptimize(sum);
        expect(state, found, Present ? probes.size() : 0);
    };
    timedRounds(
        state, [&] { maps.draw(probes, Present); }, lookUp, [] {});
    operationsPerRound(state, probes.size());
}

/// Walk over all maps, with `sum(map)` for each.
template <class Subject, class Sum>
void walkAll(benchmark::State &state, std::size_t size, Sum sumOf) {
    Maps<Subject> maps(size, entriesToWalk);
    maps.fill();
    for ([[maybe_unused]] auto const round : state) {
        benchmark::ClobberMemory();
        Value sum = 0;
        for (auto const &map : maps) {
            sum += sumOf(map);
        }
        expect(state, sum, Value{maps.entries()} * (maps.entries() + 1) / 2);
    }
    operationsPerRound(state, maps.entries());
}

template <class Map> Value sumByIterator(Map const &map) {
    Value sum = 0;
    for (auto it = map.iterator(); it; it.advance()) {
        sum += it.node()->value();
    }
    return sum;
}

template <class Map> Value sumResuming(Map const &map) {
    Value sum = 0;
    for (auto it = map.iterator(); it;) {
        it = map.iteratorFrom(it.key());
        sum += it.node()->value();
        it.advance();
    }
    return sum;
}

template <class Subject>
void addSubject(std::string const &topic, std::size_t size, std::string_view subject) {
    auto const with = [size](auto run) {
        return [size, run](benchmark::State &state) { run(state, size); };
    };
    add(topic, "insert", size, subject, with(insertAll<Subject>), Timed::byItself);
    add(topic, "hit", size, subject, with(findAll<Subject, true>), Timed::byItself);
    add(topic, "miss", size, subject, with(findAll<Subject, false>), Timed::byItself);
    add(topic, "iterate", size, subject,
        [size](benchmark::State &state) { walkAll<Subject>(state, size, Subject::sum); });
    add(topic, "erase", size, subject, with(eraseAll<Subject>), Timed::byItself);
}

template <class Subject> void addResuming(std::string const &topic, std::size_t size) {
    using Map = typename Subject::Map;
    add(topic, "resume at each step", size, ours,
        [size](benchmark::State &state) { walkAll<Subject>(state, size, sumResuming<Map>); });
    add(topic, "resume at each step", size, "a plain step",
        [size](benchmark::State &state) { walkAll<Subject>(state, size, sumByIterator<Map>); });
}

template <class OurKey, class TheirKey, class BoostHash>
void addKeyType(std::string const &topic, std::size_t largest) {
    using Ours = OurMap<OurKey>;
    using Absl = StandardMap<absl::flat_hash_map<TheirKey, Value>>;
    using Boost = StandardMap<boost::unordered_flat_map<TheirKey, Value, BoostHash>>;
    for (std::size_t const size : sizes) {
        if (size <= largest) {
            addSubject<Ours>(topic, size, ours);
            addSubject<Absl>(topic, size, "absl::flat_hash_map");
            addSubject<Boost>(topic, size, "boost::unordered_flat_map");
            addResuming<Ours>(topic, size);
        }
    }
}

} // namespace

void addMaps() {
    addKeyType<Bridging::VlanId, std::uint16_t, boost::hash<std::uint16_t>>("map of 2 byte keys",
                                                                            most16BitKeys);
    addKeyType<Iftel::IntfId, std::uint64_t, boost::hash<std::uint64_t>>(
        "map of 8 byte keys", sizes[std::size(sizes) - 1]);
    addKeyType<VlanSubIntfStatusLib::VidIntf, PairKey, MixHash>("map of 12 byte keys",
                                                                sizes[std::size(sizes) - 1]);
}

} // namespace Bench::Micro
