#include "platform/Quam/SmControl.h"

#include <fmt/format.h>

std::string Qor::ValueTraits<Quam::SmControl>::text(Quam::SmControl const &value) {
    return fmt::format("name=\"{}\" priority={} synchronous={}", value.name().view(),
                       ValueTraits<Osk::TaskPriority>::text(value.priority()),
                       static_cast<unsigned>(value.synchronous()));
}
