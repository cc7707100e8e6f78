// What each subcommand of ClientCommands.h does: asks the agent, and prints its answer. All throw
// an Error as runClient() says.
#pragma once

#include "agent/control/ClientCommands.h"

namespace Agent {

[[nodiscard]] ExitCode runShow(ClientOptions const &options);
[[nodiscard]] ExitCode runStatus(ClientOptions const &options);
[[nodiscard]] ExitCode runWaitReady(ClientOptions const &options);
[[nodiscard]] ExitCode runExplain(ClientOptions const &options);
[[nodiscard]] ExitCode runWatch(ClientOptions const &options);
[[nodiscard]] ExitCode runTrace(ClientOptions const &options);
[[nodiscard]] ExitCode runAudit(ClientOptions const &options);
[[nodiscard]] ExitCode runWithdraw(ClientOptions const &options);
[[nodiscard]] ExitCode runResume(ClientOptions const &options);
[[nodiscard]] ExitCode runResync(ClientOptions const &options);
[[nodiscard]] ExitCode runMetrics(ClientOptions const &options);

} // namespace Agent
