// The peer P3: tables of an SQLite database in memory, kept derived by triggers; started and
// restarted by one statement per table.
#pragma once

#include "bench/Checksum.h"
#include "bench/Heap.h"

#include <array>
#include <cstddef>
#include <cstdint>

struct sqlite3;
struct sqlite3_stmt;

namespace Bench {

class Sqlite {
  public:
    using Ids = PeerIds;
    using Vlan = PeerIds::Vlan;
    using Intf = PeerIds::Intf;
    static constexpr bool rebuilds = false;

    Sqlite();
    Sqlite(Sqlite const &) = delete;
    Sqlite &operator=(Sqlite const &) = delete;
    ~Sqlite();

    void memberFill(Vlan vlan, Intf intf, PeerConfig config) { memberIs(vlan, intf, config); }
    void memberUnfill(Vlan vlan, Intf intf) { memberDel(vlan, intf); }
    void lagMemberFill(Intf lag, Intf member) { lagMemberIs(lag, member); }
    void lagMemberUnfill(Intf lag, Intf member) { lagMemberDel(lag, member); }

    /// Create the triggers, or drop them.
    void liveIs(bool live);
    void batchBegin() { run(begin); }
    void batchEnd() { run(commit); }
    void memberIs(Vlan vlan, Intf intf, PeerConfig config);
    void memberDel(Vlan vlan, Intf intf);
    void lagMemberIs(Intf lag, Intf member);
    void lagMemberDel(Intf lag, Intf member);

    void start();
    void restart();
    [[nodiscard]] Checksum checksum();

    /// Of all databases: SQLite does not use operator new.
    [[nodiscard]] static Heap heap() noexcept;
    static void heapPeakReset() noexcept;

  private:
    enum Statement { memberSet, memberErase, lagMemberInsert, lagMemberErase, begin, commit };
    static constexpr std::size_t statements = 6;

    void execute(char const *sql);
    void bind(Statement statement, int parameter, std::uint64_t value);
    void run(Statement statement);
    template <class Row> void rows(char const *sql, Row const &row);

    sqlite3 *database_ = nullptr;
    std::array<sqlite3_stmt *, statements> statements_{};
};

} // namespace Bench
