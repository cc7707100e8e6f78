#include "tests/allocation/PlainNew.h"

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace Allocation {
namespace {

constexpr std::size_t slab = std::size_t{64} * 1024;

std::int64_t countdown = -1;
PlainNew::Failing mode = PlainNew::Failing::once;
bool failed = false;
std::int64_t live = 0;

bool fails() noexcept {
    if (countdown < 0 || (countdown > 0 && countdown-- > 0)) {
        return false;
    }
    countdown = mode == PlainNew::Failing::once ? -1 : 0;
    return failed = true;
}

bool isCounted(void *block) noexcept {
    return malloc_usable_size(block) < slab;
}

void *allocate(std::size_t size) noexcept {
    void *const block = fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
    live += block && isCounted(block) ? 1 : 0;
    return block;
}

void *allocateOrThrow(std::size_t size) {
    if (void *const block = allocate(size)) {
        return block;
    }
    throw std::bad_alloc();
}

void release(void *block) noexcept {
    live -= block && isCounted(block) ? 1 : 0;
    std::free(block);
}

} // namespace

void PlainNew::failAfter(std::int64_t count, Failing failing) noexcept {
    countdown = count;
    mode = failing;
    failed = false;
}

bool PlainNew::hasFailed() noexcept {
    return failed;
}

std::int64_t PlainNew::liveBlocks() noexcept {
    return live;
}

} // namespace Allocation

void *operator new(std::size_t size) {
    return Allocation::allocateOrThrow(size);
}
void *operator new[](std::size_t size) {
    return Allocation::allocateOrThrow(size);
}
void *operator new(std::size_t size, std::nothrow_t const & /*tag*/) noexcept {
    return Allocation::allocate(size);
}
void *operator new[](std::size_t size, std::nothrow_t const & /*tag*/) noexcept {
    return Allocation::allocate(size);
}
void operator delete(void *block) noexcept {
    Allocation::release(block);
}
void operator delete[](void *block) noexcept {
    Allocation::release(block);
}
void operator delete(void *block, std::size_t /*size*/) noexcept {
    Allocation::release(block);
}
void operator delete[](void *block, std::size_t /*size*/) noexcept {
    Allocation::release(block);
}
