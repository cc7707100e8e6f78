// What the tests of the store share: a directory with its journal, contents of directories and
// stores as lines, and steps of a task.
#pragma once

#include "agent/Error.h"
#include "agent/Members.h"
#include "agent/Names.h"
#include "agent/loop/Worker.h"
#include "agent/service/DirectoryJournal.h"
#include "agent/store/Store.h"
#include "platform/Iftel.h"
#include "platform/Osk.h"
#include "tests/agent/MessageOf.h"
#include "tests/agent/TempDir.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <array>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

/// "100 bond0.100 tagged both" for an entry, "100 bond0.100 + eth1" for a member.
using Lines = std::set<std::string>;
using Directory = DirectoryJournal::Directory;
using Direction = Bridging::AllowedTrafficDirection;

inline std::string entryLine(Bridging::VlanId vlan, std::string_view intf, bool tag,
                             Direction direction) {
    return fmt::format("{} {} {} {}", vlan.value(), intf, tag ? "tagged" : "untagged",
                       directionWord(direction));
}
inline std::string memberLine(Bridging::VlanId vlan, std::string_view intf,
                              std::string_view member) {
    return fmt::format("{} {} + {}", vlan.value(), intf, member);
}

inline Lines linesOf(Directory const &directory) {
    Lines lines;
    for (auto const &[vlan, config] : directory.config()) {
        for (auto const &[id, entry] : config->intf()) {
            auto const intf = id.stringValue();
            lines.insert(entryLine(vlan, intf.view(), entry->tagOnEgress(),
                                   entry->allowedTrafficDirection()));
            for (Iftel::IntfId const member : entry->lagPhyIntf()) {
                lines.insert(memberLine(vlan, intf.view(), member.stringValue().view()));
            }
        }
    }
    return lines;
}

/// A connection as the sqlite3 tool has it: it knows nothing of the agent.
class Reader {
  public:
    explicit Reader(std::string const &path) {
        int const code =
            sqlite3_open_v2(path.c_str(), &connection_, SQLITE_OPEN_READWRITE, nullptr);
        EXPECT_EQ(code, SQLITE_OK) << path;
        sqlite3_busy_timeout(connection_, 5000);
    }
    ~Reader() { sqlite3_close(connection_); }
    Reader(Reader const &) = delete;
    Reader &operator=(Reader const &) = delete;

    void run(std::string const &sql) {
        EXPECT_EQ(sqlite3_exec(connection_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sql << ": " << sqlite3_errmsg(connection_);
    }
    /// Columns joined by blanks, a text a row.
    std::vector<std::string> rows(std::string const &sql) {
        std::vector<std::string> rows;
        auto const add = [](void *to, int columns, char **values, char ** /*names*/) {
            std::string row;
            for (int i = 0; i < columns; ++i) {
                row += (i == 0 ? "" : " ") + std::string(values[i] ? values[i] : "NULL");
            }
            static_cast<std::vector<std::string> *>(to)->push_back(row);
            return 0;
        };
        EXPECT_EQ(sqlite3_exec(connection_, sql.c_str(), add, &rows, nullptr), SQLITE_OK)
            << sql << ": " << sqlite3_errmsg(connection_);
        return rows;
    }
    /// Both tables as of one moment.
    Lines lines() {
        auto const all =
            rows("SELECT vlan || ' ' || intf || ' ' || "
                 "CASE tagOnEgress WHEN 0 THEN 'untagged' ELSE 'tagged' END || ' ' || direction "
                 "FROM entries UNION ALL SELECT vlan || ' ' || intf || ' + ' || member "
                 "FROM members");
        return {all.begin(), all.end()};
    }

  private:
    sqlite3 *connection_ = nullptr;
};

inline Lines linesOf(std::string const &path) {
    return Reader(path).lines();
}

/// The plain model of what changes make.
class StoreModel {
  public:
    void apply(DirectoryChange const &change) {
        auto const intf = change.intf.stringValue();
        auto const member = change.member.stringValue();
        auto const prefix = fmt::format("{} {} ", change.vlan.value(), intf.view());
        switch (change.kind) {
        case DirectoryChange::Kind::entryIs:
            std::erase_if(lines_, [&](auto const &line) {
                return line.starts_with(prefix) && (change.isNew || line[prefix.size()] != '+');
            });
            lines_.insert(
                entryLine(change.vlan, intf.view(), change.tagOnEgress, change.direction));
            break;
        case DirectoryChange::Kind::entryDel:
            std::erase_if(lines_, [&](auto const &line) { return line.starts_with(prefix); });
            break;
        case DirectoryChange::Kind::memberIs:
            lines_.insert(memberLine(change.vlan, intf.view(), member.view()));
            break;
        case DirectoryChange::Kind::memberDel:
            lines_.erase(memberLine(change.vlan, intf.view(), member.view()));
            break;
        }
    }
    void linesAre(Lines lines) { lines_ = std::move(lines); }
    [[nodiscard]] Lines const &lines() const noexcept { return lines_; }

  private:
    Lines lines_;
};

class ChangeRecorder final : public DirectoryJournal::Reader {
  public:
    std::vector<DirectoryChange> changes;

    void change(DirectoryChange const &change) noexcept override { changes.push_back(change); }
};

/// One random step in a small world of named interfaces; its VLANs are 1 to 6.
inline void churn(Directory &directory, TestSupport::Random &random) {
    static constexpr std::array subs = {"bond0.1", "bond0.2", "eth's \"5\".7", "%d.9"};
    static constexpr std::array members = {"eth1", "eth2", "m\xc3\xbc", "eth4"};
    Bridging::VlanId const vlan(static_cast<std::uint16_t>(1 + random.below(6)));
    auto const intf = earlierSubIntf(subs[random.below(subs.size())]);
    auto const member = earlierMember(members[random.below(members.size())]);
    switch (random.below(10)) {
    case 0:
        directory.configIs(vlan)->intfDel(intf);
        break;
    case 1:
        if (random.oneIn(4)) {
            directory.configDel(vlan);
        }
        break;
    case 2:
        directory.configIs(vlan)->intfIs(intf)->lagPhyIntfDel(member);
        break;
    case 3:
        directory.configIs(vlan)->intfIs(intf)->tagOnEgressIs(random.oneIn(2));
        break;
    case 4:
        directory.configIs(vlan)->intfIs(intf)->allowedTrafficDirectionIs(
            static_cast<Direction>(random.below(4)));
        break;
    default:
        directory.configIs(vlan)->intfIs(intf)->lagPhyIntfIs(member);
    }
}

class StoreTest : public testing::Test {
  protected:
    StoreTest() { Iftel::NameTable::instance().resetForTest(); }
    ~StoreTest() override { Iftel::NameTable::instance().resetForTest(); }

    /// Call `step( task )` in runs of a task until it answers true; returns the number of runs. A
    /// run is to yield after so many tests.
    int inRuns(std::uint64_t testsPerRun, auto const &step) {
        scheduler->shareIs(std::make_unique<Osk::CountShare>(testsPerRun));
        int runs = 0;
        std::exception_ptr thrown;
        Worker worker(scheduler, Osk::TaskPriority::normal, "test", [&](Osk::Task const &task) {
            ++runs;
            try {
                return step(task) ? Worker::More::no : Worker::More::yes;
            } catch (Error const &) {
                thrown = std::current_exception();
                return Worker::More::no;
            }
        });
        worker.wake();
        scheduler->runUntilIdle();
        if (thrown) {
            std::rethrow_exception(thrown);
        }
        return runs;
    }
    static constexpr std::uint64_t all = ~std::uint64_t{0};

    /// Write all that was recorded.
    void write(Store &store, std::vector<DirectoryChange> const &changes,
               std::uint64_t testsPerRun = all) {
        std::size_t written = 0;
        writeFrom(written, store, changes, testsPerRun);
    }
    /// Write them from there on; `written` says how many are, whether it fails or not.
    void writeFrom(std::size_t &written, Store &store, std::vector<DirectoryChange> const &changes,
                   std::uint64_t testsPerRun = all) {
        inRuns(testsPerRun, [&](Osk::Task const &task) {
            written += store.write(std::span(changes).subspan(written), task);
            return written == changes.size();
        });
    }
    void load(Store &store, Directory &into, std::uint64_t testsPerRun = all) {
        inRuns(testsPerRun, [&](Osk::Task const &task) { return store.load(into, task); });
    }
    void replace(Store &store) {
        inRuns(all, [&](Osk::Task const &task) { return store.replace(*directory, task); });
        store.replaceDone();
    }
    /// The message of the Error that `action` throws, without the folder.
    std::string messageOf(auto const &action) const {
        return Agent::messageOf(action, dir.file(""));
    }
    static void entryIs(Directory &to, std::uint16_t vlan, char const *name,
                        std::vector<char const *> const &members = {}, bool tag = false,
                        Direction direction = Direction::both) {
        auto const entry = to.configIs(Bridging::VlanId(vlan))->intfIs(earlierSubIntf(name));
        entry->tagOnEgressIs(tag);
        entry->allowedTrafficDirectionIs(direction);
        for (char const *const member : members) {
            entry->lagPhyIntfIs(earlierMember(member));
        }
    }
    void entryIs(std::uint16_t vlan, char const *name,
                 std::vector<char const *> const &members = {}, bool tag = false,
                 Direction direction = Direction::both) {
        entryIs(*directory, vlan, name, members, tag, direction);
    }

    TempDir dir;
    std::string const path = dir.file("store.db");
    Qor::Ptr<Osk::TaskScheduler> const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    Qor::Ptr<Directory> const directory = Directory::VlanSubIntfConfigDirIs();
    DirectoryJournal journal{directory};
    ChangeRecorder recorder;
};

} // namespace Agent
