// Keeps a store in step with the directory: loads it at the start, then queues every change of the
// directory and writes what has gathered, one transaction in each turn of the loop.
//
//   load() --> loading --> level <--------- following
//                 |          |                  ^       level      the store is a prefix behind
//         failure |          | queue dropped,   |       stale      it has to be replaced
//                 |          v or file gone     |       entering   the directory goes into it
//                 '-----> stale ---------> entering     following  and the changes meanwhile
//                           ^                   |                  into the same transaction
//                           '------ failure ----'
//
// While the store fails, the agent goes on from memory: status() says so, and the keeper tries
// again, at first after a second, then twice as long each time, up to half a minute. A queue that
// has grown beyond maxBehind, or beyond maxQueued while the store is being replaced, is dropped,
// and when the store works again its contents are replaced by the directory's in one transaction;
// the same happens when it could not be loaded, but not before directoryComplete(). What a store
// holds that could not be loaded is not touched until then, nor as long as it cannot be read.
//
// The store's write-ahead log is copied into its database in between, by a Checkpointer. Meanwhile
// changes gather in the queue.
//
// Names are looked up when a change is written: an identifier must keep its name while
// status().queued is not 0.
#pragma once

#include "agent/loop/Loop.h"
#include "agent/loop/Worker.h"
#include "agent/service/DirectoryJournal.h"
#include "agent/store/ChangeQueue.h"
#include "agent/store/Checkpointer.h"
#include "agent/store/Store.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Agent {

class StoreKeeper final : private DirectoryJournal::Reader {
  public:
    using Open = std::function<std::unique_ptr<Store>()>; ///< throws an Error
    using Say = std::function<void(std::string const &)>;
    /// Changes that may wait while the store is being replaced.
    static constexpr std::size_t maxQueued = std::size_t{1} << 22;
    /// A level store that is so many changes behind is replaced, too: each transaction writes the
    /// pages that it touches, and a long row of small ones would write the same pages many times
    /// over.
    static constexpr std::size_t maxBehind = std::size_t{1} << 16;
    static constexpr std::chrono::seconds firstRetry{1};
    static constexpr std::chrono::seconds longestRetry{30};
    /// But not before the changes have let up for a moment, as each that comes meanwhile is written
    /// twice, and makes the end of the transaction long; nor later than that.
    static constexpr std::chrono::seconds longestFlood{30};
    /// The write-ahead log is copied when so many pages have come, or fewer but nothing for a
    /// while: the more often, the more is written twice.
    static constexpr int pagesBeforeCheckpoint = 4096; ///< 16 MiB
    static constexpr int pagesBeforeCheckpointAtRest = 256;
    static constexpr std::chrono::seconds restBeforeCheckpoint{1};

    struct Status {
        std::string name;          ///< the path
        std::string problem;       ///< empty while it works
        bool replacing = false;    ///< it is so far behind that all of it is to be replaced
        std::uint64_t queued = 0;  ///< changes not yet written
        std::uint64_t written = 0; ///< changes, since the start; not the rows of a replacement
        std::uint64_t transactions = 0;
        std::uint64_t failures = 0;
        std::uint64_t checkpoints = 0;
        std::uint64_t checkpointFailures =
            0; ///< the log grows, and changes are written all the same
    };

    /// `name` is the path, for the status. `checkpointer` is for the store that `open` opens, and
    /// outlives the keeper. `say` is told once when something stops working and once when it works
    /// again.
    StoreKeeper(Loop &loop, DirectoryJournal &journal, std::string name, Open open,
                Checkpointer &checkpointer, Say say);
    ~StoreKeeper();
    /// Not copyable: journal and loop refer to it.
    StoreKeeper(StoreKeeper const &) = delete;
    StoreKeeper &operator=(StoreKeeper const &) = delete;

    /// Open the store and fill the journal's directory from it, in slices; `loaded` is called when
    /// that is done, or cannot be done, from the scheduler. From then on changes are written.
    /// Requires: it is called once, and nobody else changes the directory until then.
    void load(std::function<void()> loaded);
    /// The directory is complete: it may take the place of what a store holds that could not be
    /// loaded.
    void directoryComplete();
    /// Write all that is queued, whatever it takes, for the end of the process: from then on the
    /// log is copied only when the store closes. False when that was not possible.
    bool flush();

    [[nodiscard]] Status status() const;

  private:
    enum class State : std::uint8_t { unused, loading, level, stale, entering, following };

    void change(DirectoryChange const &change) noexcept override;
    void becomeStale() noexcept;

    Worker::More step(Osk::Task const &task) noexcept;
    Worker::More work(Osk::Task const &task);
    Worker::More loadStep(Osk::Task const &task);
    Worker::More replaceStep(Osk::Task const &task);
    Worker::More writeStep(Osk::Task const &task);
    void handleLoaded();
    void handleCommitted();
    void handleSuccess();
    void handleFailure(std::string const &message);
    [[nodiscard]] int pagesToCopy() const noexcept;
    void checkpoint() noexcept;
    void handleCheckpoint(std::string const &problem);
    [[nodiscard]] Store &store();

    DirectoryJournal &journal_;
    std::string name_;
    Open open_;
    Checkpointer &checkpointer_;
    Say say_;
    std::function<void()> loaded_; ///< empty once it was called
    std::unique_ptr<Store> store_; ///< null while it is not open
    ChangeQueue queue_;            ///< what the store lacks, unless it is stale
    State state_ = State::unused;
    bool complete_ = true;  ///< false after a failed load, until directoryComplete()
    bool flooding_ = false; ///< changes came while it was stale
    Loop::Clock::time_point floodEnd_{};
    bool ending_ = false; ///< flush() was called
    int pagesKnown_ = 0;  ///< in the log when the last checkpoint began
    std::string problem_;
    std::string checkpointProblem_; ///< of the last one
    std::uint64_t written_ = 0;
    std::uint64_t followed_ = 0; ///< changes in a replacement that is not done
    std::uint64_t transactions_ = 0;
    std::uint64_t failures_ = 0;
    std::uint64_t checkpoints_ = 0;
    std::uint64_t checkpointFailures_ = 0;
    std::chrono::seconds nextRetry_ = firstRetry;
    Worker worker_;
    Loop::Timer retry_; ///< running: nothing is tried before
    Loop::Timer rest_;
};

} // namespace Agent
