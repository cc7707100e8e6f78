// Releases the names of interfaces that are gone, once nothing refers to their identifiers any
// more: neither inputs, directory nor source, nor a change that the store has yet to write.
//
// A sweep marks what is in use, in slices, and releases the rest in one go. What comes into use
// while it is under way is marked as it comes: the journal tells of the directory, and the source
// is asked at the end.
#pragma once

#include "agent/loop/Loop.h"
#include "agent/loop/Worker.h"
#include "agent/service/DirectoryJournal.h"
#include "agent/service/EntryWalk.h"
#include "agent/source/Source.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_set>

namespace Agent {

class NameSweep final : private DirectoryJournal::Reader {
  public:
    static constexpr std::chrono::seconds usualDelay{30};

    /// `busy` tells whether a change waits for its names to be written out; `delay` is how long
    /// after a request a sweep begins.
    NameSweep(Loop &loop, Inputs const &inputs, DirectoryJournal &journal,
              std::function<bool()> busy, std::chrono::milliseconds delay = usualDelay);
    ~NameSweep();
    NameSweep(NameSweep const &) = delete;
    NameSweep &operator=(NameSweep const &) = delete;

    /// Who is asked which interfaces are current. Requires: it outlives this.
    void sourceIs(Source const &source) noexcept { source_ = &source; }
    /// Names may have become free: sweep in a while.
    void request();
    /// Sweep at once, in slices.
    void sweepNow() noexcept { worker_.wake(); }
    /// Names released so far.
    [[nodiscard]] std::uint64_t released() const noexcept { return released_; }

  private:
    void change(DirectoryChange const &change) noexcept override;
    [[nodiscard]] Worker::More sweep(Osk::Task const &task);
    void mark(Bridging::VlanId vlan, Iftel::IntfId intf);
    void mark(Iftel::IntfId intf);
    void markLags();
    void release();

    Inputs const &inputs_;
    DirectoryJournal &journal_;
    std::function<bool()> busy_;
    std::chrono::milliseconds delay_;
    Source const *source_ = nullptr;
    Loop::Timer timer_;
    Worker worker_;
    std::optional<EntryWalk> walk_;
    std::unordered_set<std::uint64_t> used_; ///< bits of identifiers; valid while walk_
    bool again_ = false; ///< requested during the sweep: it may have marked what became free
    std::uint64_t released_ = 0;
};

} // namespace Agent
