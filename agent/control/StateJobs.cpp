#include "agent/control/StateJobs.h"

#include "agent/control/StatusDocument.h"

namespace Agent {

WaitReadyJob::WaitReadyJob(Service &service, Reply &reply)
    : service_(service), watch_(service, [&reply](Service::State) { reply.wake(); }) {}

std::optional<Ending> WaitReadyJob::step(Osk::Task const & /*task*/) {
    return Ending();
}

WithdrawJob::WithdrawJob(Service &service, Reply &reply)
    : service_(service), watch_(service, [&reply](Service::State) { reply.wake(); }) {
    needReady(service_);
}

std::optional<Ending> WithdrawJob::step(Osk::Task const & /*task*/) {
    if (!begun_) {
        needReady(service_); // another client may have been first
        begun_ = true;
        entries_ = service_.journal().counts().entries;
        service_.withdraw();
    }
    if (service_.state() != Service::State::withdrawn) {
        return std::nullopt;
    }
    Ending ending;
    ending.fields = {{"entries", entries_}};
    return ending;
}

} // namespace Agent
