// The machine's two inputs as the command line names them, loaded.
#pragma once

#include "agent/Progress.h"
#include "platform/Bridging.h"
#include "platform/Lag.h"

#include <string>

namespace Agent {

/// Where the inputs come from: `links` and `vlans`, or `native`; the others are empty. "-" is
/// standard input, for at most one of them.
struct InputOptions {
    std::string links;
    std::string vlans;
    std::string native;
};

struct Inputs {
    Qor::Ptr<Bridging::Config> bridgingConfig;
    Qor::Ptr<Lag::LagPhyIntfMapping> lagPhyIntfMapping;
};

/// Inputs of their own, with nothing in them.
[[nodiscard]] Inputs emptyInputs();

/// Read and check the files, and register the names of their interfaces. Throws an Error for
/// whatever is wrong with them.
[[nodiscard]] Inputs loadInputs(InputOptions const &options, Progress &progress);

} // namespace Agent
