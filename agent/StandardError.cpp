#include "agent/StandardError.h"

#include <cstdio>

namespace Agent {

void sayText(std::string_view text) noexcept {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
    static_cast<void>(std::fflush(stderr));
}

} // namespace Agent
