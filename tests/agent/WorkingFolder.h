// Another working folder, until the end of a test.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace Agent {

class WorkingFolder {
  public:
    explicit WorkingFolder(std::string const &path) { std::filesystem::current_path(path); }
    ~WorkingFolder() {
        std::error_code ignored;
        std::filesystem::current_path(before_, ignored);
    }
    WorkingFolder(WorkingFolder const &) = delete;
    WorkingFolder &operator=(WorkingFolder const &) = delete;

  private:
    std::filesystem::path before_ = std::filesystem::current_path();
};

} // namespace Agent
