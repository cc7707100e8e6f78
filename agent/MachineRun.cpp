#include "agent/MachineRun.h"

#include "agent/DirectoryDocument.h"
#include "agent/InputFile.h"
#include "agent/JsonText.h"
#include "agent/StandardError.h"
#include "platform/Nuvio/DebugHandler.h"

#include <memory>

namespace Agent {
namespace {

using VlanSubIntfConfigLib::VlanSubIntfConfigDir;

constexpr char const *traceHandle = "VlanSubIntfConfigLib";
/// VLANs with that many members in all are worth a progress line.
constexpr std::uint64_t manyMembers = 50'000;

std::uint64_t memberCount(Bridging::Config const &config) {
    std::uint64_t count = 0;
    for (auto const &[vlan, entry] : config.vlanConfig()) {
        count += entry->intf().size();
    }
    return count;
}

} // namespace

Previous loadPrevious(std::string const &path, VlanSubIntfConfigDir &directory,
                      Progress &progress) {
    InputFile file(path, progress);
    readDirectoryDocument(file, directory);
    return {file.name(), Snapshot(directory)};
}

void traceToStandardError(std::uint16_t levels) {
    auto const handle = Nuvio::Platform::getDebugHandler(traceHandle, false);
    handle->levelMaskIs(levels);
    handle->sinkIs([](Nuvio::TraceRecord const &record) {
        say("{} {}::{} {}:{} {}", record.level, record.machine, record.function, record.source,
            record.line, visible(record.message));
    });
}

MachineRun makeMachine(Inputs const &inputs, Qor::Ptr<VlanSubIntfConfigDir> const &directory,
                       MachineOptions const &options) {
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    if (options.share) {
        scheduler->shareIs(std::make_unique<Osk::CountShare>(*options.share));
    }
    Quam::SmControl control;
    control.schedulerIs(scheduler);
    control.synchronousIs(options.synchronous ? Quam::Synchronous::synchronous
                                              : Quam::Synchronous::asynchronous);
    return {scheduler, VlanSubIntfConfigLib::configSmFactory(
                           inputs.bridgingConfig, inputs.lagPhyIntfMapping, directory, control)};
}

void runUntilIdle(MachineRun const &run, Inputs const &inputs, Progress &progress) {
    // How far it is cannot be told: every entry is visited several times.
    progress.stageIs("deriving", 0, 0);
    bool const large = memberCount(*inputs.bridgingConfig) >= manyMembers;
    while (run.scheduler->runOne()) {
        if (large) {
            progress.doneIs(0);
        }
    }
    progress.finish();
}

} // namespace Agent
