// The answer to `audit`: what differs between the directory and what the inputs derive, in slices.
#pragma once

#include "agent/control/Job.h"
#include "agent/control/Protocol.h"
#include "agent/service/Audit.h"
#include "agent/service/Service.h"

#include <cstddef>
#include <optional>

namespace Agent {

class AuditJob final : public Job {
  public:
    /// Both outlive the job. Throws an Error while the agent is not ready.
    AuditJob(Service const &service, ControlRequest const &request, Reply &reply);

    [[nodiscard]] std::optional<Ending> step(Osk::Task const &task) override;

  private:
    [[nodiscard]] Ending ending() const;

    Service const &service_;
    Reply &reply_;
    Audit audit_;
    std::size_t told_ = 0; ///< lines of the audit that the client has
    bool over_ = false;    ///< the walk is
};

} // namespace Agent
