// The pool beside glibc's malloc and mimalloc, for blocks of one cache line.
//
// mimalloc is opened at run time: a program that links it has every malloc replaced, glibc's own
// names for it included.
#include "bench/micro/Micro.h"
#include "platform/Qor/Pool.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Bench::Micro {
namespace {

constexpr std::size_t blockBytes = 64;
constexpr std::size_t blockCounts[] = {1000, 100000};

struct OurPool {
    static void *allocate() { return Qor::Pool::allocate(blockBytes); }
    static void release(void *block) { Qor::Pool::release(block, blockBytes); }
};

struct Glibc {
    static void *allocate() { return std::malloc(blockBytes); }
    static void release(void *block) { std::free(block); }
};

struct Mimalloc {
    using Malloc = void *(*)(std::size_t);
    using Free = void (*)(void *);

    /// False where it cannot be opened.
    static bool open() {
        void *const library = ::dlopen(MIMALLOC_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (library) {
            malloc_ = reinterpret_cast<Malloc>(::dlsym(library, "mi_malloc"));
            free_ = reinterpret_cast<Free>(::dlsym(library, "mi_free"));
        }
        return malloc_ && free_;
    }
    static void *allocate() { return malloc_(blockBytes); }
    static void release(void *block) { free_(block); }

  private:
    static inline Malloc malloc_ = nullptr;
    static inline Free free_ = nullptr;
};

/// Its owner writes into a new block at once.
template <class Allocator> void *touchedBlock() {
    void *const block = Allocator::allocate();
    *static_cast<std::uint64_t *>(block) = 1;
    return block;
}

/// Allocate `blocks` and release them from high addresses to low, so that no allocator starts with
/// what an earlier benchmark left in disorder.
template <class Allocator> void tidy(std::vector<void *> &blocks) {
    std::ranges::generate(blocks, touchedBlock<Allocator>);
    std::ranges::sort(blocks, std::greater<>());
    std::ranges::for_each(blocks, Allocator::release);
}

template <class Allocator> void pair(benchmark::State &state) {
    repeat(state, [] {
        void *block = Allocator::allocate();
        benchmark::DoNotOptimize(block);
        Allocator::release(block);
    });
}

/// Allocate many blocks and release them all, the last first or in random order.
template <class Allocator, bool Shuffled> void bulk(benchmark::State &state, std::size_t count) {
    std::vector<void *> blocks(count);
    tidy<Allocator>(blocks);
    std::vector<std::size_t> order(count);
    for (std::size_t i = 0; i < count; ++i) {
        order[i] = count - 1 - i;
    }
    if (Shuffled) {
        std::shuffle(order.begin(), order.end(), Random(5));
    }
    for ([[maybe_unused]] auto const round : state) {
        std::ranges::generate(blocks, touchedBlock<Allocator>);
        benchmark::ClobberMemory();
        for (std::size_t const index : order) {
            Allocator::release(blocks[index]);
        }
    }
    operationsPerRound(state, count);
}

/// Among many live blocks, release one and allocate another, at random.
template <class Allocator> void churn(benchmark::State &state, std::size_t count) {
    std::vector<void *> blocks(count);
    tidy<Allocator>(blocks);
    std::ranges::generate(blocks, touchedBlock<Allocator>);
    std::vector<std::size_t> order(count);
    for (std::size_t i = 0; i < count; ++i) {
        order[i] = i;
    }
    std::shuffle(order.begin(), order.end(), Random(5));
    for ([[maybe_unused]] auto const round : state) {
        for (std::size_t const index : order) {
            Allocator::release(blocks[index]);
            // Two at a time, or each would get back what it gave.
            std::size_t const other = count - 1 - index;
            Allocator::release(blocks[other]);
            blocks[index] = touchedBlock<Allocator>();
            blocks[other] = touchedBlock<Allocator>();
        }
    }
    operationsPerRound(state, 2 * count);
    std::ranges::for_each(blocks, Allocator::release);
}

template <class Allocator> void addSubject(std::string_view subject) {
    std::string const topic = "blocks of 64 bytes";
    add(topic, "allocate and release one", noSize, subject, pair<Allocator>);
    for (std::size_t const count : blockCounts) {
        auto const with = [count](auto run) {
            return [count, run](benchmark::State &state) { run(state, count); };
        };
        add(topic, "allocate all, release all", count, subject, with(bulk<Allocator, false>));
        add(topic, "allocate all, release shuffled", count, subject, with(bulk<Allocator, true>));
        add(topic, "release and allocate at random", count, subject, with(churn<Allocator>));
    }
}

} // namespace

void addAllocations() {
    addSubject<OurPool>(ours);
    addSubject<Glibc>("malloc of glibc");
    if (Mimalloc::open()) {
        addSubject<Mimalloc>("mimalloc");
    }
}

} // namespace Bench::Micro
