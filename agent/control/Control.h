// The agent's doors to the outside: the control socket, and the metrics for Prometheus where they
// are asked for.
//
//     Control control(service, {.path = defaultControlPath(), .group = "netadmin"});
#pragma once

#include "agent/control/ControlServer.h"
#include "agent/control/MetricsListener.h"
#include "agent/service/Service.h"

#include <optional>
#include <string>

namespace Agent {

struct ControlOptions {
    std::string path;         ///< of the control socket
    std::string group = {};   ///< whose members may connect, too; empty for none
    std::string metrics = {}; ///< "ADDR:PORT" to serve metrics at; empty for nowhere
    ControlLimits limits = {};
};

class Control {
  public:
    /// Open them. The service outlives it. Throws an Error for what cannot be opened.
    Control(Service &service, ControlOptions const &options);

    [[nodiscard]] ControlServer const &server() const noexcept { return server_; }
    [[nodiscard]] ControlStatistics const &statistics() const noexcept { return clients_; }

  private:
    ControlStatistics clients_;
    ControlServer server_;
    std::optional<MetricsListener> metrics_;
};

} // namespace Agent
