#include "platform/Qor/Hash.h"

#include <cstdlib>
#include <random>
#include <string_view>

namespace Qor {
namespace {

std::uint32_t seedOfProcess() {
    if (char const *const fixed = std::getenv("QOR_HASH_SEED")) {
        bool const isHexadecimal = std::string_view(fixed).starts_with("0x");
        return static_cast<std::uint32_t>(std::strtoul(fixed, nullptr, isHexadecimal ? 16 : 10));
    }
    return std::random_device()();
}

} // namespace

std::uint32_t HashHelper::seed_ = seedOfProcess();

} // namespace Qor
