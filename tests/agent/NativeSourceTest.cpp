#include "agent/NativeSource.h"

#include "tests/agent/SourceTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NativeSourceTest : public SourceTest {
  protected:
    void read(std::string_view text) {
        withFile("in.json", text, [&](InputFile &file) { readNative(file, *config, *mapping); });
    }
    std::string error(std::string_view text) {
        return messageOf([&] { read(text); });
    }
    /// The message for one member of one VLAN.
    std::string memberError(std::string const &member) {
        return error(R"({"version":1,"lagPhyIntfConfig":[],"vlanConfig":[{"vlanId":1,"intf":[)" +
                     member + "]}]}");
    }
    /// The message for a list of interfaces.
    std::string interfaceError(std::string const &interfaces) {
        return error(R"({"version":1,"lagPhyIntfConfig":[],"vlanConfig":[],"interfaces":[)" +
                     interfaces + "]}");
    }
};

TEST_F(NativeSourceTest, BothInputsAreRead) {
    read(R"({"version":1,
        "interfaces":[{"intfId":"bond0","kind":"portChannel"},{"intfId":"eth1","kind":"ethernet"},
                      {"intfId":"bond0.100","kind":"subinterface","parent":"bond0"}],
        "vlanConfig":[{"vlanId":100,"intf":[
            {"intfId":"bond0.100","tagOnEgress":true,"allowedTrafficDirection":"ingress"}]}],
        "lagPhyIntfConfig":[{"intfId":"bond0","phyIntf":["eth1"]}]})");
    EXPECT_THAT(members(), ElementsAre("100 bond0.100 tag ingress"));
    EXPECT_THAT(lags(), ElementsAre("bond0: eth1"));
    EXPECT_EQ(Iftel::SubIntfId::parentIntfId(Iftel::IntfId("bond0.100")), Iftel::IntfId("bond0"));
}

TEST_F(NativeSourceTest, MembersOfTheDocumentMayComeInAnyOrder) {
    read(R"({"vlanConfig":[{"intf":[{"allowedTrafficDirection":"none","tagOnEgress":false,
                                     "intfId":"x"}],"vlanId":7}],
        "lagPhyIntfConfig":[{"phyIntf":["y"],"intfId":"l"}],
        "interfaces":[{"kind":"subinterface","parent":"l","intfId":"x"},
                      {"kind":"ethernet","intfId":"y"},{"kind":"portChannel","intfId":"l"}],
        "version":1})");
    EXPECT_THAT(members(), ElementsAre("7 x untag none"));
    EXPECT_THAT(lags(), ElementsAre("l: y"));
}

TEST_F(NativeSourceTest, NativeNamesNeedNoDeclaration) {
    read(R"({"version":1,"vlanConfig":[{"vlanId":9,"intf":[
            {"intfId":"PortChannel10.9","tagOnEgress":true,"allowedTrafficDirection":"both"}]}],
        "lagPhyIntfConfig":[{"intfId":"PortChannel10","phyIntf":["Ethernet1","Ethernet2"]}]})");
    EXPECT_THAT(members(), ElementsAre("9 PortChannel10.9 tag both"));
    EXPECT_THAT(lags(), ElementsAre("PortChannel10: Ethernet1 Ethernet2"));
}

TEST_F(NativeSourceTest, ANativeNameIsNativeWhateverAnotherDocumentDeclaredUnderIt) {
    Iftel::IntfId const native("Ethernet1");
    Iftel::NameTable::instance().intfIs("Ethernet1", Iftel::IntfKind::portChannel);
    read(R"({"version":1,"vlanConfig":[],
        "lagPhyIntfConfig":[{"intfId":"PortChannel10","phyIntf":["Ethernet1"]}]})");
    EXPECT_THAT(lags(), ElementsAre("PortChannel10: Ethernet1"));
    EXPECT_EQ(Iftel::IntfId("Ethernet1"), native);
    EXPECT_TRUE(
        mapping->lagPhyIntfConfigIs(Iftel::IntfId("PortChannel10"))->phyIntf().memberHas(native));
}

TEST_F(NativeSourceTest, ARepeatedListOfObjectsAddsUpARepeatedValueIsTheLastOne) {
    read(R"({"version":1,
        "vlanConfig":[{"vlanId":9,
            "intf":[{"intfId":"Ethernet1","tagOnEgress":false,"tagOnEgress":true,
                     "allowedTrafficDirection":"both"}],
            "intf":[{"intfId":"Ethernet2","tagOnEgress":true,"allowedTrafficDirection":"both"}]}],
        "vlanConfig":[{"vlanId":10,"intf":[
            {"intfId":"Ethernet1","tagOnEgress":true,"allowedTrafficDirection":"both"}]}],
        "lagPhyIntfConfig":[
            {"intfId":"PortChannel10","phyIntf":["Ethernet3"],"phyIntf":["Ethernet4"]}]})");
    EXPECT_THAT(members(), ElementsAre("10 Ethernet1 tag both", "9 Ethernet1 tag both",
                                       "9 Ethernet2 tag both"));
    EXPECT_THAT(lags(), ElementsAre("PortChannel10: Ethernet4"));
}

TEST_F(NativeSourceTest, AVlanOrALagMayBeEmpty) {
    read(R"({"version":1,"vlanConfig":[{"vlanId":9,"intf":[]}],
             "lagPhyIntfConfig":[{"intfId":"PortChannel10","phyIntf":[]}]})");
    EXPECT_EQ(config->vlanConfig().size(), 1U);
    EXPECT_THAT(members(), IsEmpty());
    EXPECT_THAT(lags(), ElementsAre("PortChannel10:"));
}

TEST_F(NativeSourceTest, AVlanMayComeInSeveralElements) {
    read(R"({"version":1,"lagPhyIntfConfig":[],"vlanConfig":[
        {"vlanId":9,"intf":[{"intfId":"Ethernet1","tagOnEgress":true,"allowedTrafficDirection":"both"}]},
        {"vlanId":9,"intf":[{"intfId":"Ethernet1","tagOnEgress":true,"allowedTrafficDirection":"both"},
                            {"intfId":"Ethernet2","tagOnEgress":true,"allowedTrafficDirection":"both"}]}]})");
    EXPECT_THAT(members(), ElementsAre("9 Ethernet1 tag both", "9 Ethernet2 tag both"));
}

TEST_F(NativeSourceTest, AContradictionIsAnErrorWithItsPath) {
    EXPECT_EQ(error(R"({"version":1,"lagPhyIntfConfig":[],"vlanConfig":[
        {"vlanId":9,"intf":[{"intfId":"Ethernet1","tagOnEgress":true,"allowedTrafficDirection":"both"}]},
        {"vlanId":9,"intf":[{"intfId":"Ethernet2","tagOnEgress":true,"allowedTrafficDirection":"both"},
                            {"intfId":"Ethernet1","tagOnEgress":false,"allowedTrafficDirection":"both"}]}]})"),
              "in.json: $.vlanConfig[1].intf[1]: Ethernet1 is in VLAN 9 twice, tagged with "
              "direction both and untagged with direction both");
}

TEST_F(NativeSourceTest, ANameThatIsNeitherDeclaredNorNativeIsAnErrorAtItsFirstUse) {
    EXPECT_EQ(
        memberError(R"({"intfId":"eth1","tagOnEgress":true,"allowedTrafficDirection":"both"})"),
        "in.json: $.vlanConfig[0].intf[0].intfId: \"eth1\" is neither in \"interfaces\" nor a "
        "native name");
    EXPECT_EQ(error(R"({"version":1,"vlanConfig":[],"lagPhyIntfConfig":[
                  {"intfId":"PortChannel1","phyIntf":["Ethernet1","nope"]}]})"),
              "in.json: $.lagPhyIntfConfig[0].phyIntf[1]: \"nope\" is neither in \"interfaces\" "
              "nor a native name");
}

TEST_F(NativeSourceTest, AnEmptyNameIsAnError) {
    EXPECT_EQ(error(R"({"version":1,"vlanConfig":[],"lagPhyIntfConfig":[
                  {"intfId":"PortChannel1","phyIntf":[""]}]})"),
              "in.json: $.lagPhyIntfConfig[0].phyIntf[0]: \"\" is neither in \"interfaces\" nor a "
              "native name");
}

TEST_F(NativeSourceTest, InterfacesAreChecked) {
    EXPECT_EQ(interfaceError(R"({"intfId":"a","kind":"loopback"})"),
              "in.json: $.interfaces[0].kind: expected \"ethernet\", \"portChannel\" or "
              "\"subinterface\", found \"loopback\"");
    EXPECT_EQ(interfaceError(R"({"intfId":"a","kind":"subinterface"})"),
              "in.json: $.interfaces[0].parent: expected a name, but the member is missing");
    EXPECT_EQ(interfaceError(R"({"intfId":"a","kind":"ethernet","parent":"b"})"),
              "in.json: $.interfaces[0].parent: only a subinterface has a parent");
    EXPECT_EQ(interfaceError(R"({"intfId":"a","kind":"subinterface","parent":"b"})"),
              "in.json: $.interfaces[0].parent: the lower link \"b\" of \"a\" is not in the file");
    EXPECT_EQ(interfaceError(R"({"intfId":"a","kind":"subinterface","parent":"a"})"),
              "in.json: $.interfaces[0].parent: loop of lower links: a -> a");
    EXPECT_EQ(
        interfaceError(R"({"intfId":"a","kind":"ethernet"},{"intfId":"a","kind":"ethernet"})"),
        "in.json: $.interfaces[1].intfId: duplicate name \"a\", first used by $.interfaces[0]");
}

TEST_F(NativeSourceTest, MembersAreChecked) {
    EXPECT_EQ(
        memberError(R"({"intfId":"Ethernet1","tagOnEgress":1,"allowedTrafficDirection":"both"})"),
        "in.json: $.vlanConfig[0].intf[0].tagOnEgress: expected true or false, found 1");
    EXPECT_EQ(
        memberError(R"({"intfId":"Ethernet1","tagOnEgress":true,"allowedTrafficDirection":"up"})"),
        "in.json: $.vlanConfig[0].intf[0].allowedTrafficDirection: expected \"none\", "
        "\"ingress\", \"egress\" or \"both\", found \"up\"");
}

TEST_F(NativeSourceTest, TheDocumentIsChecked) {
    EXPECT_EQ(error("[]"), "in.json: $: expected an object, found an array");
    EXPECT_EQ(error(R"({"vlanConfig":[],"lagPhyIntfConfig":[]})"),
              "in.json: $.version: expected version 1 of the format, but the member is missing");
    EXPECT_EQ(error(R"({"version":2,"vlanConfig":[],"lagPhyIntfConfig":[]})"),
              "in.json: $.version: expected version 1 of the format, found 2");
    EXPECT_EQ(error(R"({"version":1,"lagPhyIntfConfig":[]})"),
              "in.json: $.vlanConfig: expected a value, but the member is missing");
    EXPECT_EQ(error(R"({"version":1,"vlanConfig":[{"vlanId":0,"intf":[]}],"lagPhyIntfConfig":[]})"),
              "in.json: $.vlanConfig[0].vlanId: expected a VLAN number from 1 to 4094, found 0");
    EXPECT_EQ(error(R"({"version":1,"vlanConfig":[{"vlanId":5}],"lagPhyIntfConfig":[]})"),
              "in.json: $.vlanConfig[0].intf: expected a value, but the member is missing");
}

} // namespace
} // namespace Agent
