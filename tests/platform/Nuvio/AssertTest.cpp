#include "platform/Nuvio/Assert.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace Nuvio {
namespace {

int evaluations = 0;

int evaluated() {
    return ++evaluations;
}

void indexIsBelow(int index, int size) {
    NUVIO_ASSERT(index < size, "index={} size={}", index, size);
}

void isTrue(bool holds) {
    NUVIO_ASSERT(holds);
}

TEST(Assert, LetsATrueExpressionPass) {
    indexIsBelow(1, 2);
    isTrue(true);
    SUCCEED();
}

TEST(Assert, EvaluatesItsExpressionOnceAndItsOperandsOnlyOnFailure) {
    evaluations = 0;
    NUVIO_ASSERT(evaluated() == 1, "operand={}", evaluated());
    EXPECT_EQ(evaluations, 1);
}

TEST(AssertDeathTest, PrintsTheExpressionAndItsOperands) {
    EXPECT_DEATH(indexIsBelow(7, 5), "Assertion `index < size' failed: index=7 size=5");
}

TEST(AssertDeathTest, PrintsThePlaceAndTheFunction) {
    EXPECT_DEATH(indexIsBelow(7, 5),
                 "tests/platform/Nuvio/AssertTest.cpp:[0-9]+: void .*indexIsBelow\\(int, int\\):");
}

TEST(AssertDeathTest, NeedsNoMessage) {
    EXPECT_DEATH(isTrue(false), "Assertion `holds' failed\\.");
}

TEST(AssertDeathTest, EndsInAnAbort) {
    EXPECT_EXIT(isTrue(false), testing::KilledBySignal(SIGABRT), "");
}

TEST(AssertDeathTest, ANullDereferenceNamesTheFunction) {
    EXPECT_DEATH(emitAssertNonNullPtr("void Client::use()"),
                 "void Client::use\\(\\): Assertion `pointer is not null' failed");
}

TEST(AssertDeathTest, TheHookSeesWhatTheAssertionKnows) {
    auto const record = [](AssertionFailure const &failure) {
        std::string_view const file = failure.file;
        fmt::print(stderr, "recorded [{}] [{}] [{}] [{}] {}\n", failure.expression, failure.message,
                   failure.function, file.substr(file.rfind('/') + 1), failure.line > 0);
    };
    EXPECT_DEATH(
        {
            assertionHookIs(record);
            indexIsBelow(7, 5);
        },
        "recorded \\[index < size\\] \\[index=7 size=5\\] \\[void .*indexIsBelow.*\\] "
        "\\[AssertTest.cpp\\] true");
}

TEST(AssertDeathTest, TheHookCannotMakeItReturn) {
    EXPECT_EXIT(
        {
            assertionHookIs([](AssertionFailure const &) {});
            isTrue(false);
            std::exit(0);
        },
        testing::KilledBySignal(SIGABRT), "");
}

TEST(AssertDeathTest, AFailureInsideTheHookDoesNotRunItAgain) {
    EXPECT_EXIT(
        {
            assertionHookIs([](AssertionFailure const &) {
                std::fputs("hook runs\n", stderr);
                indexIsBelow(2, 1);
            });
            isTrue(false);
        },
        testing::KilledBySignal(SIGABRT),
        "Assertion `holds'(.|\n)*hook runs(.|\n)*Assertion `index < size' failed: index=2 size=1");
}

TEST(AssertDeathTest, AnEmptyHookRemovesTheInstalledOne) {
    EXPECT_EXIT(
        {
            assertionHookIs([](AssertionFailure const &) { std::_Exit(3); });
            assertionHookIs(nullptr);
            isTrue(false);
        },
        testing::KilledBySignal(SIGABRT), "");
}

#ifndef NDEBUG
TEST(AssertDeathTest, ADebugAssertionIsCheckedInADebugBuild) {
    int const index = 7;
    EXPECT_DEATH(NUVIO_DEBUG_ASSERT(index < 5, "index={}", index),
                 "Assertion `index < 5' failed: index=7");
}
#else
TEST(Assert, ADebugAssertionIsNotEvenEvaluatedInAReleaseBuild) {
    evaluations = 0;
    NUVIO_DEBUG_ASSERT(evaluated() == 0, "operand={}", evaluated());
    EXPECT_EQ(evaluations, 0);
}
#endif

} // namespace
} // namespace Nuvio
