// Those who are told of a change, by a function behind a pointer and by a virtual operation. Their
// code is in a source of its own: a compiler that sees it, or only that there is one of a kind,
// makes a plain call of either.
#pragma once

#include "platform/Nuvio/Publisher.h"

#include <cstdint>
#include <memory>

namespace Bench::Micro {

class Listener {
  public:
    virtual ~Listener() = default;
    virtual void handleChange(std::uint64_t key) noexcept = 0;
    /// Sum of the keys that it was told.
    [[nodiscard]] virtual std::uint64_t sum() const noexcept = 0;
};

[[nodiscard]] std::unique_ptr<Listener> makeListener();

/// Adds the key, where there is one and else 1, to the sum that `subscriber` has for owner.
void addNotice(Nuvio::Publisher *publisher, Nuvio::Subscriber *subscriber, short attributeId,
               void const *key, void const *reserved) noexcept;

/// What is left of a subscriber without a publisher.
struct Callback {
    void (*function)(void *owner, std::uint64_t key) noexcept = nullptr;
    void *owner = nullptr;
};

/// Adds the key to the sum.
[[nodiscard]] Callback addingTo(std::uint64_t &sum);

} // namespace Bench::Micro
