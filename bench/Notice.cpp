#include "bench/Notice.h"

namespace Bench {
namespace {

class CountingObserver final : public Observer {
  public:
    void changed(Change change, std::uint64_t key, CountedEntity *) override {
        ++count_;
        keys_ ^= key + static_cast<std::uint8_t>(change);
    }

  private:
    std::uint64_t count_ = 0;
    std::uint64_t keys_ = 0;
};

} // namespace

std::unique_ptr<Observer> countingObserver() {
    return std::make_unique<CountingObserver>();
}

InputSink *opaque(InputSink *sink) noexcept {
    return sink;
}

} // namespace Bench
