// The lines of the control socket: what a client asks and how an answer ends. docs/control.md
// describes them, docs/control.schema.json defines them.
//
//     {"version": 1, "request": "show", "vlan": 100}
//     {"vlanId": 100, "intfId": "bond0.100", ...}
//     {"version": 1, "status": "done", "ready": true}
#pragma once

#include "agent/control/Job.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace Agent {

inline constexpr int controlVersion = 1;

/// A request as it was read: its name, and its parameters by name. What is wrong with it is an
/// Error that quotes the value.
class ControlRequest {
  public:
    static constexpr int maxNesting = 8;

    /// Read a line, without its end. Throws an Error for all that is no request of this version.
    explicit ControlRequest(std::string_view line);

    [[nodiscard]] std::string const &name() const noexcept { return name_; }

    /// Throws an Error for a parameter that is not among these: one that was ignored would change
    /// what the answer means.
    void allowOnly(std::initializer_list<std::string_view> parameters) const;
    /// A parameter that is a text and not empty; nothing when it is not there.
    [[nodiscard]] std::optional<std::string> text(std::string_view parameter) const;
    /// The same, but it must be there.
    [[nodiscard]] std::string needText(std::string_view parameter) const;
    /// A parameter that is a VLAN number, 1 to 4094.
    [[nodiscard]] std::optional<std::uint16_t> vlan(std::string_view parameter) const;

  private:
    nlohmann::json parameters_; ///< an object
    std::string name_;
};

/// "done", "failed" or "differs".
[[nodiscard]] std::string_view statusWord(Status status) noexcept;
[[nodiscard]] std::optional<Status> statusOf(std::string_view word) noexcept;

/// The last line of a reply, without its end.
[[nodiscard]] std::string lastLine(Ending const &ending);

} // namespace Agent
