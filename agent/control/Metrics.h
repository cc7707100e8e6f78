// The agent's metrics, in the text format of Prometheus. docs/control.md lists them.
#pragma once

#include "agent/control/Connection.h"
#include "agent/service/Service.h"

#include <string>

namespace Agent {

/// All metrics, as they are now.
[[nodiscard]] std::string metricsText(Service &service, ControlStatistics const &clients);

} // namespace Agent
