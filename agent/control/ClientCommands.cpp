#include "agent/control/ClientCommands.h"

#include "agent/Arguments.h"
#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/VlanNumber.h"
#include "agent/control/ClientRuns.h"
#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/DebugHandler.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace Agent {
namespace {

constexpr double longestTimeout = 1e9;

std::string needVlan(std::string const &value) {
    return isNumber(value, firstVlan, lastVlan)
               ? ""
               : fmt::format("expected a VLAN number from {} to {}, found {}", firstVlan, lastVlan,
                             quote(value));
}

std::string needTime(std::string const &value) {
    return isNumber(value, 0.0, longestTimeout)
               ? ""
               : fmt::format("expected a number of seconds from 0 to {:.0f}, found {}",
                             longestTimeout, quote(value));
}

std::string needLevels(std::string const &value) {
    return value == "off" || Nuvio::Platform::levelMaskOf(value)
               ? ""
               : fmt::format("expected levels from 0 to 15, such as 9 or 6-9, or off, found {}",
                             quote(value));
}

void addNothing(CLI::App & /*command*/, ClientOptions & /*options*/) {}

void addShow(CLI::App &command, ClientOptions &options) {
    command.add_option("--vlan", options.vlan, "Only this VLAN")
        ->type_name("VLAN")
        ->check(needVlan);
    command.add_option("--intf", options.intf, "Only the subinterface of this name")
        ->type_name("INTF")
        ->check(needName);
    command.add_option("--lag", options.lag, "Only the subinterfaces of this LAG")
        ->type_name("LAG")
        ->check(needName);
}

void addWaitReady(CLI::App &command, ClientOptions &options) {
    command.add_option("--timeout", options.timeout, "Wait so long at most, instead of for ever")
        ->type_name("SECONDS")
        ->check(needTime);
}

void addExplain(CLI::App &command, ClientOptions &options) {
    command.add_option("INTF", options.intf, "Name of an interface")
        ->type_name("")
        ->required()
        ->check(needName);
    command.add_option("VLAN", options.vlan, "Number of a VLAN; all of the interface's without it")
        ->type_name("")
        ->check(needVlan);
}

void addTrace(CLI::App &command, ClientOptions &options) {
    command.add_option("LEVELS", options.levels, "Levels from 0 to 15, such as 9 or 6-9; or off")
        ->type_name("")
        ->required()
        ->check(needLevels);
}

void addWithdraw(CLI::App &command, ClientOptions &options) {
    command.add_flag("--yes", options.yes, "Do not ask");
}

struct Command {
    std::string_view name;
    std::string_view description;
    std::string_view notes; ///< behind the options in its help
    void (*add)(CLI::App &, ClientOptions &);
    ExitCode (*run)(ClientOptions const &);
};

constexpr std::array commands = {
    Command{"show", "Show the subinterfaces that the agent has derived, as a table or a document",
            R"(Examples:
  vlan-subintf show
  vlan-subintf show --vlan 100 --lag bond0
  vlan-subintf show -j > now.json

Exit status: 0 done, 1 failed, 2 wrong usage, 3 what was shown is not ready.)",
            addShow, runShow},
    Command{"status", "Show how the agent is: what is ready, what it waits for, source and store",
            R"(Examples:
  vlan-subintf status
  vlan-subintf status -j | jq .store.problem

Exit status: 0 done, 1 failed, 2 wrong usage.)",
            addNothing, runStatus},
    Command{
        "wait-ready", "Wait until the agent is ready",
        R"(With a timeout it waits for the agent to come, too; without one it fails where there is none.

Examples:
  vlan-subintf wait-ready --timeout 30 && vlan-subintf show

Exit status: 0 it is ready, 1 failed, 2 wrong usage, 3 it was not ready in time.)",
        addWaitReady, runWaitReady},
    Command{"explain", "Tell why an interface's entry is as it is, or why there is none",
            R"(Examples:
  vlan-subintf explain bond0.100
  vlan-subintf explain bond0.100 100

Exit status: 0 done, 1 failed, 2 wrong usage.)",
            addExplain, runExplain},
    Command{
        "watch", "Show the changes of the directory as they happen, until interrupted",
        R"(A line each: + came, ~ changed, - went, ! changes were missed, for they came too fast.

Examples:
  vlan-subintf watch
  vlan-subintf watch -j | jq --unbuffered .intfId

Exit status: 1 failed, or the agent has left; 2 wrong usage.)",
        addNothing, runWatch},
    Command{"trace", "Set the levels of the agent's trace, which goes to its standard error",
            R"(Examples:
  vlan-subintf trace 6-9
  vlan-subintf trace off

Exit status: 0 done, 1 failed, 2 wrong usage.)",
            addTrace, runTrace},
    Command{
        "audit", "Recompute every entry from the inputs and compare it with the directory",
        R"(Members that an entry keeps from an earlier run are listed apart, and are no difference.

Examples:
  vlan-subintf audit
  vlan-subintf audit -j | jq .drift

Exit status: 0 no difference, 1 failed, 2 wrong usage, 3 the directory differs.)",
        addNothing, runAudit},
    Command{"withdraw", "Take everything out of the directory, and stop following the source",
            R"(The agent goes on running; `vlan-subintf resume` begins anew.

Examples:
  vlan-subintf withdraw
  vlan-subintf withdraw --yes

Exit status: 0 done, 1 failed, refused, or not confirmed; 2 wrong usage.)",
            addWithdraw, runWithdraw},
    Command{"resume", "Begin anew after `vlan-subintf withdraw`",
            R"(Examples:
  vlan-subintf resume && vlan-subintf wait-ready

Exit status: 0 done, 1 failed, 2 wrong usage.)",
            addNothing, runResume},
    Command{"resync", "Have the agent take a full view of its source and apply the differences",
            R"(Examples:
  vlan-subintf resync && vlan-subintf status

Exit status: 0 it was asked for, 1 failed, 2 wrong usage.)",
            addNothing, runResync},
    Command{"metrics", "Print the agent's metrics in the text format of Prometheus",
            R"(Examples:
  vlan-subintf metrics | grep _ready

Exit status: 0 done, 1 failed, 2 wrong usage.)",
            addNothing, runMetrics},
};

} // namespace

void addClientCommands(CLI::App &program, ClientOptions &options) {
    for (Command const &entry : commands) {
        CLI::App &command =
            *program.add_subcommand(std::string(entry.name), std::string(entry.description));
        command.footer(std::string(entry.notes));
        command.group("A running agent");
        command.add_flag("-j,--json", options.json, "Print JSON instead of text");
        command
            .add_option("--control", options.control,
                        "The agent's control socket, where it is not the default one")
            ->type_name("PATH")
            ->check(needFileName);
        entry.add(command, options);
        command.final_callback([&options, name = entry.name] { options.command = name; });
    }
}

std::vector<std::string_view> clientCommands() {
    std::vector<std::string_view> names;
    names.reserve(commands.size());
    for (Command const &command : commands) {
        names.push_back(command.name);
    }
    return names;
}

ExitCode runClient(ClientOptions const &options) {
    auto const *const found =
        std::find_if(commands.begin(), commands.end(),
                     [&](auto const &entry) { return entry.name == options.command; });
    NUVIO_ASSERT(found != commands.end());
    try {
        return found->run(options);
    } catch (nlohmann::json::exception const &error) {
        fail("the agent's answer is of another form: {}", visible(error.what()));
    }
}

} // namespace Agent
