#include "tests/threads/Sharers.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace Threads {

Sharers::Sharers() {
    for (Inbox &inbox : inboxes_) {
        running_.emplace_back(&Sharers::run, this, std::ref(inbox));
    }
}

Sharers::~Sharers() {
    drain();
    {
        std::lock_guard const lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    for (std::thread &thread : running_) {
        thread.join();
    }
}

void Sharers::put(Inbox &inbox, std::unique_ptr<Reference> reference) {
    {
        std::lock_guard const lock(mutex_);
        inbox.push_back({std::move(reference), round_});
        ++out_;
    }
    changed_.notify_all();
}

void Sharers::letGo() {
    {
        std::lock_guard const lock(mutex_);
        ++round_;
    }
    changed_.notify_all();
}

void Sharers::drain() {
    letGo();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return out_ == 0; });
}

void Sharers::run(Inbox &inbox) {
    std::vector<Given> held;
    std::uint64_t round = 0;
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return stopping_ || !held.empty() || !inbox.empty(); });
            if (stopping_) {
                return; // nothing is held: the destructor has drained
            }
            std::ranges::move(inbox, std::back_inserter(held));
            inbox.clear();
            round = round_;
        }
        for (Given const &given : held) {
            given.reference->share();
        }
        shared_ += held.size();
        std::size_t const dropped = drop(held, round);
        if (dropped != 0) {
            std::lock_guard const lock(mutex_);
            out_ -= dropped;
            changed_.notify_all();
        }
    }
}

std::size_t Sharers::drop(std::vector<Given> &held, std::uint64_t round) {
    auto const kept = std::stable_partition(
        held.begin(), held.end(), [round](Given const &given) { return given.round == round; });
    auto const dropped = static_cast<std::size_t>(held.end() - kept);
    for (auto given = kept; given != held.end(); ++given) {
        lastReleases_ += given->reference->drop() ? 1U : 0U;
    }
    held.erase(kept, held.end());
    return dropped;
}

} // namespace Threads
