// Threads that hold references to objects of the loop's thread, and count on them without a pause.
//
// What is given goes to every thread, which copies, moves and drops it again and again until the
// next letGo(); then each thread gives up its reference, at a time of its own. Where the loop's
// thread has dropped the object by then, it is disposed of on another thread.
//
//     Sharers sharers;
//     sharers.give(vlan);          // the loop's thread goes on with its work ...
//     bridging->vlanConfigDel(id); // ... lets the object go ...
//     sharers.letGo();             // ... and the others do, while it works on
//
// A Ptr is never shared: each thread has its own, and of the objects only the counts are touched.
#pragma once

#include "platform/Nuvio/Ptr.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Threads {

/// One reference of one thread.
class Reference {
  public:
    virtual ~Reference() = default;
    /// Take and release references on the object.
    virtual void share() = 0;
    /// Give it up. True when it was the last one: the object is disposed of here.
    virtual bool drop() = 0;
};

template <class T> class ReferenceTo final : public Reference {
  public:
    explicit ReferenceTo(Nuvio::Ptr<T> const &object) : object_(object) {}
    void share() override {
        Nuvio::Ptr<T> copy(object_);
        Nuvio::Ptr<T> moved(std::move(object_));
        object_ = copy;
        moved = nullptr;
    }
    /// What a Ptr does, by hand: only so is it certain who had the last one.
    bool drop() override {
        T *const object = object_.detach();
        bool const isLast = object->refDel();
        if (isLast) {
            object->handleZeroRef();
        }
        return isLast;
    }

  private:
    Nuvio::Ptr<T> object_;
};

class Sharers {
  public:
    static constexpr unsigned threads = 3;

    Sharers();
    /// Lets go and waits for it.
    ~Sharers();
    Sharers(Sharers const &) = delete;
    Sharers &operator=(Sharers const &) = delete;

    /// Give a reference on `object` to each thread; null is left alone.
    template <class T> void give(Nuvio::Ptr<T> const &object) {
        for (std::size_t i = 0; object && i < inboxes_.size(); ++i) {
            put(inboxes_[i], std::make_unique<ReferenceTo<T>>(object));
        }
    }
    /// Have the threads give up what they were given so far. Does not wait for it.
    void letGo();
    /// Let go, and wait until no thread holds anything.
    void drain();

    /// References that were taken and released on the threads.
    [[nodiscard]] std::uint64_t shared() const { return shared_; }
    /// Last references that were released there.
    [[nodiscard]] std::uint64_t lastReleases() const { return lastReleases_; }

  private:
    struct Given {
        std::unique_ptr<Reference> reference;
        std::uint64_t round;
    };
    /// What waits for one thread; guarded by mutex_.
    using Inbox = std::vector<Given>;

    void put(Inbox &inbox, std::unique_ptr<Reference> reference);
    void run(Inbox &inbox);
    /// Give up what is older than `round`; the number of references.
    std::size_t drop(std::vector<Given> &held, std::uint64_t round);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Inbox> inboxes_{threads};
    std::uint64_t round_ = 0;
    std::size_t out_ = 0; ///< references given and not dropped yet
    bool stopping_ = false;
    std::atomic<std::uint64_t> shared_ = 0;
    std::atomic<std::uint64_t> lastReleases_ = 0;
    std::vector<std::thread> running_;
};

} // namespace Threads
