#include "VlanSubIntfConfigLib/Trace.h"
#include "tests/VlanSubIntfConfigLib/WholeLife.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <locale>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Counts the numbers and flags that any stream prints: the facet is the global locale's, and every
/// value of a trace line is printed into a fresh stream.
class CountingFacet : public std::num_put<char> {
  public:
    explicit CountingFacet(int &printed) : printed_(printed) {}

  protected:
    iter_type do_put(iter_type out, std::ios_base &stream, char fill, bool value) const override {
        ++printed_;
        return std::num_put<char>::do_put(out, stream, fill, value);
    }
    iter_type do_put(iter_type out, std::ios_base &stream, char fill,
                     unsigned long value) const override {
        ++printed_;
        return std::num_put<char>::do_put(out, stream, fill, value);
    }

  private:
    int &printed_;
};

/// Counts in the global locale as long as it lives.
class PrintCounter {
  public:
    PrintCounter()
        : former_(std::locale::global(
              std::locale(std::locale::classic(), new CountingFacet(printed_)))) {}
    ~PrintCounter() { std::locale::global(former_); }
    PrintCounter(PrintCounter const &) = delete;
    PrintCounter &operator=(PrintCounter const &) = delete;

    [[nodiscard]] int printed() const { return printed_; }

  private:
    int printed_ = 0;
    std::locale former_;
};

class TraceLevels : public TestSupport::WholeLifeTest {
  protected:
    void life(std::uint16_t mask) {
        traceIs(mask);
        startSynchronous();
        changesAndEnd();
    }
    [[nodiscard]] std::set<std::uint16_t> levelsTraced() const {
        std::set<std::uint16_t> found;
        for (TestSupport::TraceLine const &line : trace->records()) {
            found.insert(line.level);
        }
        return found;
    }
};

TEST_F(TraceLevels, AreSixToNine) {
    life(0xFFFF);
    EXPECT_THAT(levelsTraced(), ElementsAre(6, 7, 8, 9));
}

TEST_F(TraceLevels, EveryLineNamesTheSourceOfTheProgram) {
    life(0xFFFF);
    ASSERT_FALSE(trace->records().empty());
    for (TestSupport::TraceLine const &line : trace->records()) {
        EXPECT_EQ(line.source, "VlanSubIntfConfigLib") << line;
    }
}

TEST_F(TraceLevels, NothingIsTracedNorAnyValuePrintedWhileTheyAreOff) {
    PrintCounter const counter;
    life(static_cast<std::uint16_t>(~TestSupport::machineLevels));
    EXPECT_THAT(trace->records(), IsEmpty());
    EXPECT_EQ(counter.printed(), 0);
}

TEST_F(TraceLevels, ValuesArePrintedWhileTheyAreOn) {
    PrintCounter const counter;
    life(TestSupport::machineLevels);
    EXPECT_GT(counter.printed(), 0);
}

class OneTraceLevel : public TraceLevels, public testing::WithParamInterface<std::uint16_t> {};

TEST_P(OneTraceLevel, LetsThroughItsOwnLinesOnly) {
    life(static_cast<std::uint16_t>(1U << GetParam()));
    EXPECT_THAT(levelsTraced(), ElementsAre(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(All, OneTraceLevel, testing::Values(6, 7, 8, 9));

TEST(TraceSite, EvaluatesNoArgumentWhileItsLevelIsOff) {
    auto const handle = Nuvio::Platform::getDebugHandler("TraceSiteTest", false);
    int evaluated = 0;
    auto const argument = [&evaluated] { return ++evaluated; };
    {
        TestSupport::TraceRecorder const trace(handle, 0xFDFF); // all but 9
        DOVRA_TRACE(handle, 9, "Class", "function", DovraCode::Statements::merge, "{}", argument());
        EXPECT_EQ(evaluated, 0);
        EXPECT_THAT(trace.records(), IsEmpty());
    }
    TestSupport::TraceRecorder const trace(handle, 0x0200);
    DOVRA_TRACE(handle, 9, "Class", "function", DovraCode::Statements::merge, "<{}>", argument());
    EXPECT_EQ(evaluated, 1);
    EXPECT_THAT(trace.records(), ElementsAre(TestSupport::TraceLine{
                                     9, "Class", "function", "VlanSubIntfConfigLib", 65, "<1>"}));
}

TEST(TraceSite, ANullHandleIsAnAssertion) {
    Nuvio::Ptr<Nuvio::Platform::DebugHandler> const none;
    EXPECT_DEATH(DOVRA_TRACE(none, 9, "Class", "function", DovraCode::Statements::merge, ""),
                 "pointer is not null");
}

/// With the two tests above: no line of the machine is formatted for a level that is off.
TEST(TraceSite, IsTheOnlyWayInWhichTheMachineTraces) {
    namespace fs = std::filesystem;
    int sources = 0;
    for (auto const &file :
         fs::directory_iterator(PROJECT_SOURCE_DIR_FOR_TESTS "/VlanSubIntfConfigLib")) {
        std::stringstream text;
        text << std::ifstream(file.path()).rdbuf();
        bool const isMacro = file.path().filename() == "Trace.h";
        EXPECT_EQ(text.str().find("fmtrace(") != std::string::npos, isMacro) << file.path();
        EXPECT_EQ(text.str().find(".emit("), std::string::npos) << file.path();
        EXPECT_EQ(text.str().find("->emit("), std::string::npos) << file.path();
        ++sources;
    }
    EXPECT_GT(sources, 10);
}

} // namespace
} // namespace VlanSubIntfConfigLib
