// Where the agent's files are when nobody says otherwise.
#pragma once

#include <string>

namespace Agent {

/// The control socket: /run/vlan-subintf/control.sock for root; else vlan-subintf/control.sock in
/// the user's runtime folder ($XDG_RUNTIME_DIR) or, where there is none, in the state folder
/// ($XDG_STATE_HOME, else ~/.local/state). Throws an Error where none of them is known.
[[nodiscard]] std::string defaultControlPath();

/// The store: /var/lib/vlan-subintf/directory.db for root, else vlan-subintf/directory.db in the
/// state folder. Throws an Error where it is not known.
[[nodiscard]] std::string defaultStorePath();

} // namespace Agent
