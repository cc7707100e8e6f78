// Objects that publish their changes, and the collections in them.
//
// Three kinds, by the direction in which their data flows:
//   Entity         publishes, no more (a task, say)
//   InputEntity    what hosts write and machines read
//   DerivedEntity  what machines write: outputs, state objects, local stores
//
// A mutator that changes nothing publishes nothing; a notice comes after the change. An entity
// publishes only while its notifications are active (make() switches them on).
//
// Hosts do not write inputs inside a notice of a derived entity: the machine is in the middle of a
// reaction then. A debug build asserts it.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/Publisher.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Optional.h"
#include "platform/Qor/PtrInterface.h"

#include <iosfwd>
#include <utility>

namespace Qor {

class NUVIO_EXPORT Entity : public PtrInterface {
  public:
    [[nodiscard]] Nuvio::Publisher const *notifieeList() const noexcept override {
        return &publisher_;
    }
    /// Where observers register; observing does not change the entity.
    [[nodiscard]] Nuvio::Publisher &publisher() const noexcept { return publisher_; }

  protected:
    void publish(short attributeId, void const *key = nullptr) const noexcept {
        if (publisher_.hasSubscribers() && hasNotificationActive()) {
            publisher_.publishChange(attributeId, key);
        }
    }

  private:
    mutable Nuvio::Publisher publisher_;
};

/// Print an entity: its type's name, never an address; "null" for none.
NUVIO_EXPORT std::ostream &operator<<(std::ostream &out, Entity const *entity);

namespace Impl {

/// Notices of derived entities under way; kept by debug builds.
NUVIO_EXPORT int &derivedNotices() noexcept;
/// Whether a write is asserted to be allowed where nobody hears of it, too: by debug builds.
#ifdef NDEBUG
inline constexpr bool assertsUnheard = false;
#else
inline constexpr bool assertsUnheard = true;
#endif

/// What the mutators of both kinds of entity do with a collection. Self publishes.
template <class Self> class Collections : public Entity {
  protected:
    /// The entity under `key`, made by `create()` and inserted if it is missing.
    template <class Map, class Create>
    auto memberIs(Map &map, short attributeId, typename Map::Key key, Create create) {
        return memberIs(map, attributeId, key, create, [](auto const & /*inserted*/) noexcept {});
    }
    /// The same; `afterwards( node )` is part of the change.
    template <class Map, class Create, class Afterwards>
    auto memberIs(Map &map, short attributeId, typename Map::Key key, Create create,
                  Afterwards afterwards) {
        using Node = typename Map::Node;
        auto const [node, isNew] = map.newMemberG(key, [&create] { return Node{create()}; });
        auto entity = node->value();
        if (isNew) [[unlikely]] {
            afterwards(*node);
            self().publishChange(attributeId, &key);
        }
        return entity;
    }
    /// Insert `key` into a set.
    template <class Set> void keyIs(Set &set, short attributeId, typename Set::Key key) {
        if (set.newMemberG({key}).second) {
            self().publishChange(attributeId, &key);
        }
    }
    /// Insert `value` under `key`, or replace another value.
    template <class Map, class Value>
    void valueIs(Map &map, short attributeId, typename Map::Key key, Value value) {
        auto const [node, isNew] = map.newMemberG({key, value});
        if (!isNew) {
            if (node->value() == value) {
                return;
            }
            map.replaceValue(*node, std::move(value));
        }
        self().publishChange(attributeId, &key);
    }
    /// Remove the entry of `key`; hands it back so that it outlives its notice.
    template <class Map> auto memberDel(Map &map, short attributeId, typename Map::Key key) {
        return memberDel(map, attributeId, key, [](auto const & /*removed*/) noexcept {});
    }
    /// The same; `afterwards( node )` is part of the change.
    template <class Map, class Afterwards>
    auto memberDel(Map &map, short attributeId, typename Map::Key key, Afterwards afterwards) {
        auto removed = map.deleteMemberG(key);
        if (removed) {
            afterwards(*removed);
            self().publishChange(attributeId, &key);
        }
        return removed;
    }
    /// Store a plain attribute.
    template <class Value> void attributeIs(Value &stored, short attributeId, Value value) {
        // Asked first: whether a value differs cannot be predicted, whether somebody listens can.
        bool const isHeard = publisher().hasSubscribers() || assertsUnheard;
        if (isHeard && !(stored == value)) {
            stored = value;
            self().publishChange(attributeId, nullptr);
        } else {
            stored = value;
        }
    }

  private:
    Self &self() noexcept { return static_cast<Self &>(*this); }
};

} // namespace Impl

class NUVIO_EXPORT InputEntity : public Impl::Collections<InputEntity> {
    friend Impl::Collections<InputEntity>;
    void publishChange(short attributeId, void const *key) const noexcept {
        NUVIO_DEBUG_ASSERT(Impl::derivedNotices() == 0,
                           "an input was written inside a notice of an output");
        publish(attributeId, key);
    }
};

class NUVIO_EXPORT DerivedEntity : public Impl::Collections<DerivedEntity> {
  protected:
    void publishChange(short attributeId, void const *key = nullptr) const noexcept {
#ifndef NDEBUG
        ++Impl::derivedNotices();
#endif
        publish(attributeId, key);
#ifndef NDEBUG
        --Impl::derivedNotices();
#endif
    }

  private:
    friend Impl::Collections<DerivedEntity>;
};

} // namespace Qor
