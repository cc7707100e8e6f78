// The identifier of one interface: 64 opaque bits, compared and hashed as a whole.
//
//     63..62  kind of the interface, or of the parent of a subinterface: 0 none, 1 Ethernet,
//             2 port-channel (LAG)
//     61      set for a subinterface
//     60..32  number of the interface; from 2^28 on it belongs to a registered name
//     31..0   number of the subinterface, 0 for none; from 2^31 on it belongs to a registered name
//
// Native texts are "Ethernet4", "Ethernet4.20", "PortChannel10" and "PortChannel10.100". A host
// with names of its own registers them in the NameTable; registered names win over native texts, in
// both directions. The default identifier stands for no interface and has the empty name.
//
// A text that is neither registered nor native throws a Qor::RangeException.
#pragma once

#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/String.h"
#include "platform/Qor/Hash.h"
#include "platform/Qor/Text.h"
#include "platform/Qor/Value.h"

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace Iftel {

enum class IntfKind : std::uint8_t { none, ethernet, portChannel };

class NUVIO_EXPORT IntfId {
  public:
    static constexpr std::uint32_t firstRegisteredIntf = 1U << 28;
    static constexpr std::uint32_t firstRegisteredSubIntf = 1U << 31;

    constexpr IntfId() noexcept = default;
    /// The identifier with that text form; throws Qor::RangeException for an unknown text.
    explicit IntfId(Nuvio::String const &name) { handleInitialized(name); }
    explicit IntfId(char const *name) : IntfId(Nuvio::String(name)) {}
    /// Parse the quoted text form from a range.
    explicit IntfId(Qor::CharRange &range) : IntfId(sequenceToValue(range)) {}

    /// Compose one of its parts. Requires: `number` < 2^29.
    static constexpr IntfId intf(IntfKind kind, std::uint32_t number) noexcept {
        NUVIO_ASSERT(number < 2 * firstRegisteredIntf, "number={}", number);
        return IntfId(std::uint64_t{static_cast<std::uint8_t>(kind)} << kindShift |
                      std::uint64_t{number} << numberShift);
    }
    /// Compose a subinterface of `parent`. Requires: `parent` is not itself a subinterface.
    static constexpr IntfId subIntf(IntfId parent, std::uint32_t number) noexcept {
        NUVIO_ASSERT(!parent.isSubIntf());
        return IntfId(parent.bits_ | subIntfBit | number);
    }

    /// The identifier of a native text, whatever is registered under it; empty for any other text.
    [[nodiscard]] static std::optional<IntfId> native(std::string_view text);

    /// Set it from its text form; the empty text gives the default identifier.
    void handleInitialized(Nuvio::String const &name);
    static IntfId sequenceToValue(Qor::CharRange &range);

    /// Its name: the registered one, else the native text.
    [[nodiscard]] Nuvio::String stringValue() const;

    [[nodiscard]] constexpr IntfKind kind() const noexcept {
        return static_cast<IntfKind>(bits_ >> kindShift);
    }
    [[nodiscard]] constexpr bool isSubIntf() const noexcept { return (bits_ & subIntfBit) != 0; }
    /// The interface without its subinterface part.
    [[nodiscard]] constexpr IntfId withoutSubIntf() const noexcept {
        return IntfId(bits_ & ~subIntfBit & ~std::uint64_t{0xFFFFFFFF});
    }
    [[nodiscard]] constexpr std::uint64_t bits() const noexcept { return bits_; }

    /// Under the process's seed, so that identifiers crafted to have one hash cannot be known.
    [[nodiscard]] std::uint32_t hash() const noexcept {
        return hash(Qor::HashHelper::hashSeed32());
    }
    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept {
        return Qor::hashSingleAttr(seed, bits_);
    }
    [[nodiscard]] static constexpr bool isEq(IntfId a, IntfId b) noexcept { return a == b; }
    friend constexpr bool operator==(IntfId, IntfId) noexcept = default;
    /// The numeric order of the bits: by kind, interfaces before subinterfaces, then by number.
    friend constexpr auto operator<=>(IntfId, IntfId) noexcept = default;

  private:
    friend class NameTable;
    static constexpr unsigned kindShift = 62;
    static constexpr unsigned numberShift = 32;
    static constexpr std::uint64_t subIntfBit = std::uint64_t{1} << 61;

    explicit constexpr IntfId(std::uint64_t bits) noexcept : bits_(bits) {}
    [[nodiscard]] constexpr std::uint32_t number() const noexcept {
        return static_cast<std::uint32_t>(bits_ >> numberShift) & 0x1FFFFFFF;
    }
    [[nodiscard]] constexpr std::uint32_t subNumber() const noexcept {
        return static_cast<std::uint32_t>(bits_);
    }

    std::uint64_t bits_ = 0;
};

/// The name in single quotes.
NUVIO_EXPORT Nuvio::String valueToStrep(IntfId id);
/// The name.
NUVIO_EXPORT std::ostream &operator<<(std::ostream &out, IntfId id);

struct SubIntfId {
    [[nodiscard]] static constexpr bool isSubIntfId(IntfId id) noexcept { return id.isSubIntf(); }
    /// The interface that a subinterface belongs to; the id itself for one that is none.
    [[nodiscard]] static constexpr IntfId parentIntfId(IntfId id) noexcept {
        return id.withoutSubIntf();
    }
};

struct PortChannelIntfId {
    /// True for port-channels and for their subinterfaces.
    [[nodiscard]] static constexpr bool isPortChannelIntfId(IntfId id) noexcept {
        return id.kind() == IntfKind::portChannel;
    }
};

} // namespace Iftel

/// The name; the empty one is the default identifier.
template <> struct NUVIO_EXPORT Qor::ValueTraits<Iftel::IntfId> {
    static constexpr std::string_view name = "Iftel::IntfId";
    static std::string text(Iftel::IntfId value) { return std::string(value.stringValue().view()); }
    static Iftel::IntfId parse(std::string_view text) { return Iftel::IntfId(Nuvio::String(text)); }
};
