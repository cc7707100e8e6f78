// A checkpointer that does nothing until the test says how it went.
#pragma once

#include "agent/Error.h"
#include "agent/store/Checkpointer.h"

#include <string>
#include <utility>

namespace Agent {

class FakeCheckpointer final : public Checkpointer {
  public:
    std::string startProblem; ///< "" for none
    int started = 0;
    int stopped = 0;

    void start(Done done) override {
        ++started;
        if (!startProblem.empty()) {
            fail("{}", startProblem);
        }
        done_ = std::move(done);
    }
    [[nodiscard]] bool running() const noexcept override { return done_ != nullptr; }
    void stop() noexcept override {
        ++stopped;
        done_ = nullptr;
    }

    /// Let it be over. Requires: running().
    void finish(std::string const &problem = "") { std::exchange(done_, nullptr)(problem); }

  private:
    Done done_;
};

} // namespace Agent
