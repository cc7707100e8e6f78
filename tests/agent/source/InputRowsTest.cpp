#include "agent/source/InputRows.h"

#include "tests/agent/SourceTest.h"
#include "tests/agent/source/InputShape.h"

#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

class InputRowsTest : public SourceTest {
  protected:
    static std::string rowsOf(Inputs const &inputs) {
        std::string rows;
        writeInputRows(inputs, [&](std::string_view piece) { rows += piece; });
        return rows;
    }

    Inputs capture() {
        std::string const folder =
            std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/captures/small/";
        return loadInputs({folder + "links.json", folder + "vlans.json", ""}, progress);
    }
};

TEST_F(InputRowsTest, CarryTheInputsWithTheirNamesToATableThatKnowsNone) {
    Inputs const inputs = capture();
    auto const shape = shapeOf(inputs);
    ASSERT_FALSE(shape.first.empty());
    std::string const rows = rowsOf(inputs);
    Iftel::NameTable::instance().resetForTest();
    InputRowsReader reader;
    reader.take(rows);
    EXPECT_TRUE(reader.complete());
    EXPECT_EQ(reader.problem(), "");
    EXPECT_EQ(shapeOf(reader.inputs()), shape);
}

TEST_F(InputRowsTest, KeepKindAndParentOfEveryInterface) {
    std::string const rows = rowsOf(capture());
    Iftel::NameTable::instance().resetForTest();
    InputRowsReader reader;
    reader.take(rows);
    auto const sub = *Iftel::NameTable::instance().lookup("bond0.100");
    EXPECT_TRUE(Iftel::SubIntfId::isSubIntfId(sub));
    EXPECT_EQ(Iftel::SubIntfId::parentIntfId(sub), *Iftel::NameTable::instance().lookup("bond0"));
    EXPECT_TRUE(Iftel::PortChannelIntfId::isPortChannelIntfId(sub));
    EXPECT_FALSE(Iftel::PortChannelIntfId::isPortChannelIntfId(
        *Iftel::NameTable::instance().lookup("eth1")));
}

TEST_F(InputRowsTest, MayComeByteByByte) {
    Inputs const inputs = capture();
    InputRowsReader reader;
    for (char const byte : rowsOf(inputs)) {
        EXPECT_FALSE(reader.complete());
        reader.take({&byte, 1});
    }
    EXPECT_TRUE(reader.complete());
    EXPECT_EQ(shapeOf(reader.inputs()), shapeOf(inputs));
}

TEST_F(InputRowsTest, CarryNativeNamesMembersWithoutConfigurationAndEmptyElements) {
    Inputs const inputs = emptyInputs();
    inputs.bridgingConfig->vlanConfigIs(Bridging::VlanId(7));
    inputs.bridgingConfig->vlanConfigIs(Bridging::VlanId(8))
        ->intfIs(Iftel::IntfId("PortChannel3.4"),
                 {false, true, Bridging::AllowedTrafficDirection::egress});
    auto const lag = inputs.lagPhyIntfMapping->lagPhyIntfConfigIs(Iftel::IntfId("PortChannel3"));
    lag->phyIntfIs(Iftel::IntfId("Ethernet5"), nullptr);
    inputs.lagPhyIntfMapping->lagPhyIntfConfigIs(Iftel::IntfId("PortChannel9"));
    InputRowsReader reader;
    reader.take(rowsOf(inputs));
    EXPECT_TRUE(reader.complete());
    EXPECT_EQ(shapeOf(reader.inputs()), shapeOf(inputs));
}

TEST_F(InputRowsTest, CarryASubinterfaceOfAnUnknownParent) {
    Inputs const inputs = emptyInputs();
    auto const id = Iftel::NameTable::instance().subIntfIs("vlan7", Iftel::IntfId());
    inputs.bridgingConfig->vlanConfigIs(Bridging::VlanId(7))->intfIs(id, {});
    std::string const rows = rowsOf(inputs);
    Iftel::NameTable::instance().resetForTest();
    InputRowsReader reader;
    reader.take(rows);
    auto const now = *Iftel::NameTable::instance().lookup("vlan7");
    EXPECT_TRUE(Iftel::SubIntfId::isSubIntfId(now));
    EXPECT_EQ(Iftel::SubIntfId::parentIntfId(now), Iftel::IntfId());
}

TEST_F(InputRowsTest, CarryANativeNameToATableWhereALinkHasIt) {
    Iftel::IntfId const native("Ethernet5");
    Inputs const inputs = emptyInputs();
    inputs.bridgingConfig->vlanConfigIs(Bridging::VlanId(7))->intfIs(native, {});
    std::string const rows = rowsOf(inputs);
    auto &table = Iftel::NameTable::instance();
    auto const former = table.intfIs("Ethernet5", Iftel::IntfKind::portChannel);
    InputRowsReader reader;
    reader.take(rows);
    EXPECT_TRUE(reader.complete());
    ASSERT_EQ(reader.intfs().size(), 1U);
    EXPECT_EQ(reader.intfs().front(), native);
    EXPECT_EQ(Iftel::IntfId("Ethernet5"), native);
    EXPECT_EQ(former.stringValue(), native.stringValue());
}

TEST_F(InputRowsTest, CarryANameThatWentBackToItsNativeIdentifierAsANativeOne) {
    auto &table = Iftel::NameTable::instance();
    table.intfIs("Ethernet5", Iftel::IntfKind::portChannel);
    Inputs const inputs = emptyInputs();
    inputs.lagPhyIntfMapping->lagPhyIntfConfigIs(*table.nativeIs("Ethernet5"));
    std::string const rows = rowsOf(inputs);
    table.resetForTest();
    InputRowsReader reader;
    reader.take(rows);
    ASSERT_EQ(reader.intfs().size(), 1U);
    EXPECT_EQ(reader.intfs().front(), Iftel::IntfId::native("Ethernet5"));
    EXPECT_EQ(table.size(), 0U);
}

TEST_F(InputRowsTest, CarryAMessageInsteadWhereThereIsNone) {
    std::string rows;
    writeInputProblem("links.json: no such file", [&](std::string_view piece) { rows += piece; });
    InputRowsReader reader;
    reader.take(rows);
    EXPECT_FALSE(reader.complete());
    EXPECT_EQ(reader.problem(), "links.json: no such file");
}

} // namespace
} // namespace Agent
