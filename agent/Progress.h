// A progress bar on a terminal, for jobs that are large enough to wait for.
//
// A job has stages ("reading vlans.json", "deriving"); the bar is one line that is drawn over, at
// most every tenth of a second, and wiped off when the stage ends, so that messages start on a
// clean line. A stage that is not large draws nothing.
//
//     Progress progress(Progress::onStandardError());
//     progress.stageIs("reading vlans.json", fileSize, 4 << 20);
//     progress.doneIs(bytesRead);
//     progress.finish();
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Agent {

class Progress {
  public:
    using Sink = std::function<void(std::string_view)>;
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    static constexpr std::chrono::milliseconds drawInterval{100};

    /// Draws through `sink`; with an empty one nothing is ever drawn.
    explicit Progress(Sink sink = {}, Clock clock = std::chrono::steady_clock::now);
    ~Progress() { finish(); }
    /// Not copyable: two bars would draw over each other.
    Progress(Progress const &) = delete;
    Progress &operator=(Progress const &) = delete;

    /// Writes to standard error when that is a terminal; else empty.
    [[nodiscard]] static Sink onStandardError();

    /// Begin a stage of `total` units, 0 when it is not known beforehand. It is drawn once `total`,
    /// or what is done of it, is at least `large`.
    void stageIs(std::string name, std::uint64_t total, std::uint64_t large);
    /// So many units of the stage are done.
    void doneIs(std::uint64_t units);
    /// Wipe the bar off, if there is one.
    void finish();

  private:
    [[nodiscard]] std::string line(std::uint64_t units) const;

    Sink sink_;
    Clock clock_;
    std::string name_;
    std::uint64_t total_ = 0;
    std::uint64_t large_ = 0;
    std::chrono::steady_clock::time_point drawn_;
    bool visible_ = false;
};

} // namespace Agent
