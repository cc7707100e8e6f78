// Large sites, through the program: nothing is lost, time and memory stay in bounds.
#include "tests/agent/Program.h"
#include "tests/agent/Site.h"
#include "tests/support/Build.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace Agent {
namespace {

// What is measured is an optimised build without instrumentation; others get a smaller site.
constexpr bool measured = TestSupport::optimised;

class LargeInputTest : public testing::Test {
  protected:
    TempDir dir;

    std::string write(std::string const &name, auto const &writer) const {
        std::ofstream out(dir.file(name));
        writer(out);
        EXPECT_TRUE(out.flush());
        return dir.file(name);
    }
    ProgramResult derive(Site const &site, std::vector<std::string> const &further) const {
        std::vector<std::string> arguments = {
            "derive",  "-j",
            "--links", write("links", [&](std::ostream &out) { site.writeLinks(out); }),
            "--vlans", write("vlans", [&](std::ostream &out) { site.writeVlans(out); })};
        arguments.insert(arguments.end(), further.begin(), further.end());
        return Program(arguments).outputTo(dir.file("out")).run();
    }
    /// The document is that of the site, to the last byte. They may be too large for a message.
    void expectDocument(Site const &site) const {
        std::ifstream expected(
            write("expected", [&](std::ostream &out) { site.writeDocument(out); }));
        std::ifstream actual(dir.file("out"));
        std::string expectedLine;
        std::string actualLine;
        for (std::size_t line = 1; std::getline(expected, expectedLine); ++line) {
            ASSERT_TRUE(std::getline(actual, actualLine)) << "it ends before line " << line;
            ASSERT_EQ(actualLine, expectedLine) << "line " << line;
        }
        EXPECT_FALSE(std::getline(actual, actualLine));
    }
};

TEST_F(LargeInputTest, FiveHundredVlansOf32SubinterfacesAreDerivedWhole) {
    Site const site(500, 32, 4, 4);
    ASSERT_EQ(site.entries(), 16'000U);
    for (std::vector<std::string> const &further :
         {std::vector<std::string>{}, {"--sync"}, {"--share", "1"}}) {
        ProgramResult const result = derive(site, further);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        expectDocument(site);
    }
}

TEST_F(LargeInputTest, AMillionEntriesAreDerivedWholeInTimeAndMemory) {
    Site const site(measured ? 4094 : 200, 250, 25, 4);
    ProgramResult const result = derive(site, {});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    expectDocument(site);
    RecordProperty("seconds", std::to_string(result.seconds));
    RecordProperty("peakBytes", std::to_string(result.peakBytes));
    if (measured) {
        EXPECT_EQ(site.entries(), 1'023'500U);
        EXPECT_LT(result.seconds, 10.0);
        EXPECT_LT(result.peakBytes, std::uint64_t{1} << 30);
    }
}

TEST_F(LargeInputTest, ATenthOfStaleEntriesIsDeletedAndAllElseStays) {
    Site const site(500, 32, 4, 4);
    // Of the earlier run's 500 * 10 entries the 500 named stale.<vlan> are left over.
    unsigned const firstSubIntf = 23;
    std::string const previous =
        write("old", [&](std::ostream &out) { site.writePrevious(out, firstSubIntf, 1); });
    ProgramResult const result = derive(site, {"--previous", previous});
    EXPECT_EQ(result.status, 0);
    expectDocument(site);
    std::string const head = result.err.substr(0, result.err.find('\n'));
    EXPECT_EQ(head, "compared with " + previous +
                        ": 4500 kept, 11500 added, 0 changed, 500 deleted as stale");
    for (unsigned vlan = 1; vlan <= site.vlans(); ++vlan) {
        std::string const number = std::to_string(vlan);
        EXPECT_NE(
            result.err.find("\n  deleted as stale: stale." + number + " in VLAN " + number + "\n"),
            std::string::npos);
    }
}

} // namespace
} // namespace Agent
