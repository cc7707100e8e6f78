// The program's own side of the control socket: asks a running agent and reads its answer.
//
//     Client client(path);
//     auto const print = [](nlohmann::json const &line) { ... };
//     auto const ending = client.ask({{"request", "show"}}, print, {});
//
// Waits for the agent, in contrast to everything on the agent's side.
#pragma once

#include "agent/Descriptor.h"
#include "agent/control/Protocol.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Agent {

class Client {
  public:
    using Clock = std::chrono::steady_clock;
    using OnLine = std::function<void(nlohmann::json const &)>;
    /// Called whenever what the agent has sent so far was handed out, and the next is waited for.
    using OnPause = std::function<void()>;
    /// How long an agent may be silent before it is given up.
    static constexpr std::chrono::seconds patience{60};

    /// How long to wait for an answer.
    struct Wait {
        std::optional<Clock::duration> whole;              ///< the whole of it; nothing for ever
        std::optional<Clock::duration> silence = patience; ///< between two parts; the same
    };

    /// Connect to the agent at `path`. Throws an Error when there is none, and none comes in that
    /// time.
    explicit Client(std::string path, Clock::duration comesWithin = Clock::duration::zero());

    /// Send a request and hand out the lines of its answer; returns the last one. Nothing when
    /// `wait.whole` was over before. Throws an Error when the agent leaves, is silent for too long,
    /// or says what is no answer.
    [[nodiscard]] std::optional<Ending> ask(nlohmann::json request, OnLine const &onLine,
                                            Wait const &wait, OnPause const &onPause = {});

  private:
    void send(std::string_view text) const;
    [[nodiscard]] bool receive(std::optional<Clock::time_point> end, Wait const &wait);
    [[nodiscard]] std::optional<std::string> takeLine();
    [[nodiscard]] std::optional<Ending> handle(std::string const &line, OnLine const &onLine) const;

    std::string path_;
    Descriptor socket_;
    std::string input_;
    std::size_t taken_ = 0;    ///< of input_: lines handed out
    std::size_t searched_ = 0; ///< of input_: no line end between taken_ and here
};

} // namespace Agent
