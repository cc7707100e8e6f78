// A VLAN number: 16 bits, never range-checked here (whoever reads it from outside does that).
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/String.h"
#include "platform/Qor/Hash.h"
#include "platform/Qor/Text.h"
#include "platform/Qor/Value.h"

#include <compare>
#include <cstdint>
#include <iosfwd>

namespace Bridging {

class NUVIO_EXPORT VlanId {
  public:
    constexpr VlanId() noexcept = default;
    explicit constexpr VlanId(std::uint16_t number) noexcept : value_(number) {}
    /// Parse the decimal text form from a range; throws Qor::RangeException.
    explicit VlanId(Qor::CharRange &range);

    [[nodiscard]] constexpr std::uint16_t value() const noexcept { return value_; }
    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept {
        return Qor::hashSingleAttr(seed, value_);
    }
    friend constexpr auto operator<=>(VlanId, VlanId) noexcept = default;

  private:
    std::uint16_t value_ = 1;
};

NUVIO_EXPORT Nuvio::String valueToStrep(VlanId id);
NUVIO_EXPORT std::ostream &operator<<(std::ostream &out, VlanId const &id);

} // namespace Bridging

template <> struct NUVIO_EXPORT Qor::ValueTraits<Bridging::VlanId> {
    static constexpr std::string_view name = "Bridging::VlanId";
    static std::string text(Bridging::VlanId value) { return std::to_string(value.value()); }
    static Bridging::VlanId parse(std::string_view text);
};
