// Inputs in one document, and the directory document of an earlier run.
//
//     <manner> <inputs> [NUL <directory>]
//
// The manner says how the machine runs: 's' synchronously, a digit with a share of so many tests
// and one; nothing of it may show in the result.
#include "fuzz/Documents.h"
#include "fuzz/Fresh.h"

namespace {

Agent::MachineOptions optionsOf(std::uint8_t manner) {
    Agent::MachineOptions options;
    options.synchronous = manner == 's';
    if (!options.synchronous) {
        options.share = 1 + manner % 16;
    }
    return options;
}

/// Whether the document is one. The names of current interfaces come first, so the inputs are read.
bool acceptsPrevious(std::string const &path) {
    return Fuzz::accepts([&path] {
        auto const directory = VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
        Agent::Progress progress;
        static_cast<void>(Agent::loadPrevious(path, *directory, progress));
    });
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size) {
    Fuzz::Fresh const fresh;
    Fuzz::Bytes bytes(data, size);
    auto const options = optionsOf(bytes.next());
    Fuzz::Document const native(0, bytes.nextUntil('\0'));
    bool const hasPrevious = !bytes.empty();
    Fuzz::Document const previous(1, bytes.rest());
    Agent::Progress progress;
    Agent::Inputs inputs;
    if (Fuzz::accepts([&] {
            inputs = loadInputs({{}, {}, native.path()}, progress);
        }) &&
        (!hasPrevious || acceptsPrevious(previous.path()))) {
        Fuzz::derive(inputs, {options, hasPrevious ? previous.path() : std::string()});
    }
    return 0;
}
