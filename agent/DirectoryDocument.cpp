#include "agent/DirectoryDocument.h"

#include "agent/Error.h"
#include "agent/JsonReader.h"
#include "agent/JsonText.h"
#include "agent/Members.h"
#include "agent/Names.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace Agent {
namespace {

using VlanSubIntfConfigLib::VlanSubIntfConfigDir;

constexpr std::int64_t version = 1;

void appendSubIntf(std::string &text, DirectoryView const &view,
                   DirectoryView::SubIntf const &subIntf) {
    text += R"({"intfId": )";
    appendJsonString(text, view.name(subIntf.intfId()));
    fmt::format_to(std::back_inserter(text),
                   R"(, "tagOnEgress": {}, "allowedTrafficDirection": "{}", "lagPhyIntf": [)",
                   subIntf.tagOnEgress(), directionWord(subIntf.allowedTrafficDirection()));
    bool first = true;
    for (std::string_view const member : view.members(subIntf)) {
        text += std::exchange(first, false) ? "" : ", ";
        appendJsonString(text, member);
    }
    text += "]}";
}

/// Collects the entries of a VLAN until its number is known, wherever it stands in the object.
class EntryReader {
  public:
    explicit EntryReader(VlanSubIntfConfigDir &directory) : directory_(directory) {}

    void entry(Record const &record) {
        Entry entry{earlierSubIntf(record.name("intfId")),
                    record.boolean("tagOnEgress"),
                    Bridging::AllowedTrafficDirection::none,
                    {}};
        auto const direction = directionOf(record.name("allowedTrafficDirection"));
        if (!direction) {
            record.failExpecting("allowedTrafficDirection",
                                 "\"none\", \"ingress\", \"egress\" or \"both\"");
        }
        entry.direction = *direction;
        record.need("lagPhyIntf");
        record.stringsIf("lagPhyIntf", [&](std::string const &name) {
            if (name.empty()) {
                record.fail(fmt::format("lagPhyIntf[{}]", entry.members.size()),
                            "expected a name, found \"\"");
            }
            entry.members.push_back(earlierMember(name));
        });
        entries_.push_back(std::move(entry));
    }

    void vlan(Record const &record) {
        Bridging::VlanId const vlan(record.vlan("vlanId"));
        record.need("intf");
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            enter(record, vlan, i);
        }
        entries_.clear();
    }

  private:
    struct Entry {
        Iftel::IntfId id;
        bool tagOnEgress;
        Bridging::AllowedTrafficDirection direction;
        std::vector<Iftel::IntfId> members;
    };

    void enter(Record const &record, Bridging::VlanId vlan, std::size_t index) {
        Entry const &entry = entries_[index];
        auto const config = directory_.configIs(vlan);
        if (config->intf().memberHas(entry.id)) {
            record.fail(fmt::format("intf[{}].intfId", index),
                        fmt::format("{} is in VLAN {} twice", quote(entry.id.stringValue().view()),
                                    vlan.value()));
        }
        auto const subIntf = config->intfIs(entry.id);
        subIntf->tagOnEgressIs(entry.tagOnEgress);
        subIntf->allowedTrafficDirectionIs(entry.direction);
        for (Iftel::IntfId const member : entry.members) {
            subIntf->lagPhyIntfIs(member);
        }
    }

    VlanSubIntfConfigDir &directory_;
    std::vector<Entry> entries_;
};

} // namespace

void writeDirectoryDocument(Output &output, DirectoryView const &view, bool ready) {
    std::string &text = output.text();
    fmt::format_to(std::back_inserter(text), R"({{"version": {}, "ready": {}, "config": [)",
                   version, ready);
    bool firstVlan = true;
    view.forEachVlan([&](Bridging::VlanId vlan, DirectoryView::SubIntfs subIntfs) {
        fmt::format_to(std::back_inserter(text), "{}\n{{\"vlanId\": {}, \"intf\": [",
                       std::exchange(firstVlan, false) ? "" : ",", vlan.value());
        bool first = true;
        for (DirectoryView::SubIntf const *const subIntf : subIntfs) {
            text += std::exchange(first, false) ? "\n  " : ",\n  ";
            appendSubIntf(text, view, *subIntf);
            output.commit();
        }
        text += "]}";
    });
    text += firstVlan ? "]}\n" : "\n]}\n";
    output.flush();
}

void readDirectoryDocument(InputFile &file, VlanSubIntfConfigDir &directory) {
    EntryReader entries(directory);
    JsonReader reader(file);
    reader.recordsIs("$.config[].intf[]",
                     {"intfId", "tagOnEgress", "allowedTrafficDirection", "lagPhyIntf"},
                     [&](Record const &record) { entries.entry(record); });
    reader.recordsIs("$.config[]", {"vlanId", "intf"},
                     [&](Record const &record) { entries.vlan(record); });
    reader.recordsIs("$", {"version", "ready", "config"}, [](Record const &record) {
        record.needVersion(version);
        static_cast<void>(record.boolean("ready"));
        record.need("config");
    });
    reader.read();
}

} // namespace Agent
