#include "agent/store/StoreKeeper.h"

#include "agent/Error.h"
#include "agent/store/NameHolders.h"
#include "platform/Nuvio/Assert.h"

#include <algorithm>
#include <utility>

namespace Agent {
namespace {

/// What goes under a name that another interface has taken over is of no account.
bool isOfAccount(DirectoryChange const &change, DirectoryJournal::Directory const &directory) {
    switch (change.kind) {
    case DirectoryChange::Kind::entryDel:
        return !nameIsTaken(directory, change.vlan, change.intf);
    case DirectoryChange::Kind::memberDel:
        return !memberNameIsTaken(directory, change.vlan, change.intf, change.member);
    default:
        return true;
    }
}

} // namespace

StoreKeeper::StoreKeeper(Loop &loop, DirectoryJournal &journal, std::string name, Open open,
                         Checkpointer &checkpointer, Say say)
    : journal_(journal), name_(std::move(name)), open_(std::move(open)),
      checkpointer_(checkpointer), say_(std::move(say)),
      worker_(loop.scheduler(), Osk::TaskPriority::low, "store",
              [this](Osk::Task const &task) { return step(task); }),
      retry_(loop, "store", [this] { worker_.wake(); }), rest_(loop, "store", [this] {
          if (state_ == State::level && queue_.empty()) {
              checkpoint();
          }
      }) {}

StoreKeeper::~StoreKeeper() {
    checkpointer_.stop();
    journal_.readerDel(*this);
}

StoreKeeper::Status StoreKeeper::status() const {
    return {.name = name_,
            .problem = problem_,
            .replacing =
                state_ == State::stale || state_ == State::entering || state_ == State::following,
            .queued = queue_.size(),
            .written = written_,
            .transactions = transactions_,
            .failures = failures_,
            .checkpoints = checkpoints_,
            .checkpointFailures = checkpointFailures_};
}

// What others ask for.

void StoreKeeper::load(std::function<void()> loaded) {
    NUVIO_ASSERT(state_ == State::unused);
    loaded_ = std::move(loaded);
    state_ = State::loading;
    worker_.wake();
}

void StoreKeeper::directoryComplete() {
    if (!std::exchange(complete_, true) && !retry_.running()) {
        worker_.wake();
    }
}

void StoreKeeper::change(DirectoryChange const &change) noexcept {
    if (state_ == State::stale) {
        flooding_ = true;
        return;
    }
    if (!isOfAccount(change, journal_.directory())) {
        return;
    }
    queue_.append(change);
    if (queue_.size() > (state_ == State::level ? maxBehind : maxQueued)) {
        becomeStale();
        floodEnd_ = Loop::Clock::now() + longestFlood;
        if (!retry_.running()) {
            retry_.startAfter(firstRetry);
        }
    }
    if (!retry_.running()) {
        worker_.wake();
    }
}

bool StoreKeeper::flush() {
    if (state_ == State::unused || state_ == State::loading) {
        return true;
    }
    ending_ = true;
    checkpointer_.stop();
    rest_.stop();
    retry_.stop();
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    scheduler->shareIs(std::make_unique<Osk::UnlimitedShare>());
    Worker all(scheduler, Osk::TaskPriority::normal, "flush",
               [this](Osk::Task const &task) { return step(task); });
    all.wake();
    scheduler->runUntilIdle();
    return state_ == State::level && queue_.empty();
}

// The work.

Worker::More StoreKeeper::step(Osk::Task const &task) noexcept {
    try {
        return retry_.running() || checkpointer_.running() ? Worker::More::no : work(task);
    } catch (Error const &error) {
        handleFailure(error.what());
        return Worker::More::no;
    }
}

Worker::More StoreKeeper::work(Osk::Task const &task) {
    switch (state_) {
    case State::loading:
        return loadStep(task);
    case State::level:
        return writeStep(task);
    case State::unused:
        return Worker::More::no;
    default:
        return complete_ ? replaceStep(task) : Worker::More::no;
    }
}

/// The store, opened if need be.
Store &StoreKeeper::store() {
    if (!store_) {
        store_ = open_();
    }
    return *store_;
}

Worker::More StoreKeeper::loadStep(Osk::Task const &task) {
    if (!store().load(journal_.directory(), task)) {
        return Worker::More::yes;
    }
    state_ = State::level;
    handleLoaded();
    return Worker::More::no;
}

void StoreKeeper::handleLoaded() {
    journal_.readerIs(*this);
    std::exchange(loaded_, {})();
}

Worker::More StoreKeeper::replaceStep(Osk::Task const &task) {
    if (state_ == State::stale) {
        if (std::exchange(flooding_, false) && !ending_ && Loop::Clock::now() < floodEnd_) {
            retry_.startAfter(firstRetry);
            return Worker::More::no;
        }
        static_cast<void>(store());
        state_ = State::entering;
    }
    if (state_ == State::entering) {
        if (store().replace(journal_.directory(), task)) {
            state_ = State::following;
        }
    } else if (!queue_.empty()) {
        std::size_t const written = store().write(queue_.front(), task);
        queue_.pop(written);
        followed_ += written;
    } else {
        store().replaceDone();
        written_ += std::exchange(followed_, 0);
        state_ = State::level;
        handleCommitted();
        return Worker::More::no;
    }
    return Worker::More::yes;
}

Worker::More StoreKeeper::writeStep(Osk::Task const &task) {
    if (!queue_.empty()) {
        std::size_t const written = store().write(queue_.front(), task);
        queue_.pop(written);
        written_ += written;
        handleCommitted();
    }
    return queue_.empty() ? Worker::More::no : Worker::More::yes;
}

// How it went.

void StoreKeeper::handleCommitted() {
    ++transactions_;
    handleSuccess();
    if (ending_) {
        return;
    }
    if (pagesToCopy() >= pagesBeforeCheckpoint) {
        checkpoint();
    } else if (pagesToCopy() >= pagesBeforeCheckpointAtRest) {
        rest_.startAfter(restBeforeCheckpoint);
    }
}

void StoreKeeper::handleSuccess() {
    nextRetry_ = firstRetry;
    if (!problem_.empty()) {
        problem_.clear();
        say_(fmt::format("{}: works again", name_));
    }
}

void StoreKeeper::handleFailure(std::string const &message) {
    ++failures_;
    bool const isNews = problem_.empty();
    problem_ = message;
    bool const wasLoading = state_ == State::loading;
    bool const wasLevel = state_ == State::level;
    if (!wasLevel || store_->lost()) {
        becomeStale();
        rest_.stop();
        store_.reset();
        pagesKnown_ = 0;
        nextRetry_ = wasLevel ? firstRetry : nextRetry_; // another file may be there by now
    }
    complete_ = complete_ && !wasLoading;
    retry_.startAfter(nextRetry_);
    nextRetry_ = std::min(2 * nextRetry_, longestRetry);
    if (isNews) {
        say_(fmt::format("{}; the agent goes on from memory and tries again", message));
    }
    if (wasLoading) {
        handleLoaded();
    }
}

// The write-ahead log.

/// Those that have come since the last checkpoint. Where that could not begin the log anew, because
/// of a reader, the next one waits until as much has come again.
int StoreKeeper::pagesToCopy() const noexcept {
    int const pages = store_->logPages();
    return pages < pagesKnown_ ? pages : pages - pagesKnown_;
}

void StoreKeeper::checkpoint() noexcept {
    rest_.stop();
    pagesKnown_ = store_->logPages();
    try {
        checkpointer_.start([this](std::string const &problem) {
            handleCheckpoint(problem);
            worker_.wake();
        });
    } catch (Error const &error) {
        handleCheckpoint(error.what());
    }
}

void StoreKeeper::handleCheckpoint(std::string const &problem) {
    ++(problem.empty() ? checkpoints_ : checkpointFailures_);
    bool const isNews = problem.empty() != checkpointProblem_.empty();
    checkpointProblem_ = problem;
    if (isNews) {
        say_(problem.empty() ? fmt::format("{}: its write-ahead log is copied again", name_)
                             : problem);
    }
}

/// What the store holds is not what the queue follows.
void StoreKeeper::becomeStale() noexcept {
    if (state_ == State::entering || state_ == State::following) {
        store_->replaceUndone();
    }
    queue_.clear();
    followed_ = 0;
    state_ = State::stale;
}

} // namespace Agent
