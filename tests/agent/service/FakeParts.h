// A source and a store that do as the test says, for an agent in this process.
#pragma once

#include "agent/Error.h"
#include "agent/Names.h"
#include "agent/loop/Loop.h"
#include "agent/loop/Worker.h"
#include "agent/source/Source.h"
#include "agent/store/Store.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

/// The test writes the inputs; the source tells its host of them, as far as the test lets it.
class FakeSource final : public Source {
  public:
    FakeSource(Loop &loop, SourceHost &host)
        : host_(host), worker_(loop.scheduler(), Osk::TaskPriority::normal, "source",
                               [this](Osk::Task const & /*task*/) {
                                   tell();
                                   return Worker::More::no;
                               }) {}

    // What the test does.

    enum class Held { nothing, view, links };
    /// Tell, until letGo(), of no full view, or not even of the links.
    void holdBack(Held held = Held::view) { held_ = held; }
    void letGo() {
        held_ = Held::nothing;
        worker_.wake();
    }
    /// At once.
    void tellLinks() {
        if (!std::exchange(linksTold_, true)) {
            host_.linksKnown();
        }
    }
    void fails(std::string_view message) { host_.problem(message); }
    void recovers() { host_.problemOver(); }
    std::optional<std::set<std::uint64_t>> used; ///< what it uses() alone; without it, everything
    std::string startProblem;                    ///< what start() fails with; empty for nothing

    // What the host asked for.

    std::vector<std::string> asked;

    void start() override {
        if (!startProblem.empty()) {
            fail("{}", startProblem);
        }
        asked.emplace_back("start");
        started_ = true;
        why_ = "start";
        worker_.wake();
    }
    void resynchronise(std::string_view why) override {
        asked.push_back("resynchronise: " + std::string(why));
        why_ = why;
        ++counts_.resyncs;
        worker_.wake();
    }
    void stop() noexcept override {
        asked.emplace_back("stop");
        started_ = linksTold_ = complete_ = false;
    }
    [[nodiscard]] std::string name() const override { return "test \x1b[1m"; }
    [[nodiscard]] bool complete() const noexcept override { return complete_; }
    [[nodiscard]] Counts counts() const noexcept override { return counts_; }
    [[nodiscard]] bool uses(Iftel::IntfId id) const override {
        return !used || used->contains(id.bits());
    }
    [[nodiscard]] std::vector<std::string> describe(std::string_view intf) const override {
        return {"a link of the test named " + std::string(intf)};
    }

  private:
    void tell() {
        if (started_ && held_ != Held::links) {
            tellLinks();
        }
        if (started_ && held_ == Held::nothing) {
            complete_ = true;
            host_.viewComplete(why_);
        }
    }

    SourceHost &host_;
    Counts counts_;
    std::string why_;
    Held held_ = Held::nothing;
    bool started_ = false;
    bool linksTold_ = false;
    bool complete_ = false;
    Worker worker_;
};

/// What a RecordingStore holds, and how it behaves; outlives the store.
struct Recording {
    struct Left {
        std::uint16_t vlan;
        std::string name;
        std::string member; ///< empty for none
    };
    std::vector<Left> left;               ///< entries of an earlier run
    std::vector<DirectoryChange> written; ///< changes, in their order
    bool broken = false;                  ///< every call fails
};

class RecordingStore final : public Store {
  public:
    explicit RecordingStore(Recording &disk) : disk_(disk) {}

    [[nodiscard]] bool load(DirectoryJournal::Directory &directory,
                            Osk::Task const & /*task*/) override {
        check();
        for (auto const &[vlan, name, member] : disk_.left) {
            auto const entry =
                directory.configIs(Bridging::VlanId(vlan))->intfIs(earlierSubIntf(name));
            if (!member.empty()) {
                entry->lagPhyIntfIs(earlierMember(member));
            }
        }
        return true;
    }
    std::size_t write(std::span<DirectoryChange const> changes,
                      Osk::Task const & /*task*/) override {
        check();
        disk_.written.insert(disk_.written.end(), changes.begin(), changes.end());
        return changes.size();
    }
    [[nodiscard]] bool replace(DirectoryJournal::Directory const & /*directory*/,
                               Osk::Task const & /*task*/) override {
        check();
        return true;
    }
    void replaceDone() override {}
    void replaceUndone() noexcept override {}
    [[nodiscard]] bool lost() const noexcept override { return false; }
    [[nodiscard]] int logPages() const noexcept override { return 0; }

  private:
    void check() const {
        if (disk_.broken) {
            fail("fake.db: broken");
        }
    }

    Recording &disk_;
};

} // namespace Agent
