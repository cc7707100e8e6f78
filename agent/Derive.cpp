#include "agent/Derive.h"

#include "agent/DirectoryDocument.h"
#include "agent/DirectoryView.h"
#include "agent/Output.h"
#include "agent/Snapshot.h"
#include "agent/StandardError.h"
#include "agent/Summary.h"
#include "agent/Table.h"

#include <unistd.h>

#include <optional>

namespace Agent {
namespace {

using VlanSubIntfConfigLib::VlanSubIntfConfigDir;

void writeResult(VlanSubIntfConfigDir const &directory, bool ready, bool json) {
    Output output(STDOUT_FILENO, "standard output");
    DirectoryView const view(directory);
    if (json) {
        writeDirectoryDocument(output, view, ready);
        return;
    }
    if (view.empty()) {
        say("nothing derived: no subinterface is a member of a VLAN");
    }
    writeTable(output, view);
}

} // namespace

ExitCode derive(DeriveOptions const &options) {
    // Trace lines and a bar would write over each other.
    Progress progress(options.traceLevels == 0 ? Progress::onStandardError() : Progress::Sink());
    Inputs const inputs = loadInputs(options.inputs, progress);
    auto const directory = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    std::optional<Previous> previous;
    if (!options.previous.empty()) {
        previous = loadPrevious(options.previous, *directory, progress);
    }
    if (options.traceLevels != 0) {
        traceToStandardError(options.traceLevels);
    }
    MachineRun const run = makeMachine(inputs, directory, options.machine);
    runUntilIdle(run, inputs, progress);
    bool const ready = run.machine->ready();
    writeResult(*directory, ready, options.json);
    if (previous) {
        sayText(summaryOf(previous->name, previous->snapshot, Snapshot(*directory),
                          *inputs.lagPhyIntfMapping));
    }
    if (!ready) {
        say("the result is not ready: the machine stopped with work left");
        return ExitCode::differs;
    }
    return ExitCode::done;
}

} // namespace Agent
