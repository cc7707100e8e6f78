// A fixture whose machine is heard in one list: its trace lines and the notices of what it writes,
// in the order in which they happen. See Journal.h.
#pragma once

#include "tests/support/Journal.h"
#include "tests/support/MachineFixture.h"

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TestSupport {

class JournalTest : public MachineTest {
  protected:
    using Lines = std::vector<std::string>;

    /// Make a synchronous machine, ready when this returns, and listen from then on.
    void startReady() {
        startSynchronous();
        listen();
    }
    /// Make an asynchronous machine whose first scans its first slices do not finish: VLANs of
    /// which nothing is derived see to that. Listen from then on.
    void startDuringInitialScan() {
        member(1001, "Ethernet7");
        member(1002, "Ethernet7");
        startAsynchronous();
        ASSERT_FALSE(machine->initialScanDone());
        listen();
    }
    /// Make an asynchronous machine, let it do the first scans, and listen from then on: the second
    /// ones wait for their tasks, nothing is reconciled.
    void startUntilInitialScanDone() {
        startDuringInitialScan();
        while (!machine->initialScanDone() && scheduler->runOne()) {
        }
        ASSERT_TRUE(machine->initialScanDone());
        ASSERT_FALSE(machine->inputSmScanState()->vlanConfigStreamScan());
        journal.clear();
    }
    void listen() {
        journal.watch(*dir);
        journal.watch(*machine->localAttrStore());
        journal.clear();
    }
    /// What was heard since the last call.
    Lines heard() {
        auto lines = journal.lines();
        journal.clear();
        return lines;
    }
    /// The trace lines among it.
    Lines heardTraces() {
        auto lines = heard();
        std::erase_if(lines, [](std::string const &line) { return line.starts_with("* "); });
        return lines;
    }

    Journal journal{"VlanSubIntfConfigLib"};
};

} // namespace TestSupport
