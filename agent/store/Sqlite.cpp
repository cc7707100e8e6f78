#include "agent/store/Sqlite.h"

#include "agent/Errno.h"
#include "agent/Error.h"
#include "agent/JsonText.h"

#include <utility>

namespace Agent {
namespace {

constexpr int primaryCode(int code) noexcept {
    return code & 0xff;
}

constexpr bool isDamage(int code) noexcept {
    return primaryCode(code) == SQLITE_CORRUPT || primaryCode(code) == SQLITE_NOTADB;
}

constexpr bool isLocked(int code) noexcept {
    return primaryCode(code) == SQLITE_BUSY || primaryCode(code) == SQLITE_LOCKED;
}

/// What the system has to say about the failure.
std::string systemCause(sqlite3 *connection, int code) {
    int const systemCode = sqlite3_system_errno(connection);
    bool const isOfSystem = primaryCode(code) == SQLITE_IOERR ||
                            primaryCode(code) == SQLITE_CANTOPEN ||
                            primaryCode(code) == SQLITE_READONLY;
    return isOfSystem && systemCode != 0 ? fmt::format(" ({})", errnoText(systemCode))
                                         : std::string();
}

} // namespace

SqliteConnection::SqliteConnection(std::string const &path, std::string name)
    : name_(std::move(name)) {
    sqlite3 *opened = nullptr;
    int const code = sqlite3_open_v2(
        path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
        nullptr);
    connection_.reset(opened);
    if (code != SQLITE_OK) {
        failBecause(code, "opening it");
    }
    sqlite3_wal_hook(get(), onCommit, this); // in the place of the automatic checkpoint
}

int SqliteConnection::onCommit(void *self, sqlite3 * /*connection*/, char const * /*database*/,
                               int pages) noexcept {
    static_cast<SqliteConnection *>(self)->logPages_ = pages;
    return SQLITE_OK;
}

void SqliteConnection::run(std::string_view doing, char const *sql) {
    int const code = sqlite3_exec(get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
        failBecause(code, doing);
    }
}

std::int64_t SqliteConnection::integer(std::string_view doing, char const *sql) {
    SqliteStatement statement(*this, doing, sql);
    return statement.step() ? statement.integer(0) : 0;
}

std::string SqliteConnection::text(std::string_view doing, char const *sql) {
    SqliteStatement statement(*this, doing, sql);
    return statement.step() ? std::string(statement.text(0)) : std::string();
}

SqliteConnection::Log SqliteConnection::checkpoint(bool truncate) {
    Log log;
    int const code = sqlite3_wal_checkpoint_v2(
        get(), nullptr, truncate ? SQLITE_CHECKPOINT_TRUNCATE : SQLITE_CHECKPOINT_PASSIVE,
        &log.pages, &log.copied);
    if (code != SQLITE_OK && !isLocked(code)) {
        failBecause(code, "copying its write-ahead log");
    }
    return log;
}

void SqliteConnection::checkpointAtEndIs(bool wanted) {
    sqlite3_db_config(get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, wanted ? 0 : 1, nullptr);
}

void SqliteConnection::failBecause(int code, std::string_view doing) {
    damaged_ = damaged_ || isDamage(code);
    fail("{}: {}{}: {}{}", name_, isDamage(code) ? "damaged: " : "", doing,
         isLocked(code) ? "another process holds a lock on it" : visible(sqlite3_errmsg(get())),
         systemCause(get(), code));
}

SqliteStatement::SqliteStatement(SqliteConnection &connection, std::string_view doing,
                                 std::string_view sql)
    : connection_(connection), doing_(doing) {
    sqlite3_stmt *prepared = nullptr;
    check(sqlite3_prepare_v3(connection_.get(), sql.data(), static_cast<int>(sql.size()),
                             SQLITE_PREPARE_PERSISTENT, &prepared, nullptr));
    statement_.reset(prepared);
}

bool SqliteStatement::step() {
    int const code = sqlite3_step(statement_.get());
    if (code == SQLITE_ROW) {
        return true;
    }
    if (code != SQLITE_DONE) {
        try {
            connection_.failBecause(code, doing_);
        } catch (Error const &) {
            reset();
            throw;
        }
    }
    reset();
    return false;
}

std::string_view SqliteStatement::text(int column) const noexcept {
    auto const *const bytes =
        reinterpret_cast<char const *>(sqlite3_column_text(statement_.get(), column));
    return bytes ? std::string_view(bytes, static_cast<std::size_t>(
                                               sqlite3_column_bytes(statement_.get(), column)))
                 : std::string_view();
}

void SqliteStatement::bindOne(int index, std::int64_t value) {
    check(sqlite3_bind_int64(statement_.get(), index, value));
}

void SqliteStatement::bindOne(int index, std::string_view value) {
    check(sqlite3_bind_text(statement_.get(), index, value.data(), static_cast<int>(value.size()),
                            SQLITE_STATIC));
}

void SqliteStatement::check(int code) {
    if (code != SQLITE_OK) {
        connection_.failBecause(code, doing_);
    }
}

SqliteTransaction::~SqliteTransaction() {
    if (sqlite3_get_autocommit(connection_.get()) == 0) {
        sqlite3_exec(connection_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

} // namespace Agent
