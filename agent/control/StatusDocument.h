// What the agent says of itself: the answer to `status`, and the words for not being ready.
#pragma once

#include "agent/control/Connection.h"
#include "agent/service/Service.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Agent {

/// The document that `status -j` prints; docs/control.schema.json defines it.
[[nodiscard]] nlohmann::json statusDocument(Service &service, ControlStatistics const &clients);

/// "the agent is deriving, waiting for output configIntf". Requires: it is not ready.
[[nodiscard]] std::string notReadyMessage(Service const &service);
/// Done, or `differs` with that message.
[[nodiscard]] Ending readyOrNot(Service const &service);
/// The service. Throws an Error, with that message, unless it is ready.
Service const &needReady(Service const &service);

} // namespace Agent
