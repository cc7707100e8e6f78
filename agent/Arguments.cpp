#include "agent/Arguments.h"

#include "platform/Nuvio/DebugHandler.h"

#include <fmt/format.h>

namespace Agent {

std::string needName(std::string const &value) {
    return value.empty() ? "expected a name" : "";
}

std::string needFileName(std::string const &value) {
    return value.empty() ? "expected a file name" : "";
}

std::string needTraceLevels(std::string const &value) {
    return Nuvio::Platform::levelMaskOf(value)
               ? ""
               : fmt::format("expected levels from 0 to 15, such as 9 or 6-9, found \"{}\"", value);
}

std::string needNumber(std::string const &value, std::uint64_t min, std::uint64_t max) {
    if (isNumber(value, min, max)) {
        return "";
    }
    bool const zeroInFront = value.size() > 1 && value.front() == '0';
    return fmt::format("expected a number from {} to {}{}, found \"{}\"", min, max,
                       zeroInFront ? " without zeros in front" : "", value);
}

void addInputOptions(CLI::App &command, InputOptions &inputs, std::string const &group,
                     std::string const &hint) {
    command.add_option("--links", inputs.links, "Output of `ip -d -j link show`" + hint)
        ->type_name("FILE")
        ->group(group)
        ->check(needFileName);
    command.add_option("--vlans", inputs.vlans, "Output of `bridge -j -d vlan show`" + hint)
        ->type_name("FILE")
        ->group(group)
        ->check(needFileName);
    command
        .add_option("--input", inputs.native,
                    "Both in one native document, instead of --links and --vlans")
        ->type_name("FILE")
        ->group(group)
        ->check(needFileName);
}

void checkInputOptions(InputOptions const &inputs) {
    bool const iproute = !inputs.links.empty() || !inputs.vlans.empty();
    if (iproute && !inputs.native.empty()) {
        throw CLI::ValidationError("--input stands instead of --links and --vlans");
    }
    if (inputs.native.empty() && (inputs.links.empty() || inputs.vlans.empty())) {
        throw CLI::ValidationError("--links and --vlans, or --input, must be given");
    }
}

} // namespace Agent
