#include "bench/latency/Watch.h"

#include <fmt/format.h>

#include <utility>

namespace Latency {

using VlanSubIntfConfigLib::ConfigSm;

void WatchedShare::runBegins() noexcept {
    inner_.runBegins();
    longest_ = Clock::duration(0);
    tests_ = 0;
    longestAt_ = 0;
    last_ = Clock::now();
}

bool WatchedShare::isUsed() noexcept {
    auto const now = Clock::now();
    ++tests_;
    if (now - last_ > longest_) {
        longest_ = now - last_;
        longestAt_ = tests_;
        longestEnd_ = now;
    }
    last_ = now;
    return inner_.isUsed();
}

std::string WatchedShare::items(Clock::time_point end) const {
    if (tests_ == 0) {
        return "";
    }
    return fmt::format(
        "; longest item {:.0f} us (number {} of {}, until {:.6f} s), {:.0f} us after "
        "the last",
        Microseconds(longest_).count(), longestAt_, tests_,
        std::chrono::duration<double>(longestEnd_.time_since_epoch()).count(),
        Microseconds(end - last_).count());
}

Watch::Watch(Site &site, std::chrono::nanoseconds share, bool items) : site_(site) {
    if (items) {
        auto watched = std::make_unique<WatchedShare>(share);
        items_ = watched.get();
        site_.scheduler->shareIs(std::move(watched));
    }
}

Watch::Glance::Glance(ConfigSm const *machine) {
    if (!machine) {
        return;
    }
    isThere = true;
    initialScanDone = machine->initialScanDone();
    ready = machine->ready();
    configIntfReady = machine->outputState()->vlanSubIntfConfigDirConfigIntfOutputReady();
    auto const &entries = machine->vlanSubIntfConfigDirConfigIntfOutputSeen();
    entriesSeen = entries.size();
    entrySlots = entries.capacity();
    auto const &collections = machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen();
    collectionsSeen = collections.size();
    collectionSlots = collections.capacity();
}

std::string Watch::Glance::phase() const {
    if (!isThere || ready) {
        return "";
    }
    if (!initialScanDone) {
        return "first scan: ";
    }
    return configIntfReady ? "entries reconciled: " : "second scan or walk over entries: ";
}

Watch::Tasks::Tasks(ConfigSm const *machine) {
    if (!machine) {
        return;
    }
    if (auto const &scan = machine->vlanConfigSm0()) {
        task[0] = scan->task();
    }
    if (auto const &scan = machine->lagPhyIntfConfigSm2()) {
        task[1] = scan->task();
    }
    task[2] = machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask();
    task[3] = machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask();
    for (std::size_t i = 0; i < task.size(); ++i) {
        runs[i] = task[i] ? task[i]->statistics().runs : 0;
    }
}

std::string Watch::Tasks::whichRan() const {
    for (std::size_t i = 0; i < task.size(); ++i) {
        if (task[i] && task[i]->statistics().runs != runs[i]) {
            return std::string(task[i]->taskName().view());
        }
    }
    return "a task that is not the machine's";
}

std::string Watch::changes(Glance const &before, Glance const &after) {
    std::string text;
    auto const counted = [&text](char const *what, std::uint32_t was, std::uint32_t is) {
        if (was != is) {
            text += fmt::format("; {} {} -> {}", what, was, is);
        }
    };
    counted("slots for seen entries", before.entrySlots, after.entrySlots);
    counted("slots for seen collections", before.collectionSlots, after.collectionSlots);
    if (after.entriesSeen < before.entriesSeen) {
        counted("seen entries", before.entriesSeen, after.entriesSeen);
    }
    if (after.collectionsSeen < before.collectionsSeen) {
        counted("seen collections", before.collectionsSeen, after.collectionsSeen);
    }
    text += !before.initialScanDone && after.initialScanDone ? "; initial scan done" : "";
    text += !before.configIntfReady && after.configIntfReady ? "; entries reconciled" : "";
    text += !before.ready && after.ready ? "; ready" : "";
    return text;
}

void Watch::factoryCall() {
    Glance const before(nullptr);
    turns_.push_back(measured([this] { site_.factoryCall(); }));
    turns_.back().what = "factory call" + changes(before, Glance(site_.machine.get()));
}

void Watch::runUntilIdle() {
    while (runOne()) {
    }
}

bool Watch::runOne() {
    ConfigSm const *const machine = site_.machine.get();
    Glance const before(machine);
    Tasks const tasks(machine);
    bool isRun = false;
    Clock::time_point end;
    Turn turn = measured([&] {
        isRun = site_.scheduler->runOne();
        end = Clock::now();
    });
    if (!isRun) {
        return false;
    }
    std::string const items = items_ ? items_->items(end) : "";
    turn.what = before.phase() + tasks.whichRan() + changes(before, Glance(machine)) + items;
    turns_.push_back(std::move(turn));
    return true;
}

} // namespace Latency
