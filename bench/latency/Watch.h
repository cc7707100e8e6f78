// Runs a machine turn by turn and says what each turn was: which task ran, in which phase of the
// machine's life, and what changed in it besides.
#pragma once

#include "bench/latency/Site.h"
#include "bench/latency/Turn.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Latency {

/// A time share that notes how long the running task went between two of its questions. Asking the
/// clock each time costs more than the share itself does, so it is for looking into turns only.
class WatchedShare final : public Osk::Share {
  public:
    explicit WatchedShare(std::chrono::nanoseconds limit) noexcept : inner_(limit) {}
    void runBegins() noexcept override;
    bool isUsed() noexcept override;
    /// Of the run that ended at `end`: its longest item with the moment of its end, in seconds of
    /// the monotonic clock to be looked up in a profile, and how long it went on after its last
    /// question. "" when it asked none.
    [[nodiscard]] std::string items(Clock::time_point end) const;

  private:
    Osk::TimeShare inner_;
    Clock::time_point last_;
    Clock::time_point longestEnd_;
    Clock::duration longest_{0};
    std::uint64_t tests_ = 0;
    std::uint64_t longestAt_ = 0;
};

class Watch {
  public:
    /// `items`: note the longest item of each turn, too.
    Watch(Site &site, std::chrono::nanoseconds share, bool items);

    /// The factory call: a turn of its own.
    void factoryCall();
    /// Run until nothing is ready.
    void runUntilIdle();
    /// Run one task; false: none was ready.
    bool runOne();

    [[nodiscard]] std::vector<Turn> takeTurns() { return std::move(turns_); }

  private:
    /// What can be seen of a machine from outside, at one moment.
    struct Glance {
        explicit Glance(VlanSubIntfConfigLib::ConfigSm const *machine);
        [[nodiscard]] std::string phase() const;

        bool isThere = false;
        bool initialScanDone = false;
        bool configIntfReady = false;
        bool ready = false;
        std::uint32_t entriesSeen = 0;
        std::uint32_t entrySlots = 0;
        std::uint32_t collectionsSeen = 0;
        std::uint32_t collectionSlots = 0;
    };
    /// The machine's tasks, held so that one that ran and went can still be told.
    struct Tasks {
        explicit Tasks(VlanSubIntfConfigLib::ConfigSm const *machine);
        [[nodiscard]] std::string whichRan() const;

        std::array<Qor::Ptr<Osk::Task>, 4> task;
        std::array<std::uint64_t, 4> runs{};
    };
    [[nodiscard]] static std::string changes(Glance const &before, Glance const &after);

    Site &site_;
    WatchedShare *items_ = nullptr; ///< the scheduler's; null where items are not watched
    std::vector<Turn> turns_;
};

} // namespace Latency
