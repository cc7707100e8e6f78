// HashMap2018 against std::map, with several iterators held over all changes.
//
//     <variant> <hashes> <entries to make room for> <operation>...
//
// The model is ordered as the container promises to be, by (hash, key), so "the next entry behind
// the place of this key" is a look-up in it, whether the key is there or not. The keys bring their
// hashes along: `hashes` chooses how they lie.
#include "fuzz/Fuzzer.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"

#include <array>
#include <compare>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace {

using Fuzz::expect;

struct Key {
    std::uint32_t itsHash = 0;
    std::uint32_t number = 0;
    [[nodiscard]] std::uint32_t hash(std::uint32_t /*seed*/) const noexcept { return itsHash; }
    friend bool operator==(Key a, Key b) noexcept { return a.number == b.number; }
    friend auto operator<=>(Key a, Key b) noexcept { return a.number <=> b.number; }
};

std::uint32_t hashOf(std::uint8_t hashes, std::uint32_t number) {
    constexpr std::array<std::uint32_t, 8> ends{0, 1, 2, 3, ~0U - 3, ~0U - 2, ~0U - 1, ~0U};
    switch (hashes % 8) {
    case 0:
        return Qor::hashSingleAttr(0, number);
    case 1:
        return 0x12345678; // one run
    case 2:
        return ~0U; // one run behind the last home slot
    case 3:
        return ends[number % ends.size()];
    case 4:
        return number; // all at home in the first slot
    case 5:
        return number << 29 | number; // eight clusters
    case 6:
        return number << 16;
    default:
        return ~number;
    }
}

// A value owns memory: one that is lost or destroyed twice is found by AddressSanitizer.
using Value = std::unique_ptr<int>;

struct Sets {
    using Map = Qor::HashMap2018<Key, void, 1>;
    static Map::Node node(Key key, int /*value*/) { return {key}; }
    static int valueOf(Map::Node const & /*node*/) { return 0; }
    static void replace(Map & /*map*/, Map::Node const & /*node*/, int /*value*/) {}
    static constexpr bool hasValues = false;
};

struct Maps {
    using Map = Qor::HashMap2018<Key, Value, 2>;
    static Map::Node node(Key key, int value) { return {key, std::make_unique<int>(value)}; }
    static int valueOf(Map::Node const &node) { return *node.value(); }
    static void replace(Map &map, Map::Node const &node, int value) {
        map.replaceValue(node, std::make_unique<int>(value));
    }
    static constexpr bool hasValues = true;
};

struct KeyedByFunctor {
    struct Item {
        Key key;
        Value value;
    };
    struct KeyOf {
        Key operator()(Item const &item) const noexcept { return item.key; }
    };
    using Map = Qor::HashMap2018<Key, Item, 3, KeyOf>;
    static Map::Node node(Key key, int value) { return {{key, std::make_unique<int>(value)}}; }
    static int valueOf(Map::Node const &node) { return *node.value().value; }
    static void replace(Map &map, Map::Node const &node, int value) {
        map.replaceValue(node, Item{node.key(), std::make_unique<int>(value)});
    }
    static constexpr bool hasValues = true;
};

template <class Variant> class Game {
  public:
    using Map = typename Variant::Map;

    Game(Fuzz::Bytes bytes, std::uint8_t hashes)
        : bytes_(bytes), hashes_(hashes), map_(bytes_.next() * 4U) {}

    void play() {
        while (!bytes_.empty()) {
            operation(bytes_.next());
            check();
        }
        walk();
    }

  private:
    /// Where an entry stands in the container's order.
    using Place = std::pair<std::uint32_t, std::uint32_t>;
    using Model = std::map<Place, int>;
    struct Held {
        typename Map::Iterator real;
        std::optional<Place> at; ///< empty at the end
    };

    void operation(std::uint8_t code) {
        Held &held = held_[code / 32 % held_.size()];
        switch (code % 32) {
        case 0:
        case 1:
            return withKey([this](Key key) { insert(key, bytes_.next()); });
        case 2:
        case 3:
            return erase(keyOf(bytes_.next()));
        case 4:
            return withKey([this](Key key) { replace(key, bytes_.next()); });
        case 5:
            return run([this](Key key) { insert(key, 1); });
        case 6:
            return run([this](Key key) { erase(key); });
        case 7:
            return clear();
        case 8:
            return clearOneByOne();
        case 9:
            held = {map_.iterator(), placeOf(model_.begin())};
            return;
        case 10:
            held = {map_.iteratorEnd(), std::nullopt};
            return;
        case 11:
            return resume(held, keyOf(bytes_.next()));
        case 12: // a bookmark: only the key was kept
            return held.at ? resume(held, held.real.key()) : resume(held, Key());
        case 13:
        case 14:
        case 15:
            return advance(held);
        case 16:
            return look(held);
        case 17:
            return eraseBelow(held);
        case 18:
            return copy(held, held_[bytes_.next() % held_.size()]);
        case 19:
            return walk();
        case 20:
            return copyMap(bytes_.next() * 4U);
        case 21:
            return lookUp(keyOf(bytes_.nextWord()));
        case 22:
            return map_.reserve(bytes_.next() * 4U); // neither contents nor stamp
        case 23:
            return lookAhead(held, bytes_.next());
        default:
            return;
        }
    }

    [[nodiscard]] Key keyOf(std::uint32_t number) const {
        return {hashOf(hashes_, number), number};
    }
    /// The container orders by what it keeps of a hash.
    [[nodiscard]] static Place placeOf(Key key) {
        using Table = Qor::Impl::HashTable<typename Map::Node, typename Map::Traits>;
        return {Table::storedHash(key.itsHash), key.number};
    }
    [[nodiscard]] std::optional<Place> placeOf(Model::const_iterator it) const {
        return it == model_.end() ? std::nullopt : std::optional(it->first);
    }

    /// The key comes before whatever else `action` takes from the bytes: arguments of one call are
    /// taken in an order that differs between compilers.
    template <class Action> void withKey(Action action) { action(keyOf(bytes_.next())); }

    // Changes.

    void insert(Key key, int value) {
        int const expected = Variant::hasValues ? value : 0;
        auto const [entry, isNew] = model_.try_emplace(placeOf(key), expected);
        auto const [node, isNewNode] = map_.newMemberG(Variant::node(key, value));
        expect(isNewNode == isNew, "an insertion says whether the key was there");
        expect(node->key() == key && Variant::valueOf(*node) == entry->second,
               "an insertion gives the entry, with its former value if it was there");
        stamp_ += isNew ? 1U : 0U;
    }
    void erase(Key key) {
        auto const entry = model_.find(placeOf(key));
        auto const taken = map_.deleteMemberG(key);
        expect(taken.hasValue() == (entry != model_.end()), "a deletion says what was there");
        if (entry != model_.end()) {
            expect(taken->key() == key && Variant::valueOf(*taken) == entry->second,
                   "a deletion hands the entry back");
            model_.erase(entry);
            ++stamp_;
        }
    }
    void replace(Key key, int value) {
        auto const *const node = map_.lookupNodeG(key);
        if (node && Variant::hasValues) {
            Variant::replace(map_, *node, value);
            model_[placeOf(key)] = value;
            ++stamp_;
        }
    }
    /// Keys in a row: the first one, then how many.
    template <class Action> void run(Action action) {
        std::uint32_t const first = bytes_.nextWord();
        std::uint32_t const count = bytes_.next();
        for (std::uint32_t i = 0; i < count; ++i) {
            action(keyOf(first + i));
        }
    }
    void clear() {
        stamp_ += model_.empty() ? 0U : 1U;
        model_.clear();
        map_.emptyAllBuckets();
    }
    void clearOneByOne() {
        stamp_ += static_cast<std::uint32_t>(model_.size());
        model_.clear();
        map_._memberDelAll();
    }
    /// Delete the entry under an iterator by the key that the iterator itself holds.
    void eraseBelow(Held &held) {
        if (held.at) {
            erase(held.real.key());
        }
    }

    // Iterators.

    void resume(Held &held, Key key) {
        held = {map_.iteratorFrom(key), placeOf(model_.lower_bound(placeOf(key)))};
    }
    void advance(Held &held) {
        if (held.at) {
            held.real.advance();
            held.at = placeOf(model_.upper_bound(*held.at));
        }
    }
    void look(Held &held) {
        if (held.at) {
            expectNode(held.real.node(), model_.find(*held.at));
        }
    }
    void lookAhead(Held &held, std::uint32_t slots) {
        if (held.at && held.real.node()) { // which finds its place again
            auto const *const node = held.real.ahead(slots);
            expect(!node || placeOf(node->key()) >= *held.at, "a look ahead is not one back");
            expect(!node || node == map_.lookupNodeG(node->key()), "only entries lie ahead");
        }
    }
    void copy(Held const &from, Held &to) {
        expect((from.real == to.real) == (from.at == to.at), "equality is by place");
        to = from;
        expect(from.real == to.real, "a copy is equal");
    }

    // Checks.

    void expectNode(typename Map::Node const *node, Model::const_iterator entry) const {
        expect((node != nullptr) == (entry != model_.end()), "only what is there is found");
        expect(!node || (placeOf(node->key()) == entry->first &&
                         Variant::valueOf(*node) == entry->second),
               "an entry has its key and its value");
    }
    void lookUp(Key key) const {
        expectNode(map_.lookupNodeG(key), model_.find(placeOf(key)));
        expect(map_.memberHas(key) == model_.contains(placeOf(key)), "members are known");
    }
    void check() const {
        expect(map_.size() == model_.size() && map_.empty() == model_.empty(), "sizes agree");
        expect(map_.stamp() == (stamp_ & 0x7fffff), "the stamp moves exactly with a change");
        for (Held const &held : held_) {
            expect(bool(held.real) == held.at.has_value(), "an iterator knows its end");
            expect(!held.at || placeOf(held.real.key()) == *held.at, "an iterator stays");
        }
    }
    /// Every entry, in the order of the model, by both kinds of iterators and by look-up.
    void walk() const {
        auto walker = map_.iterator();
        auto ranged = map_.begin();
        for (auto entry = model_.begin(); entry != model_.end(); ++entry, walker.advance()) {
            expect(bool(walker) && ranged != map_.end(), "a walk meets every entry");
            expectNode(walker.node(), entry);
            lookUp(walker.key());
            ++ranged;
        }
        expect(!walker && ranged == map_.end(), "a walk ends behind the last entry");
    }
    /// Copy the entries in iteration order into a map of the same type, which then is the same.
    void copyMap(std::uint32_t sizeHint) const {
        Map other(sizeHint);
        for (auto it = map_.iterator(); it; it.advance()) {
            auto const value = Variant::valueOf(*it.node());
            expect(other.newMemberG(Variant::node(it.key(), value)).second, "keys are unique");
        }
        expect(other.size() == map_.size() && other.stamp() == map_.size(),
               "each insertion moves the stamp once");
        auto theirs = other.iterator();
        for (auto it = map_.iterator(); it; it.advance(), theirs.advance()) {
            expect(bool(theirs) && theirs.key() == it.key() && theirs.node() != nullptr,
                   "a copy has the same order");
        }
    }

    Fuzz::Bytes bytes_;
    std::uint8_t hashes_;
    std::uint32_t stamp_ = 0;
    Map map_;
    Model model_;
    Held const end_{map_.iteratorEnd(), std::nullopt};
    std::array<Held, 4> held_{end_, end_, end_, end_};
};

template <class Variant> void play(Fuzz::Bytes bytes) {
    auto const hashes = bytes.next();
    Game<Variant>(bytes, hashes).play();
}

std::uint64_t arrays() {
    return Qor::Impl::hashMapArrays().arrays();
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size) {
    constexpr std::array<void (*)(Fuzz::Bytes), 3> variants = {play<Sets>, play<Maps>,
                                                               play<KeyedByFunctor>};
    auto const arraysBefore = arrays();
    Fuzz::Bytes bytes(data, size);
    variants[bytes.next() % variants.size()](bytes);
    expect(arrays() == arraysBefore, "a map gives its arrays back");
    return 0;
}
