// Rows of `show` on the client's side.
#pragma once

#include "agent/DirectoryView.h"

#include <nlohmann/json.hpp>

namespace Agent {

/// Enter a row into a directory of the client's own, registering its names as they are needed.
/// Throws what nlohmann::json throws for a row of another form, and an Error for values that no
/// agent sends.
void enterRow(DirectoryView::Directory &directory, nlohmann::json const &row);

} // namespace Agent
