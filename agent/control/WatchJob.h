// The answer to `watch`: the changes of the directory as they happen, without end.
//
// Changes that the client has not taken wait here, at most maxQueued. Those that come beyond are
// only counted, until the client has taken what waits; then it is told how many it has missed.
#pragma once

#include "agent/control/Job.h"
#include "agent/control/Protocol.h"
#include "agent/service/DirectoryJournal.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace Agent {

class WatchJob final : public Job, private DirectoryJournal::Reader {
  public:
    static constexpr std::size_t maxQueued = 4096;

    /// All outlive the job. Throws an Error for wrong parameters.
    WatchJob(DirectoryJournal &journal, ControlRequest const &request, Reply &reply);
    ~WatchJob() override;
    WatchJob(WatchJob const &) = delete;
    WatchJob &operator=(WatchJob const &) = delete;

    [[nodiscard]] bool hasWork() const noexcept override { return !queue_.empty(); }
    [[nodiscard]] std::optional<Ending> step(Osk::Task const &task) override;

  private:
    /// With the names of that moment: they may be released before the client takes the line.
    struct Named {
        DirectoryChange change;
        Nuvio::String intf;
        Nuvio::String member;
    };

    void change(DirectoryChange const &change) noexcept override;
    void write(Named const &named);

    DirectoryJournal &journal_;
    Reply &reply_;
    std::deque<Named> queue_;
    std::uint64_t lost_ = 0; ///< behind the queue's last; nothing is queued before it is told
};

} // namespace Agent
