#include "agent/control/Control.h"

#include "agent/control/Metrics.h"
#include "agent/control/Requests.h"

namespace Agent {

Control::Control(Service &service, ControlOptions const &options)
    : server_(
          service.loop(), {options.path, options.group, options.limits},
          [this, &service](ControlRequest const &request, Reply &reply) {
              return startRequest(service, clients_, request, reply);
          },
          clients_) {
    if (!options.metrics.empty()) {
        metrics_.emplace(service.loop(), MetricsListener::Options{options.metrics},
                         [this, &service] { return metricsText(service, clients_); });
    }
}

} // namespace Agent
