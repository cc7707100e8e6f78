#include "agent/Output.h"

#include "agent/Error.h"
#include "tests/agent/MessageOf.h"
#include "tests/agent/TempDir.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>

namespace Agent {
namespace {

class OutputTest : public testing::Test {
  protected:
    TempDir dir;
};

TEST_F(OutputTest, NothingIsWrittenBeforeTheBufferIsFull) {
    int const file = ::open(dir.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
    Output output(file, "out");
    output.text() += "short";
    output.commit();
    EXPECT_EQ(readFile(dir.file("out")), "");
    output.flush();
    EXPECT_EQ(readFile(dir.file("out")), "short");
    ::close(file);
}

TEST_F(OutputTest, ALongTextArrivesWholeAndInOrder) {
    int const file = ::open(dir.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
    Output output(file, "out");
    std::string expected;
    for (int i = 0; expected.size() < 5 * Output::bufferSize; ++i) {
        output.text() += std::to_string(i);
        expected += std::to_string(i);
        output.commit();
    }
    output.flush();
    EXPECT_EQ(readFile(dir.file("out")), expected);
    ::close(file);
}

TEST_F(OutputTest, AFullDiskIsAnErrorThatNamesTheStream) {
    int const full = ::open("/dev/full", O_WRONLY);
    Output output(full, "standard output");
    output.text() = "x";
    EXPECT_EQ(messageOf([&] { output.flush(); }),
              "standard output: cannot write: No space left on device");
    ::close(full);
}

TEST_F(OutputTest, AClosedPipeIsAnError) {
    auto *const before = std::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    Output output(ends[1], "pipe");
    output.text() = "x";
    EXPECT_THROW(output.flush(), Error);
    ::close(ends[1]);
    std::signal(SIGPIPE, before);
}

} // namespace
} // namespace Agent
