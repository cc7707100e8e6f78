// The inputs as a stream of rows, by which the process that reads files hands them to the agent.
//
// Not a format for anybody else: both ends are one program, in one byte order. Every interface is a
// row of its own, with its name, before the first row that uses it; so identifiers do not matter.
//
//     writeInputRows(inputs, write)      in the process that has read and checked the files
//     rows.take(bytes), rows.inputs()    in the agent, as the bytes come
#pragma once

#include "agent/Inputs.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// Write rows. `write` is given pieces of some tens of kilobytes.
void writeInputRows(Inputs const &inputs, std::function<void(std::string_view)> const &write);
/// Write, instead of rows, why there are none.
void writeInputProblem(std::string_view message,
                       std::function<void(std::string_view)> const &write);

/// Builds inputs of their own from the rows, and registers the names in them.
class InputRowsReader {
  public:
    /// Take what has come: whole rows are entered, the rest waits for the next bytes.
    void take(std::string_view bytes);
    /// The last row was taken.
    [[nodiscard]] bool complete() const noexcept { return complete_; }
    /// What was wrong with the files; empty if nothing.
    [[nodiscard]] std::string const &problem() const noexcept { return problem_; }
    /// The inputs so far.
    [[nodiscard]] Inputs const &inputs() const noexcept { return inputs_; }
    /// The interfaces in them.
    [[nodiscard]] std::vector<Iftel::IntfId> const &intfs() const noexcept { return intfs_; }

  private:
    [[nodiscard]] std::size_t takeRow(std::string_view bytes);
    void intf(std::uint8_t kind, std::uint32_t parent, std::string_view name);

    Inputs inputs_ = emptyInputs();
    std::vector<Iftel::IntfId> intfs_; ///< by the number of their rows
    Qor::Ptr<Bridging::VlanConfig> vlan_;
    Qor::Ptr<Lag::LagPhyIntfConfig> lag_;
    std::string rest_;
    std::string problem_;
    bool complete_ = false;
};

} // namespace Agent
