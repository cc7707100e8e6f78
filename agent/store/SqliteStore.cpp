// The store in a SQLite file with a write-ahead log: readers see whole transactions, and nobody
// waits for anybody. A commit does not wait for the disk (synchronous = NORMAL): a process that is
// killed loses nothing of it, a machine that loses its power may lose the last transactions, and
// whole ones only.
#include "agent/Error.h"
#include "agent/Names.h"
#include "agent/VlanNumber.h"
#include "agent/VlanWalk.h"
#include "agent/store/NameHolders.h"
#include "agent/store/Slice.h"
#include "agent/store/Store.h"
#include "agent/store/StoreFile.h"
#include "agent/store/StoreTables.h"
#include "platform/Nuvio/Assert.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace Agent {
namespace {

using Directory = DirectoryJournal::Directory;
using VlanSubIntfConfigLib::VlanSubIntf;

/// A slice ends before the share of its run does, as it ends with more than it measures: a
/// transaction with writing its pages, which takes up to as long again.
constexpr auto transactionSlice = Osk::TaskScheduler::defaultShare / 2;
constexpr auto plainSlice = Osk::TaskScheduler::defaultShare * 4 / 5;
constexpr int openingLockWait = 2000; ///< ms: readers that come or go may hold a lock for a moment

// Opening.

void makeTables(SqliteConnection &connection) {
    SqliteTransaction transaction(connection);
    connection.run("making it", fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {}",
                                            StoreFile::applicationId, StoreFile::version)
                                    .c_str());
    StoreTables::make(connection);
    transaction.commit();
}

constexpr std::string_view opening = "opening it";

void useLog(SqliteConnection &connection) {
    std::string const mode = connection.text(opening, "PRAGMA journal_mode = WAL");
    if (mode != "wal") {
        fail("{}: opening it: no write-ahead log is possible there (journal_mode {})",
             connection.name(), mode);
    }
}

/// The connection, to a store of this version that has its tables.
SqliteConnection &prepared(SqliteConnection &connection, StoreFile const &file) {
    connection.checkpointAtEndIs(false); // what is refused is not touched
    connection.lockWaitIs(openingLockWait);
    connection.run(opening, "PRAGMA synchronous = NORMAL; PRAGMA cache_size = -2048");
    if (connection.integer(opening, "SELECT count(*) FROM sqlite_schema") == 0) {
        makeTables(connection);
    }
    file.checkIdentity(
        static_cast<std::uint32_t>(connection.integer(opening, "PRAGMA application_id")),
        static_cast<std::uint32_t>(connection.integer(opening, "PRAGMA user_version")));
    useLog(connection);
    connection.lockWaitIs(0);
    return connection;
}

// Between rows and directory.

/// Finds the entries of rows. The directory must not change meanwhile.
class EntryFinder {
  public:
    explicit EntryFinder(Directory const &directory) noexcept : directory_(directory) {}

    /// Null for one that is not there.
    [[nodiscard]] VlanSubIntf *entry(Bridging::VlanId vlan, std::string_view intf) {
        if (!isKnown_ || vlan != vlan_ || intf != intf_) { // members come entry by entry
            isKnown_ = true;
            vlan_ = vlan;
            intf_ = intf;
            entry_ = lookup();
        }
        return entry_;
    }

  private:
    [[nodiscard]] VlanSubIntf *lookup() const {
        auto const id = knownIntf(intf_);
        auto const *const config = directory_.config().lookupNodeG(vlan_);
        auto const *const found = id && config ? config->value()->intf().lookupNodeG(*id) : nullptr;
        return found ? found->value().get() : nullptr;
    }

    Directory const &directory_;
    bool isKnown_ = false;
    Bridging::VlanId vlan_;
    std::string intf_;
    VlanSubIntf *entry_ = nullptr;
};

class SqliteStore final : public Store {
  public:
    explicit SqliteStore(std::string const &path)
        : file_(path), connection_(file_.realPath(), path), tables_(prepared(connection_, file_)) {
        connection_.checkpointAtEndIs(true);
    }

    [[nodiscard]] bool load(Directory &directory, Osk::Task const &task) override;
    std::size_t write(std::span<DirectoryChange const> changes, Osk::Task const &task) override;
    [[nodiscard]] bool replace(Directory const &directory, Osk::Task const &task) override;
    void replaceDone() override;
    void replaceUndone() noexcept override;
    [[nodiscard]] int logPages() const noexcept override { return connection_.logPages(); }
    [[nodiscard]] bool lost() const noexcept override {
        return connection_.damaged() || file_.moved();
    }

  private:
    struct Replacement {
        SqliteTransaction transaction;
        VlanWalk walk;
        bool staleGone = false;
    };

    void checkThere() const;
    std::size_t apply(std::span<DirectoryChange const> changes, Slice const &slice);
    [[nodiscard]] bool deleteStale(Directory const &directory, Osk::Task const &task);
    [[nodiscard]] bool enterCurrent(Directory const &directory, Slice const &slice);
    void enter(Bridging::VlanId vlan, VlanSubIntf const &subIntf);

    StoreFile file_;
    SqliteConnection connection_;
    StoreTables tables_;
    std::unique_ptr<Replacement> replacement_; ///< while replace() is under way
};

bool SqliteStore::load(Directory &directory, Osk::Task const &task) {
    EntryFinder finder(directory);
    return tables_.read(
        {task, plainSlice},
        [&directory](StoredEntry const &row) {
            auto const subIntf = directory.configIs(row.vlan)->intfIs(earlierSubIntf(row.intf));
            subIntf->tagOnEgressIs(row.tagOnEgress);
            subIntf->allowedTrafficDirectionIs(row.direction);
        },
        [&finder](StoredMember const &row) {
            if (VlanSubIntf *const subIntf = finder.entry(row.vlan, row.intf)) {
                subIntf->lagPhyIntfIs(earlierMember(row.member));
            }
        });
}

/// SQLite itself would go on writing to a file that no path leads to.
void SqliteStore::checkThere() const {
    if (file_.moved()) {
        fail("{}: was moved or deleted while it was in use", file_.path());
    }
}

std::size_t SqliteStore::write(std::span<DirectoryChange const> changes, Osk::Task const &task) {
    if (replacement_) {
        return apply(changes, {task, plainSlice});
    }
    checkThere();
    SqliteTransaction transaction(connection_);
    std::size_t const written = apply(changes, {task, transactionSlice});
    transaction.commit();
    return written;
}

std::size_t SqliteStore::apply(std::span<DirectoryChange const> changes, Slice const &slice) {
    std::size_t applied = 0;
    while (applied < changes.size()) {
        tables_.apply(changes[applied++]);
        if (slice.isOver()) {
            break;
        }
    }
    return applied;
}

/// Two walks, over rows and over the directory, of which each changes what differs: a file that is
/// almost right is hardly written, and one that cannot be read is found out before it is. Where a
/// name changes hands between the two, the second one and the changes behind it have the last word.
bool SqliteStore::replace(Directory const &directory, Osk::Task const &task) {
    if (!replacement_) {
        checkThere();
        tables_.readAnew();
        replacement_.reset(new Replacement{SqliteTransaction(connection_), VlanWalk()});
    }
    if (!replacement_->staleGone && !deleteStale(directory, task)) {
        return false;
    }
    replacement_->staleGone = true;
    return enterCurrent(directory, {task, plainSlice});
}

bool SqliteStore::deleteStale(Directory const &directory, Osk::Task const &task) {
    EntryFinder finder(directory);
    return tables_.read(
        {task, plainSlice},
        [&](StoredEntry const &row) {
            if (!finder.entry(row.vlan, row.intf)) {
                tables_.entryDel(row.vlan, row.intf);
            }
        },
        [&](StoredMember const &row) {
            VlanSubIntf const *const subIntf = finder.entry(row.vlan, row.intf);
            auto const member = knownIntf(row.member);
            if (!subIntf || !member || !subIntf->lagPhyIntf(*member)) {
                tables_.memberDel(row);
            }
        });
}

/// VLANs come in the order of the tables: a page that has left the cache before the end of a
/// transaction is not to change again, because then the end has to read all of the log from there
/// on.
bool SqliteStore::enterCurrent(Directory const &directory, Slice const &slice) {
    auto const pause = [&] { return slice.isOver(); };
    auto const visit = [&](Bridging::VlanId vlan, auto const &node) {
        if (!nameIsTaken(directory, vlan, node.key())) {
            enter(vlan, *node.value());
        }
    };
    return replacement_->walk.step(directory.config(), lastVlan, pause, visit);
}

void SqliteStore::enter(Bridging::VlanId vlan, VlanSubIntf const &subIntf) {
    Nuvio::String const intf = subIntf.intfId().stringValue();
    tables_.entryIs({vlan, intf.view(), subIntf.tagOnEgress(), subIntf.allowedTrafficDirection()});
    for (Iftel::IntfId const member : subIntf.lagPhyIntf()) {
        tables_.memberIs({vlan, intf.view(), member.stringValue().view()});
    }
}

void SqliteStore::replaceDone() {
    NUVIO_ASSERT(replacement_);
    replacement_->transaction.commit();
    replacement_.reset();
}

void SqliteStore::replaceUndone() noexcept {
    tables_.readAnew();
    replacement_.reset();
}

} // namespace

std::unique_ptr<Store> openSqliteStore(std::string const &path) {
    return std::make_unique<SqliteStore>(path);
}

} // namespace Agent
