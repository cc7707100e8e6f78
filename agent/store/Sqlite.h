// SQLite, as far as a store needs it: a connection to one file, statements that are prepared once,
// and transactions. Whatever fails throws an Error: "PATH: what was to be done: cause".
//
//     SqliteStatement add(connection, "adding an entry", "INSERT INTO entries VALUES(?1, ?2)");
//     SqliteTransaction transaction(connection);
//     add.run(100, name);
//     transaction.commit();
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Agent {

class SqliteConnection {
  public:
    /// Open a file that exists, to read and write; `name` stands for it in messages.
    SqliteConnection(std::string const &path, std::string name);

    /// Run statements that have no result; `doing` says in messages what for.
    void run(std::string_view doing, char const *sql);
    /// The first column of the first row of a result; 0 or empty where there is no row.
    [[nodiscard]] std::int64_t integer(std::string_view doing, char const *sql);
    [[nodiscard]] std::string text(std::string_view doing, char const *sql);

    /// Pages of the write-ahead log, and those of them that the file has; -1 without a log.
    struct Log {
        int pages = 0;
        int copied = 0;
    };
    /// Copy what the write-ahead log holds into the file, as far as readers let it. With `truncate`
    /// the log becomes an empty file, if no reader stands in it. Requires: the connection has read.
    Log checkpoint(bool truncate);
    /// Pages in the write-ahead log behind the last commit of this connection.
    [[nodiscard]] int logPages() const noexcept { return logPages_; }
    /// Whether the connection's end copies the log into the file, when no other connection is left.
    void checkpointAtEndIs(bool wanted);
    /// Wait so long for locks of other processes; the initial state is not to wait.
    void lockWaitIs(int milliseconds) { sqlite3_busy_timeout(get(), milliseconds); }

    /// A call has found that the file is no proper database.
    [[nodiscard]] bool damaged() const noexcept { return damaged_; }
    [[nodiscard]] std::string const &name() const noexcept { return name_; }
    [[nodiscard]] sqlite3 *get() const noexcept { return connection_.get(); }
    /// Throw an Error about the call that has just failed with `code`.
    [[noreturn]] void failBecause(int code, std::string_view doing);

  private:
    struct Close {
        void operator()(sqlite3 *connection) const noexcept { sqlite3_close(connection); }
    };
    static int onCommit(void *self, sqlite3 *connection, char const *database, int pages) noexcept;

    std::string name_;
    std::unique_ptr<sqlite3, Close> connection_;
    int logPages_ = 0;
    bool damaged_ = false;
};

class SqliteStatement {
  public:
    /// `doing` says in messages what the statement is for; it must outlive the statement.
    SqliteStatement(SqliteConnection &connection, std::string_view doing, std::string_view sql);

    /// Run it to its end with these values for ?1, ?2, ...: integers and texts.
    template <class... Values> void run(Values const &...values) {
        bind(values...);
        while (step()) {
        }
    }
    /// Set the values for ?1, ?2, ... Texts must stay as they are until the statement is reset.
    template <class... Values> void bind(Values const &...values) {
        int index = 0;
        (bindOne(++index, values), ...);
    }
    /// Go to the next row of the result. False: there is none, and the statement is reset.
    bool step();
    void reset() noexcept { sqlite3_reset(statement_.get()); }

    // Columns of the row, counted from 0. Texts are valid until the next step.

    /// SQLITE_INTEGER, SQLITE_TEXT, ...
    [[nodiscard]] int type(int column) const noexcept {
        return sqlite3_column_type(statement_.get(), column);
    }
    [[nodiscard]] std::int64_t integer(int column) const noexcept {
        return sqlite3_column_int64(statement_.get(), column);
    }
    [[nodiscard]] std::string_view text(int column) const noexcept;
    [[nodiscard]] char const *columnName(int column) const noexcept {
        return sqlite3_column_name(statement_.get(), column);
    }

  private:
    struct Finalize {
        void operator()(sqlite3_stmt *statement) const noexcept { sqlite3_finalize(statement); }
    };

    void bindOne(int index, std::int64_t value);
    void bindOne(int index, std::string_view value);
    void check(int code);

    SqliteConnection &connection_;
    std::string_view doing_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// From its construction to commit(); undone when it ends without that.
class SqliteTransaction {
  public:
    explicit SqliteTransaction(SqliteConnection &connection) : connection_(connection) {
        connection_.run("beginning to write", "BEGIN IMMEDIATE");
    }
    ~SqliteTransaction();
    /// Not copyable: it ends once.
    SqliteTransaction(SqliteTransaction const &) = delete;
    SqliteTransaction &operator=(SqliteTransaction const &) = delete;

    void commit() { connection_.run("writing", "COMMIT"); }

  private:
    SqliteConnection &connection_;
};

} // namespace Agent
