#include "agent/JsonReader.h"

#include "tests/agent/MessageOf.h"
#include "tests/agent/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class JsonReaderTest : public testing::Test {
  protected:
    TempDir dir;
    Progress progress;
    std::vector<std::string> seen;

    /// Read a document of ports and their VLANs; every record leaves a line in `seen`.
    void read(std::string_view text) {
        InputFile file(dir.write("doc.json", text), progress);
        JsonReader reader(file);
        reader.recordsIs("$[].vlans[]", {"vlan"}, [this](Record const &record) {
            seen.push_back(record.path() + " vlan " + std::to_string(record.vlan("vlan")));
        });
        reader.recordsIs("$[]", {"ifname", "vlans"}, [this](Record const &record) {
            seen.push_back(record.path() +
                           (record.empty() ? " empty" : " " + record.name("ifname")) +
                           (record.has("vlans") ? "" : " without vlans"));
        });
        reader.read();
    }
    std::string messageOf(std::string_view text) {
        return Agent::messageOf([&] { read(text); }, dir.file(""));
    }
};

TEST_F(JsonReaderTest, InnerRecordsComeBeforeTheOuterOneWhateverTheOrderOfMembers) {
    read(R"([{"ifname":"a","vlans":[{"vlan":1},{"vlan":2}]},{"vlans":[{"vlan":3}],"ifname":"b"}])");
    EXPECT_THAT(seen, ElementsAre("$[0].vlans[0] vlan 1", "$[0].vlans[1] vlan 2", "$[0] a",
                                  "$[1].vlans[0] vlan 3", "$[1] b"));
}

TEST_F(JsonReaderTest, WhatIsNotARecordIsSkipped) {
    read(R"([{"x":{"vlans":[{"vlan":0}]},"ifname":"a","flags":["UP",[1,{"y":null}]],"f":1.5}])");
    EXPECT_THAT(seen, ElementsAre("$[0] a without vlans"));
}

TEST_F(JsonReaderTest, AnObjectWithoutMembersIsEmptyOneWithOthersIsNot) {
    read(R"([{}])");
    EXPECT_THAT(seen, ElementsAre("$[0] empty without vlans"));
    EXPECT_EQ(messageOf(R"([{"mtu":1500}])"),
              "doc.json: $[0].ifname: expected a name, but the member is missing");
}

TEST_F(JsonReaderTest, OfARepeatedMemberTheLastCounts) {
    read(R"([{"ifname":"a","ifname":"b"}])");
    EXPECT_THAT(seen, ElementsAre("$[0] b without vlans"));
}

TEST_F(JsonReaderTest, APathQuotesKeysThatAreNotPlainWords) {
    InputFile file(dir.write("doc.json", R"({"a b":1,"list":[{"x":1}]})"), progress);
    JsonReader reader(file);
    std::string path;
    reader.recordsIs("$.list[]", {}, [&](Record const &record) { path = record.path(); });
    reader.read();
    EXPECT_EQ(path, "$.list[0]");
}

TEST_F(JsonReaderTest, ARecordMayKeepWholeStructures) {
    InputFile file(dir.write("doc.json", R"([{"info":{"kind":"bond","n":{"m":[1]}}}])"), progress);
    JsonReader reader(file);
    std::string kind;
    reader.recordsIs("$[]", {"info"}, [&](Record const &record) {
        kind = *record.recordIf("info")->stringIf("kind");
    });
    reader.read();
    EXPECT_EQ(kind, "bond");
}

TEST_F(JsonReaderTest, TheDocumentItselfMayBeARecord) {
    InputFile file(dir.write("doc.json", R"({"list":[{},{}],"version":1})"), progress);
    JsonReader reader(file);
    int elements = 0;
    reader.recordsIs("$.list[]", {}, [&](Record const &) { ++elements; });
    bool done = false;
    reader.recordsIs("$", {"version"}, [&](Record const &record) {
        record.needVersion(1);
        EXPECT_EQ(record.path(), "$");
        done = true;
    });
    reader.read();
    EXPECT_EQ(elements, 2);
    EXPECT_TRUE(done);
}

// Errors.

TEST_F(JsonReaderTest, AnEmptyFileIsAnError) {
    EXPECT_EQ(messageOf(""), "doc.json: line 1, column 1: the file is empty");
    EXPECT_EQ(messageOf(" \n\n "), "doc.json: line 3, column 1: the file is empty");
}

TEST_F(JsonReaderTest, BrokenJsonIsAnErrorWithLineAndColumn) {
    EXPECT_THAT(messageOf("[\n  {\"ifname\": oops}\n]"),
                StartsWith("doc.json: line 2, column 14: syntax error"));
    EXPECT_THAT(messageOf("[\n  {\"ifname\": oops}\n]"), HasSubstr("invalid literal"));
}

TEST_F(JsonReaderTest, ADocumentThatEndsEarlyIsAnError) {
    EXPECT_THAT(messageOf(R"([{"ifname":"a")"), HasSubstr("line 1, column 14: syntax error"));
    EXPECT_THAT(messageOf("["), HasSubstr("unexpected end of input"));
}

TEST_F(JsonReaderTest, WhatABrokenDocumentSaysReachesNoTerminal) {
    EXPECT_THAT(messageOf("[\x7F"), HasSubstr(R"(last read: '[\u007f')"));
    EXPECT_THAT(messageOf("[\"\xC2\x9B\xFF"), HasSubstr("last read: '\"\\u009b\xEF\xBF\xBD'"));
}

TEST_F(JsonReaderTest, TextBehindTheDocumentIsAnError) {
    EXPECT_THAT(messageOf("[] []"), HasSubstr("expected end of input"));
}

TEST_F(JsonReaderTest, TextThatIsNotUtf8IsAnError) {
    EXPECT_THAT(messageOf("[{\"ifname\":\"\xFF\"}]"), HasSubstr("line 1, column 13"));
}

TEST_F(JsonReaderTest, ANumberThatIsTooLargeIsAnErrorWithLineAndColumn) {
    EXPECT_THAT(messageOf(R"([{"mtu":1e999}])"),
                StartsWith("doc.json: line 1, column 14: number overflow parsing '1e999'"));
}

TEST_F(JsonReaderTest, ALongTokenDoesNotMakeALongMessage) {
    EXPECT_LT(messageOf("[\"" + std::string(100000, 'x') + "\n").size(), 500U);
}

TEST_F(JsonReaderTest, AnotherTypeOnTheWayToARecordIsAnErrorWithItsPath) {
    EXPECT_EQ(messageOf("{}"), "doc.json: $: expected an array, found an object");
    EXPECT_EQ(messageOf("[7]"), "doc.json: $[0]: expected an object, found 7");
    EXPECT_EQ(messageOf("[{},[]]"), "doc.json: $[1]: expected an object, found an array");
    EXPECT_EQ(messageOf(R"([{"ifname":"a","vlans":"x"}])"),
              "doc.json: $[0].vlans: expected an array, found \"x\"");
    EXPECT_EQ(messageOf(R"([{"ifname":"a","vlans":[{"vlan":1},null]}])"),
              "doc.json: $[0].vlans[1]: expected an object, found null");
}

TEST_F(JsonReaderTest, NestingIsLimited) {
    std::string const allowed(JsonReader::maxNesting - 2, '[');
    std::string const closed(JsonReader::maxNesting - 2, ']');
    read(R"([{"ifname":"a","x":)" + allowed + closed + "}]");
    EXPECT_THAT(seen, ElementsAre("$[0] a without vlans"));
    EXPECT_EQ(messageOf(R"([{"ifname":"a","x":[)" + allowed + closed + "]}]"),
              "doc.json: line 1, column 50: nested deeper than 32 levels");
}

TEST_F(JsonReaderTest, TheSizeOfARecordIsLimited) {
    std::string text = R"([{"ifname":[)";
    for (std::size_t i = 0; i <= JsonReader::maxRecordValues; ++i) {
        text += "0,";
    }
    EXPECT_THAT(messageOf(text), HasSubstr("more than 1048576 values in one object"));
}

} // namespace
} // namespace Agent
