#include "agent/LinkTable.h"

#include "agent/Error.h"
#include "agent/JsonText.h"

#include <algorithm>
#include <unordered_set>

namespace Agent {
namespace {

constexpr std::size_t longestLoop = 10;

Iftel::IntfKind intfKind(LinkKind kind) {
    return kind == LinkKind::lag ? Iftel::IntfKind::portChannel : Iftel::IntfKind::ethernet;
}

} // namespace

void LinkTable::linkIs(Link link) {
    Link &stored = links_.emplace_back(std::move(link));
    auto const [known, isNew] = byName_.emplace(stored.name, &stored);
    if (!isNew) {
        fail(stored, words_.name,
             fmt::format("duplicate name {}, first used by {}[{}]", quote(stored.name), words_.list,
                         known->second->place));
    }
}

Link const *LinkTable::find(std::string_view name) const {
    return linkOf(name);
}

Link *LinkTable::linkOf(std::string_view name) const {
    auto const found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second;
}

void LinkTable::resolve() {
    for (Link const &link : links_) {
        checkReference(link, words_.master, link.master, "master");
        checkReference(link, words_.lower, link.lower, "lower link");
    }
    for (Link &link : links_) {
        if (link.kind != LinkKind::subinterface) {
            link.id = Iftel::NameTable::instance().intfIs(link.name, intfKind(link.kind));
        }
    }
    for (Link &link : links_) {
        registerStack(link);
    }
}

void LinkTable::checkReference(Link const &link, std::string_view member, std::string const &name,
                               std::string_view what) const {
    if (!name.empty() && !find(name)) {
        fail(
            link, member,
            fmt::format("the {} {} of {} is not in the file", what, quote(name), quote(link.name)));
    }
}

/// Register a subinterface and those below it that are not registered yet. A link on the way down
/// carries no id yet, so a stack that meets one of its own links is a loop.
void LinkTable::registerStack(Link &top) {
    std::vector<Link *> stack;
    Link *link = &top;
    std::unordered_set<Link const *> onTheWay;
    while (link && link->id == Iftel::IntfId()) {
        if (!onTheWay.insert(link).second) {
            failLoop(stack, *link);
        }
        stack.push_back(link);
        link = linkOf(link->lower);
    }
    Iftel::IntfId const bottom = link ? Iftel::SubIntfId::parentIntfId(link->id) : Iftel::IntfId();
    for (Link *const above : stack) {
        above->id = Iftel::NameTable::instance().subIntfIs(above->name, bottom);
    }
}

void LinkTable::lagsInto(Lag::LagPhyIntfMapping &mapping) const {
    for (Link const &link : links_) {
        if (link.kind == LinkKind::lag) {
            mapping.lagPhyIntfConfigIs(link.id);
        }
        Link const *const master = find(link.master);
        if (master && master->kind == LinkKind::lag) {
            mapping.lagPhyIntfConfigIs(master->id)
                ->phyIntfIs(link.id, Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
        }
    }
}

void LinkTable::failLoop(std::vector<Link *> const &stack, Link const &again) const {
    auto const begin = std::find(stack.begin(), stack.end(), &again);
    std::string text;
    std::size_t named = 0;
    for (auto it = begin; it != stack.end() && named < longestLoop; ++it, ++named) {
        text += printable((*it)->name) + " -> ";
    }
    auto const length = static_cast<std::size_t>(stack.end() - begin);
    text += length > longestLoop ? "... -> " : "";
    fail(again, words_.lower, "loop of lower links: " + text + printable(again.name));
}

void LinkTable::fail(Link const &link, std::string_view member, std::string_view message) const {
    Agent::fail("{}: {}[{}].{}: {}", words_.file, words_.list, link.place, member, message);
}

} // namespace Agent
