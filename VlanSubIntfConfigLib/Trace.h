// Trace lines of the machine, and the statements that they point to.
//
// Each line names the statement of VlanSubIntfConfigLib.dovra that it belongs to: a stage of a
// pipeline points to itself, a scan to its stream, an output's handler to the statement that writes
// the output, start-up to the machine. Levels: 6 a filter's or loop's outcome, 7 what comes in and
// what is written, 8 entry and yield, 9 detail.
#pragma once

#include "VlanSubIntfConfigLib/DovraPrint.h"
#include "platform/Nuvio/DebugHandler.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace VlanSubIntfConfigLib::DovraCode {

/// Source name that every trace line carries.
inline constexpr std::string_view traceSource = "VlanSubIntfConfigLib";

/// One statement of the dataflow program.
struct Statement {
    std::uint32_t line;
    std::string_view text;
};

namespace Statements {

inline constexpr Statement machine{15, "machine ConfigSm"};
inline constexpr Statement fromVlanConfig{
    25, "vlanConfigStream = from( bridgingConfig.vlanConfig[].intf[] )"};
inline constexpr Statement filterSubIntf{29, "filter( SubIntfId::isSubIntfId( intfId ) )"};
inline constexpr Statement intoConfigIntf{
    30, "into( vlanSubIntfConfigDir.config[ vlanId ].intf[ intfId ] )"};
inline constexpr Statement intoTagOnEgress{33, "into( vlanSubIntf.tagOnEgress )"};
inline constexpr Statement intoDirection{34, "into( vlanSubIntf.allowedTrafficDirection )"};
inline constexpr Statement filterPortChannel{
    37, "filter( PortChannelIntfId::isPortChannelIntfId( intfId ) )"};
inline constexpr Statement intoIntfToVlanMap{
    40, "into( lagVlanStatus[ parentIntfId ].intfToVlanMap[ vidIntf ] )"};
inline constexpr Statement filterAdd{43, "filter( add )"};
inline constexpr Statement filterLagConfig{
    44, "filter( lagPhyIntfMapping.lagPhyIntfConfig[ parentIntfId ] )"};
inline constexpr Statement foreachPhyIntf{
    45, "foreach( ( *lagPhyIntfMapping.lagPhyIntfConfig[ parentIntfId ] ).phyIntf )"};
inline constexpr Statement fromLagUpdate{
    50, "lagUpdateStream = from( lagPhyIntfMapping.lagPhyIntfConfig[].phyIntf[] )"};
inline constexpr Statement filterLagVlanStatus{54, "filter( lagVlanStatus[ lagId ] )"};
inline constexpr Statement foreachVidIntf{55,
                                          "foreach( ( *lagVlanStatus[ lagId ] ).intfToVlanMap )"};
inline constexpr Statement merge{65, "merge( vlanConfigStream, lagUpdateStream )"};
inline constexpr Statement intoLagPhyIntf{69, "into( vlanSubIntf.lagPhyIntf[ lagMemberId ] )"};

/// All of them, in the order of the program.
inline constexpr std::array all{
    machine,        fromVlanConfig,    filterSubIntf,       intoConfigIntf, intoTagOnEgress,
    intoDirection,  filterPortChannel, intoIntfToVlanMap,   filterAdd,      filterLagConfig,
    foreachPhyIntf, fromLagUpdate,     filterLagVlanStatus, foreachVidIntf, merge,
    intoLagPhyIntf};

} // namespace Statements

/// An argument of a trace line: a value that is printed by dovraPrint() when the line is formatted.
template <class T> struct Printed { T value; };
/// Small values are copied, so that they need not be in memory for a line that is not wanted.
template <class T> [[nodiscard]] auto printed(T const &value) noexcept {
    return Printed<std::conditional_t<std::is_trivially_copyable_v<T>, T, T const &>>{value};
}

/// Format and emit a line whose level is enabled. Out of the way of the code that traces.
template <class... Args>
[[gnu::cold, gnu::noinline]] void
traceLine(Nuvio::Platform::DebugHandler const &handler, std::uint16_t level,
          std::string_view className, std::string_view function, std::uint32_t line,
          fmt::format_string<Args const &...> format, Args... args) {
    Nuvio::fmtrace(handler, level, traceSource, function, line, className, format, args...);
}

} // namespace VlanSubIntfConfigLib::DovraCode

template <class T>
struct fmt::formatter<VlanSubIntfConfigLib::DovraCode::Printed<T>> : fmt::formatter<std::string> {
    template <class Context>
    auto format(VlanSubIntfConfigLib::DovraCode::Printed<T> const &printed,
                Context &context) const {
        return fmt::formatter<std::string>::format(
            VlanSubIntfConfigLib::DovraCode::dovraPrint(printed.value), context);
    }
};

// Emit one trace line if `level` is enabled on the handle; a null handle is an assertion. A macro,
// because only a macro leaves the arguments unevaluated when the level is off: no value is printed
// and nothing formatted then. The last arguments are a {fmt} format string and its operands.
#define DOVRA_TRACE(handle, level, className, function, statement, ...)                            \
    do {                                                                                           \
        ::Nuvio::Platform::DebugHandler const &dovraHandler_ = *(handle);                          \
        if (dovraHandler_.levelEnabled(level)) [[unlikely]] {                                      \
            ::VlanSubIntfConfigLib::DovraCode::traceLine(dovraHandler_, level, className,          \
                                                         function, (statement).line, __VA_ARGS__); \
        }                                                                                          \
    } while (false)
