// One face for our maps and sets, and for those with the interface of the standard library.
#pragma once

#include "bench/micro/Micro.h"
#include "platform/Qor/HashMap2018.h"

#include <cstdint>
#include <string_view>

namespace Bench::Micro {

using Value = std::uint64_t;

template <class K> struct OurMap {
    using Key = K;
    using Map = Qor::HashMap2018<K, Value, 0x3D8A51F7>;

    static bool insert(Map &map, Key const &key, Value value) {
        return map.newMemberG({key, value}).second;
    }
    static Value const *find(Map const &map, Key const &key) {
        auto const *const node = map.lookupNodeG(key);
        return node ? &node->value() : nullptr;
    }
    static bool erase(Map &map, Key const &key) { return bool(map.deleteMemberG(key)); }
    static Value sum(Map const &map) {
        Value sum = 0;
        for (auto const &[key, value] : map) {
            sum += value;
        }
        return sum;
    }
};

template <class M> struct StandardMap {
    using Key = typename M::key_type;
    using Map = M;

    static bool insert(Map &map, Key const &key, Value value) {
        return map.try_emplace(key, value).second;
    }
    static Value const *find(Map const &map, Key const &key) {
        auto const found = map.find(key);
        return found == map.end() ? nullptr : &found->second;
    }
    static bool erase(Map &map, Key const &key) { return map.erase(key) == 1; }
    static Value sum(Map const &map) {
        Value sum = 0;
        for (auto const &[key, value] : map) {
            sum += value;
        }
        return sum;
    }
};

template <class K> struct OurSet {
    using Key = K;
    using Map = Qor::HashMap2018<K, void, 0x6BAE05AF>;

    static bool insert(Map &set, Key const &key) { return set.newMemberG({key}).second; }
    static bool has(Map const &set, Key const &key) { return set.memberHas(key); }
    static bool erase(Map &set, Key const &key) { return bool(set.deleteMemberG(key)); }
    static Value sum(Map const &set) {
        Value sum = 0;
        for (Key const &key : set) {
            sum += key.bits();
        }
        return sum;
    }
};

template <class S> struct StandardSet {
    using Key = typename S::key_type;
    using Map = S;

    static bool insert(Map &set, Key const &key) { return set.insert(key).second; }
    static bool has(Map const &set, Key const &key) { return set.find(key) != set.end(); }
    static bool erase(Map &set, Key const &key) { return set.erase(key) == 1; }
    static Value sum(Map const &set) {
        Value sum = 0;
        for (Key const &key : set) {
            sum += key;
        }
        return sum;
    }
};

} // namespace Bench::Micro
