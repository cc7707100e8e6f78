#include "agent/loop/Worker.h"

#include "platform/QorNuvio.h"

#include <utility>

namespace Agent {

Worker::Worker(Qor::Ptr<Osk::TaskScheduler> const &scheduler, Osk::TaskPriority priority,
               std::string_view name, Step step)
    : step_(std::move(step)), task_(Qor::make<Osk::Task>(scheduler, priority, Nuvio::String(name))),
      subscriber_(run, this) {
    QorNuvio::subscribeTo(subscriber_, task_);
}

void Worker::run(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                 short /*attributeId*/, void const * /*key*/, void const * /*reserved*/) noexcept {
    auto &worker = *static_cast<Worker *>(subscriber->owner());
    if (worker.step_(*worker.task_) == More::yes) {
        worker.wake();
    }
}

} // namespace Agent
