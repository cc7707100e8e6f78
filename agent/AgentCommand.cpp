#include "agent/AgentCommand.h"

#include "agent/DefaultPaths.h"
#include "agent/MachineRun.h"
#include "agent/StandardError.h"
#include "agent/control/Control.h"
#include "agent/loop/Loop.h"
#include "agent/loop/Signals.h"
#include "agent/loop/SlowTurns.h"
#include "agent/service/Service.h"
#include "agent/service/Supervision.h"
#include "agent/source/FilesSource.h"
#include "agent/source/KernelSource.h"
#include "agent/store/CheckpointProcess.h"

#include <csignal>
#include <memory>
#include <string>
#include <string_view>

namespace Agent {
namespace {

Service::MakeSource sourceOf(AgentOptions const &options) {
    return
        [&options](Loop &loop, Inputs const &inputs, SourceHost &host) -> std::unique_ptr<Source> {
            if (options.source == AgentOptions::SourceKind::files) {
                return std::make_unique<FilesSource>(loop, inputs, options.files, host);
            }
            return std::make_unique<KernelSource>(loop, inputs, host, options.kernel);
        };
}

std::string pathOr(std::string const &path, std::string (*byDefault)()) {
    return path.empty() ? byDefault() : path;
}

/// A turn may take the share of its work, and as long again for everything else in it.
void limitTurns(Loop &loop, std::chrono::milliseconds share) {
    loop.scheduler()->shareIs(share);
    loop.slowTurnIs(2 * share, [turns = SlowTurns([](std::string const &line) {
                                    say("{}", line);
                                })](Loop::TurnTime const &turn) mutable {
        turns.report(turn, Loop::Clock::now());
    });
}

} // namespace

ExitCode runAgent(AgentOptions const &options) {
    traceToStandardError(options.traceLevels);
    Loop loop(Osk::TaskScheduler::TaskSchedulerIs());
    limitTurns(loop, options.share);
    std::string const store = pathOr(options.store, defaultStorePath);
    CheckpointProcess checkpointer(loop, store);
    Service service(
        loop, sourceOf(options), store, [store] { return openSqliteStore(store); }, checkpointer);
    Signals const signals(loop, {SIGTERM, SIGINT, SIGHUP}, [&](int signal) {
        if (signal == SIGHUP) {
            service.resynchronise("SIGHUP");
        } else {
            loop.stop();
        }
    });
    Control const control(service, {.path = pathOr(options.control, defaultControlPath),
                                    .group = options.controlGroup,
                                    .metrics = options.metrics});
    Supervision supervision(service);
    service.start();
    loop.run();
    supervision.stopping();
    service.stop();
    return ExitCode::done;
}

} // namespace Agent
