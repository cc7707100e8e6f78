#include "platform/Iftel/IntfId.h"

#include "platform/Iftel/NameTable.h"

#include <fmt/format.h>

#include <charconv>
#include <ostream>
#include <string_view>

namespace Iftel {
namespace {

constexpr std::string_view ethernetPrefix = "Ethernet";
constexpr std::string_view portChannelPrefix = "PortChannel";

/// Cut a canonical decimal below `limit` (no sign, no leading zero) off the front of `text`.
std::optional<std::uint32_t> cutNumber(std::string_view &text, std::uint32_t limit) {
    std::uint32_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    bool const leadingZero = text.size() > 1 && text.front() == '0' && end != text.data() + 1;
    if (error != std::errc() || leadingZero || number >= limit) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

} // namespace

std::optional<IntfId> IntfId::native(std::string_view text) {
    IntfKind kind = IntfKind::none;
    if (text.starts_with(ethernetPrefix)) {
        kind = IntfKind::ethernet;
        text.remove_prefix(ethernetPrefix.size());
    } else if (text.starts_with(portChannelPrefix)) {
        kind = IntfKind::portChannel;
        text.remove_prefix(portChannelPrefix.size());
    } else {
        return std::nullopt;
    }
    auto const number = cutNumber(text, firstRegisteredIntf);
    if (!number) {
        return std::nullopt;
    }
    IntfId const id = intf(kind, *number);
    if (text.empty()) {
        return id;
    }
    if (text.front() != '.') {
        return std::nullopt;
    }
    text.remove_prefix(1);
    auto const sub = cutNumber(text, firstRegisteredSubIntf);
    return sub && text.empty() ? std::optional(subIntf(id, *sub)) : std::nullopt;
}

void IntfId::handleInitialized(Nuvio::String const &name) {
    if (name.empty()) {
        *this = IntfId();
        return;
    }
    auto id = NameTable::instance().lookup(name.view());
    if (!id) {
        id = native(name.view());
    }
    if (!id) {
        throw Qor::RangeException(fmt::format("unknown interface name \"{}\"", name.view()));
    }
    *this = *id;
}

IntfId IntfId::sequenceToValue(Qor::CharRange &range) {
    Qor::CharRange ahead = range;
    IntfId const id{Nuvio::String(ahead.needQuoted())};
    range = ahead;
    return id;
}

Nuvio::String IntfId::stringValue() const {
    if (bits_ == 0) {
        return {};
    }
    if (Nuvio::String const *const registered = NameTable::instance().nameOf(*this)) {
        return *registered;
    }
    std::string_view const prefix = kind() == IntfKind::ethernet      ? ethernetPrefix
                                    : kind() == IntfKind::portChannel ? portChannelPrefix
                                                                      : "Unknown";
    return Nuvio::String(isSubIntf() ? fmt::format("{}{}.{}", prefix, number(), subNumber())
                                     : fmt::format("{}{}", prefix, number()));
}

Nuvio::String valueToStrep(IntfId id) {
    return Qor::quotedStrep(id.stringValue().view());
}

std::ostream &operator<<(std::ostream &out, IntfId id) {
    return out << id.stringValue();
}

} // namespace Iftel
