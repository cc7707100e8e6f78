// Documents that an input brings, as files, and what must hold of any the program reads.
//
// A document is refused by an Agent::Error, one printable line that names the file, or it is
// accepted; then the derivation runs, and its result is compared with the slow model and read back
// from its own document.
#pragma once

#include "agent/Inputs.h"
#include "agent/MachineRun.h"
#include "agent/Output.h"
#include "fuzz/Fuzzer.h"

#include <functional>
#include <string>
#include <string_view>

namespace Fuzz {

/// A file in memory, reached by a path. One file each for `index` 0, 1 and 2, used again and again;
/// the content is valid until the next one of that index.
class Document {
  public:
    explicit Document(unsigned index, std::string_view text = {});
    [[nodiscard]] std::string const &path() const noexcept { return path_; }
    /// A stream that appends to the content.
    [[nodiscard]] Agent::Output output() const { return {descriptor_, path_}; }

  private:
    int descriptor_;
    std::string path_;
};

/// UTF-8 without any control character: what may reach a terminal as one line.
[[nodiscard]] bool isPrintable(std::string_view text);

/// Whether `read` accepts; a refusal must be as the head of this file says.
[[nodiscard]] bool accepts(std::function<void()> const &read);

/// How an accepted input is played.
struct Play {
    Agent::MachineOptions machine;
    std::string previous; ///< path of an earlier directory document; empty for none
};

/// Run the machine over the inputs and compare. The names of the inputs are registered; afterwards
/// none is. Inputs with too many members for a quick answer of the model are left alone.
void derive(Agent::Inputs const &inputs, Play const &play);

} // namespace Fuzz
