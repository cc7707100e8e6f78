// Replaces the C library's allocator by itself, counted: operator new ends up there, too. Where a
// sanitizer has its own, nothing is counted.
#include "bench/Heap.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HEAP_IS_THE_SANITIZERS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HEAP_IS_THE_SANITIZERS 1
#endif
#endif

namespace Bench {
namespace {

Heap counted;

#ifndef HEAP_IS_THE_SANITIZERS

constexpr std::size_t header = 8; ///< of the C library, before each block

void *count(void *block) noexcept {
    if (block != nullptr) {
        counted.now += ::malloc_usable_size(block) + header;
        counted.peak = std::max(counted.peak, counted.now);
    }
    return block;
}

void *uncount(void *block) noexcept {
    if (block != nullptr) {
        counted.now -= ::malloc_usable_size(block) + header;
    }
    return block;
}

#endif

} // namespace

bool heapIsCounted() noexcept {
#ifdef HEAP_IS_THE_SANITIZERS
    return false;
#else
    return true;
#endif
}
Heap heap() noexcept {
    return counted;
}
void heapPeakReset() noexcept {
    counted.peak = counted.now;
}

} // namespace Bench

#ifndef HEAP_IS_THE_SANITIZERS

// The C library's own functions, by the names under which it exports them for this purpose.
extern "C" {
void *__libc_malloc(std::size_t size) noexcept;
void *__libc_calloc(std::size_t count, std::size_t size) noexcept;
void *__libc_realloc(void *block, std::size_t size) noexcept;
void *__libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void *block) noexcept;

void *malloc(std::size_t size) noexcept {
    return Bench::count(__libc_malloc(size));
}
void *calloc(std::size_t count, std::size_t size) noexcept {
    return Bench::count(__libc_calloc(count, size));
}
void *realloc(void *block, std::size_t size) noexcept {
    Bench::uncount(block);
    void *const moved = __libc_realloc(block, size);
    if (moved == nullptr && size != 0) { // it stays where it is
        Bench::count(block);
    }
    return Bench::count(moved);
}
void *memalign(std::size_t alignment, std::size_t size) noexcept {
    return Bench::count(__libc_memalign(alignment, size));
}
void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return memalign(alignment, size);
}
int posix_memalign(void **block, std::size_t alignment, std::size_t size) noexcept {
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}
void free(void *block) noexcept {
    __libc_free(Bench::uncount(block));
}
}

#endif
