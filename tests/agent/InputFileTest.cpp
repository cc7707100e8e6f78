#include "agent/InputFile.h"

#include "tests/agent/MessageOf.h"
#include "tests/agent/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

using testing::HasSubstr;

class InputFileTest : public testing::Test {
  protected:
    TempDir dir;
    Progress progress;

    std::string contents(std::string const &path) {
        InputFile file(path, progress);
        std::string text;
        for (; !file.atEnd(); file.advance()) {
            text += file.peek();
        }
        return text;
    }
};

TEST_F(InputFileTest, AFileOfManyChunksIsReadWhole) {
    std::string text;
    while (text.size() < 3 * InputFile::chunkSize + 7) {
        text += std::to_string(text.size()) + "\n";
    }
    EXPECT_EQ(contents(dir.write("file", text)), text);
}

TEST_F(InputFileTest, AnEmptyFileIsAtItsEndAtOnce) {
    EXPECT_EQ(contents(dir.write("file", "")), "");
}

TEST_F(InputFileTest, ThePositionIsThatOfTheCharacterReadLast) {
    InputFile file(dir.write("file", "ab\nc"), progress);
    EXPECT_FALSE(file.atEnd());
    file.advance();
    EXPECT_EQ(file.position().line, 1U);
    EXPECT_EQ(file.position().column, 1U);
    file.advance();
    EXPECT_EQ(file.position().column, 2U);
    file.advance();
    file.advance();
    EXPECT_EQ(file.position().line, 2U);
    EXPECT_EQ(file.position().column, 1U);
}

TEST_F(InputFileTest, ThePositionCountsAcrossChunks) {
    std::string const line(1000, 'x');
    std::string text;
    while (text.size() < 2 * InputFile::chunkSize) {
        text += line + "\n";
    }
    auto const lines = text.size() / 1001;
    text += "abc";
    InputFile file(dir.write("file", text), progress);
    while (!file.atEnd()) {
        file.advance();
    }
    EXPECT_EQ(file.position().line, lines + 1);
    EXPECT_EQ(file.position().column, 3U);
}

TEST_F(InputFileTest, ALineLongerThanAChunkHasItsColumns) {
    InputFile file(dir.write("file", std::string(2 * InputFile::chunkSize + 5, 'x')), progress);
    while (!file.atEnd()) {
        file.advance();
    }
    EXPECT_EQ(file.position().line, 1U);
    EXPECT_EQ(file.position().column, 2 * InputFile::chunkSize + 5);
}

TEST_F(InputFileTest, AFileThatIsNotThereIsAnErrorThatNamesIt) {
    std::string const path = dir.file("absent.json");
    EXPECT_EQ(messageOf([&] { InputFile(path, progress); }),
              path + ": cannot read: No such file or directory");
}

TEST_F(InputFileTest, AFolderIsAnErrorThatNamesIt) {
    EXPECT_THAT(messageOf([&] { contents(dir.file(".")); }), HasSubstr("Is a directory"));
}

TEST_F(InputFileTest, ProgressHearsOfTheBytesOfALargeFile) {
    std::string drawn;
    Progress shown([&](std::string_view text) { drawn += text; });
    InputFile file(dir.write("big.json", std::string(std::size_t{5} << 20, ' ')), shown);
    while (!file.atEnd()) {
        file.advance();
    }
    EXPECT_THAT(drawn, HasSubstr("big.json ["));
}

} // namespace
} // namespace Agent
