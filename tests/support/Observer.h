// Collects the notices of an entity.
//
// An Observer<Key> subscribes to an entity's publisher and keeps attribute and key of each notice.
// Where an entity has collections of several key types, list the attributes whose key is a Key; of
// the others only the attribute is kept.
//
//     Observer<Bridging::VlanId> observer(*config);
//     config->vlanConfigIs(VlanId(100));
//     EXPECT_THAT(observer.notices(), ElementsAre(observer.notice(130, VlanId(100))));
#pragma once

#include "platform/Nuvio/Publisher.h"
#include "platform/Qor/Entity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <ostream>
#include <type_traits>
#include <utility>
#include <vector>

namespace TestSupport {

/// For an entity whose notices carry no key that matters.
struct NoKey {
    friend bool operator==(NoKey const &, NoKey const &) = default;
};

/// One notice, kept.
template <class Key> struct Notice {
    short attribute = 0;
    std::optional<Key> key;

    friend bool operator==(Notice const &, Notice const &) = default;
    friend std::ostream &operator<<(std::ostream &out, Notice const &notice) {
        return out << "attribute " << notice.attribute << ", key "
                   << (notice.key ? testing::PrintToString(*notice.key) : "none");
    }
};

template <class Key = NoKey> class Observer {
  public:
    using Reaction = std::function<void(Notice<Key> const &)>;

    explicit Observer(Nuvio::Publisher &publisher, std::vector<short> keyedAttributes = {})
        : keyedAttributes_(std::move(keyedAttributes)), subscriber_(&Observer::onChange, this) {
        publisher.subscriberAdd(subscriber_, false);
    }
    explicit Observer(Qor::Entity const &entity, std::vector<short> keyedAttributes = {})
        : Observer(entity.publisher(), std::move(keyedAttributes)) {}
    /// Not copyable: the publisher knows it by its address.
    Observer(Observer const &) = delete;
    Observer &operator=(Observer const &) = delete;

    /// Run `reaction` inside each notice, after it was kept.
    void reactionIs(Reaction reaction) { reaction_ = std::move(reaction); }

    [[nodiscard]] std::vector<Notice<Key>> const &notices() const { return notices_; }
    [[nodiscard]] static Notice<Key> notice(short attribute, std::optional<Key> key = {}) {
        return {attribute, std::move(key)};
    }
    void clear() { notices_.clear(); }

  private:
    static void onChange(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                         short attribute, void const *key, void const * /*reserved*/) noexcept {
        static_cast<Observer *>(subscriber->owner())->keep(attribute, key);
    }
    void keep(short attribute, void const *key) {
        Notice<Key> notice{attribute, std::nullopt};
        if constexpr (!std::is_same_v<Key, NoKey>) {
            if (key && isKeyed(attribute)) {
                notice.key = *static_cast<Key const *>(key);
            }
        }
        notices_.push_back(notice);
        if (reaction_) {
            reaction_(notice);
        }
    }
    [[nodiscard]] bool isKeyed(short attribute) const {
        return keyedAttributes_.empty() ||
               std::ranges::find(keyedAttributes_, attribute) != keyedAttributes_.end();
    }

    std::vector<short> keyedAttributes_;
    Reaction reaction_;
    std::vector<Notice<Key>> notices_;
    Nuvio::Subscriber subscriber_;
};

} // namespace TestSupport
