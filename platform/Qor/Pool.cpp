#include "platform/Qor/Pool.h"

#include "platform/Nuvio/Assert.h"
#include "platform/Qor/PtrInterface.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define QOR_POOL_STEPS_ASIDE 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QOR_POOL_STEPS_ASIDE 1
#endif
#endif

namespace Qor {
namespace {

constexpr std::size_t granule = 16;
constexpr std::size_t slabBytes = std::size_t{64} * 1024;

#ifdef QOR_POOL_STEPS_ASIDE
constexpr bool pooling = false;
#else
constexpr bool pooling = true;
#endif

struct FreeBlock {
    FreeBlock *next;
};

/// Free list of one block size; `fresh` to `end` is what its newest slab has left.
struct SizeClass {
    FreeBlock *freed = nullptr;
    std::byte *fresh = nullptr;
    std::byte *end = nullptr;
};

std::array<SizeClass, Pool::maxPooled / granule> classes;
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

std::size_t classOf(std::size_t size) noexcept {
    return (std::max<std::size_t>(size, 1) - 1) / granule;
}

void *pooledBlock(std::size_t index) {
    SizeClass &sizes = classes[index];
    if (FreeBlock *const block = sizes.freed) {
        sizes.freed = block->next;
        return block;
    }
    std::size_t const size = (index + 1) * granule;
    if (static_cast<std::size_t>(sizes.end - sizes.fresh) < size) {
        sizes.fresh = static_cast<std::byte *>(::operator new(slabBytes));
        sizes.end = sizes.fresh + slabBytes;
    }
    return std::exchange(sizes.fresh, sizes.fresh + size);
}

std::vector<AllocTrackTypeInfo const *> &trackedTypes() {
    static std::vector<AllocTrackTypeInfo const *> types;
    return types;
}

} // namespace

void *Pool::allocate(std::size_t size) {
    if (failCountdown >= 0 && failCountdown-- == 0) [[unlikely]] {
        throw std::bad_alloc();
    }
    if (!pooling || size > maxPooled) {
        return ::operator new(size);
    }
    auto const lock = lockIfShared();
    return pooledBlock(classOf(size));
}

void Pool::release(void *block, std::size_t size) noexcept {
    if (!pooling || size > maxPooled) {
        ::operator delete(block);
        return;
    }
    auto const lock = lockIfShared();
    SizeClass &sizes = classes[classOf(size)];
    sizes.freed = new (block) FreeBlock{sizes.freed};
}

void Pool::failAfterForTest(std::int64_t count) noexcept {
    failCountdown = count;
}

AllocTrackTypeInfo::AllocTrackTypeInfo(std::string_view typeName) : name_(typeName) {
    auto const lock = lockIfShared();
    trackedTypes().push_back(this);
}

void AllocTrackTypeInfo::track(std::uint64_t &count, std::size_t bytes) noexcept {
    auto const lock = lockIfShared();
    ++count;
    bytes_ += bytes;
    peakBytes_ = std::max(peakBytes_, bytes_);
}

void AllocTrackTypeInfo::untrack(std::uint64_t &count, std::size_t bytes) noexcept {
    auto const lock = lockIfShared();
    NUVIO_DEBUG_ASSERT(count > 0 && bytes_ >= bytes, "type={}", name_);
    --count;
    bytes_ -= bytes;
}

std::uint64_t AllocTrackTypeInfo::read(std::uint64_t const &count) noexcept {
    auto const lock = lockIfShared();
    return count;
}

std::vector<CensusLine> census() {
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
