// Whether the directory holds what the inputs derive: recomputed entry by entry and compared, in
// slices.
//
// An entry may hold LAG members of an earlier run of the agent that nothing of this run explains:
// where no member was merged into a subinterface, those it had are kept. They are noted once, when
// the machine becomes ready (KeptMembersSearch), and from then on an audit lists them apart from
// drift.
//
//     journal.readerIs(kept);
//     KeptMembersSearch search(inputs, directory, kept);
//     ... while (!search.step(task)) { later }        each step from within a run of the task
//     Audit audit(inputs, directory, kept);
//     ... while (!audit.step(task)) { later }
#pragma once

#include "agent/Inputs.h"
#include "agent/service/DirectoryJournal.h"
#include "agent/service/EntryWalk.h"
#include "platform/Osk.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace Agent {

struct DerivedEntry;

/// The members kept from an earlier run, until they or their entries go. A member that joins the
/// LAG later stays noted, but is no longer reported: the LAG explains it.
class KeptMembers final : public DirectoryJournal::Reader {
  public:
    using Place = std::pair<Bridging::VlanId, Iftel::IntfId>;

    /// Note a member. Requires: it is in the directory.
    void keptIs(Bridging::VlanId vlan, Iftel::IntfId intf, Iftel::IntfId member);
    void clear() noexcept { members_.clear(); }
    [[nodiscard]] bool has(Bridging::VlanId vlan, Iftel::IntfId intf, Iftel::IntfId member) const;
    [[nodiscard]] std::map<Place, std::set<Iftel::IntfId>> const &members() const noexcept {
        return members_;
    }

    void change(DirectoryChange const &change) noexcept override;

  private:
    std::map<Place, std::set<Iftel::IntfId>> members_;
};

/// Notes the members that no LAG explains, in slices. To be started when the machine becomes ready,
/// with `kept` reading the directory's journal already: what comes or goes between two steps is
/// noted rightly then.
class KeptMembersSearch {
  public:
    /// What it looks at must outlive it. Requires: the machine over them is ready.
    KeptMembersSearch(Inputs const &inputs, DirectoryJournal::Directory const &directory,
                      KeptMembers &kept);

    /// Go on until `task` should yield; true when all are noted.
    [[nodiscard]] bool step(Osk::Task const &task);

  private:
    void visit(Bridging::VlanId vlan, Iftel::IntfId intf);

    Inputs const *inputs_;
    DirectoryJournal::Directory const *directory_;
    KeptMembers *kept_;
    EntryWalk walk_;
};

/// One walk over inputs and directory.
class Audit {
  public:
    enum class Finding : std::uint8_t {
        missing,       ///< the inputs derive the entry, the directory has none
        surplus,       ///< the directory has the entry, the inputs derive none
        attributes,    ///< tag-on-egress or direction differ
        missingMember, ///< a LAG member is not there
        surplusMember, ///< a LAG member is there that the LAG does not have
        kept,          ///< the same, but kept from an earlier run
    };
    /// With the names of that moment: they may be released before anybody takes the line.
    struct Line {
        Finding finding;
        Bridging::VlanId vlan;
        Nuvio::String intf;
        Nuvio::String member; ///< of the last three

        friend bool operator==(Line const &, Line const &) = default;
    };

    /// What it looks at must outlive it. Requires: the machine over them is ready, and its kept
    /// members are noted.
    Audit(Inputs const &inputs, DirectoryJournal::Directory const &directory,
          KeptMembers const &kept);

    /// Go on until `task` should yield; true when the walk is over. Each entry is compared at one
    /// instant; inputs and directory may change between two steps.
    [[nodiscard]] bool step(Osk::Task const &task);

    /// What was found so far, by VLAN: at most maxLines of drift and as many of kept members; more
    /// are only counted.
    [[nodiscard]] std::vector<Line> const &lines() const noexcept { return lines_; }
    [[nodiscard]] std::uint64_t entries() const noexcept { return entries_; } ///< compared so far
    /// Findings but for kept members.
    [[nodiscard]] std::uint64_t drift() const noexcept { return drift_; }
    [[nodiscard]] std::uint64_t keptMembers() const noexcept { return keptMembers_; }
    static constexpr std::size_t maxLines = 1000;

  private:
    void compare(Bridging::VlanId vlan, Iftel::IntfId intf);
    void compareMembers(Bridging::VlanId vlan, DerivedEntry const &derived,
                        VlanSubIntfConfigLib::VlanSubIntf const &entry);
    void found(Finding finding, Bridging::VlanId vlan, Iftel::IntfId intf,
               Iftel::IntfId member = {});

    Inputs const *inputs_;
    DirectoryJournal::Directory const *directory_;
    KeptMembers const *kept_;
    EntryWalk walk_;
    std::vector<Line> lines_;
    std::uint64_t entries_ = 0;
    std::uint64_t drift_ = 0;
    std::uint64_t keptMembers_ = 0;
};

} // namespace Agent
