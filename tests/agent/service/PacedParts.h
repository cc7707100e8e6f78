// A source that goes on step by step, as a test tells it, and a store that writes down what it is
// given.
#pragma once

#include "agent/Error.h"
#include "agent/Names.h"
#include "agent/source/Source.h"
#include "agent/store/Store.h"

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

/// The test writes the inputs, and tells the host what a source would.
class PacedSource final : public Source {
  public:
    PacedSource(Inputs inputs, SourceHost &host) : inputs_(std::move(inputs)), host_(host) {}

    // What the test does.

    void subIntfIs(std::uint16_t vlan, char const *name) {
        inputs_.bridgingConfig->vlanConfigIs(Bridging::VlanId(vlan))
            ->intfIs(Iftel::IntfId(name), {true, false, Bridging::AllowedTrafficDirection::both});
    }
    void lagMemberIs(char const *lag, char const *member) {
        inputs_.lagPhyIntfMapping->lagPhyIntfConfigIs(Iftel::IntfId(lag))
            ->phyIntfIs(Iftel::IntfId(member), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    }
    void tellLinks() { host_.linksKnown(); }
    void tellComplete(std::string const &why = "start") {
        complete_ = true;
        host_.viewComplete(why);
    }
    SourceHost &host() { return host_; }
    std::string startProblem; ///< what start() fails with; empty for nothing

    // What the host asked for.

    std::vector<std::string> asked;
    std::set<std::uint64_t> used;

    void start() override {
        if (!startProblem.empty()) {
            fail("{}", startProblem);
        }
        asked.emplace_back("start");
    }
    void resynchronise(std::string_view why) override {
        asked.push_back("resynchronise: " + std::string(why));
    }
    void stop() noexcept override {
        asked.emplace_back("stop");
        complete_ = false;
    }
    [[nodiscard]] std::string name() const override { return "fake"; }
    [[nodiscard]] bool complete() const noexcept override { return complete_; }
    [[nodiscard]] Counts counts() const noexcept override { return {}; }
    [[nodiscard]] bool uses(Iftel::IntfId id) const override { return used.contains(id.bits()); }
    [[nodiscard]] std::vector<std::string> describe(std::string_view intf) const override {
        return {"fake link " + std::string(intf)};
    }

  private:
    Inputs inputs_;
    SourceHost &host_;
    bool complete_ = false;
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
    [[nodiscard]] std::string const &name() const noexcept override { return name_; }

  private:
    void check() const {
        if (disk_.broken) {
            fail("fake.db: broken");
        }
    }

    Recording &disk_;
    std::string name_ = "fake.db";
};

} // namespace Agent
