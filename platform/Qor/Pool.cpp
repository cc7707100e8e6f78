#include "platform/Qor/Pool.h"

#include "platform/Nuvio/Assert.h"
#include "platform/Qor/Reclaimer.h"

#include <algorithm>
#include <array>
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
static_assert(slabBytes >= Pool::maxKept);

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

void *orThrow(void *block) {
    if (!block) {
        throw std::bad_alloc();
    }
    return block;
}

std::vector<AllocTrackTypeInfo const *> &trackedTypes() {
    static std::vector<AllocTrackTypeInfo const *> types;
    return types;
}

} // namespace

constinit std::array<Pool::SizeClass, Pool::maxPooled / Pool::granule> Pool::small_{};
constinit std::array<Pool::FreeBlocks, Pool::keptClasses> Pool::kept_{};
constinit Pool::Slab Pool::keptSlab_{};
constinit bool Pool::isPlain_ = pooling;

void *Pool::Slab::cut(std::size_t bytes) {
    if (static_cast<std::size_t>(end_ - fresh_) < bytes) {
        fresh_ = static_cast<std::byte *>(::operator new(slabBytes, std::align_val_t(cacheLine)));
        end_ = fresh_ + slabBytes;
    }
    return std::exchange(fresh_, fresh_ + bytes);
}

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
    static_assert(keptClassOf(maxPooled + 1).index == 0);
    static_assert(keptClassOf(maxKept).index + 1 == keptClasses);
    auto const lock = lockIfShared();
    if (size > maxPooled) {
        auto const [index, blockBytes] = keptClassOf(size);
        return kept_[index].empty() ? keptSlab_.cut(blockBytes) : kept_[index].take();
    }
    auto &[freed, slab] = small_[smallClassOf(size)];
    return freed.empty() ? slab.cut((smallClassOf(size) + 1) * granule) : freed.take();
}

void *Pool::allocateZeroed(std::size_t size) {
    if (size <= maxKept) {
        return std::memset(allocate(size), 0, size);
    }
    failIfAsked();
    return orThrow(std::calloc(1, size));
}

void Pool::releaseAnyhow(void *block, std::size_t size) noexcept {
    if (!pooling || size > maxKept) {
        std::free(block);
        return;
    }
    auto const lock = lockIfShared();
    if (size > maxPooled) {
        kept_[keptClassOf(size).index].give(block);
    } else {
        small_[smallClassOf(size)].freed.give(block);
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
