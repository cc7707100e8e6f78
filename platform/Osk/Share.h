// When a run of a task has used its share of the thread.
//
// The scheduler asks its Share; hosts and tests replace it. Time for production, a count of tests
// to explore every place where work can be cut, never for work that must not be cut.
#pragma once

#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/Export.h"

#include <chrono>
#include <cstdint>

namespace Osk {

class NUVIO_EXPORT Share {
  public:
    virtual ~Share() = default;
    /// A run starts.
    virtual void runBegins() noexcept = 0;
    /// Asked at each test but the free ones: true when the run should stop.
    virtual bool isUsed() noexcept = 0;

    /// One test: whether the run should stop.
    [[nodiscard]] bool test() noexcept {
        if (freeTests_ != 0) {
            --freeTests_;
            return false;
        }
        return isUsed();
    }

  protected:
    /// Let so many tests answer false unasked.
    void freeTestsIs(std::uint32_t tests) noexcept { freeTests_ = tests; }

  private:
    std::uint32_t freeTests_ = 0;
};

/// A run may take this long. The clock is read only at every 16th test, so a run whose items take
/// microseconds overshoots by that much; the first test of a run reads it always.
class NUVIO_EXPORT TimeShare final : public Share {
  public:
    static constexpr std::uint32_t testsPerClockRead = 16;

    explicit TimeShare(std::chrono::nanoseconds limit) noexcept : limit_(limit) {}
    void runBegins() noexcept override;
    bool isUsed() noexcept override;

  private:
    std::chrono::nanoseconds limit_;
    std::chrono::steady_clock::time_point begin_;
    bool used_ = false;
};

/// A run may make this many tests; the last of them and any later answer true. Requires: not 0.
class NUVIO_EXPORT CountShare final : public Share {
  public:
    explicit CountShare(std::uint64_t tests) noexcept : limit_(tests) { NUVIO_ASSERT(tests != 0); }
    void runBegins() noexcept override { tests_ = 0; }
    bool isUsed() noexcept override { return ++tests_ >= limit_; }

  private:
    std::uint64_t limit_;
    std::uint64_t tests_ = 0;
};

/// A run is never asked to stop.
class NUVIO_EXPORT UnlimitedShare final : public Share {
  public:
    void runBegins() noexcept override {}
    bool isUsed() noexcept override { return false; }
};

} // namespace Osk
