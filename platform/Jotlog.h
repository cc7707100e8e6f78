// Jotlog: the compact trace facility.
//
// A host that keeps a compact trace hands its handle to a machine with jlHandleIs(). Machines carry
// the pointer along in their control and do not look behind it; the host owns the handle and keeps
// it alive as long as any machine holds it.
#pragma once

#include "platform/Nuvio/String.h"

#include <utility>

namespace Jotlog {

/// One compact trace of a host, known by its name.
class TraceHandle {
  public:
    explicit TraceHandle(Nuvio::String traceName) noexcept : name_(std::move(traceName)) {}
    TraceHandle(TraceHandle const &) = delete;
    TraceHandle &operator=(TraceHandle const &) = delete;

    [[nodiscard]] Nuvio::String const &name() const noexcept { return name_; }

  private:
    Nuvio::String name_;
};

} // namespace Jotlog
