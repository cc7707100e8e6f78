// The machine's inputs from what iproute2 prints: `ip -d -j link show` and
// `bridge -j -d vlan show`. See docs/formats.md for what is read from them, and how.
//
// What does not fit throws an Error with file, path and value.
#pragma once

#include "agent/InputFile.h"
#include "agent/LinkTable.h"
#include "platform/Bridging.h"

namespace Agent {

/// Read the links of `ip -d -j link show`; the table is resolved.
[[nodiscard]] LinkTable readIprouteLinks(InputFile &file);

/// Read the VLAN members of `bridge -j -d vlan show` into `config`. Requires: `links` are resolved.
void readIprouteVlans(InputFile &file, LinkTable const &links, Bridging::Config &config);

} // namespace Agent
