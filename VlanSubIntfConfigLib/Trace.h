// Trace lines of the machine, and the statements that they point to.
//
// Each line names the statement of VlanSubIntfConfigLib.dovra that it belongs to: a stage of a
// pipeline points to itself, a scan to its stream, an output's handler to the statement that writes
// the output, start-up to the machine. Levels: 6 a filter's or loop's outcome, 7 what comes in and
// what is written, 8 entry and yield, 9 detail.
#pragma once

#include "VlanSubIntfConfigLib/DovraPrint.h"
#include "platform/Nuvio/DebugHandler.h"

#include <array>
#include <cstdint>
#include <string_view>

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
} // namespace VlanSubIntfConfigLib::DovraCode

// Emit one trace line if `level` is enabled on the handle; a null handle is an assertion. A macro,
// because only a macro leaves the arguments unevaluated when the level is off: no value is printed
// and nothing formatted then. The last arguments are a {fmt} format string and its operands.
#define DOVRA_TRACE(handle, level, className, function, statement, ...)                            \
    do {                                                                                           \
        ::Nuvio::Platform::DebugHandler const &dovraHandler_ = *(handle);                          \
        if (dovraHandler_.levelEnabled(level)) {                                                   \
            ::Nuvio::fmtrace(dovraHandler_, level, ::VlanSubIntfConfigLib::DovraCode::traceSource, \
                             function, (statement).line, className, __VA_ARGS__);                  \
        }                                                                                          \
    } while (false)
