#include "agent/control/StatusDocument.h"

#include "agent/Error.h"
#include "agent/service/MachineFacts.h"
#include "platform/Iftel.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <chrono>

namespace Agent {
namespace {

using nlohmann::json;

template <class Unit> std::int64_t count(auto duration) {
    return std::chrono::duration_cast<Unit>(duration).count();
}

std::int64_t microseconds(std::chrono::nanoseconds time) {
    return count<std::chrono::microseconds>(time);
}

std::int64_t unixMilliseconds(Service::Clock::time_point time) {
    return count<std::chrono::milliseconds>(time.time_since_epoch());
}

json flags(NamedFlags const &named) {
    json object = json::object();
    for (auto const &[name, flag] : named) {
        object[std::string(name)] = flag;
    }
    return object;
}

json sourceOf(Service const &service) {
    Source const &source = service.source();
    Source::Counts const counts = source.counts();
    json document = {{"name", source.name()},       {"complete", source.complete()},
                     {"changes", counts.changes},   {"resyncs", counts.resyncs},
                     {"overruns", counts.overruns}, {"problem", service.sourceProblem()}};
    if (Service::Resync const &resync = service.resync(); !resync.why.empty()) {
        document["lastView"] = {{"why", resync.why},
                                {"unixMilliseconds", unixMilliseconds(resync.when)}};
    }
    return document;
}

json storeOf(StoreKeeper const &store) {
    StoreKeeper::Status const status = store.status();
    return {{"name", status.name},
            {"problem", status.problem},
            {"replacing", status.replacing},
            {"queued", status.queued},
            {"written", status.written},
            {"transactions", status.transactions},
            {"failures", status.failures},
            {"checkpoints", status.checkpoints},
            {"checkpointFailures", status.checkpointFailures}};
}

json turnClassesOf(Loop::Statistics const &statistics) {
    json classes = json::array();
    for (std::size_t i = 0; i < statistics.classes.size(); ++i) {
        classes.push_back({{"turns", statistics.classes[i]}});
        if (i < Loop::Statistics::classEnds.size()) {
            classes.back()["upToMilliseconds"] = Loop::Statistics::classEnds[i].count();
        }
    }
    return classes;
}

json loopOf(Loop const &loop) {
    Loop::Statistics const &statistics = loop.statistics();
    return {{"turns", statistics.turns},
            {"slowTurns", statistics.slowTurns},
            {"longestTurnMicroseconds", microseconds(statistics.longest.spent)},
            {"longestCause", statistics.longest.cause},
            {"longestProcessorMicroseconds", microseconds(statistics.longestProcessor)},
            {"turnClasses", turnClassesOf(statistics)}};
}

json taskOf(Osk::Task const &task) {
    auto const &statistics = task.statistics();
    return {{"name", task.taskName().view()},
            {"runs", statistics.runs},
            {"queued", task.taskQueued()},
            {"longestRunMicroseconds", microseconds(statistics.longestRun)}};
}

json tasksOfMachine(Service const &service) {
    json list = json::array();
    for (Osk::Task const *const task : tasksOf(service.machine())) {
        list.push_back(taskOf(*task));
    }
    return list;
}

json clientsOf(ControlStatistics const &clients) {
    return {{"clients", clients.clients},
            {"refusedClients", clients.refusedClients},
            {"timedOutClients", clients.timedOutClients},
            {"requests", clients.requests},
            {"malformedRequests", clients.malformedRequests}};
}

json directoryOf(Service &service) {
    DirectoryJournal::Counts const &counts = service.journal().counts();
    return {{"vlans", service.directory().config().size()},
            {"entries", counts.entries},
            {"changes", counts.changes},
            {"entriesWithKeptMembers", service.kept().members().size()}};
}

json inputsOf(Service const &service) {
    return {{"vlans", service.inputs().bridgingConfig->vlanConfig().size()},
            {"lags", service.inputs().lagPhyIntfMapping->lagPhyIntfConfig().size()},
            {"names", Iftel::NameTable::instance().size()}};
}

} // namespace

json statusDocument(Service &service, ControlStatistics const &clients) {
    return {
        {"state", stateWord(service.state())},
        {"ready", service.ready()},
        {"waitingFor", service.waitingFor()},
        {"program", VSIC_VERSION},
        {"startedUnixMilliseconds", unixMilliseconds(service.started())},
        {"uptimeSeconds", count<std::chrono::seconds>(Service::Clock::now() - service.started())},
        {"streams", flags(streamsScanned(service.machine()))},
        {"outputs", flags(outputsReady(service.machine()))},
        {"inputs", inputsOf(service)},
        {"directory", directoryOf(service)},
        {"source", sourceOf(service)},
        {"store", storeOf(service.store())},
        {"loop", loopOf(service.loop())},
        {"tasks", tasksOfMachine(service)},
        {"control", clientsOf(clients)}};
}

std::string notReadyMessage(Service const &service) {
    auto const waitingFor = service.waitingFor();
    return fmt::format("the agent is {}{}{}", stateWord(service.state()),
                       waitingFor.empty() ? "" : ", waiting for ", fmt::join(waitingFor, ", "));
}

Ending readyOrNot(Service const &service) {
    if (service.ready()) {
        return {};
    }
    Ending ending;
    ending.status = Status::differs;
    ending.message = notReadyMessage(service);
    return ending;
}

Service const &needReady(Service const &service) {
    if (!service.ready()) {
        fail("refused: {}", notReadyMessage(service));
    }
    return service;
}

} // namespace Agent
