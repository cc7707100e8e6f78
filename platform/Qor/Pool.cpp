#include "platform/Qor/Pool.h"

#include "platform/Nuvio/Assert.h"
#include "platform/Qor/Reclaimer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define QOR_POOL_STEPS_ASIDE 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QOR_POOL_STEPS_ASIDE 1
#endif
#endif

namespace Qor {
namespace {

#ifdef QOR_POOL_STEPS_ASIDE
constexpr bool pooling = false;
#else
constexpr bool pooling = true;
#endif

constexpr std::size_t cacheLine = 64;
constexpr std::size_t slabBytes = std::size_t{64} * 1024;
constexpr std::size_t regionBytes = slabBytes;
static_assert(regionBytes >= Pool::maxKept);

std::int64_t failCountdown = -1;

std::mutex &mutex() {
    static std::mutex guard;
    return guard;
}

/// A lock while the thread-safe-pointer switch is on, nothing otherwise.
std::unique_lock<std::mutex> lockIfShared() {
    return VFPtrInterface::threadSafePointers_ ? std::unique_lock(mutex())
                                               : std::unique_lock<std::mutex>();
}

/// The memory that slabs and the larger kept blocks are cut from, in the order in which they come.
class Regions {
  public:
    std::byte *take(std::size_t bytes) {
        if (static_cast<std::size_t>(end_ - fresh_) < bytes) {
            fresh_ =
                static_cast<std::byte *>(::operator new(regionBytes, std::align_val_t(cacheLine)));
            end_ = fresh_ + regionBytes;
        }
        return std::exchange(fresh_, fresh_ + bytes);
    }

  private:
    std::byte *fresh_ = nullptr;
    std::byte *end_ = nullptr;
};

Regions regions;

// Blocks above Pool::maxPooled that are kept: eight classes a doubling.

constexpr std::size_t stepsPerDoubling = 8;
constexpr unsigned firstKeptBits = std::bit_width(Pool::maxPooled) - 1;

struct KeptClass {
    std::size_t index;
    std::size_t blockBytes;
};

constexpr KeptClass keptClassOf(std::size_t size) noexcept {
    auto const doubling = static_cast<unsigned>(std::bit_width(size - 1)) - 1;
    std::size_t const step = (std::size_t{1} << doubling) / stepsPerDoubling;
    std::size_t const steps = (size - 1) / step + 1; // 9 to 16
    return {(doubling - firstKeptBits) * stepsPerDoubling + steps - stepsPerDoubling - 1,
            steps * step};
}
constexpr std::size_t keptClasses = keptClassOf(Pool::maxKept).index + 1;
static_assert(keptClassOf(Pool::maxPooled + 1).index == 0);

struct KeptBlock {
    KeptBlock *next;
};
std::array<KeptBlock *, keptClasses> kept;

void *orThrow(void *block) {
    if (!block) {
        throw std::bad_alloc();
    }
    return block;
}

void *allocateKept(std::size_t size) {
    auto const [index, blockBytes] = keptClassOf(size);
    if (KeptBlock *const block = kept[index]) {
        kept[index] = block->next;
        return block;
    }
    return regions.take(blockBytes);
}

std::vector<AllocTrackTypeInfo const *> &trackedTypes() {
    static std::vector<AllocTrackTypeInfo const *> types;
    return types;
}

} // namespace

constinit std::array<Pool::SizeClass, Pool::maxPooled / Pool::granule> Pool::small_{};
constinit bool Pool::isPlain_ = pooling;

void Pool::failIfAsked() {
    if (failCountdown >= 0 && failCountdown-- == 0) [[unlikely]] {
        isPlain_ = pooling;
        throw std::bad_alloc();
    }
}

void *Pool::allocateAnyhow(std::size_t size) {
    failIfAsked();
    if (!pooling || size > maxKept) {
        return orThrow(std::malloc(size));
    }
    auto const lock = lockIfShared();
    if (size > maxPooled) {
        return allocateKept(size);
    }
    std::size_t const index = smallClassOf(size);
    return allocateSmall(small_[index], (index + 1) * granule);
}

void *Pool::allocateZeroed(std::size_t size) {
    if (size <= maxKept) {
        return std::memset(allocate(size), 0, size);
    }
    failIfAsked();
    return orThrow(std::calloc(1, size));
}

void *Pool::allocateSmall(SizeClass &sizes, std::size_t blockBytes) {
    if (FreeBlock *const block = sizes.freed) {
        sizes.freed = block->next;
        return block;
    }
    if (static_cast<std::size_t>(sizes.end - sizes.fresh) < blockBytes) {
        sizes.fresh = regions.take(slabBytes);
        sizes.end = sizes.fresh + slabBytes;
    }
    return std::exchange(sizes.fresh, sizes.fresh + blockBytes);
}

void Pool::releaseAnyhow(void *block, std::size_t size) noexcept {
    if (!pooling || size > maxKept) {
        std::free(block);
        return;
    }
    auto const lock = lockIfShared();
    if (size > maxPooled) {
        KeptBlock *&first = kept[keptClassOf(size).index];
        first = new (block) KeptBlock{first};
    } else {
        FreeBlock *&freed = small_[smallClassOf(size)].freed;
        freed = new (block) FreeBlock{freed};
    }
}

void Pool::failAfterForTest(std::int64_t count) noexcept {
    failCountdown = count;
    isPlain_ = pooling && count < 0;
}

AllocTrackTypeInfo::AllocTrackTypeInfo(std::string_view typeName) : name_(typeName) {
    auto const lock = lockIfShared();
    trackedTypes().push_back(this);
}

void AllocTrackTypeInfo::trackLocked(std::uint64_t &count, std::size_t bytes) noexcept {
    auto const lock = lockIfShared();
    counted(count, bytes);
}

void AllocTrackTypeInfo::untrackLocked(std::uint64_t &count, std::size_t bytes) noexcept {
    auto const lock = lockIfShared();
    uncounted(count, bytes);
}

std::uint64_t AllocTrackTypeInfo::read(std::uint64_t const &count) noexcept {
    auto const lock = lockIfShared();
    return count;
}

std::vector<CensusLine> census() {
    Reclaimer::drain();
    auto const lock = lockIfShared();
    std::vector<CensusLine> lines;
    for (AllocTrackTypeInfo const *type : trackedTypes()) {
        lines.push_back(
            {type->name_, type->objects_, type->arrays_, type->bytes_, type->peakBytes_});
    }
    std::ranges::sort(lines, {}, &CensusLine::type);
    return lines;
}

} // namespace Qor
