// Telling others of a change: a Publisher with no, one and two subscribers beside the calls that
// one would write by hand; and a whole write of an attribute, from the test for a change to the
// notice.
#include "bench/micro/Listeners.h"
#include "bench/micro/Micro.h"
#include "platform/Nuvio/Publisher.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace Bench::Micro {
namespace {

/// Let the compiler forget what it knows of an object.
template <class Object> void hide(Object &object) {
    auto *address = &object;
    benchmark::DoNotOptimize(address);
    benchmark::ClobberMemory();
}

void expectSum(benchmark::State &state, std::uint64_t sum, std::size_t listeners) {
    expect(state, sum, listeners * static_cast<std::uint64_t>(state.items_processed()));
}

void publish(benchmark::State &state, std::size_t listeners) {
    std::uint64_t sum = 0;
    Nuvio::Publisher publisher;
    std::array subscribers{Nuvio::Subscriber(addNotice, &sum), Nuvio::Subscriber(addNotice, &sum)};
    for (std::size_t i = 0; i < listeners; ++i) {
        publisher.subscriberAdd(subscribers[i], false);
    }
    hide(publisher);
    std::uint64_t const key = 1;
    repeat(state, [&] { publisher.publishChange(130, &key); });
    expectSum(state, sum, listeners);
}

void callFunctions(benchmark::State &state, std::size_t listeners) {
    std::uint64_t sum = 0;
    std::array<Callback, 3> callbacks; // ended by one without a function
    for (std::size_t i = 0; i < listeners; ++i) {
        callbacks[i] = addingTo(sum);
    }
    hide(callbacks);
    repeat(state, [&] {
        for (Callback const *callback = callbacks.data(); callback->function; ++callback) {
            callback->function(callback->owner, 1);
        }
    });
    expectSum(state, sum, listeners);
}

void callVirtually(benchmark::State &state, std::size_t listeners) {
    auto const listener = makeListener();
    std::array<Listener *, 3> all{}; // ended by null
    for (std::size_t i = 0; i < listeners; ++i) {
        all[i] = listener.get();
    }
    hide(all);
    repeat(state, [&] {
        for (Listener *const *next = all.data(); *next; ++next) {
            (*next)->handleChange(1);
        }
    });
    expectSum(state, listener->sum(), listeners);
}

/// What is left of an output entry without the platform.
struct LeanEntry {
    void tagOnEgressIs(bool tag) {
        if (tagOnEgress != tag) {
            tagOnEgress = tag;
            if (listener) {
                listener->handleChange(1);
            }
        }
    }

    Listener *listener = nullptr;
    bool tagOnEgress = false;
};

template <class Entry> void writeByTurns(benchmark::State &state, Entry &entry) {
    bool tag = false;
    repeat(state, [&] {
        tag = !tag;
        entry.tagOnEgressIs(tag);
    });
}

void writeEntity(benchmark::State &state) {
    std::uint64_t sum = 0;
    auto const entry = Qor::make<VlanSubIntfConfigLib::VlanSubIntf>(Iftel::IntfId());
    Nuvio::Subscriber subscriber(addNotice, &sum);
    entry->publisher().subscriberAdd(subscriber, false);
    writeByTurns(state, *entry);
    expectSum(state, sum, 1);
}

void writeLeanEntry(benchmark::State &state) {
    auto const listener = makeListener();
    LeanEntry entry;
    entry.listener = listener.get();
    hide(entry);
    writeByTurns(state, entry);
    expectSum(state, listener->sum(), 1);
}

} // namespace

void addNotices() {
    constexpr std::array<std::string_view, 3> operations{"to nobody", "to one", "to two"};
    for (std::size_t listeners = 0; listeners < operations.size(); ++listeners) {
        auto const with = [listeners](auto run) {
            return [listeners, run](benchmark::State &state) { run(state, listeners); };
        };
        std::string_view const operation = operations[listeners];
        add("publish", operation, noSize, ours, with(publish));
        add("publish", operation, noSize, "a function pointer", with(callFunctions));
        add("publish", operation, noSize, "a virtual call", with(callVirtually));
    }
    add("publish", "a changed attribute", noSize, ours, writeEntity);
    add("publish", "a changed attribute", noSize, "a virtual call", writeLeanEntry);
}

} // namespace Bench::Micro
