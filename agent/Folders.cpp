#include "agent/Folders.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace Agent {

void makeFoldersAbove(std::string const &path, mode_t mode,
                      std::function<void(std::string const &)> const &failed) {
    namespace fs = std::filesystem;
    fs::path folder;
    for (fs::path const &part : fs::path(path).parent_path()) {
        folder /= part;
        std::error_code ignored;
        bool const isThere = fs::is_directory(folder, ignored);
        if (!isThere && ::mkdir(folder.c_str(), mode) != 0 && errno != EEXIST) {
            failed(folder.string());
        }
    }
}

} // namespace Agent
