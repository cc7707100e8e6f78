// The answers that wait for the agent's state: `wait-ready` and `withdraw`.
#pragma once

#include "agent/control/Job.h"
#include "agent/service/Service.h"

#include <cstdint>
#include <optional>

namespace Agent {

/// Over once the agent is ready, however long that takes.
class WaitReadyJob final : public Job {
  public:
    /// Both outlive the job.
    WaitReadyJob(Service &service, Reply &reply);

    [[nodiscard]] bool hasWork() const noexcept override { return service_.ready(); }
    [[nodiscard]] std::optional<Ending> step(Osk::Task const &task) override;

  private:
    Service &service_;
    Service::StateWatch watch_;
};

/// Withdraws the output, and is over when that is done.
class WithdrawJob final : public Job {
  public:
    /// Both outlive the job. Throws an Error while the agent is not ready.
    WithdrawJob(Service &service, Reply &reply);

    [[nodiscard]] bool hasWork() const noexcept override {
        return !begun_ || service_.state() == Service::State::withdrawn;
    }
    [[nodiscard]] std::optional<Ending> step(Osk::Task const &task) override;

  private:
    Service &service_;
    Service::StateWatch watch_;
    std::uint64_t entries_ = 0; ///< that were withdrawn
    bool begun_ = false;
};

} // namespace Agent
