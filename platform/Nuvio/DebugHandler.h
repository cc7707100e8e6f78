// Trace lines: named handles with a mask of enabled levels and a sink.
//
// A DebugHandler is shared by all who ask for its name. It has a 16-bit mask (bit n enables level
// n; none at start) and a sink that receives each record; the default sink writes one line to
// standard error. The environment variable NUVIO_TRACE sets masks when a handle is made:
//
//     NUVIO_TRACE="ConfigSm/7,VlanSubIntfConfigLib/6-9"
//
// A trace site tests levelEnabled() before it builds any argument, so a disabled level costs a load
// and a test. Sinks run inside the traced code: they must not call back into it, nor throw.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/Ptr.h"
#include "platform/Nuvio/String.h"

#include <fmt/format.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

namespace Nuvio {

/// One trace line as a sink sees it. The views are valid during the call of the sink.
struct TraceRecord {
    std::uint16_t level;       ///< 0 to 15
    std::string_view machine;  ///< the emitting class, such as "IntfSm1"
    std::string_view function; ///< the emitting function
    std::string_view source;   ///< name of the source that the line number points into
    std::uint32_t line;        ///< line of the statement in that source
    std::string_view message;  ///< the formatted text
};

namespace Platform {

class NUVIO_EXPORT DebugHandler final : public RefCounted {
  public:
    using Sink = std::function<void(TraceRecord const &)>;

    explicit DebugHandler(String handleName) noexcept : name_(std::move(handleName)) {}

    [[nodiscard]] String const &name() const noexcept { return name_; }
    [[nodiscard]] std::uint16_t levelMask() const noexcept { return levelMask_; }
    void levelMaskIs(std::uint16_t mask) noexcept { levelMask_ = mask; }
    [[nodiscard]] bool levelEnabled(unsigned level) const noexcept {
        return (levelMask_ >> level & 1U) != 0;
    }

    /// Send records to `sink`; an empty one restores the default.
    void sinkIs(Sink sink) { sink_ = std::move(sink); }
    void emit(TraceRecord const &record) const;

  private:
    String name_;
    std::uint16_t levelMask_ = 0;
    Sink sink_;
};

/// The shared handle of that name, made at the first request and kept until the process ends. With
/// `allLevels` a handle that is made by this call starts with every level enabled.
NUVIO_EXPORT Ptr<DebugHandler> getDebugHandler(String const &name, bool allLevels);

/// The mask for a text such as "7", "6-9" or "6,8-9"; empty when the text is malformed.
NUVIO_EXPORT std::optional<std::uint16_t> levelMaskOf(std::string_view levels);

} // namespace Platform

namespace Impl {

/// Emit one formatted line through `handler` if `level` is enabled on it.
NUVIO_EXPORT void vfmtrace(Platform::DebugHandler const &handler, std::uint16_t level,
                           std::string_view machine, std::string_view function,
                           std::string_view source, std::uint32_t line, fmt::string_view format,
                           fmt::format_args arguments);

} // namespace Impl

/// Typed front of vfmtrace: `format` is checked against `args` at compile time.
template <class Handler, class... Args>
void fmtrace(Handler const &handler, std::uint16_t level, std::string_view source,
             std::string_view function, std::uint32_t line, std::string_view machine,
             fmt::format_string<Args const &...> format, Args const &...args) {
    Impl::vfmtrace(handler, level, machine, function, source, line, format,
                   fmt::make_format_args(args...));
}

} // namespace Nuvio
