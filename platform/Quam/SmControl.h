// The control of a machine: where its tasks run, under which name it traces, and whether it runs
// synchronously. A plain value that the factory copies; the defaults suit most hosts.
#pragma once

#include "platform/Jotlog.h"
#include "platform/Nuvio/String.h"
#include "platform/Osk/TaskScheduler.h"
#include "platform/Qor/Value.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace Quam {

enum class Synchronous : std::uint8_t {
    machineDefault = 0, ///< leave the machine's own default
    synchronous = 1,    ///< no tasks: scans run inline and never yield
    asynchronous = 2    ///< scans run in slices on tasks of the scheduler
};

class SmControl {
  public:
    /// Scheduler of the machine's tasks; null lets the machine use the process's default one.
    [[nodiscard]] Qor::Ptr<Osk::TaskScheduler> const &scheduler() const noexcept {
        return scheduler_;
    }
    void schedulerIs(Qor::Ptr<Osk::TaskScheduler> newScheduler) noexcept {
        scheduler_ = std::move(newScheduler);
    }
    /// The host's compact trace; borrowed, may be null, not looked into by machines.
    [[nodiscard]] Jotlog::TraceHandle *jlHandle() const noexcept { return jlHandle_; }
    void jlHandleIs(Jotlog::TraceHandle *handle) noexcept { jlHandle_ = handle; }
    /// Name of the debug handler that the machine traces to; empty for its library's shared one.
    [[nodiscard]] Nuvio::String const &name() const noexcept { return name_; }
    void nameIs(Nuvio::String newName) noexcept { name_ = std::move(newName); }
    /// Priority of the machine's tasks.
    [[nodiscard]] Osk::TaskPriority priority() const noexcept { return priority_; }
    void priorityIs(Osk::TaskPriority newPriority) noexcept { priority_ = newPriority; }
    [[nodiscard]] Synchronous synchronous() const noexcept { return synchronous_; }
    void synchronousIs(Synchronous setting) noexcept { synchronous_ = setting; }
    /// Whether generated code traces compactly; this platform's does not.
    [[nodiscard]] static constexpr bool codefEnabled() noexcept { return false; }
    /// Version of the control's layout.
    [[nodiscard]] static constexpr std::uint32_t version() noexcept { return 1; }

  private:
    Qor::Ptr<Osk::TaskScheduler> scheduler_;
    Jotlog::TraceHandle *jlHandle_ = nullptr;
    Nuvio::String name_;
    Osk::TaskPriority priority_ = Osk::TaskPriority::normal;
    Synchronous synchronous_ = Synchronous::machineDefault;
};

} // namespace Quam

/// Prints name, priority and synchronous setting; cannot be entered.
template <> struct NUVIO_EXPORT Qor::ValueTraits<Quam::SmControl> {
    static constexpr std::string_view name = "Quam::SmControl";
    static std::string text(Quam::SmControl const &value);
};
