// A trace line of the machine that is switched off, beside no line at all; and one that is switched
// on and goes to a sink that counts, beside formatting the same text into a buffer.
#include "VlanSubIntfConfigLib/Trace.h"
#include "bench/micro/Micro.h"
#include "platform/Bridging.h"
#include "platform/Iftel.h"
#include "platform/Nuvio/DebugHandler.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

namespace Bench::Micro {
namespace {

using VlanSubIntfConfigLib::DovraCode::dovraPrint;

constexpr unsigned level = 7;
constexpr std::string_view lineOfNumbers = "Processed 100 children, 4000 remain";
constexpr std::string_view lineOfValues = "vlanId=100 intfId=PortChannel10.100";

/// A handle whose lines go into a count of their bytes.
class Handle {
  public:
    explicit Handle(bool enabled)
        : handler_(Nuvio::Platform::getDebugHandler(Nuvio::String("bench_micro"), false)) {
        handler_->levelMaskIs(enabled ? 1U << level : 0);
        handler_->sinkIs(
            [this](Nuvio::TraceRecord const &record) { bytes_ += record.message.size(); });
    }
    ~Handle() { handler_->sinkIs({}); }
    Handle(Handle const &) = delete;
    Handle &operator=(Handle const &) = delete;

    [[nodiscard]] auto const &handler() const { return handler_; }
    [[nodiscard]] std::uint64_t bytes() const { return bytes_; }

  private:
    Nuvio::Ptr<Nuvio::Platform::DebugHandler> handler_;
    std::uint64_t bytes_ = 0;
};

#define BENCH_TRACE(handle, ...)                                                                   \
    DOVRA_TRACE((handle).handler(), level, "ConfigSm", "benchmark",                                \
                VlanSubIntfConfigLib::DovraCode::Statements::fromVlanConfig, __VA_ARGS__)

void expectBytes(benchmark::State &state, std::uint64_t bytes, std::string_view line) {
    expect(state, bytes, static_cast<std::uint64_t>(state.items_processed()) * line.size());
}

template <bool Enabled> void traceNumbers(benchmark::State &state) {
    Handle const handle(Enabled);
    std::uint64_t children = 100;
    repeat(state, [&] {
        benchmark::DoNotOptimize(children);
        BENCH_TRACE(handle, "Processed {} children, {} remain", children, 40 * children);
    });
    expectBytes(state, handle.bytes(), Enabled ? lineOfNumbers : "");
}

void traceValues(benchmark::State &state) {
    Handle const handle(true);
    Bridging::VlanId vlanId(100);
    Iftel::IntfId intfId("PortChannel10.100");
    repeat(state, [&] {
        benchmark::DoNotOptimize(vlanId);
        benchmark::DoNotOptimize(intfId);
        BENCH_TRACE(handle, "vlanId={} intfId={}", dovraPrint(vlanId), dovraPrint(intfId));
    });
    expectBytes(state, handle.bytes(), lineOfValues);
}

void nothing(benchmark::State &state) {
    std::uint64_t children = 100;
    repeat(state, [&] { benchmark::DoNotOptimize(children); });
}

/// `format(buffer)` writes a line and returns its end.
template <class Format>
void formatOnly(benchmark::State &state, std::string_view line, Format format) {
    char buffer[256];
    std::uint64_t bytes = 0;
    repeat(state, [&] {
        char const *const end = format(buffer);
        bytes += static_cast<std::uint64_t>(end - buffer);
    });
    if (std::string_view(buffer, line.size()) != line) {
        state.SkipWithError("formatted something else");
    }
    expectBytes(state, bytes, line);
}

void formatNumbers(benchmark::State &state) {
    formatOnly(state, lineOfNumbers, [children = std::uint64_t{100}](char *buffer) mutable {
        benchmark::DoNotOptimize(children);
        return fmt::format_to(buffer, "Processed {} children, {} remain", children, 40 * children);
    });
}

void printNumbers(benchmark::State &state) {
    formatOnly(state, lineOfNumbers, [children = 100UL](char *buffer) mutable {
        benchmark::DoNotOptimize(children);
        return buffer + std::snprintf(buffer, 256, "Processed %lu children, %lu remain", children,
                                      40 * children);
    });
}

void formatValues(benchmark::State &state) {
    formatOnly(state, lineOfValues,
               [vlanId = 100U, parent = 10U, number = 100U](char *buffer) mutable {
                   benchmark::DoNotOptimize(vlanId);
                   benchmark::DoNotOptimize(parent);
                   benchmark::DoNotOptimize(number);
                   return fmt::format_to(buffer, "vlanId={} intfId=PortChannel{}.{}", vlanId,
                                         parent, number);
               });
}

} // namespace

void addTraces() {
    add("trace", "disabled", noSize, ours, traceNumbers<false>);
    add("trace", "disabled", noSize, "an empty loop", nothing);
    add("trace", "enabled, of numbers", noSize, ours, traceNumbers<true>);
    add("trace", "enabled, of numbers", noSize, "fmt::format_to", formatNumbers);
    add("trace", "enabled, of numbers", noSize, "snprintf", printNumbers);
    add("trace", "enabled, of values", noSize, ours, traceValues);
    add("trace", "enabled, of values", noSize, "fmt::format_to", formatValues);
}

} // namespace Bench::Micro
