#include "agent/control/ClientRuns.h"

#include "agent/DefaultPaths.h"
#include "agent/DirectoryDocument.h"
#include "agent/DirectoryView.h"
#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/Output.h"
#include "agent/StandardError.h"
#include "agent/Table.h"
#include "agent/control/AnswerText.h"
#include "agent/control/Client.h"
#include "agent/control/RowReader.h"
#include "agent/service/ExplanationText.h"

#include <unistd.h>

#include <iostream>

namespace Agent {
namespace {

using nlohmann::json;

Client clientOf(ClientOptions const &options,
                Client::Clock::duration comesWithin = Client::Clock::duration::zero()) {
    return Client(options.control.empty() ? defaultControlPath() : options.control, comesWithin);
}

/// Ask, and wait for the whole answer. Throws an Error with the agent's words where it fails.
Ending ask(
    ClientOptions const &options, json request, Client::OnLine const &onLine = [](auto &) {}) {
    auto ending = clientOf(options).ask(std::move(request), onLine, {});
    if (ending->status == Status::failed) {
        fail("{}", visible(ending->message));
    }
    return *std::move(ending);
}

/// Ask for an answer of one document.
json askDocument(ClientOptions const &options, json request) {
    std::optional<json> document;
    static_cast<void>(ask(options, std::move(request), [&](json const &line) { document = line; }));
    if (!document) {
        fail("the agent has answered without a document");
    }
    return *std::move(document);
}

std::string lineOf(json const &document) {
    return document.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
}

/// The exit status for an answer that is complete; says what there is to say about it.
ExitCode finish(Ending const &ending) {
    if (ending.status == Status::done) {
        return ExitCode::done;
    }
    say("{}", visible(ending.message));
    return ExitCode::differs;
}

/// Print how a request ended that has no other answer: the last line, or words of the program's.
ExitCode printEnding(ClientOptions const &options, Ending const &ending, std::string_view words) {
    if (options.json) {
        print(lastLine(ending) + '\n');
    } else if (ending.status == Status::done) {
        print(fmt::format("{}\n", words));
    }
    return finish(ending);
}

/// Whether the operator says yes.
bool confirmed(std::string_view question) {
    sayText(question);
    std::string reply;
    std::getline(std::cin, reply);
    return reply == "y" || reply == "yes";
}

} // namespace

ExitCode runShow(ClientOptions const &options) {
    json request = {{"request", "show"}};
    if (options.vlan) {
        request["vlan"] = *options.vlan;
    }
    if (!options.intf.empty()) {
        request["intf"] = options.intf;
    }
    if (!options.lag.empty()) {
        request["lag"] = options.lag;
    }
    auto const directory = DirectoryView::Directory::VlanSubIntfConfigDirIs();
    Ending const ending =
        ask(options, request, [&](json const &row) { enterRow(*directory, row); });
    Output output(STDOUT_FILENO, "standard output");
    DirectoryView const view(*directory);
    if (options.json) {
        writeDirectoryDocument(output, view, ending.status == Status::done);
    } else if (view.empty()) {
        bool const chosen = options.vlan || !options.intf.empty() || !options.lag.empty();
        say("nothing to show: the directory {}", chosen ? "has no such entry" : "is empty");
    } else {
        writeTable(output, view);
    }
    return finish(ending);
}

ExitCode runStatus(ClientOptions const &options) {
    json const status = askDocument(options, {{"request", "status"}});
    print(options.json ? lineOf(status) : statusText(status));
    return ExitCode::done;
}

ExitCode runWaitReady(ClientOptions const &options) {
    using Clock = Client::Clock;
    auto const timeout = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(options.timeout.value_or(0)));
    auto const end = Clock::now() + timeout;
    Client client = clientOf(options, timeout); // it may be starting just now
    Client::Wait wait{std::nullopt, std::nullopt};
    if (options.timeout) {
        wait.whole = std::max(end - Clock::now(), Clock::duration::zero());
    }
    auto ending = client.ask(
        {{"request", "wait-ready"}}, [](auto &) {}, wait);
    if (!ending) {
        ending = Ending{Status::differs,
                        fmt::format("the agent is not ready after {} s", *options.timeout),
                        json::object()};
    } else if (ending->status == Status::failed) {
        fail("{}", visible(ending->message));
    }
    return printEnding(options, *ending, "ready");
}

ExitCode runExplain(ClientOptions const &options) {
    json request = {{"request", "explain"}, {"intf", options.intf}};
    if (options.vlan) {
        request["vlan"] = *options.vlan;
    }
    json const explanation = askDocument(options, std::move(request));
    print(options.json ? lineOf(explanation) : explanationText(explanation));
    return ExitCode::done;
}

ExitCode runWatch(ClientOptions const &options) {
    Output output(STDOUT_FILENO, "standard output");
    auto const ending = clientOf(options).ask(
        {{"request", "watch"}},
        [&](json const &change) {
            output.text() += options.json ? lineOf(change) : changeText(change);
            output.commit();
        },
        {std::nullopt, std::nullopt}, [&] { output.flush(); });
    fail("{}", visible(ending->message)); // it has no end of its own
}

ExitCode runTrace(ClientOptions const &options) {
    json const set = askDocument(options, {{"request", "trace"}, {"levels", options.levels}});
    print(options.json ? lineOf(set)
                       : fmt::format("trace levels of the agent: {}\n", options.levels));
    return ExitCode::done;
}

ExitCode runAudit(ClientOptions const &options) {
    json findings = json::array();
    Ending const ending =
        ask(options, {{"request", "audit"}}, [&](json const &line) { findings.push_back(line); });
    json document = ending.fields;
    document.erase("status");
    document.erase("message");
    document["findings"] = std::move(findings);
    print(options.json ? lineOf(document) : auditText(document));
    return ending.status == Status::done ? ExitCode::done : ExitCode::differs;
}

ExitCode runWithdraw(ClientOptions const &options) {
    if (!options.yes) {
        json const status = askDocument(options, {{"request", "status"}});
        if (!status.at("ready").get<bool>()) {
            fail("refused: the agent is {}", visible(status.at("state").get<std::string>()));
        }
        if (!confirmed(fmt::format("Take all {} entries out of the directory? [y/N] ",
                                   status.at("directory").at("entries").get<std::uint64_t>()))) {
            fail("not withdrawn: not confirmed");
        }
    }
    Ending const ending = ask(options, {{"request", "withdraw"}});
    auto const entries = ending.fields.value("entries", std::uint64_t{0});
    return printEnding(options, ending, fmt::format("withdrawn: {} entries", entries));
}

ExitCode runResume(ClientOptions const &options) {
    return printEnding(options, ask(options, {{"request", "resume"}}), "resumed");
}

ExitCode runResync(ClientOptions const &options) {
    return printEnding(options, ask(options, {{"request", "resync"}}), "resynchronising");
}

ExitCode runMetrics(ClientOptions const &options) {
    json const document = askDocument(options, {{"request", "metrics"}});
    print(options.json ? lineOf(document) : document.at("metrics").get<std::string>());
    return ExitCode::done;
}

} // namespace Agent
