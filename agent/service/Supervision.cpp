#include "agent/service/Supervision.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <systemd/sd-daemon.h>

#include <cstdint>
#include <cstdlib>

namespace Agent {
namespace {

bool isSupervised() {
    return std::getenv("NOTIFY_SOCKET") != nullptr;
}

std::chrono::nanoseconds watchdogInterval() {
    std::uint64_t microseconds = 0;
    bool const isWatched = ::sd_watchdog_enabled(0, &microseconds) > 0;
    return std::chrono::microseconds(isWatched ? microseconds / 2 : 0); // half, as is usual
}

} // namespace

Supervision::Supervision(Service &service)
    : service_(service), watchdog_(watchdogInterval()),
      state_(service, [this](Service::State /*state*/) { tell(); }),
      timer_(service.loop(), "supervision", [this] { tell(); }) {
    tell();
}

void Supervision::stopping() {
    ::sd_notify(0, "STOPPING=1\nSTATUS=stopping");
}

/// Tell what is new, and feed the watchdog.
void Supervision::tell() {
    if (!isSupervised()) {
        return;
    }
    if (service_.ready() && !readyTold_) {
        ::sd_notify(0, "READY=1");
        readyTold_ = true;
    }
    if (auto status = statusLine(service_); status != told_) {
        ::sd_notify(0, ("STATUS=" + status).c_str());
        told_ = std::move(status);
    }
    if (watchdog_ != std::chrono::nanoseconds::zero()) {
        ::sd_notify(0, "WATCHDOG=1");
    }
    if (auto const wait = interval(); wait != std::chrono::nanoseconds::zero()) {
        timer_.startAfter(wait);
    }
}

/// Until it is told again; zero for the next change of state.
std::chrono::nanoseconds Supervision::interval() const {
    if (service_.ready()) {
        return watchdog_;
    }
    bool const hasWatchdog = watchdog_ != std::chrono::nanoseconds::zero();
    return hasWatchdog ? std::min<std::chrono::nanoseconds>(watchdog_, statusInterval)
                       : std::chrono::nanoseconds(statusInterval);
}

std::string statusLine(Service &service) {
    std::string line;
    if (auto const blockers = service.waitingFor(); !blockers.empty()) {
        line = fmt::format("waiting for {}", fmt::join(blockers, ", "));
    } else if (service.ready()) {
        line = fmt::format("ready: {} entries", service.journal().counts().entries);
    } else {
        line = stateWord(service.state());
    }
    if (!service.sourceProblem().empty()) {
        line += "; " + service.sourceProblem();
    }
    if (auto const problem = service.store().status().problem; !problem.empty()) {
        line += "; " + problem;
    }
    return line;
}

} // namespace Agent
