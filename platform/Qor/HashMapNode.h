// What a HashMap2018 holds: how its keys hash and order, and its entries.
#pragma once

#include "platform/Qor/Hash.h"
#include "platform/Qor/PtrInterface.h"

#include <cstdint>
#include <functional>

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

/// In the place of a value: a set whose owner keeps a T beside each key, for itself. It is no
/// value: changing it is no change of the set, and nobody else sees it.
template <class T> struct Beside {};

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
template <class K, class T> struct MapNode<K, Beside<T>, StoredKey> {
    K key_;
    T beside_;
    [[nodiscard]] K const &key() const noexcept { return key_; }
    [[nodiscard]] T const &beside() const noexcept { return beside_; }
};

/// Have the objects fetched that an entry points to.
template <class Node> void prefetchTargets(Node const &node) noexcept {
    auto const prefetch = []<class T>(T const &part) {
        if constexpr (requires { part.get(); }) {
            __builtin_prefetch(part.get());
        }
    };
    if constexpr (requires { node.key_; }) {
        prefetch(node.key_);
    }
    if constexpr (requires { node.value_; }) {
        prefetch(node.value_);
    }
    if constexpr (requires { node.beside_; }) {
        prefetch(node.beside_);
    }
}

/// A set: its entries have no value.
template <class Node> constexpr bool isSet = !requires(Node const &node) {
    node.value();
};

} // namespace Impl
} // namespace Qor
