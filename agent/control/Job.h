// A request that is being answered.
//
// Whatever a request asks for is done by a Job, in steps on a task of the scheduler: so a long
// answer never makes a long turn, and one client's answer waits for no other client's. A reply is
// any number of lines, each a JSON object, and an Ending, which becomes the last line.
#pragma once

#include "platform/Osk.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Agent {

/// How a request has ended; the same three as the program's exit status.
enum class Status : std::uint8_t {
    done,
    failed,  ///< refused, or not possible
    differs, ///< answered, but the answer is not what was hoped for: not ready, drift
};

/// The last line of a reply.
struct Ending {
    Status status = Status::done;
    std::string message;                              ///< for people; of all but done
    nlohmann::json fields = nlohmann::json::object(); ///< further members
};

[[nodiscard]] inline Ending failed(std::string message) {
    return {Status::failed, std::move(message), nlohmann::json::object()};
}

/// Where a job's lines go.
class Reply {
  public:
    /// Add a line: a JSON object, without the line's end.
    virtual void line(std::string_view json) = 0;
    void document(nlohmann::json const &json) {
        line(json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    }
    /// Another line may be added. While there is no room a job has no steps.
    [[nodiscard]] virtual bool room() const noexcept = 0;
    /// The job's hasWork() may have become true.
    virtual void wake() noexcept = 0;

  protected:
    ~Reply() = default;
};

class Job {
  public:
    virtual ~Job() = default;

    /// Whether step() has something to do.
    [[nodiscard]] virtual bool hasWork() const noexcept { return true; }
    /// Go on: something at least, then as long as there is room and until `task` should yield.
    /// Returns how the reply ends; nothing when it goes on. An Error that is thrown ends it, too.
    [[nodiscard]] virtual std::optional<Ending> step(Osk::Task const &task) = 0;
};

} // namespace Agent
