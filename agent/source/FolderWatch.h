// Tells when one of some files has been written or replaced, by watching the folders that they are
// in. It follows a folder, whatever its name becomes, until renew(); it tells when one is renamed
// or deleted, too.
#pragma once

#include "agent/Descriptor.h"
#include "agent/loop/Loop.h"

#include <sys/inotify.h>

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
    FolderWatch(Loop &loop, std::vector<std::string> files, std::function<void()> changed);
    /// Not copyable: the loop refers to it.
    FolderWatch(FolderWatch const &) = delete;
    FolderWatch &operator=(FolderWatch const &) = delete;

    /// Watch the folders that have the names now. Throws an Error for one that cannot be watched,
    /// and watches those from before then.
    void renew();

  private:
    using Names = std::map<int, std::set<std::string>>;

    [[nodiscard]] int watchFolderOf(std::string const &file) const;
    void handleEvents();
    [[nodiscard]] bool isChange(inotify_event const &event, char const *name) const;

    std::vector<std::string> files_;
    std::function<void()> changed_;
    Descriptor descriptor_;
    Names names_; ///< of the files in each watched folder
    std::optional<Loop::Watch> watch_;
};

} // namespace Agent
