// The schemas in docs/ and the program accept the same documents.
#include "tests/agent/JsonSchema.h"
#include "tests/agent/Program.h"

#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

using nlohmann::json;

json projectFile(std::string const &path) {
    return json::parse(readFile(std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/" + path));
}

class SchemaTest : public testing::Test {
  protected:
    JsonSchema const inputSchema{projectFile("docs/input.schema.json")};
    JsonSchema const outputSchema{projectFile("docs/output.schema.json")};
    json const input = projectFile("examples/native/inputs.json");
    json const output = projectFile("examples/native/output.json");
    TempDir dir;

    [[nodiscard]] bool programAcceptsInput(json const &document) const {
        return Program({"derive", "--input", dir.write("input", document.dump())}).run().status ==
               0;
    }
    [[nodiscard]] bool programAcceptsPrevious(json const &document) const {
        return Program({"derive", "--input", dir.write("input", input.dump()), "--previous",
                        dir.write("previous", document.dump())})
                   .run()
                   .status == 0;
    }
    /// Both refuse the document with that change.
    void expectInputRefused(char const *place, json const &value) const {
        json document = input;
        document[json::json_pointer(place)] = value;
        EXPECT_FALSE(inputSchema.accepts(document)) << place << " " << value;
        EXPECT_FALSE(programAcceptsInput(document)) << place << " " << value;
    }
    void expectOutputRefused(char const *place, json const &value) const {
        json document = output;
        document[json::json_pointer(place)] = value;
        EXPECT_FALSE(outputSchema.accepts(document)) << place << " " << value;
        EXPECT_FALSE(programAcceptsPrevious(document)) << place << " " << value;
    }
    /// Both refuse the document without that member.
    static json without(json document, char const *object, char const *member) {
        document[json::json_pointer(object)].erase(member);
        return document;
    }
};

TEST_F(SchemaTest, TheExamplesAreAccepted) {
    EXPECT_TRUE(inputSchema.accepts(input));
    EXPECT_TRUE(programAcceptsInput(input));
    EXPECT_TRUE(outputSchema.accepts(output));
    EXPECT_TRUE(programAcceptsPrevious(output));
}

TEST_F(SchemaTest, WhatTheProgramPrintsFollowsTheSchema) {
    ProgramResult const result =
        Program({"derive", "-j", "--input", dir.write("input", input.dump())}).run();
    EXPECT_TRUE(outputSchema.accepts(json::parse(result.out)));
}

TEST_F(SchemaTest, InputsWithWrongValuesAreRefusedByBoth) {
    expectInputRefused("/version", 2);
    expectInputRefused("/interfaces", json::object());
    expectInputRefused("/interfaces/0", "uplink");
    expectInputRefused("/interfaces/0/kind", "loopback");
    expectInputRefused("/interfaces/0/parent", "swp1");
    expectInputRefused("/interfaces/1/intfId", "");
    expectInputRefused("/interfaces/3/parent", 7);
    expectInputRefused("/vlanConfig", "x");
    expectInputRefused("/vlanConfig/0/vlanId", 0);
    expectInputRefused("/vlanConfig/0/vlanId", 4095);
    expectInputRefused("/vlanConfig/0/vlanId", "100");
    expectInputRefused("/vlanConfig/0/intf", json::object());
    expectInputRefused("/vlanConfig/0/intf/0/intfId", "");
    expectInputRefused("/vlanConfig/0/intf/0/tagOnEgress", 1);
    expectInputRefused("/vlanConfig/0/intf/0/allowedTrafficDirection", "up");
    expectInputRefused("/lagPhyIntfConfig/0/intfId", nullptr);
    expectInputRefused("/lagPhyIntfConfig/0/phyIntf", "swp1");
    expectInputRefused("/lagPhyIntfConfig/0/phyIntf/0", "");
}

TEST_F(SchemaTest, InputsWithoutRequiredMembersAreRefusedByBoth) {
    for (auto const &[object, member] : {std::pair{"", "version"},
                                         {"", "vlanConfig"},
                                         {"", "lagPhyIntfConfig"},
                                         {"/interfaces/0", "intfId"},
                                         {"/interfaces/0", "kind"},
                                         {"/interfaces/3", "parent"},
                                         {"/vlanConfig/0", "vlanId"},
                                         {"/vlanConfig/0", "intf"},
                                         {"/vlanConfig/0/intf/0", "intfId"},
                                         {"/vlanConfig/0/intf/0", "tagOnEgress"},
                                         {"/vlanConfig/0/intf/0", "allowedTrafficDirection"},
                                         {"/lagPhyIntfConfig/0", "intfId"},
                                         {"/lagPhyIntfConfig/0", "phyIntf"}}) {
        json const document = without(input, object, member);
        EXPECT_FALSE(inputSchema.accepts(document)) << object << " " << member;
        EXPECT_FALSE(programAcceptsInput(document)) << object << " " << member;
    }
}

TEST_F(SchemaTest, InputsMayDoWithoutInterfaces) {
    json document = without(input, "", "interfaces");
    document["vlanConfig"] = json::array();
    document["lagPhyIntfConfig"].erase(0);
    EXPECT_TRUE(inputSchema.accepts(document));
    EXPECT_TRUE(programAcceptsInput(document));
}

TEST_F(SchemaTest, DirectoriesWithWrongValuesAreRefusedByBoth) {
    expectOutputRefused("/version", "1");
    expectOutputRefused("/ready", "yes");
    expectOutputRefused("/config", json::object());
    expectOutputRefused("/config/0/vlanId", 4095);
    expectOutputRefused("/config/0/intf/0/intfId", "");
    expectOutputRefused("/config/0/intf/0/tagOnEgress", nullptr);
    expectOutputRefused("/config/0/intf/0/allowedTrafficDirection", "out");
    expectOutputRefused("/config/0/intf/0/lagPhyIntf", "eth1");
    expectOutputRefused("/config/0/intf/0/lagPhyIntf/0", 5);
}

TEST_F(SchemaTest, DirectoriesWithoutRequiredMembersAreRefusedByBoth) {
    for (auto const &[object, member] : {std::pair{"", "version"},
                                         {"", "ready"},
                                         {"", "config"},
                                         {"/config/0", "vlanId"},
                                         {"/config/0", "intf"},
                                         {"/config/0/intf/0", "intfId"},
                                         {"/config/0/intf/0", "tagOnEgress"},
                                         {"/config/0/intf/0", "allowedTrafficDirection"},
                                         {"/config/0/intf/0", "lagPhyIntf"}}) {
        json const document = without(output, object, member);
        EXPECT_FALSE(outputSchema.accepts(document)) << object << " " << member;
        EXPECT_FALSE(programAcceptsPrevious(document)) << object << " " << member;
    }
}

} // namespace
} // namespace Agent
