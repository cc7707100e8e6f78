#include "agent/AttributePath.h"

#include "agent/Names.h"
#include "tests/agent/SmallMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace Agent {
namespace {

using Qor::OpCode;
using Qor::Value;

class AttributePathTest : public SmallMachine {
  protected:
    [[nodiscard]] AttributePath path(std::string_view text) const {
        return AttributePath(Value::of(run.machine), text);
    }
    [[nodiscard]] std::string textAt(std::string_view text) const {
        return path(text).read().text();
    }
    [[nodiscard]] std::string errorAt(std::string_view text) const {
        return messageOf([&] { static_cast<void>(textAt(text)); });
    }

    static constexpr std::string_view seenKey =
        "Value('VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType', ** "
        "{'k0': 100, 'k1': 'bond0.100', 'k0Valid': True, 'k1Valid': True})";
};

TEST_F(AttributePathTest, TheEmptyPathAndASlashAreTheObjectItself) {
    for (std::string_view const root : {"", "/"}) {
        EXPECT_TRUE(path(root).isRoot());
        EXPECT_EQ(path(root).read().object(), run.machine);
    }
}

TEST_F(AttributePathTest, SlashesAtTheEndsMakeNoDifference) {
    for (std::string_view const text : {"136/268", "/136/268", "136/268/", "/136/268/"}) {
        EXPECT_EQ(textAt(text), "false") << text;
    }
    EXPECT_EQ(textAt("136/265/[100]/"), textAt("136/265/[100]"));
}

TEST_F(AttributePathTest, AnEmptyStepLeadsNowhere) {
    EXPECT_EQ(
        errorAt("136//268"),
        "136/: VlanSubIntfConfigLib::DovraCode::ConfigSm::VlanConfigSm0 has no attribute \"\"");
    EXPECT_NE(errorAt("//"), "no error");
}

TEST_F(AttributePathTest, AStepIsANumberOrAName) {
    EXPECT_EQ(path("136/265/[100]").read().object(),
              path("vlanConfigSm0/childSm/[100]").read().object());
    EXPECT_EQ(errorAt("136x"), "136x: VlanSubIntfConfigLib::ConfigSm has no attribute \"136x\"");
    EXPECT_EQ(errorAt("99999999999"),
              "99999999999: VlanSubIntfConfigLib::ConfigSm has no attribute \"99999999999\"");
}

TEST_F(AttributePathTest, AKeyMayHoldBracesQuotesAndBlanks) {
    auto seen = path(fmt::format("146/[{}]", seenKey));
    EXPECT_EQ(seen.read().text(), "false");
    seen.operate(OpCode::write, {});
    EXPECT_EQ(textAt(fmt::format("146/[{}]", seenKey)), "true");
    EXPECT_EQ(run.machine->vlanSubIntfConfigDirConfigIntfOutputSeen().size(), 1U);
}

TEST_F(AttributePathTest, AKeyMayHoldSlashesAndBrackets) {
    for (std::string_view const name : {"Ethernet1/1.5", "a[0].5"}) {
        static_cast<void>(earlierSubIntf(std::string(name)));
        auto const end = path(fmt::format("132/130/[100]/130/[{}]", name));
        ASSERT_TRUE(end.last().key) << name;
        EXPECT_EQ(end.last().key->text(), name);
        EXPECT_EQ(errorAt(fmt::format("132/130/[100]/130/[{}]/131", name)),
                  fmt::format("132/130/[100]/130/[{}]: there is no such entry", name));
    }
}

TEST_F(AttributePathTest, AKeyMayBeWhatAnotherPathLeadsTo) {
    constexpr std::string_view text = "138/[@132/130/[100]/130/[bond0.100]]";
    EXPECT_EQ(errorAt(text), "138/[@132/130/[100]/130/[bond0.100]]: there is no such entry");
    path(text).operate(OpCode::write, {});
    EXPECT_EQ(path(fmt::format("{}/vlanSubIntf", text)).read().object(),
              path("132/130/[100]/130/[bond0.100]").read().object());
    EXPECT_EQ(errorAt("136/265/[@ready]"),
              "136/265/[@ready]: VlanSubIntfConfigLib::DovraCode::ConfigSm::VlanConfigSm0.childSm: "
              "wants Bridging::VlanId, got bool");
    EXPECT_EQ(errorAt("138/[@nothing]"),
              "nothing: VlanSubIntfConfigLib::ConfigSm has no attribute \"nothing\"");
}

TEST_F(AttributePathTest, ABracketThatIsNotClosedIsAnError) {
    EXPECT_EQ(errorAt("136/265/[100"), "136/265/[100: the bracket of a key is not closed");
    EXPECT_EQ(errorAt("136/265/["), "136/265/[: the bracket of a key is not closed");
    EXPECT_EQ(errorAt("136/265/[100]x"), "136/265/[100]x: the bracket of a key is not closed");
    EXPECT_EQ(errorAt("138/[@132/130/[100]"), "132/130/[100: the bracket of a key is not closed");
}

TEST_F(AttributePathTest, KeysInsideKeysEndWhereTheStackIsSafe) {
    auto const nested = [](std::size_t levels) {
        std::string text = "139";
        for (std::size_t i = 0; i < levels; ++i) {
            text = "138/[@" + text + ']';
        }
        return text;
    };
    EXPECT_EQ(errorAt(nested(AttributePath::deepestKey)), "138/[@139]: there is no such entry");
    for (std::size_t const levels : {AttributePath::deepestKey + 1, std::size_t{2000}}) {
        EXPECT_EQ(errorAt(nested(levels)), "keys are nested deeper than 16 levels");
    }
}

TEST_F(AttributePathTest, AKeyStandsOnlyBehindACollection) {
    for (std::string_view const text : {"[100]", "136/[100]", "136/265/[100]/[100]", "ready/[1]"}) {
        EXPECT_EQ(errorAt(text), fmt::format("{}: a key stands only behind a collection", text));
    }
}

TEST_F(AttributePathTest, NothingIsBehindNullAndBehindAPlainValue) {
    EXPECT_EQ(errorAt("136/269/130"), "136/269: is null");
    EXPECT_EQ(errorAt("ready/130"), "ready: bool has no attributes");
}

TEST_F(AttributePathTest, OnlyValuesAndEntriesAreRead) {
    EXPECT_EQ(errorAt("136/265"), "136/265: a collection, its entries are named by [key]");
    EXPECT_EQ(errorAt("doDeleteAll"), "doDeleteAll: a method, has no value");
    EXPECT_EQ(textAt("ready"), "true") << "a computed one is invoked";
}

TEST_F(AttributePathTest, MessagesShowNoControlCharacters) {
    EXPECT_EQ(errorAt("a\x1b[2J"),
              "a\\u001b[2J: VlanSubIntfConfigLib::ConfigSm has no attribute \"a\\u001b[2J\"");
}

TEST_F(AttributePathTest, AFieldOfAValueIsWrittenBackIntoTheObject) {
    path("148/k0").operate(OpCode::write, {Value::of(Bridging::VlanId(7))});
    EXPECT_EQ(run.machine->vlanSubIntfConfigDirConfigIntfOutputBookmark().k0, Bridging::VlanId(7));
    path("148/2").operate(OpCode::write, {Value::of(true)});
    auto const bookmark = run.machine->vlanSubIntfConfigDirConfigIntfOutputBookmark();
    EXPECT_TRUE(bookmark.k0Valid);
    EXPECT_EQ(bookmark.k0, Bridging::VlanId(7));
}

TEST_F(AttributePathTest, AFieldReachedThroughAnObjectFarAwayIsWrittenBackToo) {
    path("136/265/[100]/259/148/k0").operate(OpCode::write, {Value::of(Bridging::VlanId(9))});
    EXPECT_EQ(textAt("148/k0"), "9");
}

TEST_F(AttributePathTest, OperationsThatAreNotAcceptedAreErrors) {
    EXPECT_EQ(messageOf([&] { path("148").operate(OpCode::del, {}); }),
              "148: a value, cannot be deleted");
    EXPECT_EQ(messageOf([&] { path("162").operate(OpCode::write, {}); }),
              "162: computed, cannot be written");
    EXPECT_EQ(messageOf([&] { path("136/265/[100]").operate(OpCode::invoke, {}); }),
              "136/265/[100]: an entry, cannot be invoked");
    EXPECT_EQ(messageOf([&] { path("").operate(OpCode::write, {}); }),
              "the path names the machine itself, not one of its attributes");
}

TEST_F(AttributePathTest, TheKeyComesBeforeTheArguments) {
    path("136/265/[100]").operate(OpCode::del, {});
    EXPECT_EQ(errorAt("136/265/[100]"), "136/265/[100]: there is no such entry");
    path("136/265/[100]").operate(OpCode::write, {path("130/258/[100]").read()});
    EXPECT_EQ(textAt("136/265/[100]/258"), "Bridging::VlanConfig");
}

TEST_F(AttributePathTest, ACollectionIsWalkedAndNothingElse) {
    EXPECT_TRUE(path("136/265").isCollection());
    std::size_t entries = 0;
    for (auto const walk = path("136/265").walk(); walk->iterNonnull(); walk->iterInc()) {
        ++entries;
    }
    EXPECT_EQ(entries, 13U);
    for (std::string_view const text : {"", "136", "136/265/[100]", "ready", "153"}) {
        EXPECT_FALSE(path(text).isCollection()) << text;
        EXPECT_EQ(messageOf([&] { static_cast<void>(path(text).walk()); }),
                  fmt::format("{}: not a collection", text.empty() ? "/" : text));
    }
}

TEST_F(AttributePathTest, ANullPointerHasTheNameOfWhatItMayPointTo) {
    EXPECT_EQ(typeNameOf(path("139").read()), "VlanSubIntfConfigLib::VlanSubIntf");
    EXPECT_EQ(typeNameOf(path("ready").read()), "bool");
    EXPECT_EQ(typeNameOf(Value()), "nothing");
}

} // namespace
} // namespace Agent
