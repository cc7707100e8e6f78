// What systemd is told of the agent (a unit of Type=notify): READY when it is ready, before that in
// STATUS what it waits for, and by the watchdog that its loop turns. Where no supervisor asks for
// it nothing is sent, and the loop is not woken up.
#pragma once

#include "agent/loop/Loop.h"
#include "agent/service/Service.h"

#include <chrono>
#include <string>

namespace Agent {

class Supervision {
  public:
    /// How often the status is told while the agent is not ready.
    static constexpr std::chrono::seconds statusInterval{1};

    /// Requires: the service outlives it.
    explicit Supervision(Service &service);
    Supervision(Supervision const &) = delete;
    Supervision &operator=(Supervision const &) = delete;

    /// The agent ends now, as it was asked to.
    void stopping();

  private:
    void tell();
    [[nodiscard]] std::chrono::nanoseconds interval() const;

    Service &service_;
    std::chrono::nanoseconds watchdog_; ///< zero for none
    Service::StateWatch state_;
    Loop::Timer timer_;
    std::string told_; ///< the latest status
    bool readyTold_ = false;
};

/// One line for people: "ready: 16 entries", "waiting for first full view of kernel".
[[nodiscard]] std::string statusLine(Service &service);

} // namespace Agent
