#include "tests/allocation/AllocationFixture.h"

#include "tests/support/Build.h"

#include <sys/mman.h>

#include <iostream>
#include <new>

namespace Allocation {

using TestSupport::RunEnd;

namespace {

void arm(Memory memory, std::int64_t count) {
    if (memory == Memory::pool) {
        Qor::Pool::failAfterForTest(count);
    } else {
        PlainNew::failAfter(count, memory == Memory::plain ? PlainNew::Failing::once
                                                           : PlainNew::Failing::onwards);
    }
}

/// Says at the end of the executable what all its tests came to.
class Sum : public testing::Environment {
  public:
    static Sum &get() {
        static auto *const sum = // which gtest owns
            static_cast<Sum *>(testing::AddGlobalTestEnvironment(new Sum));
        return *sum;
    }
    void TearDown() override { std::cout << "In all " << ends << '\n'; }
    Ends ends;
};
[[maybe_unused]] Sum const &registered = Sum::get();

/// The pool's failure is still ahead when one of the next `count` + 1 allocations meets it.
bool poolHasFailed(std::int64_t count) {
    for (std::int64_t i = 0; i <= count; ++i) {
        try {
            Qor::Pool::release(Qor::Pool::allocate(16), 16);
        } catch (std::bad_alloc const &) {
            return false;
        }
    }
    return true;
}

/// Whether the failure has taken place; switches it off.
bool disarm(Memory memory, std::int64_t count) {
    if (memory == Memory::pool) {
        bool const failed = poolHasFailed(count);
        Qor::Pool::failAfterForTest(-1);
        return failed;
    }
    bool const failed = PlainNew::hasFailed();
    PlainNew::failAfter(-1, PlainNew::Failing::once);
    return failed;
}

} // namespace

struct AllocationTest::Shared {
    bool threw;
    std::int64_t blocksAtBegin;
    std::int64_t blocksOfWorld; ///< what letGo() gives back when nothing has failed
};

AllocationTest::AllocationTest()
    : shared_(static_cast<Shared *>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                         MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    // What the process keeps for good is made now, not counted later.
    fillSmallWorld();
    startSynchronous();
    aNewMachineTakesOver();
    letGo();
    makeWorld();
}

AllocationTest::~AllocationTest() {
    munmap(shared_, sizeof(Shared));
}

void AllocationTest::TearDown() {
    Sum::get().ends.undone += inAll_.undone;
    Sum::get().ends.ended += inAll_.ended;
    RecordProperty("undone", inAll_.undone);
    RecordProperty("ended", inAll_.ended);
    std::cout << inAll_ << '\n';
}

Ends AllocationTest::failEach(Memory memory, std::function<void()> const &act, Check const &undone,
                              Check const &done) {
    shared_->blocksOfWorld = 0;
    EXPECT_EQ(TestSupport::forkedRun([&] {
                  shared_->blocksAtBegin = PlainNew::liveBlocks();
                  undone(); // of nothing, to see what it gives back
                  return "";
              }),
              RunEnd::returned);
    Ends ends;
    for (std::int64_t count = 0;; ++count) {
        shared_->threw = false;
        RunEnd const end = TestSupport::forkedRun(
            [&] { return actWithFailure(memory, count, act, undone, done); });
        if (end == RunEnd::returned && !shared_->threw) {
            break; // it met no failure any more
        }
        ends.add(end);
        // Where code that may not throw is optimised, nobody can see what it has thrown.
        EXPECT_TRUE(end == RunEnd::returned || end == RunEnd::outOfMemory ||
                    (TestSupport::optimised && end == RunEnd::terminated))
            << "allocation " << count << ": " << end;
        if (HasFailure()) {
            break;
        }
    }
    inAll_.undone += ends.undone;
    inAll_.ended += ends.ended;
    return ends;
}

AllocationTest::Complaint AllocationTest::actWithFailure(Memory memory, std::int64_t count,
                                                         std::function<void()> const &act,
                                                         Check const &undone, Check const &done) {
    shared_->blocksAtBegin = PlainNew::liveBlocks();
    arm(memory, count);
    try {
        act();
    } catch (std::bad_alloc const &) {
        shared_->threw = true;
    }
    bool const failed = disarm(memory, count);
    if (shared_->threw) {
        return failed ? undone() : "it threw, and no allocation had failed";
    }
    return failed ? "the failure went unnoticed" : done();
}

AllocationTest::Complaint AllocationTest::nothingIsLeft() {
    letGo();
    if (auto const left = TestSupport::liveCounts(); !left.empty()) {
        return "something is left: " + testing::PrintToString(left);
    }
    auto const given = shared_->blocksAtBegin - PlainNew::liveBlocks();
    if (shared_->blocksOfWorld == 0) {
        shared_->blocksOfWorld = given;
    }
    return given == shared_->blocksOfWorld
               ? ""
               : fmt::format("{} blocks are left", shared_->blocksOfWorld - given);
}

AllocationTest::Complaint AllocationTest::nobodyListens() const {
    TestSupport::EveryNotice inputs([](Qor::Entity const &, short) {});
    inputs.hear(*bridging);
    inputs.hear(*lagMapping);
    if (inputs.othersListen()) {
        return "somebody listens to an input";
    }
    return scheduler->hasWork() ? "a task waits" : "";
}

AllocationTest::Complaint AllocationTest::aNewMachineTakesOver() {
    auto const inputs = Model::read(*bridging, *lagMapping);
    auto const expected = Model::afterStartUp(inputs, Model::read(*dir));
    startAsynchronous();
    run();
    if (!machine->ready()) {
        return "a new machine does not get ready";
    }
    return Model::differences(expected, Model::read(*dir));
}

void AllocationTest::fillSmallWorld() {
    member(1, "PortChannel1.1", {true, both});
    member(1, "Ethernet1.1", {false, ingress});
    member(1, "Ethernet7");
    member(2, "PortChannel1.2", {true, egress});
    lagMember("PortChannel1", "Ethernet1");
    lag("PortChannel1")->phyIntfIs(id("Ethernet2"), nullptr);
    lagMember("PortChannel3", "Ethernet3");
    stale(1, "PortChannel1.1", {false, none, {"Ethernet2", "Ethernet9"}});
    stale(1, "Ethernet9.1");
    stale(9, "Ethernet9.9");
}

void AllocationTest::traceToNobody() {
    auto const handle = Nuvio::Platform::getDebugHandler("AllocationTest", true);
    handle->sinkIs([](Nuvio::TraceRecord const & /*record*/) {});
    control.nameIs("AllocationTest");
}

void AllocationTest::makeWorld() {
    bridging = Bridging::Config::ConfigIs();
    lagMapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    dir = VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    unlimitedShareIs();
    control.schedulerIs(scheduler);
}

} // namespace Allocation
