#include "platform/Bridging.h"

#include <fmt/format.h>

#include <array>
#include <limits>
#include <ostream>
#include <span>
#include <sstream>

namespace Bridging {
namespace {

constexpr Qor::TypeImpl configType = Qor::typeOf<Config>();
constexpr Qor::TypeImpl vlanConfigType = Qor::typeOf<VlanConfig>();
constexpr Qor::TypeImpl const *types[] = {&configType, &vlanConfigType};
constexpr Qor::Module module{"Bridging", types};
[[maybe_unused]] bool const registered = Qor::qorModuleIs(module);

constexpr std::array<std::string_view, 4> directionWords = {"none", "ingress", "egress", "both"};

} // namespace

VlanId::VlanId(Qor::CharRange &range)
    : value_(
          static_cast<std::uint16_t>(range.needNumber(std::numeric_limits<std::uint16_t>::max()))) {
}

Nuvio::String valueToStrep(VlanId id) {
    return Nuvio::String(fmt::format("{}", id.value()));
}

std::ostream &operator<<(std::ostream &out, VlanId const &id) {
    return out << id.value();
}

std::ostream &operator<<(std::ostream &out, AllowedTrafficDirection const &direction) {
    auto const index = static_cast<std::size_t>(direction);
    if (index < directionWords.size()) {
        return out << directionWords[index];
    }
    return out << "direction " << index;
}

std::ostream &operator<<(std::ostream &out, VlanPortConfig const &config) {
    auto const word = [](bool flag) { return flag ? "true" : "false"; };
    return out << "tagOnEgress=" << word(config.tagOnEgress) << " pvid=" << word(config.pvid)
               << " allowedTrafficDirection=" << config.allowedTrafficDirection;
}

Qor::Optional<VlanPortConfig> VlanConfig::intf(Iftel::IntfId id) const {
    auto const *const node = intf_.lookupNodeG(id);
    return node ? Qor::Optional(node->value()) : std::nullopt;
}

std::span<Qor::Attribute const> VlanConfig::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::collection<&VlanConfig::intf_>(intfAttribute, "intf")};
    return table;
}

Qor::FwkType VlanConfig::fwkType() const noexcept {
    return {&module, 1};
}

Qor::Ptr<Config> Config::ConfigIs() {
    return Qor::make<Config>();
}

Qor::Optional<Qor::Ptr<VlanConfig const>> Config::vlanConfig(VlanId id) const {
    auto const *const node = vlanConfig_.lookupNodeG(id);
    return node ? Qor::Optional(node->value()) : std::nullopt;
}

/// Who made a VLAN may write it, though the collection shows it as constant.
VlanConfig *Config::writable(VlanConfigMap::Node const &node) noexcept {
    return const_cast<VlanConfig *>(node.value().get());
}

Qor::Ptr<VlanConfig> Config::vlanConfigMade(VlanId id) {
    auto vlan = memberIs(
        vlanConfig_, vlanConfigAttribute, id,
        [id] { return Qor::Ptr<VlanConfig const>(Qor::make<VlanConfig>(id)); },
        [this, id](VlanConfigMap::Node const &made) { byNumber_.is(id, writable(made)); });
    return Qor::Ptr<VlanConfig>::adopt(const_cast<VlanConfig *>(vlan.detach()));
}

void Config::vlanConfigDel(VlanId id) {
    memberDel(vlanConfig_, vlanConfigAttribute, id,
              [this, id](VlanConfigMap::Node const & /*removed*/) { byNumber_.is(id, nullptr); });
}

void Config::vlanConfigInsertForTest(Qor::Ptr<VlanConfig const> const &vlan) {
    memberIs(
        vlanConfig_, vlanConfigAttribute, vlan->vlanId(), [&vlan] { return vlan; },
        [this, &vlan](VlanConfigMap::Node const &made) {
            byNumber_.is(vlan->vlanId(), writable(made));
        });
}

std::span<Qor::Attribute const> Config::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::collection<&Config::vlanConfig_>(vlanConfigAttribute, "vlanConfig")};
    return table;
}

Qor::FwkType Config::fwkType() const noexcept {
    return {&module, 0};
}

} // namespace Bridging

namespace Qor {
namespace {

template <class T> std::string streamed(T const &value) {
    std::ostringstream out;
    out.exceptions(std::ios::badbit); // where memory runs out, no text rather than half of one
    out << value;
    return out.str();
}

template <class T> T parsedWhole(CharRange range, T (*parse)(CharRange &)) {
    T const value = parse(range);
    range.checkAllDataConsumed();
    return value;
}

bool needFlag(CharRange &range) {
    if (range.takeString("true")) {
        return true;
    }
    range.needString("false");
    return false;
}

Bridging::AllowedTrafficDirection needDirection(CharRange &range) {
    for (std::size_t i = 0; i < Bridging::directionWords.size(); ++i) {
        if (range.takeString(Bridging::directionWords[i])) {
            return static_cast<Bridging::AllowedTrafficDirection>(i);
        }
    }
    range.fail("none, ingress, egress or both");
}

Bridging::VlanPortConfig needVlanPortConfig(CharRange &range) {
    Bridging::VlanPortConfig config;
    range.needString("tagOnEgress=");
    config.tagOnEgress = needFlag(range);
    range.needString(" pvid=");
    config.pvid = needFlag(range);
    range.needString(" allowedTrafficDirection=");
    config.allowedTrafficDirection = needDirection(range);
    return config;
}

} // namespace

Bridging::VlanId ValueTraits<Bridging::VlanId>::parse(std::string_view text) {
    return strepToValue<Bridging::VlanId>(String(text), nullptr);
}

std::string
ValueTraits<Bridging::AllowedTrafficDirection>::text(Bridging::AllowedTrafficDirection value) {
    return streamed(value);
}

Bridging::AllowedTrafficDirection
ValueTraits<Bridging::AllowedTrafficDirection>::parse(std::string_view text) {
    return parsedWhole(CharRange(text), needDirection);
}

std::string ValueTraits<Bridging::VlanPortConfig>::text(Bridging::VlanPortConfig const &value) {
    return streamed(value);
}

Bridging::VlanPortConfig ValueTraits<Bridging::VlanPortConfig>::parse(std::string_view text) {
    return parsedWhole(CharRange(text), needVlanPortConfig);
}

} // namespace Qor
