// A machine over inputs and directory, as the service has it, with work of the agent's own beside
// it.
#pragma once

#include "agent/Inputs.h"
#include "agent/loop/Worker.h"
#include "agent/service/Audit.h"
#include "platform/Iftel.h"
#include "tests/support/MachineFixture.h"

#include <cstdint>

namespace Agent {

class MachineSite : public TestSupport::MachineTest {
  protected:
    using Port = TestSupport::Port;

    MachineSite() { Iftel::NameTable::instance().resetForTest(); }
    ~MachineSite() override { Iftel::NameTable::instance().resetForTest(); }

    // Names of kernels.

    static Iftel::IntfId link(char const *name, Iftel::IntfKind kind = Iftel::IntfKind::ethernet) {
        return Iftel::NameTable::instance().intfIs(name, kind);
    }
    static Iftel::IntfId lagLink(char const *name) {
        return link(name, Iftel::IntfKind::portChannel);
    }
    static Iftel::IntfId subLink(char const *name, Iftel::IntfId parent) {
        return Iftel::NameTable::instance().subIntfIs(name, parent);
    }

    /// Let a machine bring the directory up, and be ready.
    void startReady() {
        startAsynchronous();
        run();
        ASSERT_TRUE(machine->ready());
    }
    /// Call `step( task )` in runs of a task until it answers true; `between()` after each run.
    /// Returns the number of runs.
    std::uint64_t runSteps(auto const &step, auto const &between) {
        std::uint64_t runs = 0;
        bool done = false;
        Worker worker(scheduler, Osk::TaskPriority::normal, "test", [&](Osk::Task const &task) {
            ++runs;
            done = step(task);
            return Worker::More::no;
        });
        while (!done) {
            worker.wake();
            run();
            between();
        }
        return runs;
    }
    std::uint64_t runSteps(auto const &step) {
        return runSteps(step, [] {});
    }

    void noteKept() {
        KeptMembersSearch search(inputs, *dir, kept);
        runSteps([&](Osk::Task const &task) { return search.step(task); });
    }
    Audit audited() {
        Audit audit(inputs, *dir, kept);
        runSteps([&](Osk::Task const &task) { return audit.step(task); });
        return audit;
    }

    Inputs const inputs{bridging, lagMapping};
    KeptMembers kept;
};

} // namespace Agent
