// Collects what a debug handle traces.
//
// A TraceRecorder switches levels of a handle on and takes its records; its destructor restores the
// mask and the default sink, and gives the lines up. One recorder a handle at a time.
//
//     TraceRecorder trace("ConfigSm", 0x03C0);
//     ...
//     EXPECT_THAT(trace.lines(), ElementsAre("7 ConfigSm::handleReady ready: true"));
#pragma once

#include "platform/Nuvio/DebugHandler.h"

#include <fmt/format.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

/// One trace record, kept.
struct TraceLine {
    std::uint16_t level = 0;
    std::string machine;
    std::string function;
    std::string source;
    std::uint32_t line = 0;
    std::string message;

    /// "level machine::function message": the parts that do not move when a statement does.
    [[nodiscard]] std::string text() const {
        return fmt::format("{} {}::{} {}", level, machine, function, message);
    }
    /// "level machine::function source:line message".
    [[nodiscard]] std::string fullText() const {
        return fmt::format("{} {}::{} {}:{} {}", level, machine, function, source, line, message);
    }

    friend bool operator==(TraceLine const &, TraceLine const &) = default;
    friend std::ostream &operator<<(std::ostream &out, TraceLine const &traced) {
        return out << traced.fullText();
    }
};

class TraceRecorder {
  public:
    static constexpr std::uint16_t allLevels = 0xFFFF;

    explicit TraceRecorder(Nuvio::Ptr<Nuvio::Platform::DebugHandler> handler,
                           std::uint16_t mask = allLevels)
        : handler_(std::move(handler)), formerMask_(handler_->levelMask()) {
        handler_->levelMaskIs(mask);
        handler_->sinkIs([this](Nuvio::TraceRecord const &record) {
            records_.push_back({record.level, std::string(record.machine),
                                std::string(record.function), std::string(record.source),
                                record.line, std::string(record.message)});
        });
    }
    /// On the shared handle of that name.
    explicit TraceRecorder(Nuvio::String const &name, std::uint16_t mask = allLevels)
        : TraceRecorder(Nuvio::Platform::getDebugHandler(name, false), mask) {}
    ~TraceRecorder() {
        handler_->levelMaskIs(formerMask_);
        handler_->sinkIs({});
    }
    /// Not copyable: the handle's sink knows it by its address.
    TraceRecorder(TraceRecorder const &) = delete;
    TraceRecorder &operator=(TraceRecorder const &) = delete;

    [[nodiscard]] std::vector<TraceLine> const &records() const { return records_; }
    /// The text() of every record, in order.
    [[nodiscard]] std::vector<std::string> lines() const {
        std::vector<std::string> texts;
        for (TraceLine const &traced : records_) {
            texts.push_back(traced.text());
        }
        return texts;
    }
    void clear() { records_.clear(); }

  private:
    Nuvio::Ptr<Nuvio::Platform::DebugHandler> handler_;
    std::uint16_t formerMask_;
    std::vector<TraceLine> records_;
};

} // namespace TestSupport
