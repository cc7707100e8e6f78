// A machine over the bundled capture `small`, brought up, in this process.
#pragma once

#include "agent/Inputs.h"
#include "agent/MachineRun.h"
#include "tests/agent/SourceTest.h"

#include <string>

namespace Agent {

class SmallMachine : public SourceTest {
  protected:
    static std::string capture(char const *file) {
        return std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/captures/small/" + file;
    }

    Inputs const inputs = loadInputs({capture("links.json"), capture("vlans.json"), {}}, progress);
    MachineRun const run = makeMachine(
        inputs, VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs(), {});

    void SetUp() override { runUntilIdle(run, inputs, progress); }
};

} // namespace Agent
