// The two tables of a store: entries(vlan, intf, tagOnEgress, direction) and members(vlan, intf,
// member), with names of interfaces, for programs and for people. docs/store.md describes them.
#pragma once

#include "agent/service/DirectoryJournal.h"
#include "agent/store/Slice.h"
#include "agent/store/Sqlite.h"

#include <cstdint>
#include <functional>
#include <string_view>

namespace Agent {

/// A row of a table. Its texts are valid while it is handed out.
struct StoredEntry {
    Bridging::VlanId vlan;
    std::string_view intf;
    bool tagOnEgress;
    Bridging::AllowedTrafficDirection direction;
};
struct StoredMember {
    Bridging::VlanId vlan;
    std::string_view intf;
    std::string_view member;
};

class StoreTables {
  public:
    using OnEntry = std::function<void(StoredEntry const &)>;
    using OnMember = std::function<void(StoredMember const &)>;

    /// Make them in an empty database, within a transaction.
    static void make(SqliteConnection &connection);

    /// They must be there.
    explicit StoreTables(SqliteConnection &connection);

    // Writing, within a transaction. What is there already, or gone already, does not matter.

    void apply(DirectoryChange const &change);
    void entryIs(StoredEntry const &entry);
    void memberIs(StoredMember const &member);
    void entryDel(Bridging::VlanId vlan, std::string_view intf);
    void memberDel(StoredMember const &member);

    /// Hand out the next rows, all entries in order and then all members, until `slice`
    /// is over; true when it has come to the end. The row at hand may be deleted meanwhile. Throws
    /// an Error that names the row for a value that cannot be.
    [[nodiscard]] bool read(Slice const &slice, OnEntry const &onEntry, OnMember const &onMember);
    /// The next read() is to begin anew.
    void readAnew() noexcept;

  private:
    enum class Reading : std::uint8_t { entries, members };

    SqliteConnection const &connection_;
    SqliteStatement entryIs_;
    SqliteStatement entryDel_;
    SqliteStatement memberIs_;
    SqliteStatement memberDel_;
    SqliteStatement membersDel_;
    SqliteStatement entries_;
    SqliteStatement members_;
    Reading reading_ = Reading::entries;
};

} // namespace Agent
