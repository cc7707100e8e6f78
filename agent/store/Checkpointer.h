// Copies the write-ahead log of a store into its database, beside the loop: that waits for the
// disk.
//
// While it runs the agent does not write to the store. So the log is at rest, all of it can be
// copied, and what begins it anew, which waits for the disk once more, is not the next write of the
// agent.
#pragma once

#include <functional>
#include <string>

namespace Agent {

class Checkpointer {
  public:
    /// Told how it went: empty, or what was wrong.
    using Done = std::function<void(std::string const &problem)>;

    virtual ~Checkpointer() = default;

    /// Begin; `done` is called from the loop when it is over. Requires: not running(). Throws an
    /// Error when it cannot begin.
    virtual void start(Done done) = 0;
    [[nodiscard]] virtual bool running() const noexcept = 0;
    /// Let it be over at once, wherever it is: the store bears it. `done` is not called any more.
    virtual void stop() noexcept = 0;
};

/// Copy the log of the store in the file `path` as far as readers let it and, when that was all of
/// it, begin it anew; one that has become large is cut to nothing before. Waits for the disk.
/// Throws an Error.
void checkpointStore(std::string const &path);

} // namespace Agent
