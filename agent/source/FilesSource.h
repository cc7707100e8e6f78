// Inputs from files that are watched: read at the start, and again whenever one of them is replaced
// or written.
//
// Files may be large, so they are read and checked in a process of their own, which hands the rows
// over a pipe; the loop goes on meanwhile, and no file takes the agent down with it. A file that
// cannot be read or does not fit leaves the inputs as they are, and is reported; the next change of
// it is tried again.
//
// Watched are the folders, so a file that is replaced by renaming another, or that comes only
// later, is noticed. So is a folder that is replaced; where one is gone, that is reported, and it
// is looked for until it is there again.
#pragma once

#include "agent/Inputs.h"
#include "agent/loop/Loop.h"
#include "agent/loop/Worker.h"
#include "agent/source/FolderWatch.h"
#include "agent/source/InputRows.h"
#include "agent/source/InputsUpdate.h"
#include "agent/source/Source.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class FilesSource final : public Source {
  public:
    /// Files are read this long after the last change of one of them: two that belong together are
    /// then read together, and one that is being written is complete.
    static constexpr std::chrono::milliseconds settleTime{50};

    /// What could not be begun, as a folder has gone, is tried again after this time.
    static constexpr std::chrono::seconds retryTime{1};

    /// Requires: none of the files is standard input.
    FilesSource(Loop &loop, Inputs inputs, InputOptions files, SourceHost &host);
    ~FilesSource() override;

    void start() override;
    void resynchronise(std::string_view why) override;
    void stop() noexcept override;

    [[nodiscard]] std::string name() const override;
    [[nodiscard]] bool complete() const noexcept override { return complete_; }
    [[nodiscard]] Counts counts() const noexcept override { return counts_; }
    [[nodiscard]] bool uses(Iftel::IntfId id) const override;
    [[nodiscard]] std::vector<std::string> describe(std::string_view intf) const override;

  private:
    /// The process that reads, and the end of its pipe.
    struct Reading;

    [[nodiscard]] std::vector<std::string> files() const;
    void read(std::string_view why);
    void readAgain();
    void handleBytes();
    void handleEnd();
    void intfsAre(std::vector<Iftel::IntfId> intfs);
    [[nodiscard]] Worker::More update(Osk::Task const &task);
    void problem(std::string const &message);

    Loop &loop_;
    Inputs inputs_;
    InputOptions files_;
    SourceHost &host_;
    Counts counts_;
    std::string why_; ///< what is under way was begun for
    Loop::Timer settled_;
    Worker updater_;
    std::unique_ptr<FolderWatch> folders_;
    std::unique_ptr<Reading> reading_;
    std::optional<InputsUpdate> update_;
    std::optional<std::string> again_; ///< why to read again behind what is under way
    std::vector<Iftel::IntfId> intfs_; ///< those in the latest view, in order
    std::vector<Iftel::IntfId> left_;  ///< those in the one before it alone
    bool complete_ = false;
    bool failed_ = false;
};

} // namespace Agent
