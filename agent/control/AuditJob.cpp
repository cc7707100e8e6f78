#include "agent/control/AuditJob.h"

#include "agent/control/StatusDocument.h"

#include <fmt/format.h>

#include <string_view>

namespace Agent {
namespace {

using Finding = Audit::Finding;

std::string_view wordOf(Finding finding) noexcept {
    switch (finding) {
    case Finding::missing:
        return "missing";
    case Finding::surplus:
        return "surplus";
    case Finding::attributes:
        return "attributes";
    case Finding::missingMember:
        return "missingMember";
    case Finding::surplusMember:
        return "surplusMember";
    case Finding::kept:
        break;
    }
    return "kept";
}

bool isOfMember(Finding finding) noexcept {
    return finding == Finding::missingMember || finding == Finding::surplusMember ||
           finding == Finding::kept;
}

nlohmann::json documentOf(Audit::Line const &line) {
    nlohmann::json document = {{"finding", wordOf(line.finding)},
                               {"vlanId", line.vlan.value()},
                               {"intfId", line.intf.view()}};
    if (isOfMember(line.finding)) {
        document["member"] = line.member.view();
    }
    return document;
}

} // namespace

AuditJob::AuditJob(Service const &service, ControlRequest const &request, Reply &reply)
    : service_(needReady(service)), reply_(reply),
      audit_(service.inputs(), service.directory(), service.kept()) {
    request.allowOnly({});
}

std::optional<Ending> AuditJob::step(Osk::Task const &task) {
    needReady(service_);
    over_ = over_ || audit_.step(task);
    auto const &lines = audit_.lines();
    while (told_ < lines.size() && reply_.room()) {
        reply_.document(documentOf(lines[told_++]));
    }
    if (!over_ || told_ < lines.size()) {
        return std::nullopt;
    }
    return ending();
}

Ending AuditJob::ending() const {
    Ending ending;
    if (audit_.drift() != 0) {
        ending.status = Status::differs;
        ending.message = fmt::format(
            "{} of the directory's entries and members differ from what the inputs derive",
            audit_.drift());
    }
    ending.fields = {{"entries", audit_.entries()},
                     {"drift", audit_.drift()},
                     {"keptMembers", audit_.keptMembers()},
                     {"listed", told_}};
    return ending;
}

} // namespace Agent
