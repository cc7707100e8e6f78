#include "agent/CommandLine.h"

#include "agent/AgentArguments.h"
#include "agent/AgentCommand.h"
#include "agent/Arguments.h"
#include "agent/Derive.h"
#include "agent/Error.h"
#include "agent/Inspect.h"
#include "agent/JsonText.h"
#include "agent/Output.h"
#include "agent/StandardError.h"
#include "agent/control/ClientCommands.h"
#include "agent/store/CheckpointProcess.h"
#include "platform/Nuvio/DebugHandler.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <sstream>
#include <string>

namespace Agent {
namespace {

constexpr char const *programName = "vlan-subintf";
constexpr char const *description =
    "Derives the configuration of VLAN subinterfaces from VLAN membership and LAG members.";
constexpr char const *exitStatus = "Exit status: 0 done, 1 failed, 2 wrong usage, 3 the result is "
                                   "not ready or differs.";
constexpr char const *inputsGroup = "Inputs";
constexpr char const *standardInputHint = "; - is standard input";
constexpr char const *deriveExamples = R"(Examples:
  ip -d -j link show > links.json
  bridge -j -d vlan show > vlans.json
  vlan-subintf derive --links links.json --vlans vlans.json
  bridge -j -d vlan show | vlan-subintf derive --links links.json --vlans - -j > new.json
  vlan-subintf derive --input inputs.json --previous new.json

Exit status: 0 done, 1 failed, 2 wrong usage, 3 the result is not ready.)";

constexpr char const *inspectExamples =
    R"(Without commands in the arguments or a file they come from standard input; on a terminal with a
prompt, line editing, and completion. The first command that fails ends all but a terminal's session.

Commands (`help` says what they do):
  types   attrs [PATH]   get PATH   set PATH [VALUE...]   del PATH [KEY]   list PATH   size PATH
  invoke PATH [ARG...]   run   show   trace LEVELS   census   help   quit

A PATH names attributes by number or name, and entries by [KEY]; a VALUE is text, null, or @PATH:
  136/265/[100]/266   vlanConfigSm0/childSm/[100]/handleIntf

Examples:
  vlan-subintf inspect --links links.json --vlans vlans.json
  vlan-subintf inspect --input inputs.json get ready ';' list vlanConfigSm0/childSm
  vlan-subintf inspect --input inputs.json --paused --script commands.txt -j
  echo show | vlan-subintf inspect --links links.json --vlans vlans.json

Changes go to the machine as they are: what breaks its own rules ends in an assertion.
Exit status: 0 done, 1 failed, 2 wrong usage.)";

void checkStandardInput(std::initializer_list<std::string const *> files) {
    if (std::count_if(files.begin(), files.end(), [](auto *file) { return *file == "-"; }) > 1) {
        throw CLI::ValidationError("standard input (-) can be only one of the files");
    }
}

void addPrevious(CLI::App &command, std::string &previous, std::string const &purpose) {
    command.add_option("--previous", previous, purpose)->type_name("FILE")->check(needFileName);
}

/// How the machine is run; the same for every subcommand that has one.
void addMachineOptions(CLI::App &command, MachineOptions &machine) {
    constexpr char const *advanced = "Advanced";
    command.add_flag("--sync", machine.synchronous, "Run synchronously instead of on tasks")
        ->group(advanced);
    command
        .add_option("--share", machine.share,
                    "Cut work after so many yield tests instead of after a time")
        ->type_name("TESTS")
        ->group(advanced)
        ->check([](std::string const &value) {
            return needNumber(value, 1, std::numeric_limits<std::uint64_t>::max());
        });
}

void addDerive(CLI::App &program, DeriveOptions &options, std::string &traceLevels) {
    CLI::App &command = *program.add_subcommand(
        "derive", "Derive the subinterfaces of every VLAN, as a table or a JSON document");
    command.footer(deriveExamples);
    addInputOptions(command, options.inputs, inputsGroup, standardInputHint);
    command.add_flag("-j,--json", options.json, "Print a JSON document instead of a table");
    addPrevious(command, options.previous,
                "Start with the entries of an earlier JSON document; a summary on standard error "
                "says what became of them");
    command
        .add_option("--trace", traceLevels,
                    "Print trace lines of these levels on standard error, such as 6-9")
        ->type_name("LEVELS")
        ->check(needTraceLevels);
    addMachineOptions(command, options.machine);
    command.final_callback([&] {
        checkInputOptions(options.inputs);
        checkStandardInput({&options.inputs.links, &options.inputs.vlans, &options.inputs.native,
                            &options.previous});
        options.traceLevels = Nuvio::Platform::levelMaskOf(traceLevels).value_or(0);
    });
}

void addInspect(CLI::App &program, InspectOptions &options) {
    CLI::App &command = *program.add_subcommand(
        "inspect", "Look into the machine by attributes: commands from the arguments, a file, or "
                   "standard input");
    command.footer(inspectExamples);
    addInputOptions(command, options.inputs, inputsGroup, standardInputHint);
    command.add_flag("-j,--json", options.json, "Print a JSON document for each command");
    addPrevious(command, options.previous, "Start with the entries of an earlier JSON document");
    command.add_flag("--paused", options.paused, "Leave the scheduler's work to the command `run`");
    command
        .add_option("--script", options.script,
                    "Take the commands from a file; - is standard input")
        ->type_name("FILE")
        ->check(needFileName);
    addMachineOptions(command, options.machine);
    command
        .add_option("COMMAND", options.words, "A command and its arguments; ';' separates several")
        ->type_name("");
    command.positionals_at_end();
    command.final_callback([&] {
        checkInputOptions(options.inputs);
        // Where no command is given otherwise, standard input has them.
        std::string const commands =
            options.words.empty() && options.script.empty() ? "-" : options.script;
        checkStandardInput({&options.inputs.links, &options.inputs.vlans, &options.inputs.native,
                            &options.previous, &commands});
        if (!options.words.empty() && !options.script.empty()) {
            throw CLI::ValidationError("commands come from the arguments or from --script");
        }
    });
}

/// What the agent runs beside itself; no help lists it.
void addCheckpoint(CLI::App &program, std::string &store) {
    CLI::App &command = *program.add_subcommand(
        checkpointCommand, "Copy the write-ahead log of a store into its database");
    command.group("");
    command.add_option("PATH", store, "The store")->required()->check(needFileName);
}

/// Help, version, or a usage error.
int finishParsing(CLI::App const &program, CLI::ParseError const &end) {
    std::ostringstream out;
    std::ostringstream errors;
    if (program.exit(end, out, errors) == 0) {
        print(out.str());
        return static_cast<int>(ExitCode::done);
    }
    std::string message = end.what();
    auto const subcommands = program.get_subcommands();
    if (subcommands.empty() && !program.remaining().empty()) {
        message = fmt::format("there is no subcommand {}", printable(program.remaining().front()));
    }
    say("{}: {}\nTry `{}{} --help`.", programName, message, programName,
        subcommands.empty() ? "" : ' ' + subcommands.front()->get_name());
    return static_cast<int>(ExitCode::usage);
}

int parseAndRun(int argc, char const *const *argv) {
    CLI::App program(description, programName);
    program.set_version_flag("--version", fmt::format("{} {}", programName, VSIC_VERSION));
    program.require_subcommand(1);
    program.footer(exitStatus);
    DeriveOptions options;
    std::string traceLevels;
    addDerive(program, options, traceLevels);
    InspectOptions inspectOptions;
    addInspect(program, inspectOptions);
    AgentOptions agentOptions;
    addAgent(program, agentOptions);
    ClientOptions clientOptions;
    addClientCommands(program, clientOptions);
    std::string checkpointPath;
    addCheckpoint(program, checkpointPath);
    try {
        program.parse(argc, argv);
    } catch (CLI::ParseError const &end) {
        return finishParsing(program, end);
    }
    ExitCode const code = program.got_subcommand("derive")    ? derive(options)
                          : program.got_subcommand("inspect") ? inspect(inspectOptions)
                          : program.got_subcommand("agent")   ? runAgent(agentOptions)
                          : program.got_subcommand(checkpointCommand)
                              ? runCheckpoint(checkpointPath)
                              : runClient(clientOptions);
    return static_cast<int>(code);
}

} // namespace

int run(int argc, char const *const *argv) {
    // A closed pipe is then an error of the write, and reported like any other.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return parseAndRun(argc, argv);
    } catch (Error const &error) {
        say("{}: {}", programName, error.what());
        return static_cast<int>(ExitCode::failed);
    }
}

} // namespace Agent
