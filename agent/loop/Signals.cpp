#include "agent/loop/Signals.h"

#include "agent/Errno.h"
#include "agent/Error.h"

#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <utility>

namespace Agent {

Signals::Signals(Loop &loop, std::initializer_list<int> signals, std::function<void(int)> handler)
    : handler_(std::move(handler)) {
    sigset_t set;
    sigemptyset(&set);
    for (int const signal : signals) {
        sigaddset(&set, signal);
    }
    descriptor_ = Descriptor(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!descriptor_) {
        fail("cannot wait for signals: {}", errnoText());
    }
    ::sigprocmask(SIG_BLOCK, &set, &before_);
    watch_.emplace(loop, descriptor_.number(), EPOLLIN, "signals",
                   [this](std::uint32_t /*events*/) { handleSignals(); });
}

Signals::~Signals() {
    ::sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void Signals::handleSignals() {
    signalfd_siginfo info{};
    while (::read(descriptor_.number(), &info, sizeof(info)) == sizeof(info)) {
        handler_(static_cast<int>(info.ssi_signo));
    }
}

} // namespace Agent
