// The folders that a file is to stand in.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace Agent {

/// Make those of the folders above the file `path` that are missing, with that mode. For one that
/// cannot be made `failed` is called with its path, and errno set; it throws.
void makeFoldersAbove(std::string const &path, mode_t mode,
                      std::function<void(std::string const &)> const &failed);

} // namespace Agent
