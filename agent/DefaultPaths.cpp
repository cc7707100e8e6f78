#include "agent/DefaultPaths.h"

#include "agent/Error.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace Agent {
namespace {

/// The value of a variable that names a folder. One that is not absolute is to be ignored.
std::string folderOf(char const *variable) {
    char const *const value = std::getenv(variable);
    return value && *value == '/' ? value : "";
}

/// `option` is what to give instead.
std::string stateFolder(std::string_view option) {
    if (std::string folder = folderOf("XDG_STATE_HOME"); !folder.empty()) {
        return folder;
    }
    std::string const home = folderOf("HOME");
    if (home.empty()) {
        fail("neither XDG_STATE_HOME nor HOME is set: give {} PATH", option);
    }
    return home + "/.local/state";
}

} // namespace

std::string defaultControlPath() {
    std::string folder = ::geteuid() == 0 ? "/run" : folderOf("XDG_RUNTIME_DIR");
    if (folder.empty()) {
        folder = stateFolder("--control");
    }
    return folder + "/vlan-subintf/control.sock";
}

std::string defaultStorePath() {
    std::string const folder = ::geteuid() == 0 ? "/var/lib" : stateFolder("--store");
    return folder + "/vlan-subintf/directory.db";
}

} // namespace Agent
