// Signals as events of the loop: they are blocked and come through a descriptor.
#pragma once

#include "agent/Descriptor.h"
#include "agent/loop/Loop.h"

#include <csignal>
#include <functional>
#include <initializer_list>
#include <optional>

namespace Agent {

class Signals {
  public:
    /// `handler` is called from the loop with each of these signals that comes. A process that is
    /// made meanwhile has them blocked. Throws an Error.
    Signals(Loop &loop, std::initializer_list<int> signals, std::function<void(int)> handler);
    /// They are as they were before.
    ~Signals();
    Signals(Signals const &) = delete;
    Signals &operator=(Signals const &) = delete;

  private:
    void handleSignals();

    std::function<void(int)> handler_;
    sigset_t before_;
    Descriptor descriptor_;
    std::optional<Loop::Watch> watch_;
};

} // namespace Agent
