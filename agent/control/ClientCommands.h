// The subcommands that ask a running agent: show, status, wait-ready, explain, watch, trace, audit,
// withdraw, resume, resync, metrics.
#pragma once

#include "agent/ExitCode.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// What the command line says to any of them.
struct ClientOptions {
    std::string command; ///< the subcommand; empty while none was given
    std::string control; ///< path of the socket; empty for defaultControlPath()
    bool json = false;
    std::optional<std::uint16_t> vlan; ///< of show and explain
    std::string intf;                  ///< of show and explain
    std::string lag;                   ///< of show
    std::optional<double> timeout;     ///< of wait-ready, in seconds
    std::string levels;                ///< of trace
    bool yes = false;                  ///< of withdraw: do not ask
};

/// Add the subcommands. Whichever the command line names fills `options`, which outlives `program`.
void addClientCommands(CLI::App &program, ClientOptions &options);
/// Their names.
[[nodiscard]] std::vector<std::string_view> clientCommands();

/// The whole job of the subcommand options.command: writes to standard output, and what is said
/// about it to standard error. Throws an Error: there is no agent, or it refuses.
[[nodiscard]] ExitCode runClient(ClientOptions const &options);

} // namespace Agent
