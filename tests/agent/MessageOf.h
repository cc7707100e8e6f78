// What a thing that fails says.
#pragma once

#include "agent/Error.h"

#include <string>
#include <string_view>

namespace Agent {

/// The message of the Error that `action` throws, without `folder` wherever that stands in it;
/// "no error" when it throws none.
std::string messageOf(auto const &action, std::string_view folder = {}) {
    try {
        action();
    } catch (Error const &error) {
        std::string message = error.what();
        for (auto at = message.find(folder); !folder.empty() && at != std::string::npos;
             at = message.find(folder, at)) {
            message.erase(at, folder.size());
        }
        return message;
    }
    return "no error";
}

} // namespace Agent
