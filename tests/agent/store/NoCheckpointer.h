// For stores that have no log.
#pragma once

#include "agent/store/Checkpointer.h"

namespace Agent {

class NoCheckpointer final : public Checkpointer {
  public:
    void start(Done /*done*/) override {}
    [[nodiscard]] bool running() const noexcept override { return false; }
    void stop() noexcept override {}
};

} // namespace Agent
