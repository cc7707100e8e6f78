#include "agent/DirectoryDocument.h"

#include "tests/agent/DirectoryTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace Agent {
namespace {

class DirectoryDocumentTest : public DirectoryTest {
  protected:
    std::string document(bool ready = true) {
        return written([&](Output &output) {
            writeDirectoryDocument(output, DirectoryView(*directory), ready);
        });
    }
    void read(std::string_view text) {
        withFile("old.json", text,
                 [&](InputFile &file) { readDirectoryDocument(file, *directory); });
    }
    std::string error(std::string_view text) {
        return messageOf([&] { read(text); });
    }
    std::string entryError(std::string const &entry) {
        return error(R"({"version":1,"ready":true,"config":[{"vlanId":5,"intf":[)" + entry +
                     "]}]}");
    }
};

TEST_F(DirectoryDocumentTest, OneSubinterfaceStandsOnALine) {
    add(200, "bond0.200", true, Direction::none, {});
    add(100, "bond0.100", false, Direction::both, {"eth2", "eth1"});
    add(100, "bond0.20", true, Direction::ingress, {"eth1"});
    EXPECT_EQ(document(), R"({"version": 1, "ready": true, "config": [
{"vlanId": 100, "intf": [
  {"intfId": "bond0.20", "tagOnEgress": true, "allowedTrafficDirection": "ingress", "lagPhyIntf": ["eth1"]},
  {"intfId": "bond0.100", "tagOnEgress": false, "allowedTrafficDirection": "both", "lagPhyIntf": ["eth1", "eth2"]}]},
{"vlanId": 200, "intf": [
  {"intfId": "bond0.200", "tagOnEgress": true, "allowedTrafficDirection": "none", "lagPhyIntf": []}]}
]}
)");
}

TEST_F(DirectoryDocumentTest, AnEmptyDirectoryIsADocumentToo) {
    EXPECT_EQ(document(false), "{\"version\": 1, \"ready\": false, \"config\": []}\n");
}

TEST_F(DirectoryDocumentTest, NamesAreEscaped) {
    add(1, "we\"ird\\\n", true, Direction::both, {"\t"});
    auto const json = nlohmann::json::parse(document());
    EXPECT_EQ(json["config"][0]["intf"][0]["intfId"], "we\"ird\\\n");
    EXPECT_EQ(json["config"][0]["intf"][0]["lagPhyIntf"][0], "\t");
}

TEST_F(DirectoryDocumentTest, WhatIsReadIsWhatWasWritten) {
    std::string const text = R"({"version": 1, "ready": true, "config": [
{"vlanId": 7, "intf": [
  {"intfId": "a.1", "tagOnEgress": true, "allowedTrafficDirection": "egress", "lagPhyIntf": []},
  {"intfId": "b.1", "tagOnEgress": false, "allowedTrafficDirection": "ingress", "lagPhyIntf": ["m1", "m2"]}]},
{"vlanId": 4094, "intf": [
  {"intfId": "a.1", "tagOnEgress": false, "allowedTrafficDirection": "none", "lagPhyIntf": ["m1"]}]}
]}
)";
    read(text);
    EXPECT_EQ(document(), text);
}

TEST_F(DirectoryDocumentTest, MembersMayComeInAnyOrder) {
    read(R"({"config":[{"intf":[{"lagPhyIntf":["m"],"allowedTrafficDirection":"both",
             "tagOnEgress":true,"intfId":"a.1"}],"vlanId":7}],"ready":true,"version":1})");
    EXPECT_EQ(directory->config(Bridging::VlanId(7)).value()->intf().size(), 1U);
}

TEST_F(DirectoryDocumentTest, AVlanWithoutSubinterfacesMakesNoEntry) {
    read(R"({"version":1,"ready":true,"config":[{"vlanId":7,"intf":[]}]})");
    EXPECT_TRUE(directory->config().empty());
}

TEST_F(DirectoryDocumentTest, EntriesAreChecked) {
    EXPECT_EQ(
        entryError(
            R"({"intfId":"","tagOnEgress":true,"allowedTrafficDirection":"both","lagPhyIntf":[]})"),
        "old.json: $.config[0].intf[0].intfId: expected a name, found \"\"");
    EXPECT_EQ(
        entryError(
            R"({"intfId":"a","tagOnEgress":"yes","allowedTrafficDirection":"both","lagPhyIntf":[]})"),
        "old.json: $.config[0].intf[0].tagOnEgress: expected true or false, found \"yes\"");
    EXPECT_EQ(
        entryError(
            R"({"intfId":"a","tagOnEgress":true,"allowedTrafficDirection":"x","lagPhyIntf":[]})"),
        "old.json: $.config[0].intf[0].allowedTrafficDirection: expected \"none\", "
        "\"ingress\", \"egress\" or \"both\", found \"x\"");
    EXPECT_EQ(entryError(R"({"intfId":"a","tagOnEgress":true,"allowedTrafficDirection":"both"})"),
              "old.json: $.config[0].intf[0].lagPhyIntf: expected a value, but the member is "
              "missing");
    EXPECT_EQ(
        entryError(
            R"({"intfId":"a","tagOnEgress":true,"allowedTrafficDirection":"both","lagPhyIntf":["m",""]})"),
        "old.json: $.config[0].intf[0].lagPhyIntf[1]: expected a name, found \"\"");
}

TEST_F(DirectoryDocumentTest, AnEntryThatComesTwiceIsAnError) {
    std::string const entry =
        R"({"intfId":"a","tagOnEgress":true,"allowedTrafficDirection":"both","lagPhyIntf":[]})";
    EXPECT_EQ(entryError(entry + "," + entry),
              "old.json: $.config[0].intf[1].intfId: \"a\" is in VLAN 5 twice");
}

TEST_F(DirectoryDocumentTest, TheDocumentIsChecked) {
    EXPECT_EQ(error(R"({"version":1,"ready":true})"),
              "old.json: $.config: expected a value, but the member is missing");
    EXPECT_EQ(error(R"({"config":[]})"),
              "old.json: $.version: expected version 1 of the format, but the member is missing");
    EXPECT_EQ(error(R"({"version":1,"ready":true,"config":[{"vlanId":4095,"intf":[]}]})"),
              "old.json: $.config[0].vlanId: expected a VLAN number from 1 to 4094, found 4095");
}

} // namespace
} // namespace Agent
