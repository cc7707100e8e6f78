// Output keys: hash, order and text form, each fixed in which fields it takes, in which order and
// with which width.
#include "VlanSubIntfConfigLib/OutputKeys.h"

#include "platform/Qor/Hash.h"

#include <ostream>
#include <tuple>

// The heads of the text forms. Macros, because the formatter's format and the parser's literal are
// both made of them by concatenation.
#define CONFIG_INTF_KEY_HEAD                                                                       \
    "Value('VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType', ** {"
#define LAG_PHY_INTF_KEY_HEAD                                                                      \
    "Value('VlanSubIntfConfigLib::ConfigSm::"                                                      \
    "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType', ** {"

namespace VlanSubIntfConfigLib {
namespace {

template <class Key> bool isEqual(void const *a, void const *b) noexcept {
    return *static_cast<Key const *>(a) == *static_cast<Key const *>(b);
}

} // namespace

ConfigIntfOutputKey::ConfigIntfOutputKey(Qor::CharRange &range) {
    range.needString(CONFIG_INTF_KEY_HEAD);
    range.needString("'k0': ");
    k0 = Qor::deserializeAttr<Bridging::VlanId>(range, "k0");
    range.needString(", 'k1': ");
    k1 = Qor::deserializeAttr<Iftel::IntfId>(range, "k1");
    range.needString(", 'k0Valid': ");
    k0Valid = Qor::deserializeAttr<bool>(range, "k0Valid");
    range.needString(", 'k1Valid': ");
    k1Valid = Qor::deserializeAttr<bool>(range, "k1Valid");
    range.needString("})");
}

std::uint32_t ConfigIntfOutputKey::hash(std::uint32_t seed) const noexcept {
    Qor::Hash hash(seed);
    hash.hashMix(Qor::hashSingleAttr(0, k0.value()));
    hash.hashMix(k1.hash());
    hash.hashMix(k0Valid);
    hash.hashMix(k1Valid);
    return hash.result();
}

bool ConfigIntfOutputKey::isEq(void const *a, void const *b) noexcept {
    return isEqual<ConfigIntfOutputKey>(a, b);
}

bool ConfigIntfOutputKey::operator<(ConfigIntfOutputKey const &other) const noexcept {
    return std::tie(k0, k1, k0Valid, k1Valid) <
           std::tie(other.k0, other.k1, other.k0Valid, other.k1Valid);
}

LagPhyIntfOutputKey::LagPhyIntfOutputKey(Qor::CharRange &range) {
    range.needString(LAG_PHY_INTF_KEY_HEAD);
    range.needString("'k0': ");
    k0 = Qor::deserializeAttr<Iftel::IntfId>(range, "k0");
    range.needString(", 'k0Valid': ");
    k0Valid = Qor::deserializeAttr<bool>(range, "k0Valid");
    range.needString("})");
}

std::uint32_t LagPhyIntfOutputKey::hash(std::uint32_t seed) const noexcept {
    Qor::Hash hash(seed);
    hash.hashMix(k0.hash());
    hash.hashMix(k0Valid);
    return hash.result();
}

bool LagPhyIntfOutputKey::isEq(void const *a, void const *b) noexcept {
    return isEqual<LagPhyIntfOutputKey>(a, b);
}

bool LagPhyIntfOutputKey::operator<(LagPhyIntfOutputKey const &other) const noexcept {
    return std::tie(k0, k0Valid) < std::tie(other.k0, other.k0Valid);
}

Nuvio::String valueToStrep(ConfigIntfOutputKey const &key) {
    return Qor::_fmt(CONFIG_INTF_KEY_HEAD "'k0': %s, 'k1': %s, 'k0Valid': %s, 'k1Valid': %s})",
                     Bridging::valueToStrep(key.k0), Iftel::valueToStrep(key.k1),
                     Qor::valueToStrep(key.k0Valid), Qor::valueToStrep(key.k1Valid));
}

Nuvio::String valueToStrep(LagPhyIntfOutputKey const &key) {
    return Qor::_fmt(LAG_PHY_INTF_KEY_HEAD "'k0': %s, 'k0Valid': %s})", Iftel::valueToStrep(key.k0),
                     Qor::valueToStrep(key.k0Valid));
}

std::ostream &operator<<(std::ostream &out, ConfigIntfOutputKey const &key) {
    return out << valueToStrep(key);
}

std::ostream &operator<<(std::ostream &out, LagPhyIntfOutputKey const &key) {
    return out << valueToStrep(key);
}

} // namespace VlanSubIntfConfigLib
