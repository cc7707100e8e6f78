// A listening socket on the loop: hands out whoever connects.
//
// Where the process has no descriptor left it rests for a second instead of being called again at
// once: whoever connects waits that long in the socket's queue.
#pragma once

#include "agent/Descriptor.h"
#include "agent/loop/Loop.h"

#include <chrono>
#include <functional>
#include <string>

namespace Agent {

class Acceptor {
  public:
    static constexpr std::chrono::seconds rest{1};
    /// Connections taken in one event: others wait meanwhile.
    static constexpr int acceptedAtOnce = 16;

    /// Takes over a socket that listens and does not block.
    Acceptor(Loop &loop, Descriptor socket, const std::string &cause,
             std::function<void(Descriptor)> accepted);

    [[nodiscard]] int descriptor() const noexcept { return socket_.number(); }

  private:
    void accept();

    Descriptor socket_;
    std::function<void(Descriptor)> accepted_;
    Loop::Timer rest_;
    Loop::Watch watch_; // last: it goes before the socket does
};

} // namespace Agent
