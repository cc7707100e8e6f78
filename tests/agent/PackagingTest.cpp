// The manual page and the completion know what the program's help says.
#include "tests/agent/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::IsSupersetOf;
using testing::UnorderedElementsAre;

std::string packaged(std::string const &file) {
    return readFile(std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/packaging/" + file);
}

std::set<std::string> matchesOf(std::string const &text, char const *pattern) {
    std::regex const expression(pattern);
    std::set<std::string> found;
    for (std::sregex_iterator it(text.begin(), text.end(), expression), end; it != end; ++it) {
        found.insert((*it)[1]);
    }
    return found;
}

std::set<std::string> subcommands() {
    std::string const help = Program({"--help"}).run().out;
    return matchesOf(help.substr(help.find("Subcommands:")), "\n  ([a-z-]+)  ");
}

std::set<std::string> optionsOf(std::string const &subcommand) {
    std::string const help = Program({subcommand, "--help"}).run().out;
    return matchesOf(help, "\n  (?:-[a-z],)?(--[a-z-]+)");
}

/// What the completion offers behind these words.
std::set<std::string> completions(std::string const &words) {
    std::string const command = "bash -c '. " + std::string(PROJECT_SOURCE_DIR_FOR_TESTS) +
                                "/packaging/vlan-subintf.bash; COMP_WORDS=(vlan-subintf " + words +
                                " \"\"); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vlan_subintf; "
                                "printf \"%s\\n\" \"${COMPREPLY[@]}\"'";
    std::unique_ptr<FILE, int (*)(FILE *)> const pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string text = "\n";
    std::array<char, 256> line{};
    while (std::fgets(line.data(), line.size(), pipe.get())) {
        text += line.data();
    }
    return matchesOf(text, "([^\n]+)\n");
}

TEST(Packaging, TheManualNamesEverySubcommandAndOption) {
    std::string const manual =
        std::regex_replace(packaged("vlan-subintf.8"), std::regex(R"(\\-)"), "-");
    auto const commands = subcommands();
    ASSERT_EQ(commands.size(), 14U);
    for (std::string const &command : commands) {
        EXPECT_THAT(manual, testing::HasSubstr(command));
        for (std::string const &option : optionsOf(command)) {
            if (option != "--help") {
                EXPECT_THAT(manual, testing::ContainsRegex(option + "[^a-z-]")) << command;
            }
        }
    }
}

TEST(Packaging, TheManualHasNoErrors) {
    std::string const command = "man -l --warnings " + std::string(PROJECT_SOURCE_DIR_FOR_TESTS) +
                                "/packaging/vlan-subintf.8 2>&1 >/dev/null | wc -c";
    std::unique_ptr<FILE, int (*)(FILE *)> const pipe(::popen(command.c_str(), "r"), ::pclose);
    int bytes = -1;
    ASSERT_EQ(std::fscanf(pipe.get(), "%d", &bytes), 1);
    EXPECT_EQ(bytes, 0);
}

/// systemd gives 0 to a service that can do nothing harmful, 10 to one that can do everything.
TEST(Packaging, TheUnitIsWellConfined) {
    if (std::system("systemd-analyze --version >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "systemd-analyze is not here";
    }
    TempDir const dir;
    auto const unit =
        dir.write("vlan-subintf.service",
                  std::regex_replace(packaged("vlan-subintf.service.in"),
                                     std::regex("@CMAKE_INSTALL_FULL_BINDIR@"), "/usr/bin"));
    EXPECT_EQ(std::system(("systemd-analyze security --no-pager --offline=true --threshold=20 " +
                           unit + " >" + dir.file("report") + " 2>&1")
                              .c_str()),
              0)
        << readFile(dir.file("report"));
}

TEST(Packaging, TheCompletionOffersEverySubcommand) {
    EXPECT_THAT(completions(""), IsSupersetOf(subcommands()));
}

TEST(Packaging, TheCompletionOffersEveryOptionOfEverySubcommand) {
    for (std::string const &command : subcommands()) {
        EXPECT_THAT(completions(command), IsSupersetOf(optionsOf(command))) << command;
    }
}

TEST(Packaging, TheCompletionOffersTheSources) {
    EXPECT_THAT(completions("agent --source"), UnorderedElementsAre("kernel", "files"));
}

} // namespace
} // namespace Agent
