// What the object-model peers notify and are notified through. The bodies stand in a source of
// their own, so that no call is resolved at compile time, as none is in a program whose observers
// come from elsewhere.
#pragma once

#include "bench/Ids.h"

#include <cstdint>
#include <memory>

namespace Bench {

enum class Change : std::uint8_t {
    vlanAdded,
    vlanDeleted,
    intfAdded,
    intfDeleted,
    tag,
    direction,
    memberAdded,
    memberDeleted
};

class CountedEntity;

/// Hears of every write into the output.
class Observer {
  public:
    virtual ~Observer() = default;
    /// `entity`: whose attribute it is, null for the directory.
    virtual void changed(Change change, std::uint64_t key, CountedEntity *entity) = 0;
};

/// One that counts what it hears.
[[nodiscard]] std::unique_ptr<Observer> countingObserver();

/// A peer that derives, as its inputs see it.
class InputSink {
  public:
    virtual ~InputSink() = default;
    /// `config` is null when the member has gone.
    virtual void handleMember(PeerIds::Vlan vlan, PeerIds::Intf intf, PeerConfig const *config) = 0;
    virtual void handleLagMember(PeerIds::Intf lag, PeerIds::Intf member, bool present) = 0;
};

/// The same, of a type that the caller does not see.
[[nodiscard]] InputSink *opaque(InputSink *sink) noexcept;

} // namespace Bench
