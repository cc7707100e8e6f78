#include "agent/Progress.h"

#include "agent/StandardError.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace Agent {
namespace {

constexpr std::uint64_t barWidth = 30;
constexpr std::string_view wipe = "\r\033[K";

} // namespace

Progress::Progress(Sink sink, Clock clock) : sink_(std::move(sink)), clock_(std::move(clock)) {}

Progress::Sink Progress::onStandardError() {
    if (::isatty(STDERR_FILENO) == 0) {
        return {};
    }
    return sayText;
}

void Progress::stageIs(std::string name, std::uint64_t total, std::uint64_t large) {
    finish();
    name_ = std::move(name);
    total_ = total;
    large_ = large;
}

void Progress::doneIs(std::uint64_t units) {
    if (!sink_ || std::max(total_, units) < large_) {
        return;
    }
    auto const now = clock_();
    if (visible_ && now - drawn_ < drawInterval) {
        return;
    }
    drawn_ = now;
    visible_ = true;
    sink_(line(units));
}

void Progress::finish() {
    if (std::exchange(visible_, false)) {
        sink_(wipe);
    }
}

std::string Progress::line(std::uint64_t units) const {
    if (total_ == 0) {
        return fmt::format("{}{} ...", wipe, name_);
    }
    std::uint64_t const done = std::min(units, total_);
    std::uint64_t const filled = done * barWidth / total_;
    return fmt::format("{}{} [{:#<{}}{:.<{}}] {:3}%", wipe, name_, "", filled, "",
                       barWidth - filled, done * 100 / total_);
}

} // namespace Agent
