// A value that may be absent. Like std::optional, with one difference: reading an absent value
// throws BadOptionalAccess through every accessor, never undefined behaviour.
#pragma once

#include "platform/Qor/Exceptions.h"

#include <optional>
#include <utility>

namespace Qor {

template <class T> class Optional {
  public:
    constexpr Optional() noexcept = default;
    constexpr Optional(std::nullopt_t) noexcept {}
    constexpr Optional(T value) : value_(std::move(value)) {}

    [[nodiscard]] constexpr bool hasValue() const noexcept { return value_.has_value(); }
    explicit constexpr operator bool() const noexcept { return hasValue(); }

    /// Throws BadOptionalAccess when there is none.
    [[nodiscard]] constexpr T const &value() const {
        check();
        return *value_;
    }
    constexpr T const &operator*() const { return value(); }
    constexpr T const *operator->() const { return &value(); }
    /// Move the value out; throws BadOptionalAccess when there is none.
    [[nodiscard]] constexpr T take() {
        check();
        return *std::exchange(value_, std::nullopt);
    }

    friend constexpr bool operator==(Optional const &, Optional const &) = default;

  private:
    constexpr void check() const {
        if (!value_) [[unlikely]] {
            Impl::throwBadOptionalAccess();
        }
    }

    std::optional<T> value_;
};

/// The object behind a pointer that must not be null: a required entry that may be missing. Throws
/// BadOptionalAccess when it is.
template <class T> T &required(T *entry) {
    if (!entry) [[unlikely]] {
        Impl::throwBadOptionalAccess();
    }
    return *entry;
}

} // namespace Qor
