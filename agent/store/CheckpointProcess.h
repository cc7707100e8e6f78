// Checkpoints in a process of their own: the program itself, run anew with a subcommand that no
// help lists. SQLite keeps its locks by process, so it must not be a fork that goes on in this
// program.
//
// The process has none of the agent's descriptors, and dies with it.
#pragma once

#include "agent/ExitCode.h"
#include "agent/loop/Loop.h"
#include "agent/store/Checkpointer.h"

#include <memory>
#include <string>

namespace Agent {

/// The subcommand: `vlan-subintf checkpoint-store -- PATH`.
inline constexpr char const *checkpointCommand = "checkpoint-store";
/// The variable of its environment that has the number of the agent's process.
inline constexpr char const *agentVariable = "VLAN_SUBINTF_AGENT";

class CheckpointProcess final : public Checkpointer {
  public:
    /// For the store in the file `path`; `program` is what is run.
    CheckpointProcess(Loop &loop, std::string path, std::string program = "/proc/self/exe");
    /// Stops it.
    ~CheckpointProcess() override;
    /// Not copyable: the loop refers to it.
    CheckpointProcess(CheckpointProcess const &) = delete;
    CheckpointProcess &operator=(CheckpointProcess const &) = delete;

    void start(Done done) override;
    [[nodiscard]] bool running() const noexcept override { return run_ != nullptr; }
    void stop() noexcept override;

  private:
    struct Run;

    void handleEnd();
    /// How it went, by the status of its end and what it has said.
    [[nodiscard]] std::string problemOf(int status, std::string words) const;

    Loop &loop_;
    std::string path_;
    std::string program_;
    Done done_;
    std::unique_ptr<Run> run_; ///< null while none is running
};

/// The subcommand, in the process: see checkpointStore(). Throws an Error. Ends with the agent that
/// agentVariable names, or with its parent.
ExitCode runCheckpoint(std::string const &path);

} // namespace Agent
