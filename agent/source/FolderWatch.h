// Tells when one of some files has been written or replaced, by watching the folders that they are
// in.
#pragma once

#include "agent/Descriptor.h"
#include "agent/loop/Loop.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Agent {

class FolderWatch {
  public:
    /// `changed` is called from the loop, once or more after each change of a file. Throws an Error
    /// for a folder that cannot be watched.
    FolderWatch(Loop &loop, std::vector<std::string> const &files, std::function<void()> changed);
    /// Not copyable: the loop refers to it.
    FolderWatch(FolderWatch const &) = delete;
    FolderWatch &operator=(FolderWatch const &) = delete;

  private:
    void add(std::string const &file);
    void handleEvents();

    std::function<void()> changed_;
    Descriptor descriptor_;
    std::map<int, std::set<std::string>> files_; ///< names in each watched folder
    std::optional<Loop::Watch> watch_;
};

} // namespace Agent
