// Facts. What they make of the inputs is in TopologySettle.cpp.
#include "agent/source/Topology.h"

#include "agent/JsonText.h"
#include "platform/Nuvio/Assert.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace Agent {
namespace {

constexpr std::array<std::string_view, 5> stateWords = {"disabled", "listening", "learning",
                                                        "forwarding", "blocking"};

std::string describeSpan(VlanSpan const &span) {
    std::string text = fmt::format("vlan {}", span.first);
    if (span.last != span.first) {
        text += fmt::format("-{}", span.last);
    }
    text += span.untagged ? ": untagged" : ": tagged";
    text += span.pvid ? ", PVID" : "";
    auto const state = static_cast<std::size_t>(span.state);
    NUVIO_ASSERT(state < stateWords.size());
    return fmt::format("{}, {}", text, stateWords[state]);
}

} // namespace

Topology::Topology(Inputs inputs, std::string bridge, std::function<void(Iftel::IntfId)> retired)
    : inputs_(std::move(inputs)), bridge_(std::move(bridge)), retired_(std::move(retired)) {}

// Links

void Topology::linkIs(LinkFacts facts, From from) {
    LinkIndex const index = facts.index;
    NUVIO_ASSERT(index != 0);
    Link &link = links_[index];
    if (from == From::news) {
        link.news = view_;
        goneSince_.erase(index);
    } else if (goneSince_.contains(index) || (link.known && link.news == view_)) {
        linkDropIfNothing(index);
        return;
    }
    link.view = view_;
    if (link.known && link.facts == facts) {
        return;
    }
    if (link.known) {
        referencesDel(link.facts);
    }
    if (!link.known || link.facts.name != facts.name) {
        nameDel(index, link.facts.name);
        nameIs(index, facts.name);
    }
    link.known = true;
    link.facts = std::move(facts);
    referencesIs(link.facts);
    identityQueue(index);
}

void Topology::linkDel(LinkIndex index, bool moved) {
    if (viewing_) {
        goneSince_.insert(index);
    }
    Link *const link = find(index);
    if (!link) {
        return;
    }
    if (link->known) {
        nameDel(index, link->facts.name);
        referencesDel(link->facts);
        link->known = false;
        link->facts = {};
    }
    link->vlans.clear();
    identityQueue(index);
    if (moved) {
        lowerMoves(index);
    }
}

void Topology::linksBegin() {
    ++view_;
    viewing_ = true;
    goneSince_.clear();
}

void Topology::linksEnd() {
    viewing_ = false;
    goneSince_.clear();
    std::vector<LinkIndex> gone;
    for (auto const &[index, link] : links_) {
        if (link.known && link.view != view_) {
            gone.push_back(index);
        }
    }
    for (LinkIndex const index : gone) {
        linkDel(index);
    }
}

/// The subinterfaces above a link that moves to another network namespace stay, and hear nothing.
void Topology::lowerMoves(LinkIndex index) {
    for (LinkIndex const dependent : dependentsOf(index)) {
        LinkFacts &facts = find(dependent)->facts;
        if (facts.kind == LinkKind::subinterface && facts.lower == index) {
            referencesDel(facts);
            facts.lowerElsewhere = true;
            referencesIs(facts);
            identityQueue(dependent);
        }
    }
}

void Topology::nameIs(LinkIndex index, std::string const &name) {
    auto const [holder, isNew] = byName_.emplace(name, index);
    if (!isNew) {
        LinkIndex const former = std::exchange(holder->second, index);
        find(former)->facts.name.clear();
        identityDel(former);
    }
}

void Topology::nameDel(LinkIndex index, std::string const &name) {
    auto const held = byName_.find(name);
    if (held != byName_.end() && held->second == index) {
        byName_.erase(held);
        identityDel(index);
    }
}

void Topology::referencesIs(LinkFacts const &facts) {
    if (facts.master != 0) {
        references_.emplace(facts.master, facts.index);
    }
    if (facts.kind == LinkKind::subinterface) {
        references_.emplace(facts.lowerElsewhere ? elsewhere : facts.lower, facts.index);
    }
}

void Topology::referencesDel(LinkFacts const &facts) {
    references_.erase({facts.master, facts.index});
    references_.erase({facts.lowerElsewhere ? elsewhere : facts.lower, facts.index});
}

std::vector<LinkIndex> Topology::dependentsOf(LinkIndex index) const {
    std::vector<LinkIndex> dependents;
    for (auto it = references_.lower_bound({index, 0});
         it != references_.end() && it->first == index; ++it) {
        dependents.push_back(it->second);
    }
    return dependents;
}

// VLANs

bool Topology::portVlansIs(LinkIndex index, std::span<VlanSpan const> spans) {
    bool changed = false;
    for (VlanSpan const &span : spans) {
        changed |= links_[index].vlans.spanIs(span);
    }
    return membersQueueIf(changed, index);
}

bool Topology::portVlansDel(LinkIndex index, std::span<VlanSpan const> spans) {
    Link *const link = find(index);
    bool changed = false;
    for (VlanSpan const &span : spans) {
        changed |= link && link->vlans.spanDel(span.first, span.last);
    }
    return membersQueueIf(changed, index);
}

bool Topology::portVlansMayHide(LinkIndex index, std::span<VlanSpan const> spans) const {
    Link const *const link = find(index);
    return link && std::any_of(spans.begin(), spans.end(),
                               [link](VlanSpan const &span) { return link->vlans.mayHide(span); });
}

bool Topology::portVlansMovePvid(LinkIndex index, std::span<VlanSpan const> spans) const {
    Link const *const link = find(index);
    return link && std::any_of(spans.begin(), spans.end(), [link](VlanSpan const &span) {
               return span.pvid && link->vlans.hasPvidBut(span.first);
           });
}

bool Topology::portTableIs(LinkIndex index, std::span<VlanSpan const> spans) {
    Link *const link = spans.empty() ? find(index) : &links_[index];
    return membersQueueIf(link && link->vlans.tableIs(spans), index);
}

bool Topology::portDel(LinkIndex index) {
    Link *const link = find(index);
    return membersQueueIf(link && link->vlans.clear(), index);
}

void Topology::vlansBegin() {
    for (auto &[index, link] : links_) {
        link.vlans.viewBegins();
    }
}

void Topology::vlansEnd() {
    for (auto &[index, link] : links_) {
        membersQueueIf(link.vlans.viewEnds(), index);
    }
}

// What is known

Topology::Link *Topology::find(LinkIndex index) {
    auto const found = links_.find(index);
    return found == links_.end() ? nullptr : &found->second;
}

Topology::Link const *Topology::find(LinkIndex index) const {
    auto const found = links_.find(index);
    return found == links_.end() ? nullptr : &found->second;
}

Topology::Link *Topology::findKnown(LinkIndex index) {
    Link *const link = find(index);
    return link && link->known ? link : nullptr;
}

Topology::Link const *Topology::findNamed(std::string_view name) const {
    auto const found = byName_.find(name);
    return found == byName_.end() ? nullptr : find(found->second);
}

bool Topology::knows(LinkIndex index) const {
    Link const *const link = find(index);
    return link && link->known;
}

bool Topology::hasBridge() const {
    return std::any_of(links_.begin(), links_.end(), [](auto const &entry) {
        return entry.second.known && entry.second.facts.kind == LinkKind::bridge;
    });
}

bool Topology::hasLowerElsewhere() const {
    return references_.lower_bound({elsewhere, 0}) != references_.end();
}

bool Topology::uses(Iftel::IntfId id) const {
    auto const *const name = Iftel::NameTable::instance().nameOf(id);
    Link const *const link = name ? findNamed(name->view()) : nullptr;
    return (link && link->id == id) || orphans_.contains(id);
}

std::vector<std::string> Topology::describe(std::string_view name) const {
    Link const *const link = findNamed(name);
    if (!link) {
        return {};
    }
    std::vector<std::string> lines{describeLink(*link)};
    for (VlanSpan const &span : link->vlans.spans()) {
        lines.push_back(describeSpan(span));
    }
    return lines;
}

std::string Topology::nameOf(LinkIndex index) const {
    Link const *const link = find(index);
    return link && !link->facts.name.empty() ? printable(link->facts.name)
                                             : fmt::format("link {}", index);
}

std::string Topology::describeLink(Link const &link) const {
    LinkFacts const &facts = link.facts;
    std::string text = fmt::format("link {}", facts.index);
    if (facts.kind == LinkKind::subinterface) {
        text += fmt::format(", vlan {} on {}", facts.vlan,
                            facts.lowerElsewhere ? "a link of another network namespace"
                                                 : nameOf(facts.lower));
    } else if (facts.kind != LinkKind::plain) {
        text += facts.kind == LinkKind::lag ? ", LAG" : ", bridge";
    }
    Link const *const master = find(facts.master);
    if (facts.master != 0) {
        bool const isLag = master && master->facts.kind == LinkKind::lag;
        text += fmt::format(", {} of {}", isLag ? "member" : "port", nameOf(facts.master));
    }
    return text;
}

} // namespace Agent
