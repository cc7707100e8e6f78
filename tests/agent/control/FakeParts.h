// A source and a store that do as the test says, for an agent in this process.
#pragma once

#include "agent/Error.h"
#include "agent/loop/Loop.h"
#include "agent/loop/Worker.h"
#include "agent/source/Source.h"
#include "agent/store/Store.h"

#include <fmt/format.h>

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

/// A source that has whatever the test writes into the inputs.
class FakeSource final : public Source {
  public:
    FakeSource(Loop &loop, SourceHost &host)
        : host_(host), worker_(loop.scheduler(), Osk::TaskPriority::normal, "source",
                               [this](Osk::Task const & /*task*/) {
                                   tell();
                                   return Worker::More::no;
                               }) {}

    void start() override {
        if (!startProblem.empty()) {
            fail("{}", startProblem);
        }
        started_ = true;
        why_ = "start";
        worker_.wake();
    }
    void resynchronise(std::string_view why) override {
        why_ = why;
        ++counts_.resyncs;
        worker_.wake();
    }
    void stop() noexcept override { started_ = false; }
    [[nodiscard]] std::string name() const override { return "test \x1b[1m"; }
    [[nodiscard]] bool complete() const noexcept override { return complete_; }
    [[nodiscard]] Counts counts() const noexcept override { return counts_; }
    [[nodiscard]] bool uses(Iftel::IntfId /*id*/) const override { return true; }
    [[nodiscard]] std::vector<std::string> describe(std::string_view intf) const override {
        return {fmt::format("a link of the test named {}", intf)};
    }

    /// Complete the first view now, or hold it back before it starts.
    void holdBack() { held_ = true; }
    void letGo() {
        held_ = false;
        worker_.wake();
    }
    void fails(std::string_view message) { host_.problem(message); }
    std::string startProblem; ///< what start() fails with; empty for nothing

  private:
    void tell() {
        host_.linksKnown();
        if (!held_ && started_) {
            complete_ = true;
            host_.viewComplete(why_);
        }
    }

    SourceHost &host_;
    Counts counts_;
    std::string why_;
    bool started_ = false;
    bool held_ = false;
    bool complete_ = false;
    Worker worker_;
};

/// A store that has the entries of an earlier run that the test gives it, and keeps nothing.
class FakeStore final : public Store {
  public:
    using Fill = std::function<void(DirectoryJournal::Directory &)>;
    explicit FakeStore(Fill fill) : fill_(std::move(fill)) {}

    bool load(DirectoryJournal::Directory &directory, Osk::Task const & /*task*/) override {
        fill_(directory);
        return true;
    }
    std::size_t write(std::span<DirectoryChange const> changes,
                      Osk::Task const & /*task*/) override {
        return changes.size();
    }
    bool replace(DirectoryJournal::Directory const & /*directory*/,
                 Osk::Task const & /*task*/) override {
        return true;
    }
    void replaceDone() override {}
    void replaceUndone() noexcept override {}
    [[nodiscard]] bool lost() const noexcept override { return false; }
    [[nodiscard]] int logPages() const noexcept override { return 0; }
    [[nodiscard]] std::string const &name() const noexcept override { return name_; }

  private:
    Fill fill_;
    std::string name_ = "store";
};

} // namespace Agent
