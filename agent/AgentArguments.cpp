#include "agent/AgentArguments.h"

#include "agent/Arguments.h"
#include "platform/Nuvio/DebugHandler.h"

#include <fmt/format.h>

#include <string>

namespace Agent {
namespace {

constexpr char const *examples =
    R"(Runs until SIGTERM and leaves the output as it stands; a later start takes it over and deletes only
what is stale. SIGHUP makes it take a full view of its source again.

Examples:
  vlan-subintf agent
  vlan-subintf agent --bridge br0 --metrics 9469
  vlan-subintf agent --source files --links links.json --vlans vlans.json --store ./directory.db
  vlan-subintf wait-ready --timeout 10 && vlan-subintf show

Exit status: 0 done, 1 failed, 2 wrong usage.)";

constexpr char const *kernelGroup = "Source kernel";
constexpr char const *filesGroup = "Source files (watched: a file that is replaced is read again)";

std::string needSource(std::string const &value) {
    return value == "kernel" || value == "files"
               ? ""
               : fmt::format("expected kernel or files, found \"{}\"", value);
}

void addKernelOptions(CLI::App &command, AgentOptions &options) {
    command
        .add_option("--netns", options.kernel.netns, "Network namespace, as `ip netns` names it")
        ->type_name("NAME")
        ->group(kernelGroup)
        ->check(needName);
    command.add_option("--bridge", options.kernel.bridge, "Only the ports of this bridge")
        ->type_name("NAME")
        ->group(kernelGroup)
        ->check(needName);
    command
        .add_option("--receive-buffer", options.kernel.receiveBuffer,
                    "Size of the buffer for notifications; the kernel may give less")
        ->type_name("BYTES")
        ->group(kernelGroup)
        ->check([](std::string const &value) { return needNumber(value, 1, 1U << 30); });
}

void addPathOptions(CLI::App &command, AgentOptions &options) {
    command
        .add_option("--store", options.store,
                    "Where the output is kept between runs [/var/lib/vlan-subintf/directory.db, or "
                    "in the user's state folder]")
        ->type_name("PATH")
        ->check(needFileName);
    command
        .add_option("--control", options.control,
                    "Socket for the other subcommands [/run/vlan-subintf/control.sock, or in the "
                    "user's runtime folder]")
        ->type_name("PATH")
        ->check(needFileName);
    command
        .add_option("--control-group", options.controlGroup, "Group whose members may use it, too")
        ->type_name("GROUP")
        ->check(needName);
    command
        .add_option("--metrics", options.metrics,
                    "Serve metrics for Prometheus there; without ADDR on the loopback only")
        ->type_name("[ADDR:]PORT")
        ->check(needName);
}

void addAdvancedOptions(CLI::App &command, AgentOptions &options) {
    command
        .add_option_function<unsigned>(
            "--share",
            [&options](unsigned milliseconds) {
                options.share = std::chrono::milliseconds(milliseconds);
            },
            "Longest time that work may hold the loop [5]")
        ->type_name("MS")
        ->group("Advanced")
        ->check([](std::string const &value) { return needNumber(value, 1, 1000); });
    command
        .add_option_function<std::string>(
            "--trace",
            [&options](std::string const &levels) {
                options.traceLevels = Nuvio::Platform::levelMaskOf(levels).value_or(0);
            },
            "Print trace lines of these levels on standard error, such as 6-9")
        ->type_name("LEVELS")
        ->group("Advanced")
        ->check(needTraceLevels);
}

void checkSource(AgentOptions const &options) {
    InputOptions const &files = options.files;
    if (options.source == AgentOptions::SourceKind::kernel) {
        if (!files.links.empty() || !files.vlans.empty() || !files.native.empty()) {
            throw CLI::ValidationError("--links, --vlans and --input need --source files");
        }
        return;
    }
    checkInputOptions(files);
    if (files.links == "-" || files.vlans == "-" || files.native == "-") {
        throw CLI::ValidationError("standard input (-) cannot be watched");
    }
    if (!options.kernel.netns.empty() || !options.kernel.bridge.empty() ||
        options.kernel.receiveBuffer != 0) {
        throw CLI::ValidationError("--netns, --bridge and --receive-buffer need --source kernel");
    }
}

} // namespace

void addAgent(CLI::App &program, AgentOptions &options) {
    using Kind = AgentOptions::SourceKind;
    CLI::App &command = *program.add_subcommand(
        "agent", "Follow a live source and keep the derived directory, until it is told to end");
    command.footer(examples);
    command
        .add_option_function<std::string>(
            "--source",
            [&options](std::string const &kind) {
                options.source = kind == "files" ? Kind::files : Kind::kernel;
            },
            "Where the inputs come from [kernel]")
        ->type_name("kernel|files")
        ->check(needSource);
    addKernelOptions(command, options);
    addInputOptions(command, options.files, filesGroup, "");
    addPathOptions(command, options);
    addAdvancedOptions(command, options);
    command.final_callback([&options] { checkSource(options); });
}

} // namespace Agent
