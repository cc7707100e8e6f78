// Sets of a handful of members, of which a system has one per subinterface: the eight members of a
// LAG. Beside HashMap2018 the flat sets, and a sorted array that lies in the object.
#include "bench/micro/MapSubjects.h"
#include "bench/micro/Micro.h"
#include "platform/Iftel/IntfId.h"

#include <absl/container/flat_hash_set.h>
#include <absl/container/inlined_vector.h>
#include <boost/unordered/unordered_flat_set.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Bench::Micro {
namespace {

constexpr std::size_t lags = 64;
constexpr std::size_t membersOfLag = 8;
constexpr std::size_t setCount = 16384;
constexpr std::size_t membersInAll = setCount * membersOfLag;

class SortedInlineSet {
  public:
    using key_type = std::uint64_t;

    [[nodiscard]] auto begin() const { return members_.begin(); }
    [[nodiscard]] auto end() const { return members_.end(); }
    [[nodiscard]] auto find(key_type key) const {
        auto const at = std::lower_bound(begin(), end(), key);
        return at != end() && *at == key ? at : end();
    }
    std::pair<key_type *, bool> insert(key_type key) {
        auto const at = std::lower_bound(members_.begin(), members_.end(), key);
        if (at != members_.end() && *at == key) {
            return {at, false};
        }
        return {members_.insert(at, key), true};
    }
    std::size_t erase(key_type key) {
        auto const at = find(key);
        if (at == end()) {
            return 0;
        }
        members_.erase(at);
        return 1;
    }

  private:
    absl::InlinedVector<key_type, membersOfLag> members_;
};

template <class Key> Key lagMember(std::size_t lag, std::size_t member) {
    auto const number = static_cast<std::uint32_t>(lag * membersOfLag + member + 1);
    auto const id = Iftel::IntfId::intf(Iftel::IntfKind::ethernet, number);
    if constexpr (std::is_same_v<Key, Iftel::IntfId>) {
        return id;
    } else {
        return id.bits();
    }
}

template <class Subject> class Sets {
  public:
    using Key = typename Subject::Key;
    using Set = typename Subject::Map;

    Sets() {
        makeEmpty();
        for (std::size_t i = 0; i < membersInAll; ++i) {
            std::size_t const set = i / membersOfLag;
            Key const member = lagMember<Key>(set % lags, i % membersOfLag);
            inOrder_.push_back({set, member});
            sum_ += lagMember<std::uint64_t>(set % lags, i % membersOfLag);
        }
        // Each set gets its members in an order of its own, and loses them in another.
        for (std::size_t i = 0; i < membersInAll; i += membersOfLag) {
            auto const set = inOrder_.begin() + static_cast<std::ptrdiff_t>(i);
            std::shuffle(set, set + membersOfLag, random_);
        }
        shuffled_ = inOrder_;
    }

    /// Another order for drain() and lookUp().
    void shuffle() { std::shuffle(shuffled_.begin(), shuffled_.end(), random_); }

    void makeEmpty() { sets_ = std::make_unique<Set[]>(setCount); }
    /// Set by set, as the members of a LAG are written. Returns how many were new.
    std::size_t fill() {
        return count(inOrder_,
                     [](Set &set, Key const &member) { return Subject::insert(set, member); });
    }
    /// In random order over all sets, as members go. Returns how many were there.
    std::size_t drain() {
        return count(shuffled_,
                     [](Set &set, Key const &member) { return Subject::erase(set, member); });
    }
    [[nodiscard]] std::size_t lookUp() {
        return count(shuffled_,
                     [](Set &set, Key const &member) { return Subject::has(set, member); });
    }
    [[nodiscard]] Value walk() const {
        Value sum = 0;
        for (Set const &set : std::span(sets_.get(), setCount)) {
            sum += Subject::sum(set);
        }
        return sum;
    }
    /// What walk() answers over full sets.
    [[nodiscard]] Value sum() const { return sum_; }

  private:
    using Members = std::vector<std::pair<std::size_t, Key>>;

    template <class Visit> std::size_t count(Members const &members, Visit visit) {
        std::size_t done = 0;
        for (auto const &[set, member] : members) {
            done += visit(sets_[set], member) ? 1U : 0U;
        }
        return done;
    }

    Members inOrder_;
    Members shuffled_;
    Value sum_ = 0;
    std::unique_ptr<Set[]> sets_;
    Random random_{11};
};

template <class Subject> void fill(benchmark::State &state) {
    Sets<Subject> sets;
    timedRounds(
        state, [&] { sets.makeEmpty(); }, [&] { expect(state, sets.fill(), membersInAll); }, [] {});
    operationsPerRound(state, membersInAll);
}

template <class Subject> void drain(benchmark::State &state) {
    Sets<Subject> sets;
    auto const prepare = [&] {
        sets.fill();
        sets.shuffle();
    };
    timedRounds(
        state, prepare, [&] { expect(state, sets.drain(), membersInAll); },
        [&] { sets.makeEmpty(); });
    operationsPerRound(state, membersInAll);
}

template <class Subject> void lookUp(benchmark::State &state) {
    Sets<Subject> sets;
    sets.fill();
    timedRounds(
        state, [&] { sets.shuffle(); }, [&] { expect(state, sets.lookUp(), membersInAll); }, [] {});
    operationsPerRound(state, membersInAll);
}

template <class Subject> void walk(benchmark::State &state) {
    Sets<Subject> sets;
    sets.fill();
    for ([[maybe_unused]] auto const round : state) {
        benchmark::ClobberMemory();
        expect(state, sets.walk(), sets.sum());
    }
    operationsPerRound(state, membersInAll);
}

template <class Subject> void addSubject(std::string_view subject) {
    std::string const topic = "set of LAG members";
    add(topic, "fill", membersOfLag, subject, fill<Subject>, Timed::byItself);
    add(topic, "look up", membersOfLag, subject, lookUp<Subject>, Timed::byItself);
    add(topic, "walk", membersOfLag, subject, walk<Subject>);
    add(topic, "delete each", membersOfLag, subject, drain<Subject>, Timed::byItself);
}

} // namespace

void addSets() {
    addSubject<OurSet<Iftel::IntfId>>(ours);
    addSubject<StandardSet<absl::flat_hash_set<std::uint64_t>>>("absl::flat_hash_set");
    addSubject<StandardSet<boost::unordered_flat_set<std::uint64_t>>>("boost::unordered_flat_set");
    addSubject<StandardSet<SortedInlineSet>>("a sorted inline array");
}

} // namespace Bench::Micro
