#include "agent/store/Checkpointer.h"

#include "agent/Error.h"
#include "agent/store/Sqlite.h"
#include "agent/store/StoreFile.h"

#include <string_view>

namespace Agent {
namespace {

constexpr int lockWait = 2000; ///< ms: readers that come or go may hold a lock for a moment
constexpr int largeLog = 8192; ///< pages: 32 MiB

/// A commit that changes nothing. The first one after all of the log was copied begins it anew, and
/// waits until that is on the disk.
void beginLogAnew(SqliteConnection &connection) {
    constexpr std::string_view beginning = "beginning its write-ahead log anew";
    SqliteTransaction transaction(connection);
    auto const version = connection.integer(beginning, "PRAGMA user_version");
    connection.run(beginning, fmt::format("PRAGMA user_version = {}", version).c_str());
    transaction.commit();
}

} // namespace

void checkpointStore(std::string const &path) {
    constexpr std::string_view opening = "opening it to copy its write-ahead log";
    SqliteConnection connection(path, path);
    connection.checkpointAtEndIs(false); // the end of the agent does that
    connection.lockWaitIs(lockWait);
    connection.run(opening, "PRAGMA synchronous = NORMAL");
    if (connection.integer(opening, "PRAGMA application_id") != StoreFile::applicationId) {
        fail("{}: {}: is no store", path, opening);
    }
    auto const log = connection.checkpoint(false);
    if (log.pages <= 0 || log.copied < log.pages) {
        return; // nothing to do, or a reader stands in it
    }
    if (log.pages > largeLog) {
        connection.checkpoint(true);
    }
    beginLogAnew(connection);
}

} // namespace Agent
