#include "bench/Sqlite.h"

#include <fmt/core.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>

// The LAG of a subinterface, as in PeerIds::parentOf().
#define BENCH_LAG_OF(intf) "((" intf " - 144115188075855872) & ~16777215)"

namespace Bench {
namespace {

constexpr char const *settings =
    "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA locking_mode=EXCLUSIVE;"
    "PRAGMA temp_store=MEMORY;";

constexpr char const *tables =
    "CREATE TABLE member(vlan INT, intf INT, tag INT, pvid INT, dir INT,"
    " PRIMARY KEY(vlan,intf)) WITHOUT ROWID;"
    "CREATE TABLE lagmember(lag INT, phy INT, ptr INT, PRIMARY KEY(lag,phy)) WITHOUT ROWID;"
    "CREATE TABLE out(vlan INT, intf INT, tag INT, dir INT,"
    " PRIMARY KEY(vlan,intf)) WITHOUT ROWID;"
    "CREATE TABLE outphy(vlan INT, intf INT, phy INT, PRIMARY KEY(vlan,intf,phy)) WITHOUT ROWID;"
    "CREATE TABLE lagvlan(lag INT, intf INT, vlan INT, PRIMARY KEY(lag,intf,vlan)) WITHOUT ROWID;";

// In the order of Sqlite::Statement.
constexpr std::array<char const *, 6> statementTexts{
    "INSERT INTO member VALUES(?1,?2,?3,?4,?5)"
    " ON CONFLICT(vlan,intf) DO UPDATE SET tag=?3, pvid=?4, dir=?5",
    "DELETE FROM member WHERE vlan=?1 AND intf=?2",
    "INSERT INTO lagmember VALUES(?1,?2,0)",
    "DELETE FROM lagmember WHERE lag=?1 AND phy=?2",
    "BEGIN",
    "COMMIT",
};

constexpr char const *triggers =
    "CREATE TRIGGER m_ai AFTER INSERT ON member WHEN (NEW.intf>>56)>=3 BEGIN"
    " INSERT INTO out VALUES(NEW.vlan,NEW.intf,NEW.tag,NEW.dir);"
    " INSERT INTO lagvlan SELECT " BENCH_LAG_OF(
        "NEW.intf") ",NEW.intf,NEW.vlan"
                    "  WHERE (NEW.intf>>56)=4;"
                    " INSERT INTO outphy SELECT NEW.vlan,NEW.intf,phy FROM lagmember"
                    "  WHERE lag=" BENCH_LAG_OF(
                        "NEW.intf") " AND (NEW.intf>>56)=4; END;"
                                    "CREATE TRIGGER m_ad AFTER DELETE ON member WHEN "
                                    "(OLD.intf>>56)>=3 BEGIN"
                                    " DELETE FROM out WHERE vlan=OLD.vlan AND intf=OLD.intf;"
                                    " DELETE FROM outphy WHERE vlan=OLD.vlan AND intf=OLD.intf;"
                                    " DELETE FROM lagvlan WHERE lag=" BENCH_LAG_OF(
                                        "OLD.intf") "  AND intf=OLD.intf AND vlan=OLD.vlan; END;"
                                                    "CREATE TRIGGER m_au AFTER UPDATE ON member "
                                                    "WHEN (NEW.intf>>56)>=3 BEGIN"
                                                    " UPDATE out SET tag=NEW.tag, dir=NEW.dir "
                                                    "WHERE vlan=NEW.vlan AND intf=NEW.intf; END;"
                                                    "CREATE TRIGGER l_ai AFTER INSERT ON lagmember "
                                                    "BEGIN"
                                                    " INSERT INTO outphy SELECT vlan,intf,NEW.phy "
                                                    "FROM lagvlan WHERE lag=NEW.lag; END;"
                                                    "CREATE TRIGGER l_ad AFTER DELETE ON lagmember "
                                                    "BEGIN"
                                                    " DELETE FROM outphy WHERE (vlan,intf,phy) IN"
                                                    "  (SELECT vlan,intf,OLD.phy FROM lagvlan "
                                                    "WHERE lag=OLD.lag); END;";

constexpr char const *noTriggers =
    "DROP TRIGGER IF EXISTS m_ai; DROP TRIGGER IF EXISTS m_ad; DROP TRIGGER IF EXISTS m_au;"
    "DROP TRIGGER IF EXISTS l_ai; DROP TRIGGER IF EXISTS l_ad;";

constexpr char const *startText =
    "BEGIN;"
    "INSERT INTO out SELECT vlan,intf,tag,dir FROM member WHERE (intf>>56)>=3;"
    "INSERT INTO lagvlan SELECT " BENCH_LAG_OF(
        "intf") ",intf,vlan FROM member"
                " WHERE (intf>>56)=4 ORDER BY 1,2,3;"
                "INSERT INTO outphy SELECT m.vlan,m.intf,l.phy FROM member m CROSS JOIN lagmember l"
                " WHERE l.lag=" BENCH_LAG_OF("m.intf") " AND (m.intf>>56)=4;"
                                                       "COMMIT;";

constexpr char const *restartText =
    "BEGIN;"
    "DELETE FROM lagvlan;"
    "INSERT INTO lagvlan SELECT " BENCH_LAG_OF(
        "intf") ",intf,vlan FROM member"
                " WHERE (intf>>56)=4 ORDER BY 1,2,3;"
                "INSERT INTO out SELECT vlan,intf,tag,dir FROM member WHERE (intf>>56)>=3"
                " ON CONFLICT(vlan,intf) DO UPDATE SET tag=excluded.tag,dir=excluded.dir"
                " WHERE tag<>excluded.tag OR dir<>excluded.dir;"
                "INSERT OR IGNORE INTO outphy SELECT m.vlan,m.intf,l.phy"
                " FROM member m CROSS JOIN lagmember l"
                " WHERE l.lag=" BENCH_LAG_OF(
                    "m.intf") " AND (m.intf>>56)=4;"
                              "DELETE FROM out WHERE NOT EXISTS"
                              "(SELECT 1 FROM member m WHERE m.vlan=out.vlan AND m.intf=out.intf);"
                              "DELETE FROM outphy WHERE NOT EXISTS"
                              "(SELECT 1 FROM member m WHERE m.vlan=outphy.vlan AND "
                              "m.intf=outphy.intf)"
                              " OR NOT EXISTS(SELECT 1 FROM lagmember l"
                              " WHERE l.lag=" BENCH_LAG_OF("outphy.intf") " AND l.phy=outphy.phy);"
                                                                          "COMMIT;";

[[noreturn]] void fail(sqlite3 *database, char const *what) {
    fmt::print(stderr, "SQLite: {} in {}\n", ::sqlite3_errmsg(database), what);
    std::abort();
}

sqlite3_stmt *prepared(sqlite3 *database, char const *sql, unsigned flags) {
    sqlite3_stmt *statement = nullptr;
    if (::sqlite3_prepare_v3(database, sql, -1, flags, &statement, nullptr) != SQLITE_OK) {
        fail(database, sql);
    }
    return statement;
}

} // namespace

Sqlite::Sqlite() {
    ::sqlite3_open(":memory:", &database_);
    execute(settings);
    execute(tables);
    for (std::size_t i = 0; i < statements; ++i) {
        statements_[i] = prepared(database_, statementTexts[i], SQLITE_PREPARE_PERSISTENT);
    }
}

Sqlite::~Sqlite() {
    for (sqlite3_stmt *const statement : statements_) {
        ::sqlite3_finalize(statement);
    }
    ::sqlite3_close(database_);
}

void Sqlite::execute(char const *sql) {
    if (::sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail(database_, sql);
    }
}

void Sqlite::bind(Statement statement, int parameter, std::uint64_t value) {
    ::sqlite3_bind_int64(statements_[statement], parameter, static_cast<sqlite3_int64>(value));
}

void Sqlite::run(Statement statement) {
    if (::sqlite3_step(statements_[statement]) != SQLITE_DONE) {
        fail(database_, statementTexts[statement]);
    }
    ::sqlite3_reset(statements_[statement]);
}

void Sqlite::liveIs(bool live) {
    execute(live ? triggers : noTriggers);
}

void Sqlite::memberIs(Vlan vlan, Intf intf, PeerConfig config) {
    bind(memberSet, 1, vlan);
    bind(memberSet, 2, intf);
    bind(memberSet, 3, config.tagOnEgress);
    bind(memberSet, 4, config.pvid);
    bind(memberSet, 5, config.direction);
    run(memberSet);
}

void Sqlite::memberDel(Vlan vlan, Intf intf) {
    bind(memberErase, 1, vlan);
    bind(memberErase, 2, intf);
    run(memberErase);
}

void Sqlite::lagMemberIs(Intf lag, Intf member) {
    bind(lagMemberInsert, 1, lag);
    bind(lagMemberInsert, 2, member);
    run(lagMemberInsert);
}

void Sqlite::lagMemberDel(Intf lag, Intf member) {
    bind(lagMemberErase, 1, lag);
    bind(lagMemberErase, 2, member);
    run(lagMemberErase);
}

void Sqlite::start() {
    execute(startText);
}

void Sqlite::restart() {
    execute(restartText);
}

template <class Row> void Sqlite::rows(char const *sql, Row const &row) {
    sqlite3_stmt *const statement = prepared(database_, sql, 0);
    while (::sqlite3_step(statement) == SQLITE_ROW) {
        row([&](int column) {
            return static_cast<std::uint64_t>(::sqlite3_column_int64(statement, column));
        });
    }
    ::sqlite3_finalize(statement);
}

Checksum Sqlite::checksum() {
    Checksum result;
    rows("SELECT vlan,intf,tag,dir FROM out", [&](auto const &column) {
        result.entryAdd(static_cast<Vlan>(column(0)), column(1), column(2) != 0,
                        static_cast<std::uint8_t>(column(3)));
    });
    rows("SELECT vlan,intf,phy FROM outphy", [&](auto const &column) {
        result.memberAdd(static_cast<Vlan>(column(0)), column(1), column(2));
    });
    rows("SELECT lag,intf,vlan FROM lagvlan", [&](auto const &column) {
        result.indexAdd(column(0), column(1), static_cast<Vlan>(column(2)));
    });
    return result;
}

Heap Sqlite::heap() noexcept {
    return {static_cast<std::uint64_t>(::sqlite3_memory_used()),
            static_cast<std::uint64_t>(::sqlite3_memory_highwater(0))};
}

void Sqlite::heapPeakReset() noexcept {
    ::sqlite3_memory_highwater(1);
}

} // namespace Bench
