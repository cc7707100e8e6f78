// A machine over the inputs, brought up as every subcommand does it.
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "agent/Inputs.h"
#include "agent/Progress.h"
#include "agent/Snapshot.h"
#include "platform/Osk.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Agent {

/// How the machine is run. No setting changes the result.
struct MachineOptions {
    bool synchronous = false;
    /// Tests of "should I yield" that a run of a task may make; empty for the scheduler's own
    /// share.
    std::optional<std::uint64_t> share;
};

/// A machine, and the scheduler that its work waits on.
struct MachineRun {
    Qor::Ptr<Osk::TaskScheduler> scheduler;
    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine;
};

/// What an earlier run left: the document's name and its entries.
struct Previous {
    std::string name;
    Snapshot snapshot;
};

/// Fill the directory with the entries of an earlier document, before a machine sees it. Throws an
/// Error.
[[nodiscard]] Previous loadPrevious(std::string const &path,
                                    VlanSubIntfConfigLib::VlanSubIntfConfigDir &directory,
                                    Progress &progress);

/// Send the machine's trace lines of these levels (bit n enables level n) to standard error.
void traceToStandardError(std::uint16_t levels);

/// Make a machine over the inputs and the directory.
[[nodiscard]] MachineRun
makeMachine(Inputs const &inputs,
            Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> const &directory,
            MachineOptions const &options);

/// Let it work until it has nothing to do.
void runUntilIdle(MachineRun const &run, Inputs const &inputs, Progress &progress);

} // namespace Agent
