// The members of a JSON object have no order, so an interface may be used before it is declared.
// Uses are therefore collected in a compact form, names as numbers, and entered when the whole
// document has been read.
#include "agent/NativeSource.h"

#include "agent/Error.h"
#include "agent/JsonReader.h"
#include "agent/JsonText.h"
#include "agent/LinkTable.h"
#include "agent/Members.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Agent {
namespace {

constexpr std::int64_t version = 1;

/// The interfaces that are used, numbered in the order of their first use.
class UsedNames {
  public:
    using Number = std::uint32_t;

    /// The number of `name`, which stands in that member of `record`.
    Number use(std::string const &name, Record const &record, std::string_view member) {
        auto const [known, isNew] = numbers_.try_emplace(name, static_cast<Number>(uses_.size()));
        if (isNew) {
            uses_.push_back({&known->first, fmt::format("{}.{}", record.path(), member), {}});
        }
        return known->second;
    }

    /// Find the identifiers: declared names first, then native texts, whatever an earlier document
    /// declared under them.
    void resolve(std::string const &file, LinkTable const &links) {
        auto &table = Iftel::NameTable::instance();
        for (Use &use : uses_) {
            Link const *const link = links.find(*use.name);
            auto const id = link ? std::optional(link->id) : table.nativeIs(*use.name);
            if (!id) {
                fail("{}: {}: {} is neither in \"interfaces\" nor a native name", file, use.path,
                     quote(*use.name));
            }
            use.id = *id;
        }
    }

    [[nodiscard]] Iftel::IntfId id(Number number) const { return uses_[number].id; }
    [[nodiscard]] std::string const &name(Number number) const { return *uses_[number].name; }

  private:
    struct Use {
        std::string const *name;
        std::string path; ///< of the first use
        Iftel::IntfId id;
    };
    std::unordered_map<std::string, Number> numbers_;
    std::vector<Use> uses_;
};

class NativeReader {
  public:
    explicit NativeReader(InputFile &file)
        : file_(file), links_({file.name(), "$.interfaces", "intfId", "master", "parent"}) {}

    void read() {
        JsonReader reader(file_);
        reader.recordsIs("$.interfaces[]", {"intfId", "kind", "parent"},
                         [this](Record const &record) { interface(record); });
        reader.recordsIs("$.vlanConfig[].intf[]",
                         {"intfId", "tagOnEgress", "allowedTrafficDirection"},
                         [this](Record const &record) { member(record); });
        reader.recordsIs("$.vlanConfig[]", {"vlanId", "intf"},
                         [this](Record const &record) { vlan(record); });
        reader.recordsIs("$.lagPhyIntfConfig[]", {"intfId", "phyIntf"},
                         [this](Record const &record) { lag(record); });
        reader.recordsIs("$", {"version", "interfaces", "vlanConfig", "lagPhyIntfConfig"},
                         [](Record const &record) {
                             record.needVersion(version);
                             record.need("vlanConfig");
                             record.need("lagPhyIntfConfig");
                         });
        reader.read();
        links_.resolve();
        names_.resolve(file_.name(), links_);
    }

    void enter(Bridging::Config &config, Lag::LagPhyIntfMapping &mapping) const {
        for (Vlan const &vlan : vlans_) {
            config.vlanConfigIs(vlan.id);
            for (std::size_t i = vlan.begin; i < vlan.end; ++i) {
                enterMember(config, vlan, i);
            }
        }
        for (LagUse const &lag : lags_) {
            enterLag(mapping, lag);
        }
    }

  private:
    struct Member {
        UsedNames::Number intf;
        Bridging::VlanPortConfig config;
    };
    /// One element of "vlanConfig"; its members lie in a row.
    struct Vlan {
        Bridging::VlanId id;
        std::size_t begin;
        std::size_t end;
    };
    struct LagUse {
        UsedNames::Number intf;
        std::vector<UsedNames::Number> members;
    };

    void interface(Record const &record) {
        Link link;
        link.name = record.name("intfId");
        link.place = interfaces_++;
        std::string const &kind = record.name("kind");
        if (kind == "portChannel") {
            link.kind = LinkKind::lag;
        } else if (kind == "subinterface") {
            link.kind = LinkKind::subinterface;
            link.lower = record.name("parent");
        } else if (kind != "ethernet") {
            record.failExpecting("kind", "\"ethernet\", \"portChannel\" or \"subinterface\"");
        }
        if (link.lower.empty() && record.has("parent")) {
            record.fail("parent", "only a subinterface has a parent");
        }
        links_.linkIs(std::move(link));
    }

    void member(Record const &record) {
        auto const direction = directionOf(record.name("allowedTrafficDirection"));
        if (!direction) {
            record.failExpecting("allowedTrafficDirection",
                                 "\"none\", \"ingress\", \"egress\" or \"both\"");
        }
        auto const intf = use(record, "intfId");
        members_.push_back({intf, {record.boolean("tagOnEgress"), false, *direction}});
    }

    void vlan(Record const &record) {
        std::size_t const begin = vlans_.empty() ? 0 : vlans_.back().end;
        record.need("intf");
        vlans_.push_back({Bridging::VlanId(record.vlan("vlanId")), begin, members_.size()});
    }

    void lag(Record const &record) {
        LagUse lag{use(record, "intfId"), {}};
        record.need("phyIntf");
        record.stringsIf("phyIntf", [&](std::string const &name) {
            lag.members.push_back(
                names_.use(name, record, fmt::format("phyIntf[{}]", lag.members.size())));
        });
        lags_.push_back(std::move(lag));
    }

    UsedNames::Number use(Record const &record, char const *member) {
        return names_.use(record.name(member), record, member);
    }

    void enterLag(Lag::LagPhyIntfMapping &mapping, LagUse const &lag) const {
        auto const entry = mapping.lagPhyIntfConfigIs(names_.id(lag.intf));
        for (UsedNames::Number const member : lag.members) {
            entry->phyIntfIs(names_.id(member), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
        }
    }

    void enterMember(Bridging::Config &config, Vlan const &vlan, std::size_t index) const {
        Member const &member = members_[index];
        if (auto const other = memberIs(config, vlan.id, names_.id(member.intf), member.config)) {
            fail("{}: $.vlanConfig[{}].intf[{}]: {}", file_.name(), &vlan - vlans_.data(),
                 index - vlan.begin,
                 contradiction(names_.name(member.intf), vlan.id, *other, member.config));
        }
    }

    InputFile &file_;
    LinkTable links_;
    UsedNames names_;
    std::vector<Member> members_;
    std::vector<Vlan> vlans_;
    std::vector<LagUse> lags_;
    std::size_t interfaces_ = 0;
};

} // namespace

void readNative(InputFile &file, Bridging::Config &config, Lag::LagPhyIntfMapping &mapping) {
    NativeReader reader(file);
    reader.read();
    reader.enter(config, mapping);
}

} // namespace Agent
