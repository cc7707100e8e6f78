#include "agent/control/Requests.h"

#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/MachineRun.h"
#include "agent/control/AuditJob.h"
#include "agent/control/Metrics.h"
#include "agent/control/ShowJob.h"
#include "agent/control/StateJobs.h"
#include "agent/control/StatusDocument.h"
#include "agent/control/WatchJob.h"
#include "agent/service/Explain.h"
#include "platform/Nuvio/DebugHandler.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

namespace Agent {
namespace {

/// What a request looks at and changes.
struct Context {
    Service &service;
    ControlStatistics const &clients;
    Reply &reply;
};

/// An answer that takes one step.
class OneStep final : public Job {
  public:
    explicit OneStep(std::function<void()> work) : work_(std::move(work)) {}
    std::optional<Ending> step(Osk::Task const & /*task*/) override {
        work_();
        return Ending();
    }

  private:
    std::function<void()> work_;
};

std::unique_ptr<Job> show(Context const &context, ControlRequest const &request) {
    return std::make_unique<ShowJob>(context.service, request, context.reply);
}

std::unique_ptr<Job> status(Context const &context, ControlRequest const &request) {
    request.allowOnly({});
    return std::make_unique<OneStep>(
        [context] { context.reply.document(statusDocument(context.service, context.clients)); });
}

std::unique_ptr<Job> waitReady(Context const &context, ControlRequest const &request) {
    request.allowOnly({});
    return std::make_unique<WaitReadyJob>(context.service, context.reply);
}

std::unique_ptr<Job> explainEntry(Context const &context, ControlRequest const &request) {
    request.allowOnly({"intf", "vlan"});
    auto const number = request.vlan("vlan");
    auto const vlan = number ? std::optional(Bridging::VlanId(*number)) : std::nullopt;
    return std::make_unique<OneStep>([context, vlan, intf = request.needText("intf")] {
        Service &service = context.service;
        context.reply.document(explain(service.inputs(), service.directory(), service.kept(), intf,
                                       vlan, service.source().describe(intf)));
    });
}

std::unique_ptr<Job> watch(Context const &context, ControlRequest const &request) {
    return std::make_unique<WatchJob>(context.service.journal(), request, context.reply);
}

/// The mask of "6-9", and none for "off".
std::uint16_t needLevels(std::string const &levels) {
    if (levels == "off") {
        return 0;
    }
    auto const mask = Nuvio::Platform::levelMaskOf(levels);
    if (!mask) {
        fail("levels: expected levels from 0 to 15, such as 9 or 6-9, or off, found {}",
             quote(levels));
    }
    return *mask;
}

std::unique_ptr<Job> trace(Context const &context, ControlRequest const &request) {
    request.allowOnly({"levels"});
    std::string const levels = request.needText("levels");
    return std::make_unique<OneStep>([context, levels, mask = needLevels(levels)] {
        traceToStandardError(mask);
        context.reply.document({{"levels", levels}, {"mask", mask}});
    });
}

std::unique_ptr<Job> audit(Context const &context, ControlRequest const &request) {
    return std::make_unique<AuditJob>(context.service, request, context.reply);
}

std::unique_ptr<Job> withdraw(Context const &context, ControlRequest const &request) {
    request.allowOnly({});
    return std::make_unique<WithdrawJob>(context.service, context.reply);
}

std::unique_ptr<Job> resume(Context const &context, ControlRequest const &request) {
    request.allowOnly({});
    return std::make_unique<OneStep>([context] {
        auto const state = context.service.state();
        if (state != Service::State::withdrawn) {
            fail("refused: the agent is {}, not withdrawn", stateWord(state));
        }
        context.service.resume();
    });
}

std::unique_ptr<Job> resync(Context const &context, ControlRequest const &request) {
    request.allowOnly({});
    return std::make_unique<OneStep>([context] {
        Service &service = context.service;
        if (service.state() == Service::State::withdrawn || !service.source().complete()) {
            fail("refused: {}", notReadyMessage(service));
        }
        service.resynchronise("asked for on the control socket");
    });
}

std::unique_ptr<Job> metrics(Context const &context, ControlRequest const &request) {
    request.allowOnly({});
    return std::make_unique<OneStep>([context] {
        context.reply.document({{"metrics", metricsText(context.service, context.clients)}});
    });
}

struct Entry {
    std::string_view name;
    std::unique_ptr<Job> (*start)(Context const &, ControlRequest const &);
};
constexpr std::array entries = {
    Entry{"audit", audit},   Entry{"explain", explainEntry}, Entry{"metrics", metrics},
    Entry{"resume", resume}, Entry{"resync", resync},        Entry{"show", show},
    Entry{"status", status}, Entry{"trace", trace},          Entry{"wait-ready", waitReady},
    Entry{"watch", watch},   Entry{"withdraw", withdraw},
};

} // namespace

std::unique_ptr<Job> startRequest(Service &service, ControlStatistics const &clients,
                                  ControlRequest const &request, Reply &reply) {
    auto const *const found = std::find_if(entries.begin(), entries.end(), [&](Entry const &entry) {
        return entry.name == request.name();
    });
    if (found == entries.end()) {
        fail("there is no request {}", quote(request.name()));
    }
    return found->start({service, clients, reply}, request);
}

} // namespace Agent
