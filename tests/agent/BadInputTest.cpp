// Files that are not as they must be, given to the program: one message that names file, place and
// value, status 1, nothing on standard output.
#include "tests/agent/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char const *goodLinks = R"([
  {"ifname":"br0","linkinfo":{"info_kind":"bridge"}},
  {"ifname":"eth1","master":"bond0"},
  {"ifname":"bond0","linkinfo":{"info_kind":"bond"}},
  {"ifname":"bond0.5","link":"bond0","master":"br0","linkinfo":{"info_kind":"vlan"}}])";
constexpr char const *goodVlans = R"([{"ifname":"bond0.5","vlans":[{"vlan":5}]}])";

class BadInputTest : public testing::Test {
  protected:
    TempDir dir;

    /// Status, streams and form of the message are as for any bad input; returns the message
    /// without the folder of the file.
    std::string message(ProgramResult const &result) const {
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, AllOf(StartsWith("vlan-subintf: "), EndsWith("\n")));
        std::string text = result.err.substr(0, result.err.find('\n'));
        EXPECT_EQ(text.size() + 1, result.err.size()) << "more than one line: " << result.err;
        text.erase(0, std::string("vlan-subintf: ").size());
        auto const folder = dir.file("");
        return text.starts_with(folder) ? text.substr(folder.size()) : text;
    }
    std::string derive(std::string_view links, std::string_view vlans) const {
        return message(Program({"derive", "-j", "--links", dir.write("links", links), "--vlans",
                                dir.write("vlans", vlans)})
                           .run());
    }
    std::string links(std::string_view text) const { return derive(text, goodVlans); }
    std::string vlans(std::string_view text) const { return derive(goodLinks, text); }
};

TEST_F(BadInputTest, TheFilesOfThisTestAreGood) {
    ProgramResult const result = Program({"derive", "-j", "--links", dir.write("links", goodLinks),
                                          "--vlans", dir.write("vlans", goodVlans)})
                                     .run();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr(R"("lagPhyIntf": ["eth1"])"));
    EXPECT_EQ(result.err, "");
}

TEST_F(BadInputTest, AFileThatCannotBeRead) {
    std::string const good = dir.write("good", goodLinks);
    EXPECT_EQ(message(Program({"derive", "--links", dir.file("absent"), "--vlans", good}).run()),
              "absent: cannot read: No such file or directory");
    EXPECT_EQ(message(Program({"derive", "--links", good, "--vlans", dir.file("absent")}).run()),
              "absent: cannot read: No such file or directory");
    EXPECT_EQ(message(Program({"derive", "--input", "/"}).run()), "/: cannot read: Is a directory");
}

TEST_F(BadInputTest, AnEmptyFile) {
    EXPECT_EQ(links(""), "links: line 1, column 1: the file is empty");
    EXPECT_EQ(vlans(""), "vlans: line 1, column 1: the file is empty");
    EXPECT_EQ(message(Program({"derive", "--input", "-"}).run()),
              "standard input: line 1, column 1: the file is empty");
}

TEST_F(BadInputTest, BrokenJson) {
    EXPECT_THAT(links("[\n  {\"ifname\": \"eth1\",}\n]"),
                StartsWith("links: line 2, column 21: syntax error"));
    EXPECT_THAT(vlans("[{\"ifname\":"), StartsWith("vlans: line 1, column 11: syntax error"));
    EXPECT_THAT(vlans("[]]"), StartsWith("vlans: line 1, column 3: syntax error"));
    EXPECT_THAT(vlans(std::string_view("\0\1\2", 3)), StartsWith("vlans: line 1, column 1: "));
}

TEST_F(BadInputTest, WrongTypes) {
    EXPECT_EQ(links("{}"), "links: $: expected an array, found an object");
    EXPECT_EQ(links("[[]]"), "links: $[0]: expected an object, found an array");
    EXPECT_EQ(links(R"([{"ifname":null}])"), "links: $[0].ifname: expected a name, found null");
    EXPECT_EQ(links("\"x\""), "links: $: expected an array, found \"x\"");
    EXPECT_EQ(vlans(R"([{"ifname":"bond0.5","vlans":{}}])"),
              "vlans: $[0].vlans: expected an array, found an object");
    EXPECT_EQ(vlans(R"([{"ifname":"bond0.5","vlans":[{"vlan":"5"}]}])"),
              "vlans: $[0].vlans[0].vlan: expected a VLAN number from 1 to 4094, found \"5\"");
    EXPECT_EQ(vlans(R"([{"ifname":"bond0.5","vlans":[{"vlan":5.5}]}])"),
              "vlans: $[0].vlans[0].vlan: expected a VLAN number from 1 to 4094, found 5.5");
}

TEST_F(BadInputTest, AVlanNumberOutOfRange) {
    for (char const *number : {"0", "4095", "-5", "99999999999999999999"}) {
        EXPECT_THAT(
            vlans(std::string(R"([{"ifname":"bond0.5","vlans":[{"vlan":)") + number + "}]}]"),
            StartsWith("vlans: $[0].vlans[0].vlan: expected a VLAN number from 1 to 4094, "
                       "found "));
    }
}

TEST_F(BadInputTest, ARangeThatEndsBeforeItBegins) {
    EXPECT_EQ(vlans(R"([{"ifname":"bond0.5","vlans":[{"vlan":10,"vlanEnd":9}]}])"),
              "vlans: $[0].vlans[0].vlanEnd: 9 is before \"vlan\", which is 10");
}

TEST_F(BadInputTest, AMemberThatNoLinkHas) {
    EXPECT_EQ(vlans(R"([{"ifname":"eth9","vlans":[{"vlan":5}]}])"),
              "vlans: $[0].ifname: no link has the name \"eth9\"");
}

TEST_F(BadInputTest, AMissingMasterOrLowerLink) {
    EXPECT_EQ(links(R"([{"ifname":"eth1","master":"bond0"}])"),
              "links: $[0].master: the master \"bond0\" of \"eth1\" is not in the file");
    EXPECT_EQ(links(R"([{"ifname":"v.5","link":"eth1","linkinfo":{"info_kind":"vlan"}}])"),
              "links: $[0].link: the lower link \"eth1\" of \"v.5\" is not in the file");
    EXPECT_EQ(links(R"([{"ifname":"mv0","link":"eth1","linkinfo":{"info_kind":"macvlan"}}])"),
              "links: $[0].link: the lower link \"eth1\" of \"mv0\" is not in the file");
}

TEST_F(BadInputTest, ALoopOfLowerLinks) {
    EXPECT_EQ(links(R"([{"ifname":"a","link":"b","linkinfo":{"info_kind":"vlan"}},
                        {"ifname":"b","link":"a","linkinfo":{"info_kind":"vlan"}}])"),
              "links: $[0].link: loop of lower links: a -> b -> a");
}

TEST_F(BadInputTest, ADuplicateName) {
    EXPECT_EQ(links(R"([{"ifname":"eth1"},{"ifname":"eth1"}])"),
              "links: $[1].ifname: duplicate name \"eth1\", first used by $[0]");
}

TEST_F(BadInputTest, AContradiction) {
    EXPECT_EQ(vlans(R"([{"ifname":"bond0.5","vlans":[{"vlan":5},{"vlan":5,"state":"blocking"}]}])"),
              "vlans: $[0].vlans[1]: bond0.5 is in VLAN 5 twice, tagged with direction both and "
              "tagged with direction none");
}

TEST_F(BadInputTest, AHundredMegabytesOfNesting) {
    for (char const *opening : {"[", "{\"a\":"}) {
        std::string text;
        text.reserve(100'000'000);
        while (text.size() < 100'000'000) {
            text += opening;
        }
        std::string const path = dir.write("deep", opening[0] == '[' ? text : "[" + text);
        ProgramResult const result =
            Program({"derive", "--links", path, "--vlans", dir.write("vlans", goodVlans)}).run();
        EXPECT_THAT(message(result),
                    AllOf(StartsWith("deep: "),
                          HasSubstr(opening[0] == '[' ? "$[0]: expected an object, found an array"
                                                      : "nested deeper than 32 levels")));
        EXPECT_LT(result.seconds, 5.0);
    }
}

TEST_F(BadInputTest, AValueOnManyLinesMakesAMessageOfOneLine) {
    EXPECT_THAT(vlans(R"([{"ifname":"a\nb","vlans":[]}])"), HasSubstr(R"("a\nb")"));
    EXPECT_THAT(links("[\"\n\n\n"), HasSubstr("line 1, column 3"));
}

TEST_F(BadInputTest, ABadEarlierDocument) {
    std::string const links = dir.write("links", goodLinks);
    std::string const vlans = dir.write("vlans", goodVlans);
    auto const with = [&](std::string_view text) {
        return message(Program({"derive", "--links", links, "--vlans", vlans, "--previous",
                                dir.write("old", text)})
                           .run());
    };
    EXPECT_EQ(with(""), "old: line 1, column 1: the file is empty");
    EXPECT_EQ(with(R"({"version":3,"config":[]})"),
              "old: $.version: expected version 1 of the format, found 3");
    EXPECT_EQ(with(goodLinks), "old: $: expected an object, found an array");
}

TEST_F(BadInputTest, ABadNativeDocument) {
    auto const with = [&](std::string_view text) {
        return message(Program({"derive", "--input", "-"}).inputIs(std::string(text)).run());
    };
    EXPECT_EQ(
        with(R"({"version":1,"vlanConfig":[{"vlanId":4095,"intf":[]}],"lagPhyIntfConfig":[]})"),
        "standard input: $.vlanConfig[0].vlanId: expected a VLAN number from 1 to 4094, "
        "found 4095");
    EXPECT_EQ(
        with(R"({"version":1,"vlanConfig":[],"lagPhyIntfConfig":[{"intfId":"x","phyIntf":[]}]})"),
        "standard input: $.lagPhyIntfConfig[0].intfId: \"x\" is neither in \"interfaces\" "
        "nor a native name");
}

} // namespace
} // namespace Agent
