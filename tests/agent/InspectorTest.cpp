#include "agent/Inspector.h"

#include "agent/Error.h"
#include "agent/Names.h"
#include "platform/Nuvio/DebugHandler.h"
#include "tests/agent/SmallMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Words = std::vector<std::string>;

TEST(WordsOf, BlanksSeparate) {
    EXPECT_THAT(wordsOf(" get\t ready "), ElementsAre("get", "ready"));
    EXPECT_THAT(wordsOf(""), IsEmpty());
    EXPECT_THAT(wordsOf(" \t"), IsEmpty());
}

TEST(WordsOf, QuotesHoldTogetherAlsoInsideAWord) {
    EXPECT_THAT(wordsOf(R"("a b" c"d e"f)"), ElementsAre("a b", "cd ef"));
    EXPECT_THAT(wordsOf(R"(set x "")"), ElementsAre("set", "x", ""));
}

TEST(WordsOf, ABackslashTakesTheNextCharacterInsideQuotesOnly) {
    EXPECT_THAT(wordsOf(R"("a\"b" "c\\d")"), ElementsAre("a\"b", "c\\d"));
    EXPECT_THAT(wordsOf(R"(a\b 'c' \)"), ElementsAre("a\\b", "'c'", "\\"));
}

TEST(WordsOf, AQuoteThatIsNotClosedIsAnError) {
    for (std::string_view const line : {"\"", "get \"ready", "get \"a\\\""}) {
        EXPECT_THROW(static_cast<void>(wordsOf(line)), Error) << line;
    }
}

class InspectorTest : public SmallMachine {
  protected:
    std::string out;
    Inspector people{run.machine, false, [this](std::string_view text) { out += text; }};
    Inspector programs{run.machine, true, [this](std::string_view text) { out += text; }};

    ~InspectorTest() override { handle->levelMaskIs(0); }

    std::string answer(Inspector &inspector, std::string_view line) {
        out.clear();
        EXPECT_TRUE(inspector.execute(line)) << line;
        return out;
    }
    nlohmann::json json(std::string_view line) {
        return nlohmann::json::parse(answer(programs, line));
    }
    std::string errorOf(std::string_view line) {
        out.clear();
        try {
            people.execute(line);
        } catch (Error const &error) {
            EXPECT_EQ(out, "") << line;
            return error.what();
        }
        return "no error";
    }

    Qor::Ptr<Nuvio::Platform::DebugHandler> const handle =
        Nuvio::Platform::getDebugHandler("VlanSubIntfConfigLib", false);
};

TEST_F(InspectorTest, EmptyLinesAndCommentsDoNothing) {
    for (std::string_view const line : {"", "  \t", "# don't \" mind", "  #x"}) {
        EXPECT_EQ(answer(people, line), "") << line;
    }
}

TEST_F(InspectorTest, QuitLeaves) {
    EXPECT_FALSE(people.execute("quit"));
    EXPECT_EQ(errorOf("quit now"), "usage: quit");
}

TEST_F(InspectorTest, EveryCommandIsInTheHelpAndHasAJsonForm) {
    std::string const help = answer(people, "help");
    auto const all = json("help");
    Words names;
    for (auto const &command : all) {
        names.push_back(command.at("command"));
        EXPECT_THAT("\n" + help, testing::HasSubstr("\n" + names.back() + " "));
    }
    EXPECT_THAT(names, ElementsAre("types", "attrs", "get", "set", "del", "list", "size", "invoke",
                                   "run", "show", "trace", "census", "help", "quit"));
}

TEST_F(InspectorTest, JsonKeepsFlagsNumbersAndNull) {
    EXPECT_EQ(json("get ready").at("value"), true);
    EXPECT_EQ(json("get 136/265/[100]/265").at("value"), 4);
    EXPECT_EQ(json("get 139").at("value"), nullptr);
    EXPECT_EQ(json("get 136/265/[100]/264").at("type"), "Iftel::IntfId");
    EXPECT_EQ(json("invoke 136/266 100").at("result"), nullptr);
    EXPECT_EQ(json("invoke scheduler/runOne").at("result"), false);
}

TEST_F(InspectorTest, DeletingByKeyNamesTheWholePathInJson) {
    EXPECT_EQ(json("del 136/265 100").at("path"), "136/265/[100]");
}

TEST_F(InspectorTest, ASetTakesItsKeyWithTrueAndRefusesFalse) {
    std::string const path =
        "\"146/[Value('VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType'"
        ", ** {'k0': 100, 'k1': 'bond0.100', 'k0Valid': True, 'k1Valid': True})]\"";
    EXPECT_EQ(answer(people, "set " + path + " true"), "");
    EXPECT_EQ(answer(people, "size 146"), "1 entry, capacity 4\n");
    EXPECT_THAT(errorOf("set " + path + " false"), testing::EndsWith("can be set but not cleared"));
    EXPECT_THAT(errorOf("set " + path + " x"),
                testing::EndsWith("expected true or false, found \"x\""));
    EXPECT_EQ(answer(people, "get " + path), "true\n");
}

TEST_F(InspectorTest, TraceSwitchesTheLevelsOfTheMachinesHandle) {
    EXPECT_EQ(answer(people, "trace 6-9"), "");
    EXPECT_EQ(handle->levelMask(), 0x3C0);
    EXPECT_NE(errorOf("trace 16"), "no error");
    EXPECT_EQ(handle->levelMask(), 0x3C0);
    EXPECT_EQ(json("trace off"), nlohmann::json::parse(R"({"trace": "off"})"));
    EXPECT_EQ(handle->levelMask(), 0);
}

TEST_F(InspectorTest, TheCensusCountsTheObjectsOfThisMachine) {
    nlohmann::json const census = json("census");
    auto const machine = std::ranges::find(census, "VlanSubIntfConfigLib::ConfigSm",
                                           [](auto const &line) { return line.at("type"); });
    ASSERT_NE(machine, census.end());
    EXPECT_EQ(machine->at("objects"), 1);
    EXPECT_GE(machine->at("peakBytes"), machine->at("bytes"));
    std::string const table = answer(people, "census");
    EXPECT_THAT(table, testing::StartsWith("TYPE "));
    EXPECT_THAT(table, testing::HasSubstr("\nVlanSubIntfConfigLib::ConfigSm "));
}

TEST_F(InspectorTest, TextShowsNoControlCharacters) {
    static_cast<void>(earlierSubIntf("bond0.\x1b[2J"));
    answer(people, "set vlanConfigSm0/childSm/[100]/inputScanBookmark bond0.\x1b[2J");
    EXPECT_EQ(answer(people, "get vlanConfigSm0/childSm/[100]/inputScanBookmark"),
              "bond0.\\u001b[2J\n");
    EXPECT_EQ(json("get vlanConfigSm0/childSm/[100]/inputScanBookmark").at("value"),
              "bond0.\x1b[2J");
}

TEST_F(InspectorTest, AnErrorShowsNoControlCharacters) {
    EXPECT_EQ(errorOf("set 163 \x1b[2J"), "initialScanDone: \\u001b[2J: offset 0: expected true or "
                                          "false, found \"\\u001b[2J\"");
    EXPECT_EQ(errorOf("get 136/265/[\x7F]"),
              "136/265/[\\u007f]: offset 0: expected a number from 0 "
              "to 65535, found \"\\u007f\"");
}

TEST_F(InspectorTest, TheFirstWordCompletesToCommands) {
    EXPECT_THAT(people.completions("", "s"), ElementsAre("set", "size", "show"));
    EXPECT_THAT(people.completions("  ", "qu"), ElementsAre("quit"));
    EXPECT_THAT(people.completions("", "x"), IsEmpty());
}

TEST_F(InspectorTest, LaterWordsCompleteToAttributes) {
    EXPECT_THAT(people.completions("get ", "init"), ElementsAre("initialScanDone", "initialized"));
    EXPECT_THAT(people.completions("get ", "vlanConfig"), ElementsAre("vlanConfigSm0/"));
    EXPECT_EQ(people.completions("get ", "").size(), 41U);
}

TEST_F(InspectorTest, CompletionGoesOnAtEveryLevel) {
    EXPECT_THAT(people.completions("get ", "vlanConfigSm0/ch"),
                ElementsAre("vlanConfigSm0/childSm/"));
    EXPECT_THAT(people.completions("get ", "136/265/[20"), ElementsAre("136/265/[200]/"));
    EXPECT_THAT(people.completions("get ", "/136/265/[200]/scan"),
                ElementsAre("/136/265/[200]/scanState"));
    EXPECT_THAT(people.completions("get ", "148/k"),
                ElementsAre("148/k0", "148/k1", "148/k0Valid", "148/k1Valid"));
    EXPECT_THAT(people.completions("get ", "132/130/[100]/130/[bond0.100]/130/"),
                ElementsAre("132/130/[100]/130/[bond0.100]/130/[eth1]",
                            "132/130/[100]/130/[bond0.100]/130/[eth2]"));
    EXPECT_THAT(people.completions("set 139 ", "@132/130/[200]/130/"),
                ElementsAre("@132/130/[200]/130/[bond0.200]/"));
    EXPECT_THAT(people.completions("set 139 ", "@vlanConfig"), ElementsAre("@vlanConfigSm0/"));
}

TEST_F(InspectorTest, WhateverCompletionOffersIsThereToBeLookedAt) {
    Words words = people.completions("get ", "");
    std::size_t answers = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        // Each kind of attribute has one command that looks at it.
        std::string const word = words[i];
        bool const hasAnswer = errorOf("get " + word) == "no error" ||
                               errorOf("list " + word) == "no error" ||
                               errorOf("set " + word).ends_with("a method, cannot be written");
        EXPECT_TRUE(hasAnswer) << word;
        answers += hasAnswer ? 1 : 0;
        if (std::ranges::count(word, '/') < 5) {
            auto const next = word.ends_with('/') ? people.completions("get ", word) : Words();
            words.insert(words.end(), next.begin(), next.end());
        }
    }
    EXPECT_GT(answers, 1000U) << "the walk came nowhere";
}

TEST_F(InspectorTest, NothingCompletesWhereNoPathLeadsOn) {
    for (std::string_view const word : {"ready/", "nothing/", "136/265/[1/", "136/269/", "153/"}) {
        EXPECT_THAT(people.completions("get ", word), IsEmpty()) << word;
    }
}

TEST_F(InspectorTest, KeysThatAreObjectsOrWouldHaveToBeQuotedAreNotOffered) {
    answer(people, "set 138/[@132/130/[100]/130/[bond0.100]]");
    answer(people, "set 146/[@148]");
    EXPECT_THAT(people.completions("get ", "146/"), IsEmpty());
    EXPECT_THAT(people.completions("get ", "138/"), IsEmpty());
}

TEST_F(InspectorTest, ACompletedWordIsACommandThatWorks) {
    for (std::string const &word : people.completions("attrs ", "vlanConfigSm0/childSm/")) {
        EXPECT_THAT(answer(people, "attrs " + word), testing::HasSubstr("handleIntf")) << word;
    }
}

} // namespace
} // namespace Agent
