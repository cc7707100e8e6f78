// One client of the control socket.
//
// Its requests are answered one after the other, in their order: while one is, nothing is read. Of
// what the client does not take, so much is buffered and then nothing more is made. It is closed
// when it sends no request for a time, takes nothing of its answer for a time, sends a line that is
// too long, or too many lines that are no requests; it is told before, if it reads.
//
//   reading --request--> answering --Ending--> reading       any --told to go--> closing --> over
#pragma once

#include "agent/control/Channel.h"
#include "agent/control/Job.h"
#include "agent/control/Protocol.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Agent {

struct ControlLimits {
    std::size_t clients = 64;
    std::size_t requestBytes = std::size_t{1} << 16; ///< of a line
    std::size_t outputBytes = std::size_t{1} << 18;  ///< that a client has not taken; one line more
    std::size_t malformedRequests = 16;              ///< of a client, then it is closed
    std::chrono::nanoseconds idle = std::chrono::minutes(5);    ///< without a request
    std::chrono::nanoseconds stalled = std::chrono::minutes(2); ///< without taking of its answer
};

/// Since the start.
struct ControlStatistics {
    std::uint64_t clients = 0;        ///< let in
    std::uint64_t refusedClients = 0; ///< one more than the limit
    std::uint64_t requests = 0;       ///< well-formed ones
    std::uint64_t malformedRequests = 0;
    std::uint64_t timedOutClients = 0; ///< closed for being idle or stalled
};

class Connection final : private Reply {
  public:
    /// Begin to answer a request; its lines go to `reply`, which outlives the job. Throws an Error
    /// for a request that cannot be answered.
    using Start = std::function<std::unique_ptr<Job>(ControlRequest const &, Reply &reply)>;

    /// What a client shares with the others. `wake` is called when it may have become runnable()
    /// or over(), or may have a new deadline().
    struct Context {
        Loop &loop;
        ControlLimits const &limits;
        Start const &start;
        std::function<void()> const &wake;
        ControlStatistics &statistics;
    };

    /// The context outlives it.
    Connection(Context const &context, Descriptor socket);

    /// Its job has work, and room for what that makes.
    [[nodiscard]] bool runnable() const noexcept;
    /// A step of its job. Requires: runnable().
    void step(Osk::Task const &task);

    /// It is to be destroyed.
    [[nodiscard]] bool over() const noexcept;
    /// When it is to be told to go, as things are; nothing while it may stay.
    [[nodiscard]] std::optional<Loop::Clock::time_point> deadline() const noexcept;
    /// Tell it to go. A client that has not taken its answer is over at once.
    void timeOut();

  private:
    void line(std::string_view json) override;
    [[nodiscard]] bool room() const noexcept override {
        return channel_.pending() < context_.limits.outputBytes;
    }
    void wake() noexcept override { context_.wake(); }

    [[nodiscard]] bool listening() const noexcept;
    void advance();
    [[nodiscard]] bool takeRequest();
    void handleRequest(std::string_view line);
    void end(Ending const &ending);
    void close(std::string message);

    Context const &context_;
    Loop::Clock::time_point lastRequest_;
    std::size_t malformed_ = 0;
    bool full_ = false; ///< no more is made before the client has taken half
    bool closing_ = false;
    bool over_ = false;
    Channel channel_;
    std::unique_ptr<Job> job_; ///< the request that is being answered; it refers to this
};

} // namespace Agent
