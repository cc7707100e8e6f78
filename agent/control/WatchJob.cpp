#include "agent/control/WatchJob.h"

#include "agent/Members.h"

#include <nlohmann/json.hpp>

#include <string_view>
#include <utility>

namespace Agent {
namespace {

using Kind = DirectoryChange::Kind;

std::string_view wordOf(DirectoryChange const &change) noexcept {
    switch (change.kind) {
    case Kind::entryIs:
        return change.isNew ? "entryNew" : "entryChanged";
    case Kind::entryDel:
        return "entryGone";
    case Kind::memberIs:
        return "memberNew";
    case Kind::memberDel:
        break;
    }
    return "memberGone";
}

} // namespace

WatchJob::WatchJob(DirectoryJournal &journal, ControlRequest const &request, Reply &reply)
    : journal_(journal), reply_(reply) {
    request.allowOnly({});
    journal_.readerIs(*this);
}

WatchJob::~WatchJob() {
    journal_.readerDel(*this);
}

void WatchJob::change(DirectoryChange const &change) noexcept {
    if (lost_ != 0 || queue_.size() == maxQueued) {
        ++lost_;
        return;
    }
    queue_.push_back({change, change.intf.stringValue(), change.member.stringValue()});
    reply_.wake();
}

std::optional<Ending> WatchJob::step(Osk::Task const &task) {
    while (!queue_.empty()) {
        write(queue_.front());
        queue_.pop_front();
        if (queue_.empty() && lost_ != 0) {
            reply_.document({{"change", "lost"}, {"count", std::exchange(lost_, 0)}});
        }
        if (!reply_.room() || task.taskShouldYield()) {
            break;
        }
    }
    return std::nullopt;
}

void WatchJob::write(Named const &named) {
    DirectoryChange const &change = named.change;
    nlohmann::json line = {
        {"change", wordOf(change)}, {"vlanId", change.vlan.value()}, {"intfId", named.intf.view()}};
    if (change.kind == Kind::entryIs) {
        line["tagOnEgress"] = change.tagOnEgress;
        line["allowedTrafficDirection"] = directionWord(change.direction);
    } else if (change.kind != Kind::entryDel) {
        line["member"] = named.member.view();
    }
    reply_.document(line);
}

} // namespace Agent
