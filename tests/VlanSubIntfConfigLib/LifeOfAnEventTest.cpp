// docs/LIFE_OF_AN_EVENT.md follows one event; this test runs that event and compares.
#include "tests/support/MachineFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

using TestSupport::MachineTest;
using TestSupport::TraceLine;

/// The lines of the document that are trace lines: they begin with a level.
std::vector<std::string> traceLinesOf(std::string const &path) {
    std::ifstream document(path);
    EXPECT_TRUE(document.is_open()) << path;
    std::vector<std::string> lines;
    for (std::string line; std::getline(document, line);) {
        if (line.size() > 2 && line[0] >= '6' && line[0] <= '9' && line[1] == ' ') {
            lines.push_back(line);
        }
    }
    return lines;
}

class LifeOfAnEvent : public MachineTest {};

TEST_F(LifeOfAnEvent, TheDocumentShowsTheTraceOfTheEvent) {
    lagMember("PortChannel10", "Ethernet1");
    lagMember("PortChannel10", "Ethernet2");
    member(100, "PortChannel10.100", {true, both});
    startAsynchronous();
    run();
    ASSERT_TRUE(machine->ready());

    traceIs();
    lagMember("PortChannel10", "Ethernet3");
    std::vector<std::string> seen;
    for (TraceLine const &line : trace->records()) {
        seen.push_back(line.fullText());
    }
    EXPECT_THAT(
        traceLinesOf(std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/docs/LIFE_OF_AN_EVENT.md"),
        testing::ContainerEq(seen));
    EXPECT_TRUE(output()[100]["PortChannel10.100"].lagPhyIntf.contains("Ethernet3"));
}

} // namespace
