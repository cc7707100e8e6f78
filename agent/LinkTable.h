// The interfaces of one document: their names, which of them are LAGs and with which members, and
// what lies at the bottom of each stack of subinterfaces.
//
//     links.linkIs(...)            for every interface of the document, in any order
//     links.resolve()              once: checks the references and registers the names
//     links.find("bond0.100")->id
//
// What does not fit together (a name used twice, a reference to nothing, a loop) throws an Error
// with the place in the document.
#pragma once

#include "platform/Iftel.h"
#include "platform/Lag.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Agent {

enum class LinkKind : std::uint8_t { plain, lag, bridge, subinterface };

struct Link {
    std::string name;
    LinkKind kind = LinkKind::plain;
    std::string master; ///< empty for none
    std::string lower;  ///< the link below; empty for none, or for one that is not known
    std::size_t place;  ///< index in the document's list
    Iftel::IntfId id{}; ///< valid after resolve()
};

class LinkTable {
  public:
    /// Words for messages: the file, the path of the list of links in it, and its members' names.
    struct Words {
        std::string file;
        std::string list;
        std::string name;
        std::string master;
        std::string lower;
    };

    explicit LinkTable(Words words) : words_(std::move(words)) {}
    /// Not copyable: the map refers to the list. Moving leaves the links where they are.
    LinkTable(LinkTable const &) = delete;
    LinkTable &operator=(LinkTable const &) = delete;
    LinkTable(LinkTable &&) = default;
    LinkTable &operator=(LinkTable &&) = default;

    /// Add a link. Requires: its name is not empty, resolve() has not been called.
    void linkIs(Link link);
    /// Check what the links say of each other and register their names.
    void resolve();

    /// The link of that name; null if there is none. Valid as long as the table.
    [[nodiscard]] Link const *find(std::string_view name) const;
    /// Write every LAG and its members. Requires: resolve() has been called.
    void lagsInto(Lag::LagPhyIntfMapping &mapping) const;

  private:
    [[nodiscard]] Link *linkOf(std::string_view name) const;
    void checkReference(Link const &link, std::string_view member, std::string const &name,
                        std::string_view what) const;
    void registerStack(Link &top);
    [[noreturn]] void failLoop(std::vector<Link *> const &stack, Link const &again) const;
    [[noreturn]] void fail(Link const &link, std::string_view member,
                           std::string_view message) const;

    Words words_;
    std::deque<Link> links_; ///< elements stay where they are: the map's keys point to their names
    std::unordered_map<std::string_view, Link *> byName_;
};

} // namespace Agent
