#include "agent/control/Metrics.h"

#include "agent/service/MachineFacts.h"

#include <prometheus/metric_family.h>
#include <prometheus/text_serializer.h>

#include <array>
#include <chrono>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {
namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;

double seconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double>(time).count();
}

/// Gathers the families in the order in which they come. Every name begins with "vlan_subintf_".
class Families {
  public:
    using Label = ClientMetric::Label;

    void gauge(std::string_view name, std::string_view help, double value) {
        family(name, help, MetricType::Gauge).metric.push_back(sample(MetricType::Gauge, value));
    }
    void gauge(std::string_view name, std::string_view help, std::uint64_t value) {
        gauge(name, help, static_cast<double>(value));
    }
    void gauge(std::string_view name, std::string_view help, bool value) {
        gauge(name, help, value ? 1.0 : 0.0);
    }
    void counter(std::string_view name, std::string_view help, std::uint64_t value) {
        family(name, help, MetricType::Counter)
            .metric.push_back(sample(MetricType::Counter, static_cast<double>(value)));
    }
    MetricFamily &family(std::string_view name, std::string_view help, MetricType type) {
        auto &made = families_.emplace_back();
        made.name = "vlan_subintf_" + std::string(name);
        made.help = help;
        made.type = type;
        return made;
    }
    static ClientMetric sample(MetricType type, double value, std::vector<Label> labels = {}) {
        ClientMetric metric;
        metric.label = std::move(labels);
        (type == MetricType::Counter ? metric.counter.value : metric.gauge.value) = value;
        return metric;
    }

    [[nodiscard]] std::string text() const {
        std::ostringstream out;
        prometheus::TextSerializer().Serialize(out, families_);
        return std::move(out).str();
    }

  private:
    std::vector<MetricFamily> families_;
};

void addFlags(Families &families, std::string_view name, std::string_view help,
              std::string const &label, NamedFlags const &flags) {
    auto &family = families.family(name, help, MetricType::Gauge);
    for (auto const &[value, flag] : flags) {
        family.metric.push_back(
            Families::sample(MetricType::Gauge, flag ? 1.0 : 0.0, {{label, std::string(value)}}));
    }
}

void addState(Families &families, Service const &service) {
    using State = Service::State;
    families.family("build_info", "1, with the version of the program.", MetricType::Gauge)
        .metric.push_back(Families::sample(MetricType::Gauge, 1.0, {{"version", VSIC_VERSION}}));
    families.gauge("start_time_seconds", "When the agent started, in seconds since 1970.",
                   seconds(service.started().time_since_epoch()));
    NamedFlags states;
    for (State const state :
         {State::starting, State::deriving, State::ready, State::withdrawing, State::withdrawn}) {
        states.emplace_back(stateWord(state), state == service.state());
    }
    addFlags(families, "state", "1 for the state that the agent is in.", "state", states);
    families.gauge("ready", "1 when the directory is complete.", service.ready());
    addFlags(families, "stream_scanned", "1 when the input stream has finished its scan.", "stream",
             streamsScanned(service.machine()));
    addFlags(families, "output_ready", "1 when the output is ready.", "output",
             outputsReady(service.machine()));
}

void addDirectory(Families &families, Service &service) {
    auto const &counts = service.journal().counts();
    families.gauge("directory_entries", "Subinterfaces in VLANs that the directory holds.",
                   counts.entries);
    families.gauge("directory_vlans", "VLANs that the directory holds.",
                   std::uint64_t{service.directory().config().size()});
    families.counter("directory_changes_total", "Changes of the directory.", counts.changes);
    families.gauge("directory_kept_entries",
                   "Entries with LAG members that are kept from an earlier run.",
                   std::uint64_t{service.kept().members().size()});
    families.gauge("input_vlans", "VLANs of the bridging configuration.",
                   std::uint64_t{service.inputs().bridgingConfig->vlanConfig().size()});
    families.gauge("input_lags", "LAGs of the link aggregation mapping.",
                   std::uint64_t{service.inputs().lagPhyIntfMapping->lagPhyIntfConfig().size()});
}

void addSource(Families &families, Service const &service) {
    auto const counts = service.source().counts();
    families.gauge("source_complete", "1 when a first full view of the source was taken in.",
                   service.source().complete());
    families.gauge("source_failing", "1 while the source cannot follow.",
                   !service.sourceProblem().empty());
    families.counter("source_changes_total", "Messages or rows taken in from the source.",
                     counts.changes);
    families.counter("source_resyncs_total", "Full views of the source after the first.",
                     counts.resyncs);
    families.counter("source_overruns_total", "Losses of the source that led to a full view.",
                     counts.overruns);
    families.gauge(
        "source_last_view_timestamp_seconds",
        "When the last full view was complete, in seconds since 1970; 0 for never.",
        service.resync().why.empty() ? 0.0 : seconds(service.resync().when.time_since_epoch()));
}

void addStore(Families &families, StoreKeeper const &store) {
    auto const status = store.status();
    families.gauge("store_failing", "1 while the store does not work.", !status.problem.empty());
    families.gauge("store_queued_changes", "Changes that are not yet in the store.", status.queued);
    families.counter("store_written_changes_total", "Changes written to the store.",
                     status.written);
    families.counter("store_transactions_total", "Transactions of the store.", status.transactions);
    families.counter("store_failures_total", "Failures of the store.", status.failures);
    families.counter("store_checkpoints_total", "Copies of the store's write-ahead log.",
                     status.checkpoints);
    families.counter("store_checkpoint_failures_total",
                     "Failures to copy the store's write-ahead log.", status.checkpointFailures);
}

void addLoop(Families &families, Loop const &loop) {
    auto const &statistics = loop.statistics();
    families.counter("loop_turns_total", "Turns of the event loop.", statistics.turns);
    families.counter("loop_slow_turns_total", "Turns of the event loop that took too long.",
                     statistics.slowTurns);
    families.gauge("loop_longest_turn_seconds", "The longest turn of the event loop.",
                   seconds(statistics.longest.spent));
}

/// Those of one machine begin anew with the next one.
void addTasks(Families &families, VlanSubIntfConfigLib::ConfigSm const *machine) {
    auto const tasks = tasksOf(machine);
    auto const add = [&](std::string_view name, std::string_view help, MetricType type,
                         auto const &valueOf) {
        auto &family = families.family(name, help, type);
        for (Osk::Task const *const task : tasks) {
            family.metric.push_back(
                Families::sample(type, valueOf(task->statistics()),
                                 {{"task", std::string(task->taskName().view())}}));
        }
    };
    add("task_runs_total", "Runs of the machine's task.", MetricType::Counter,
        [](auto const &statistics) { return static_cast<double>(statistics.runs); });
    add("task_longest_run_seconds", "The longest run of the machine's task.", MetricType::Gauge,
        [](auto const &statistics) { return seconds(statistics.longestRun); });
}

void addClients(Families &families, ControlStatistics const &clients) {
    families.counter("control_clients_total", "Clients that the control socket let in.",
                     clients.clients);
    families.counter("control_refused_clients_total", "Clients refused for being too many.",
                     clients.refusedClients);
    families.counter("control_timed_out_clients_total", "Clients closed for being idle or stalled.",
                     clients.timedOutClients);
    families.counter("control_requests_total", "Well-formed requests.", clients.requests);
    families.counter("control_malformed_requests_total", "Malformed requests.",
                     clients.malformedRequests);
}

} // namespace

std::string metricsText(Service &service, ControlStatistics const &clients) {
    Families families;
    addState(families, service);
    addDirectory(families, service);
    addSource(families, service);
    addStore(families, service.store());
    addLoop(families, service.loop());
    addTasks(families, service.machine());
    addClients(families, clients);
    return families.text();
}

} // namespace Agent
