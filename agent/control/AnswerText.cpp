#include "agent/control/AnswerText.h"

#include "agent/JsonText.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <string_view>
#include <utility>

namespace Agent {
namespace {

using nlohmann::json;

std::string text(json const &object, char const *member) {
    return visible(object.at(member).get_ref<std::string const &>());
}

std::uint64_t number(json const &object, char const *member) {
    return object.at(member).get<std::uint64_t>();
}

/// "1 entry", "2 entries".
std::string counted(std::uint64_t count, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

/// "3 d 04:05:06", or "04:05:06" on the first day.
std::string duration(std::chrono::seconds time) {
    auto const days = std::chrono::duration_cast<std::chrono::days>(time);
    auto const clock = fmt::format("{:%T}", time - days);
    return days.count() == 0 ? clock : fmt::format("{} d {}", days.count(), clock);
}

/// A paragraph of a status: a title, and lines that stand below each other behind it.
class Paragraphs {
  public:
    void title(std::string_view name) { title_ = name; }
    template <class... Args> void line(fmt::format_string<Args...> format, Args &&...args) {
        fmt::format_to(std::back_inserter(text_), "{:<11}", std::exchange(title_, ""));
        fmt::format_to(std::back_inserter(text_), format, std::forward<Args>(args)...);
        text_ += '\n';
    }
    void problemIf(json const &object) {
        if (auto const problem = text(object, "problem"); !problem.empty()) {
            line("problem: {}", problem);
        }
    }
    std::string take() { return std::move(text_); }

  private:
    std::string_view title_;
    std::string text_;
};

void addAgent(Paragraphs &paragraphs, json const &status) {
    paragraphs.title("agent");
    paragraphs.line("{}, version {}, up {}", text(status, "state"), text(status, "program"),
                    duration(std::chrono::seconds(number(status, "uptimeSeconds"))));
    for (auto const &blocker : status.at("waitingFor")) {
        paragraphs.line("waiting for {}", visible(blocker.get_ref<std::string const &>()));
    }
}

void addSource(Paragraphs &paragraphs, json const &source) {
    paragraphs.title("source");
    paragraphs.line("{}", text(source, "name"));
    paragraphs.line("{}, {}, {}", counted(number(source, "changes"), "change", "changes"),
                    counted(number(source, "resyncs"), "resync", "resyncs"),
                    counted(number(source, "overruns"), "overrun", "overruns"));
    if (source.contains("lastView")) {
        json const &view = source.at("lastView");
        std::chrono::sys_time<std::chrono::seconds> const when{
            std::chrono::seconds(number(view, "unixMilliseconds") / 1000)};
        paragraphs.line("last full view {:%F %T} UTC: {}", when, text(view, "why"));
    }
    paragraphs.problemIf(source);
}

void addStore(Paragraphs &paragraphs, json const &store) {
    paragraphs.title("store");
    paragraphs.line("{}", text(store, "name"));
    paragraphs.line(
        "{} written in {}, {} queued, {}", counted(number(store, "written"), "change", "changes"),
        counted(number(store, "transactions"), "transaction", "transactions"),
        number(store, "queued"), counted(number(store, "failures"), "failure", "failures"));
    paragraphs.problemIf(store);
}

void addDirectory(Paragraphs &paragraphs, json const &status) {
    json const &directory = status.at("directory");
    paragraphs.title("directory");
    paragraphs.line("{} in {}, {}", counted(number(directory, "entries"), "entry", "entries"),
                    counted(number(directory, "vlans"), "VLAN", "VLANs"),
                    counted(number(directory, "changes"), "change", "changes"));
    if (auto const kept = number(directory, "entriesWithKeptMembers"); kept != 0) {
        paragraphs.line("{} with members kept from an earlier run; see `vlan-subintf audit`",
                        counted(kept, "entry", "entries"));
    }
    json const &inputs = status.at("inputs");
    paragraphs.title("inputs");
    paragraphs.line("{}, {}, {}", counted(number(inputs, "vlans"), "VLAN", "VLANs"),
                    counted(number(inputs, "lags"), "LAG", "LAGs"),
                    counted(number(inputs, "names"), "name", "names"));
}

void addFlags(Paragraphs &paragraphs, std::string_view title, json const &flags,
              std::string_view set, std::string_view unset) {
    paragraphs.title(title);
    for (auto const &[name, flag] : flags.items()) {
        paragraphs.line("{:<24} {}", visible(name), flag.get<bool>() ? set : unset);
    }
}

void addLoop(Paragraphs &paragraphs, json const &status) {
    json const &loop = status.at("loop");
    paragraphs.title("loop");
    paragraphs.line("{}, {} slow, longest {} us ({})",
                    counted(number(loop, "turns"), "turn", "turns"), number(loop, "slowTurns"),
                    number(loop, "longestTurnMicroseconds"), text(loop, "longestCause"));
    paragraphs.title("tasks");
    for (json const &task : status.at("tasks")) {
        paragraphs.line("{}: {}, longest {} us", text(task, "name"),
                        counted(number(task, "runs"), "run", "runs"),
                        number(task, "longestRunMicroseconds"));
    }
}

void addControl(Paragraphs &paragraphs, json const &control) {
    paragraphs.title("control");
    paragraphs.line("{}, {}, {} malformed",
                    counted(number(control, "clients"), "client", "clients"),
                    counted(number(control, "requests"), "request", "requests"),
                    number(control, "malformedRequests"));
}

/// "VLAN 100 bond0.100", and the member if it is about one.
std::string placeText(json const &finding) {
    auto place = fmt::format("VLAN {} {}", number(finding, "vlanId"), text(finding, "intfId"));
    return finding.contains("member") ? place + " member " + text(finding, "member") : place;
}

std::string_view findingWords(std::string_view finding) {
    constexpr std::pair<std::string_view, std::string_view> words[] = {
        {"missing", "not in the directory, but derived"},
        {"surplus", "in the directory, but not derived"},
        {"attributes", "other attributes than derived"},
        {"missingMember", "member not in the directory, but derived"},
        {"surplusMember", "member in the directory, but not derived"},
        {"kept", "kept from an earlier run"}};
    auto const *const found = std::find_if(std::begin(words), std::end(words),
                                           [&](auto const &word) { return word.first == finding; });
    return found == std::end(words) ? finding : found->second;
}

bool isKept(json const &finding) {
    return finding.at("finding") == "kept";
}

/// The findings of one sort, a line each.
std::string findingLines(json const &findings, bool kept) {
    std::string lines;
    for (json const &finding : findings) {
        if (isKept(finding) == kept) {
            lines += fmt::format("  {}: {}\n", placeText(finding),
                                 findingWords(text(finding, "finding")));
        }
    }
    return lines;
}

constexpr std::string_view howToClear =
    "To clear them, take the subinterface out of the VLAN and put it in again, or `vlan-subintf\n"
    "withdraw` and `vlan-subintf resume`.\n";

} // namespace

std::string statusText(json const &status) {
    Paragraphs paragraphs;
    addAgent(paragraphs, status);
    addSource(paragraphs, status.at("source"));
    addStore(paragraphs, status.at("store"));
    addDirectory(paragraphs, status);
    addFlags(paragraphs, "streams", status.at("streams"), "scanned", "not scanned");
    addFlags(paragraphs, "outputs", status.at("outputs"), "ready", "not ready");
    addLoop(paragraphs, status);
    addControl(paragraphs, status.at("control"));
    return paragraphs.take();
}

std::string changeText(json const &change) {
    auto const &kind = change.at("change").get_ref<std::string const &>();
    if (kind == "lost") {
        return fmt::format("! {} missed\n", counted(number(change, "count"), "change", "changes"));
    }
    char const sign = kind.ends_with("New") ? '+' : kind.ends_with("Gone") ? '-' : '~';
    auto line = fmt::format("{} {} {}", sign, number(change, "vlanId"), text(change, "intfId"));
    if (change.contains("member")) {
        line += " member " + text(change, "member");
    } else if (change.contains("tagOnEgress")) {
        line += fmt::format(" {} {}", change.at("tagOnEgress").get<bool>() ? "tagged" : "untagged",
                            text(change, "allowedTrafficDirection"));
    }
    return line + '\n';
}

std::string auditText(json const &audit) {
    auto const drift = number(audit, "drift");
    auto const kept = number(audit, "keptMembers");
    json const &findings = audit.at("findings");
    auto lines =
        fmt::format("{} compared with what the inputs derive: {}\n",
                    counted(number(audit, "entries"), "entry", "entries"),
                    drift == 0 ? "no difference" : counted(drift, "difference", "differences"));
    lines += findingLines(findings, false);
    if (kept != 0) {
        lines += fmt::format("{} kept from an earlier run, which is no difference:\n",
                             counted(kept, "member", "members"));
        lines += findingLines(findings, true);
        lines += howToClear;
    }
    if (auto const listed = findings.size(); listed < drift + kept) {
        lines += fmt::format("Only {} of them are listed.\n", listed);
    }
    return lines;
}

} // namespace Agent
