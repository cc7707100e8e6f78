// Taking a reference and dropping it, with the thread-safe-pointer switch off and on.
#include "bench/micro/Micro.h"
#include "platform/Bridging.h"
#include "platform/Qor.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <sys/single_threaded.h>

#include <cstdint>
#include <memory>

namespace Bench::Micro {
namespace {

template <class Counter>
struct Counted : boost::intrusive_ref_counter<Counted<Counter>, Counter> {};

template <class Pointer> void copyAndDrop(benchmark::State &state, Pointer pointer) {
    repeat(state, [&] {
        Pointer copy = pointer;
        benchmark::DoNotOptimize(copy);
    });
}

class ThreadSafePointers {
  public:
    explicit ThreadSafePointers(bool on) { Qor::VFPtrInterface::threadSafePointers_ = on; }
    ~ThreadSafePointers() { Qor::VFPtrInterface::threadSafePointers_ = false; }
    ThreadSafePointers(ThreadSafePointers const &) = delete;
    ThreadSafePointers &operator=(ThreadSafePointers const &) = delete;
};

template <bool ThreadSafe> void copyOurs(benchmark::State &state) {
    ThreadSafePointers const on(ThreadSafe);
    auto const object = Bridging::Config::ConfigIs();
    copyAndDrop(state, object);
    expect(state, object->refCount(), 1U);
}

template <class Counter> void copyIntrusive(benchmark::State &state) {
    boost::intrusive_ptr const object(new Counted<Counter>);
    copyAndDrop(state, object);
    expect(state, object->use_count(), 1U);
}

/// Its count is plain as long as the process has one thread.
void copyShared(benchmark::State &state) {
    if (!__libc_single_threaded) {
        state.SkipWithError("there is a second thread");
    }
    auto const object = std::make_shared<int>(1);
    copyAndDrop(state, object);
    expect(state, object.use_count(), 1L);
}

void copyRaw(benchmark::State &state) {
    int object = 1;
    copyAndDrop(state, &object);
}

/// An increment and a decrement in memory, and nothing else.
void count(benchmark::State &state) {
    std::uint32_t count = 1;
    std::uint32_t *address = &count;
    benchmark::DoNotOptimize(address);
    repeat(state, [&] {
        ++*address;
        benchmark::ClobberMemory();
        --*address;
    });
    expect(state, count, 1U);
}

} // namespace

void addPointers() {
    add("pointer", "copy and drop", noSize, ours, copyOurs<false>);
    add("pointer", "copy and drop", noSize, "std::shared_ptr", copyShared);
    add("pointer", "copy and drop", noSize, "boost::intrusive_ptr",
        copyIntrusive<boost::thread_unsafe_counter>);
    add("pointer", "copy and drop", noSize, "floor: a raw pointer", copyRaw);
    add("pointer", "copy and drop", noSize, "floor: a count in memory", count);
    add("pointer", "copy and drop, thread-safe", noSize, ours, copyOurs<true>);
    add("pointer", "copy and drop, thread-safe", noSize, "boost::intrusive_ptr",
        copyIntrusive<boost::thread_safe_counter>);
}

} // namespace Bench::Micro
