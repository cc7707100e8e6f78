// The dataflow program and the machine's trace messages hold together: what a message names stands
// in the program, on the line that the message carries.
#include "VlanSubIntfConfigLib/Trace.h"
#include "tests/VlanSubIntfConfigLib/WholeLife.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using DovraCode::Statement;

static_assert(DovraCode::Statements::merge.line == 65, "its message says so");

std::vector<std::string> programLines() {
    std::ifstream in(PROJECT_SOURCE_DIR_FOR_TESTS
                     "/VlanSubIntfConfigLib/VlanSubIntfConfigLib.dovra");
    EXPECT_TRUE(in);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string_view trimmed(std::string_view line) {
    auto const begin = line.find_first_not_of(' ');
    return begin == std::string_view::npos ? std::string_view() : line.substr(begin);
}

TEST(DovraProgram, HasEveryStatementOnItsLine) {
    auto const lines = programLines();
    for (Statement const &statement : DovraCode::Statements::all) {
        ASSERT_LE(statement.line, lines.size()) << statement.text;
        EXPECT_THAT(std::string(trimmed(lines[statement.line - 1])),
                    testing::StartsWith(std::string(statement.text)));
    }
}

TEST(DovraProgram, HasEveryStatementOnce) {
    auto const lines = programLines();
    for (Statement const &statement : DovraCode::Statements::all) {
        auto const occurrences = std::ranges::count_if(
            lines, [&](auto const &line) { return trimmed(line).starts_with(statement.text); });
        EXPECT_EQ(occurrences, 1) << statement.text;
    }
}

TEST(DovraProgram, ListsItsStatementsInTheOrderOfTheirLines) {
    EXPECT_TRUE(
        std::ranges::is_sorted(DovraCode::Statements::all, std::ranges::less(), &Statement::line));
    EXPECT_EQ(DovraCode::Statements::all.size(), 16U);
}

class DovraProgramTrace : public TestSupport::WholeLifeTest {
  protected:
    /// The statement that a message begins with, behind the line number that one of them has.
    static Statement const *statementNamedBy(std::string_view message) {
        if (message.starts_with("Line 65: ")) {
            message.remove_prefix(9);
        }
        for (Statement const &statement : DovraCode::Statements::all) {
            if (message.starts_with(statement.text)) {
                return &statement;
            }
        }
        return nullptr;
    }
};

TEST_F(DovraProgramTrace, EveryMessageThatNamesAStatementCarriesItsLine) {
    traceIs();
    startSynchronous();
    changesAndEnd();
    std::set<std::uint32_t> named;
    for (TestSupport::TraceLine const &line : trace->records()) {
        if (Statement const *const statement = statementNamedBy(line.message)) {
            EXPECT_EQ(line.line, statement->line) << line;
            named.insert(statement->line);
        }
    }
    std::set<std::uint32_t> everyStatement;
    for (Statement const &statement : DovraCode::Statements::all) {
        if (statement.line != DovraCode::Statements::machine.line) {
            everyStatement.insert(statement.line);
        }
    }
    EXPECT_EQ(named, everyStatement) << "a statement that no message of a whole life names";
}

TEST_F(DovraProgramTrace, EveryOtherMessageCarriesTheLineOfWhatItIsAbout) {
    traceIs();
    startSynchronous();
    changesAndEnd();
    std::map<std::string, std::uint32_t> const lineOf{
        {"handleInitialized", 15},
        {"handleInitialScanDone", 15},
        {"handleVlanConfig", 25},
        {"handleIntf", 25},
        {"handleLagPhyIntfConfig", 50},
        {"handlePhyIntf", 50},
        {"handleVlanSubIntfConfigDirConfigIntfOutputInputReady", 30},
        {"handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady", 33},
        {"handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady", 34},
        {"handleLagVlanStatusIntfToVlanMapOutputInputReady", 40},
        {"handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady", 69}};
    std::set<std::string> traced;
    for (TestSupport::TraceLine const &line : trace->records()) {
        auto const found = lineOf.find(line.function);
        if (found != lineOf.end()) {
            EXPECT_EQ(line.line, found->second) << line;
            traced.insert(line.function);
        } else if (line.message.starts_with("Flattening element: ")) {
            EXPECT_EQ(line.line, line.function == "eventToVlanConfigStream" ? 45U : 55U) << line;
        } else if (line.function == "doInputScan" || line.function == "doDeleteAll") {
            bool const isVlan = line.machine == "VlanConfigSm0" || line.machine == "IntfSm1";
            EXPECT_EQ(line.line, isVlan ? 25U : 50U) << line;
        } else {
            EXPECT_NE(statementNamedBy(line.message), nullptr) << line;
        }
    }
    EXPECT_EQ(traced.size(), lineOf.size());
}

} // namespace
} // namespace VlanSubIntfConfigLib
