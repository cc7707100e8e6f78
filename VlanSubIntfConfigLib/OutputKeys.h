// The names of output entries: small values by which the machine remembers what it has written, and
// where a deletion walk stopped.
//
//   ConfigIntfOutputKey   vlanSubIntfConfigDir.config[ k0 ].intf[ k1 ]
//   LagPhyIntfOutputKey   vlanSubIntf.lagPhyIntf[ k0 ] of one VlanSubIntf
//
// The Valid flags say which fields hold a value; they take part in hash, equality and order. A key
// that marks an entry as seen has them all set, a bookmark only those of the levels it has reached.
// ConfigSm shows the two under their generated names.
//
// The text form is the runtime's generic one, and reads back through Qor::strepToValue. Parsing
// throws Qor::RangeException; nothing else here can fail.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Iftel/IntfId.h"
#include "platform/Nuvio/String.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Text.h"
#include "platform/Qor/Value.h"

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace VlanSubIntfConfigLib {

struct ConfigIntfOutputKey {
    static constexpr std::string_view qorTypeName =
        "VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType";

    Bridging::VlanId k0;
    Iftel::IntfId k1;
    bool k0Valid = false;
    bool k1Valid = false;

    ConfigIntfOutputKey() noexcept = default;
    ConfigIntfOutputKey(Bridging::VlanId vlanId, Iftel::IntfId intfId, bool vlanIdValid,
                        bool intfIdValid) noexcept
        : k0(vlanId), k1(intfId), k0Valid(vlanIdValid), k1Valid(intfIdValid) {}
    /// Parse one key's text form, and no character more.
    explicit ConfigIntfOutputKey(Qor::CharRange &range);

    /// Set every Valid flag.
    void validate() noexcept { k0Valid = k1Valid = true; }

    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept;
    /// Equality as a table's callback: both point to keys of this type.
    [[nodiscard]] static bool isEq(void const *a, void const *b) noexcept;
    friend bool operator==(ConfigIntfOutputKey const &a, ConfigIntfOutputKey const &b) noexcept {
        return a.k0Valid == b.k0Valid && a.k1Valid == b.k1Valid && a.k0 == b.k0 && a.k1 == b.k1;
    }
    /// By VLAN number, interface, then the flags, false before true.
    bool operator<(ConfigIntfOutputKey const &other) const noexcept;

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
};

struct LagPhyIntfOutputKey {
    static constexpr std::string_view qorTypeName =
        "VlanSubIntfConfigLib::ConfigSm::"
        "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType";

    Iftel::IntfId k0;
    bool k0Valid = false;

    LagPhyIntfOutputKey() noexcept = default;
    LagPhyIntfOutputKey(Iftel::IntfId memberId, bool memberIdValid) noexcept
        : k0(memberId), k0Valid(memberIdValid) {}
    /// Parse one key's text form, and no character more.
    explicit LagPhyIntfOutputKey(Qor::CharRange &range);

    /// Set the Valid flag.
    void validate() noexcept { k0Valid = true; }

    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept;
    /// Equality as a table's callback: both point to keys of this type.
    [[nodiscard]] static bool isEq(void const *a, void const *b) noexcept;
    friend bool operator==(LagPhyIntfOutputKey const &a, LagPhyIntfOutputKey const &b) noexcept {
        return a.k0Valid == b.k0Valid && a.k0 == b.k0;
    }
    /// By interface, then the flag, false before true.
    bool operator<(LagPhyIntfOutputKey const &other) const noexcept;

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
};

[[nodiscard]] Nuvio::String valueToStrep(ConfigIntfOutputKey const &key);
[[nodiscard]] Nuvio::String valueToStrep(LagPhyIntfOutputKey const &key);
std::ostream &operator<<(std::ostream &out, ConfigIntfOutputKey const &key);
std::ostream &operator<<(std::ostream &out, LagPhyIntfOutputKey const &key);

} // namespace VlanSubIntfConfigLib

namespace VlanSubIntfConfigLib::Impl {

/// The generic interface's view of both: named, printed and entered by the text form.
template <class Key> struct OutputKeyTraits {
    static constexpr std::string_view name = Key::qorTypeName;
    static std::string text(Key const &key) { return std::string(valueToStrep(key).view()); }
    static Key parse(std::string_view text) {
        return Qor::strepToValue<Key>(Nuvio::String(text), nullptr);
    }
};

} // namespace VlanSubIntfConfigLib::Impl

template <>
struct Qor::ValueTraits<VlanSubIntfConfigLib::ConfigIntfOutputKey>
    : VlanSubIntfConfigLib::Impl::OutputKeyTraits<VlanSubIntfConfigLib::ConfigIntfOutputKey> {
    static Qor::TypeImpl const &attributes();
};
template <>
struct Qor::ValueTraits<VlanSubIntfConfigLib::LagPhyIntfOutputKey>
    : VlanSubIntfConfigLib::Impl::OutputKeyTraits<VlanSubIntfConfigLib::LagPhyIntfOutputKey> {
    static Qor::TypeImpl const &attributes();
};
