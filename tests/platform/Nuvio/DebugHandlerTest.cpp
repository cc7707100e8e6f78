#include "platform/Nuvio/DebugHandler.h"

#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

/// Counts how often it is formatted.
struct Formatted {
    int *count;
};

} // namespace

template <> struct fmt::formatter<Formatted> : fmt::formatter<int> {
    template <class Context> auto format(Formatted const &value, Context &context) const {
        ++*value.count;
        return fmt::formatter<int>::format(*value.count, context);
    }
};

namespace Nuvio {
namespace {

using Platform::getDebugHandler;
using Platform::levelMaskOf;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceRecorder;

/// Sets NUVIO_TRACE, which is read when a handle is made.
class Environment {
  public:
    explicit Environment(char const *value) { setenv("NUVIO_TRACE", value, 1); }
    ~Environment() { unsetenv("NUVIO_TRACE"); }
    Environment(Environment const &) = delete;
    Environment &operator=(Environment const &) = delete;
};

/// The mask of a handle of that name that is made now. Handles are kept for ever, so every test
/// asks for a name of its own.
std::uint16_t maskOfNew(char const *name) {
    return getDebugHandler(name, false)->levelMask();
}

TEST(DebugHandler, IsSharedByAllWhoAskForItsName) {
    auto const handle = getDebugHandler("shared", false);
    EXPECT_EQ(getDebugHandler(std::string_view("shared"), false), handle);
    EXPECT_NE(getDebugHandler("another", false), handle);
    EXPECT_EQ(handle->name(), "shared");
}

TEST(DebugHandler, EnablesNoLevelAtStart) {
    EXPECT_EQ(maskOfNew("no level"), 0);
}

TEST(DebugHandler, EnablesAllLevelsAtStartWhenItIsMadeSo) {
    auto const handle = getDebugHandler("all levels", true);
    EXPECT_EQ(handle->levelMask(), 0xFFFF);
}

TEST(DebugHandler, AskingForAllLevelsOfAHandleThatExistsChangesNothing) {
    auto const handle = getDebugHandler("made before", false);
    getDebugHandler("made before", true);
    EXPECT_EQ(handle->levelMask(), 0);
}

TEST(DebugHandler, BitNOfTheMaskEnablesLevelN) {
    Platform::DebugHandler *const handle = getDebugHandler("bits", false).get();
    handle->levelMaskIs(0x8081);
    for (unsigned level = 0; level < 16; ++level) {
        EXPECT_EQ(handle->levelEnabled(level), level == 0 || level == 7 || level == 15) << level;
    }
}

TEST(DebugHandler, HandsARecordWithAllItsPartsToTheSink) {
    TraceRecorder const trace("parts");
    fmtrace(*getDebugHandler("parts", false), 7, "Source", "handleReady", 65, "IntfSm1",
            "ready: {} of {}", 1, "two");
    EXPECT_THAT(trace.records(),
                ElementsAre(TestSupport::TraceLine{7, "IntfSm1", "handleReady", "Source", 65,
                                                   "ready: 1 of two"}));
    EXPECT_THAT(trace.lines(), ElementsAre("7 IntfSm1::handleReady ready: 1 of two"));
}

TEST(DebugHandler, EmitsEnabledLevelsOnly) {
    TraceRecorder const trace("enabled levels", 1U << 6 | 1U << 8);
    auto const handle = getDebugHandler("enabled levels", false);
    for (std::uint16_t level = 0; level < 16; ++level) {
        fmtrace(*handle, level, "S", "f", 1, "M", "at {}", level);
    }
    EXPECT_THAT(trace.lines(), ElementsAre("6 M::f at 6", "8 M::f at 8"));
}

TEST(DebugHandler, FormatsNothingWhileTheLevelIsOff) {
    int formatted = 0;
    TraceRecorder const trace("not formatted", 1U << 6);
    auto const handle = getDebugHandler("not formatted", false);
    fmtrace(*handle, 7, "S", "f", 1, "M", "{}", Formatted{&formatted});
    EXPECT_EQ(formatted, 0);
    EXPECT_THAT(trace.lines(), IsEmpty());
    fmtrace(*handle, 6, "S", "f", 1, "M", "{}", Formatted{&formatted});
    EXPECT_EQ(formatted, 1);
}

TEST(DebugHandlerDeathTest, AStandardErrorThatIsFullDoesNotEndTheTracedCode) {
    auto const handle = getDebugHandler("full standard error", true);
    EXPECT_EXIT(
        {
            std::FILE *const full = std::freopen("/dev/full", "w", stderr);
            handle->emit({7, "Machine", "function", "source", 1, "message"});
            std::_Exit(full ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(DebugHandler, TheDefaultSinkWritesOneLineToStandardError) {
    auto const handle = getDebugHandler("default sink", true);
    testing::internal::CaptureStderr();
    fmtrace(*handle, 7, "Source", "handleReady", 65, "ConfigSm", "ready: {}", true);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "7 ConfigSm::handleReady Source:65 ready: true\n");
}

TEST(DebugHandler, AnEmptySinkRestoresTheDefault) {
    auto const handle = getDebugHandler("sink restored", true);
    int records = 0;
    handle->sinkIs([&records](TraceRecord const &) { ++records; });
    fmtrace(*handle, 7, "S", "f", 1, "M", "first");
    handle->sinkIs({});
    testing::internal::CaptureStderr();
    fmtrace(*handle, 7, "S", "f", 1, "M", "second");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "7 M::f S:1 second\n");
    EXPECT_EQ(records, 1);
}

TEST(TraceRecorder, RestoresMaskAndSink) {
    auto const handle = getDebugHandler("restored", false);
    handle->levelMaskIs(0x40);
    { TraceRecorder const trace(handle, 0x80); }
    EXPECT_EQ(handle->levelMask(), 0x40);
    testing::internal::CaptureStderr();
    fmtrace(*handle, 6, "S", "f", 1, "M", "text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "6 M::f S:1 text\n");
}

TEST(LevelMask, ReadsALevelARangeAndAList) {
    EXPECT_EQ(levelMaskOf("7"), 0x80);
    EXPECT_EQ(levelMaskOf("6-9"), 0x3C0);
    EXPECT_EQ(levelMaskOf("6,8-9"), 0x340);
    EXPECT_EQ(levelMaskOf("0-15"), 0xFFFF);
    EXPECT_EQ(levelMaskOf("8-8"), 0x100);
}

TEST(LevelMask, OfAMalformedTextIsEmpty) {
    for (char const *const text : {"",
                                   ",",
                                   "x",
                                   "7x",
                                   "x7",
                                   " 7",
                                   "7 ",
                                   "-",
                                   "7-",
                                   "-7",
                                   "6--9",
                                   "6-9-",
                                   "6-8-9",
                                   "9-6",
                                   "16",
                                   "6-16",
                                   "7,",
                                   ",7",
                                   "6,,8",
                                   "+7",
                                   "0x7",
                                   "4294967303",
                                   "99999999999999999999"}) {
        EXPECT_EQ(levelMaskOf(text), std::nullopt) << '"' << text << '"';
    }
}

TEST(NuvioTrace, SetsTheMaskOfTheHandleThatItNames) {
    Environment const environment("traced 1/7");
    EXPECT_EQ(maskOfNew("traced 1"), 0x80);
    EXPECT_EQ(maskOfNew("traced 11"), 0);
    EXPECT_EQ(maskOfNew("traced"), 0);
}

TEST(NuvioTrace, SetsTheMasksOfSeveralHandles) {
    Environment const environment("several 1/7,several 2/6-9");
    EXPECT_EQ(maskOfNew("several 1"), 0x80);
    EXPECT_EQ(maskOfNew("several 2"), 0x3C0);
}

TEST(NuvioTrace, AnItemWithoutNameGoesOnWithTheOneBefore) {
    Environment const environment("list 1/6,8-9,list 2/7");
    EXPECT_EQ(maskOfNew("list 1"), 0x340);
    EXPECT_EQ(maskOfNew("list 2"), 0x80);
}

TEST(NuvioTrace, JoinsTheLevelsOfANameThatStandsTwice) {
    Environment const environment("twice/6,other/7,twice/9");
    EXPECT_EQ(maskOfNew("twice"), 0x240);
}

TEST(NuvioTrace, PassesOverMalformedItems) {
    Environment const environment("/7,bad 1/x,bad 2/,bad 3,,bad 4/6-99,good/7,bad 5/9-6,bad 6/7/8");
    for (char const *const name : {"bad 1", "bad 2", "bad 3", "bad 4", "bad 5", "bad 6"}) {
        EXPECT_EQ(maskOfNew(name), 0) << name;
    }
    EXPECT_EQ(maskOfNew("good"), 0x80);
}

TEST(NuvioTrace, EmptyEnablesNothing) {
    Environment const environment("");
    EXPECT_EQ(maskOfNew("empty environment"), 0);
}

TEST(NuvioTrace, IsReadWhenTheHandleIsMadeOnly) {
    EXPECT_EQ(maskOfNew("made early"), 0);
    Environment const environment("made early/7");
    EXPECT_EQ(maskOfNew("made early"), 0);
}

TEST(NuvioTrace, GivesWayToAllLevels) {
    Environment const environment("all and named/7");
    EXPECT_EQ(getDebugHandler("all and named", true)->levelMask(), 0xFFFF);
}

} // namespace
} // namespace Nuvio
