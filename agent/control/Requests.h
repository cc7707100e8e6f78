// What a client can ask of the agent. docs/control.md lists it.
#pragma once

#include "agent/control/Connection.h"
#include "agent/service/Service.h"

#include <memory>

namespace Agent {

/// Begin to answer a request. All but the request outlive the job. Throws an Error for a request
/// that there is none of, for wrong parameters, and for what the agent refuses as it is.
[[nodiscard]] std::unique_ptr<Job> startRequest(Service &service, ControlStatistics const &clients,
                                                ControlRequest const &request, Reply &reply);

} // namespace Agent
