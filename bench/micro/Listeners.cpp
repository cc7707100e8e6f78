#include "bench/micro/Listeners.h"

namespace Bench::Micro {
namespace {

class SummingListener final : public Listener {
  public:
    void handleChange(std::uint64_t key) noexcept override { sum_ += key; }
    [[nodiscard]] std::uint64_t sum() const noexcept override { return sum_; }

  private:
    std::uint64_t sum_ = 0;
};

void addKey(void *owner, std::uint64_t key) noexcept {
    *static_cast<std::uint64_t *>(owner) += key;
}

} // namespace

std::unique_ptr<Listener> makeListener() {
    return std::make_unique<SummingListener>();
}

void addNotice(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
               short /*attributeId*/, void const *key, void const * /*reserved*/) noexcept {
    *static_cast<std::uint64_t *>(subscriber->owner()) +=
        key ? *static_cast<std::uint64_t const *>(key) : 1;
}

Callback addingTo(std::uint64_t &sum) {
    return {addKey, &sum};
}

} // namespace Bench::Micro
