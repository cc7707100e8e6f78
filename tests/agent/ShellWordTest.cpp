#include "agent/ShellWord.h"

#include "tests/agent/TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Agent {
namespace {

TEST(ShellWord, PlainNamesStayAsTheyAre) {
    EXPECT_EQ(shellWord("bond0.100"), "bond0.100");
    EXPECT_EQ(shellWord("eth1:2@x"), "eth1:2@x");
}

TEST(ShellWord, WhatAShellWouldReadIsQuoted) {
    EXPECT_EQ(shellWord(""), "''");
    EXPECT_EQ(shellWord("a b"), "'a b'");
    EXPECT_EQ(shellWord("$(x)"), "'$(x)'");
    EXPECT_EQ(shellWord("it's"), R"('it'\''s')");
}

TEST(ShellWord, WhatIsNotPrintableIsEscaped) {
    EXPECT_EQ(shellWord("a\x1b'\\\n"), R"($'a\x1b\'\\\x0a')");
    EXPECT_EQ(shellWord("\xc3\xa9"), R"($'\xc3\xa9')");
}

TEST(ShellWord, AShellReadsBackTheName) {
    TempDir const dir;
    for (std::string const name : {"a b", "it's", "a\x1b[31m", "\xc3\xa9", "$HOME", "x\\'y\n2"}) {
        std::string const command = "printf %s " + shellWord(name) + " > " + dir.file("out");
        ASSERT_EQ(std::system(("bash -c \"$(cat " + dir.write("script", command) + ")\"").c_str()),
                  0);
        EXPECT_EQ(readFile(dir.file("out")), name);
    }
}

} // namespace
} // namespace Agent
