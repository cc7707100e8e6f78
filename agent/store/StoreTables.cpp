#include "agent/store/StoreTables.h"

#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/Members.h"

#include <string>

namespace Agent {
namespace {

using Kind = DirectoryChange::Kind;

constexpr std::string_view adding = "adding an entry";
constexpr std::string_view deleting = "deleting an entry";
constexpr std::string_view addingMember = "adding a member";
constexpr std::string_view deletingMember = "deleting a member";

constexpr char const *tables = R"(
CREATE TABLE entries (
    vlan INTEGER NOT NULL CHECK (vlan BETWEEN 1 AND 4094),
    intf TEXT NOT NULL CHECK (intf <> ''),
    tagOnEgress INTEGER NOT NULL CHECK (tagOnEgress IN (0, 1)),
    direction TEXT NOT NULL CHECK (direction IN ('none', 'ingress', 'egress', 'both')),
    PRIMARY KEY (vlan, intf)
) STRICT, WITHOUT ROWID;
CREATE TABLE members (
    vlan INTEGER NOT NULL CHECK (vlan BETWEEN 1 AND 4094),
    intf TEXT NOT NULL CHECK (intf <> ''),
    member TEXT NOT NULL CHECK (member <> ''),
    PRIMARY KEY (vlan, intf, member)
) STRICT, WITHOUT ROWID;
)";

/// A row that is as it should be is not written again.
constexpr std::string_view entryIsSql =
    "INSERT INTO entries VALUES (?1, ?2, ?3, ?4) ON CONFLICT DO UPDATE "
    "SET tagOnEgress = excluded.tagOnEgress, direction = excluded.direction "
    "WHERE tagOnEgress <> excluded.tagOnEgress OR direction <> excluded.direction";

/// A row that was read, checked: a person may have written it.
class Row {
  public:
    Row(SqliteStatement const &row, std::string_view store, char const *table) noexcept
        : row_(row), store_(store), table_(table) {}

    [[nodiscard]] Bridging::VlanId vlan(int column) const {
        return Bridging::VlanId(
            static_cast<std::uint16_t>(integer(column, 1, 4094, "a VLAN number from 1 to 4094")));
    }
    [[nodiscard]] bool flag(int column) const { return integer(column, 0, 1, "0 or 1") != 0; }
    [[nodiscard]] std::string_view name(int column) const {
        if (row_.type(column) != SQLITE_TEXT || row_.text(column).empty()) {
            failExpecting(column, "a name");
        }
        return row_.text(column);
    }
    [[nodiscard]] Bridging::AllowedTrafficDirection direction(int column) const {
        auto const direction = directionOf(row_.text(column));
        if (!direction) {
            failExpecting(column, "none, ingress, egress or both");
        }
        return *direction;
    }

  private:
    [[nodiscard]] std::int64_t integer(int column, std::int64_t min, std::int64_t max,
                                       char const *expected) const {
        std::int64_t const number = row_.integer(column);
        if (row_.type(column) != SQLITE_INTEGER || number < min || number > max) {
            failExpecting(column, expected);
        }
        return number;
    }
    [[noreturn]] void failExpecting(int column, char const *expected) const {
        fail("{}: table {}, VLAN {}, interface {}: {}: expected {}, found {}", store_, table_,
             printable(row_.text(0)), printable(row_.text(1)), row_.columnName(column), expected,
             quote(row_.text(column)));
    }

    SqliteStatement const &row_;
    std::string_view store_;
    char const *table_;
};

StoredEntry entryOf(Row const &row) {
    return {row.vlan(0), row.name(1), row.flag(2), row.direction(3)};
}

StoredMember memberOf(Row const &row) {
    return {row.vlan(0), row.name(1), row.name(2)};
}

} // namespace

void StoreTables::make(SqliteConnection &connection) {
    connection.run("making its tables", tables);
}

StoreTables::StoreTables(SqliteConnection &connection)
    : connection_(connection), entryIs_(connection, adding, entryIsSql),
      entryDel_(connection, deleting, "DELETE FROM entries WHERE vlan = ?1 AND intf = ?2"),
      memberIs_(connection, addingMember,
                "INSERT INTO members VALUES (?1, ?2, ?3) ON CONFLICT DO NOTHING"),
      memberDel_(connection, deletingMember,
                 "DELETE FROM members WHERE vlan = ?1 AND intf = ?2 AND member = ?3"),
      membersDel_(connection, deleting, "DELETE FROM members WHERE vlan = ?1 AND intf = ?2"),
      entries_(connection, "reading its entries",
               "SELECT vlan, intf, tagOnEgress, direction FROM entries"),
      members_(connection, "reading its members", "SELECT vlan, intf, member FROM members") {}

// Writing.

void StoreTables::apply(DirectoryChange const &change) {
    Nuvio::String const intf = change.intf.stringValue();
    switch (change.kind) {
    case Kind::entryIs:
        if (change.isNew) {
            membersDel_.run(change.vlan.value(), intf.view());
        }
        entryIs({change.vlan, intf.view(), change.tagOnEgress, change.direction});
        break;
    case Kind::entryDel:
        entryDel(change.vlan, intf.view());
        break;
    case Kind::memberIs:
        memberIs({change.vlan, intf.view(), change.member.stringValue().view()});
        break;
    case Kind::memberDel:
        memberDel({change.vlan, intf.view(), change.member.stringValue().view()});
        break;
    }
}

void StoreTables::entryIs(StoredEntry const &entry) {
    entryIs_.run(entry.vlan.value(), entry.intf, entry.tagOnEgress, directionWord(entry.direction));
}

void StoreTables::memberIs(StoredMember const &member) {
    memberIs_.run(member.vlan.value(), member.intf, member.member);
}

void StoreTables::entryDel(Bridging::VlanId vlan, std::string_view intf) {
    membersDel_.run(vlan.value(), intf);
    entryDel_.run(vlan.value(), intf);
}

void StoreTables::memberDel(StoredMember const &member) {
    memberDel_.run(member.vlan.value(), member.intf, member.member);
}

// Reading.

bool StoreTables::read(Slice const &slice, OnEntry const &onEntry, OnMember const &onMember) {
    while (reading_ == Reading::entries && entries_.step()) {
        onEntry(entryOf({entries_, connection_.name(), "entries"}));
        if (slice.isOver()) {
            return false;
        }
    }
    reading_ = Reading::members;
    while (members_.step()) {
        onMember(memberOf({members_, connection_.name(), "members"}));
        if (slice.isOver()) {
            return false;
        }
    }
    readAnew();
    return true;
}

void StoreTables::readAnew() noexcept {
    entries_.reset();
    members_.reset();
    reading_ = Reading::entries;
}

} // namespace Agent
