// The links and ports of one network namespace as the kernel describes them, and what they make of
// the inputs.
//
// Facts come in any order, one at a time or as full views, and only change what is known. settle()
// then brings the inputs level with it in slices: first goes what an interface that is no more has
// left, then comes what is new or different. What stays is not touched, whatever the view was.
//
//     topology.linkIs(facts, Topology::From::news);
//     while (topology.settle(task) == Worker::More::yes) { ... another run ... }
//
// Kinds, directions and identities are those of the documents of iproute2 (agent/IprouteSource.h).
// An interface is its name, its kind and what lies at the bottom of its stack: whatever changes one
// of them removes an interface and adds another, together with the subinterfaces above. A name
// belongs to one link at a time; a newcomer takes it from the holder, whose own news is then still
// to come. A subinterface whose lower link is gone stays what it was until it is told otherwise.
#pragma once

#include "agent/Inputs.h"
#include "agent/loop/Worker.h"
#include "agent/source/TopologyFacts.h"
#include "agent/source/TopologyVlans.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Agent {

class Topology {
  public:
    /// Whether a fact is the news of a change or part of a full view. While a view is under way,
    /// news wins: what the view says of that link may be older, and if it is newer, more news
    /// follows. Of a link without news it is taken to be as new as the news before it.
    enum class From : std::uint8_t { news, view };

    /// Writes `inputs`; with a `bridge`, members of VLANs are only the ports of the bridge of that
    /// name. `retired` is called from settle() for each identifier that no link has any more.
    Topology(Inputs inputs, std::string bridge, std::function<void(Iftel::IntfId)> retired);

    // Links. Requires: the index is not 0.

    void linkIs(LinkFacts facts, From from);
    /// The link is gone, or has moved to another network namespace.
    void linkDel(LinkIndex index, bool moved = false);
    /// A full view of the links begins: those it does not name before it ends are gone then.
    void linksBegin();
    void linksEnd();

    // VLANs of ports, the bridges' own included. Each says whether that has made a difference.

    bool portVlansIs(LinkIndex index, std::span<VlanSpan const> spans);
    bool portVlansDel(LinkIndex index, std::span<VlanSpan const> spans);
    /// These are all of its VLANs; of their states it says nothing.
    bool portTableIs(LinkIndex index, std::span<VlanSpan const> spans);
    /// It cannot be known from this news what has become of another VLAN of the port: a view of the
    /// VLANs will tell. To be asked after portVlansIs().
    [[nodiscard]] bool portVlansMayHide(LinkIndex index, std::span<VlanSpan const> spans) const;
    /// The news gives the PVID to another VLAN than the one that has it. To be asked before
    /// portVlansIs().
    [[nodiscard]] bool portVlansMovePvid(LinkIndex index, std::span<VlanSpan const> spans) const;
    /// It is no port any more.
    bool portDel(LinkIndex index);
    /// A full view of the VLANs of all ports begins, and ends. Requires: their tables are known,
    /// for the kernel leaves some VLANs out of such a view.
    void vlansBegin();
    void vlansEnd();

    /// Bring the inputs level until `task` should yield.
    [[nodiscard]] Worker::More settle(Osk::Task const &task);
    /// The inputs are level with what is known.
    [[nodiscard]] bool settled() const noexcept;

    [[nodiscard]] bool knows(LinkIndex index) const;
    [[nodiscard]] bool hasBridge() const;
    /// A subinterface has its lower link in another network namespace. No news tells when that
    /// comes into this one.
    [[nodiscard]] bool hasLowerElsewhere() const;
    /// A link has this identifier, or the inputs may still hold it.
    [[nodiscard]] bool uses(Iftel::IntfId id) const;
    /// What is known of the link of that name, a line each; empty for one that is not known.
    [[nodiscard]] std::vector<std::string> describe(std::string_view name) const;

  private:
    /// What has been written of a link, besides its VLANs.
    struct Written {
        bool isLag = false;
        Iftel::IntfId lag; ///< that it is a member of; the default for none

        friend bool operator==(Written const &, Written const &) = default;
    };
    struct Link {
        LinkFacts facts;    ///< valid while `known`; the name is empty while another link has it
        bool known = false; ///< otherwise only VLANs of it are
        bool identityQueued = false;
        bool membersQueued = false;
        std::uint64_t view = 0; ///< the latest that named it
        std::uint64_t news = 0; ///< the view during which its latest news came
        Iftel::IntfId id;       ///< only of the link that has its name
        Iftel::IntfId bottom; ///< of a subinterface: what is at the bottom, when last it was known
        Written written;
        TopologyVlans vlans;
    };
    /// What a link has written under an identifier that it no longer has.
    struct Orphan {
        std::string name;
        Written written;
        TopologyVlans vlans;
    };
    /// Stands for the lower link of a subinterface that has it in another network namespace.
    static constexpr LinkIndex elsewhere = std::numeric_limits<LinkIndex>::max();
    /// Stacks are not followed further down.
    static constexpr unsigned longestStack = 64;

    [[nodiscard]] Link *find(LinkIndex index);
    [[nodiscard]] Link const *find(LinkIndex index) const;
    [[nodiscard]] Link *findKnown(LinkIndex index);
    [[nodiscard]] Link const *findNamed(std::string_view name) const;

    void nameIs(LinkIndex index, std::string const &name);
    void nameDel(LinkIndex index, std::string const &name);
    void referencesIs(LinkFacts const &facts);
    void referencesDel(LinkFacts const &facts);
    void lowerMoves(LinkIndex index);
    [[nodiscard]] std::vector<LinkIndex> dependentsOf(LinkIndex index) const;
    void identityQueue(LinkIndex index);
    void membersQueue(LinkIndex index);
    bool membersQueueIf(bool changed, LinkIndex index);

    void settleOne();
    void settleIdentity();
    void settleOrphan();
    void settleMembers();
    void settleEmptied();
    [[nodiscard]] Iftel::IntfId identityOf(Link &link);
    [[nodiscard]] Iftel::IntfId bottomOf(Link const &top);
    void identityIs(LinkIndex index, Iftel::IntfId id);
    void identityDel(LinkIndex index);
    bool adopt(Iftel::IntfId id, Orphan &orphan);
    bool withdrawOne(Iftel::IntfId id, Orphan &orphan);
    void settleLag(Link &link);
    Qor::Ptr<Lag::LagPhyIntfConfig> lagOf(Link &link);
    [[nodiscard]] bool isPort(Link const &link) const;
    void memberIs(Iftel::IntfId intf, TopologyVlans::Change const &change);
    void lagMemberDel(Iftel::IntfId lag, Iftel::IntfId member);
    void linkDropIfNothing(LinkIndex index);

    [[nodiscard]] std::string nameOf(LinkIndex index) const;
    [[nodiscard]] std::string describeLink(Link const &link) const;

    Inputs inputs_;
    std::string bridge_;
    std::function<void(Iftel::IntfId)> retired_;

    // What is known.
    std::unordered_map<LinkIndex, Link> links_;
    std::map<std::string, LinkIndex, std::less<>> byName_;
    std::set<std::pair<LinkIndex, LinkIndex>> references_; ///< (master or lower, link)
    std::uint64_t view_ = 0;                               ///< of links: the number of the latest
    bool viewing_ = false;                                 ///< it has begun and not ended
    std::unordered_set<LinkIndex> goneSince_; ///< links that news took away since it began

    // What is to be settled, in this order.
    std::deque<LinkIndex> identities_;
    std::map<Iftel::IntfId, Orphan> orphans_;
    std::deque<LinkIndex> members_;
    std::set<Bridging::VlanId> emptied_; ///< may have lost their last member
};

} // namespace Agent
