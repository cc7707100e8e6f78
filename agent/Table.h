// The directory as a table for people.
#pragma once

#include "agent/DirectoryView.h"
#include "agent/Output.h"

namespace Agent {

/// Write a header and one line for each subinterface in each VLAN; nothing for an empty directory.
/// Flushes `output`.
void writeTable(Output &output, DirectoryView const &view);

} // namespace Agent
