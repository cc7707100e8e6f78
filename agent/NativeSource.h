// The machine's inputs from one document in the system's own terms; docs/formats.md describes it,
// docs/input.schema.json defines it.
//
// What does not fit throws an Error with file, path and value.
#pragma once

#include "agent/InputFile.h"
#include "platform/Bridging.h"
#include "platform/Lag.h"

namespace Agent {

/// Read a document into both inputs.
void readNative(InputFile &file, Bridging::Config &config, Lag::LagPhyIntfMapping &mapping);

} // namespace Agent
