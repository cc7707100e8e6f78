#include "agent/Inputs.h"

#include "tests/agent/SourceTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

class InputsTest : public SourceTest {
  protected:
    static std::string example(std::string const &path) {
        return std::string(PROJECT_SOURCE_DIR_FOR_TESTS) + "/examples/" + path;
    }
};

TEST_F(InputsTest, LinksAndVlansFillBothInputs) {
    Inputs const inputs = loadInputs(
        {example("captures/small/links.json"), example("captures/small/vlans.json"), {}}, progress);
    EXPECT_EQ(inputs.lagPhyIntfMapping->lagPhyIntfConfig().size(), 2U);
    EXPECT_EQ(inputs.bridgingConfig->vlanConfig().size(), 13U);
}

TEST_F(InputsTest, MembersThatAreNoSubinterfacesAreInputsToo) {
    Inputs const inputs = loadInputs(
        {example("captures/trunk/links.json"), example("captures/trunk/vlans.json"), {}}, progress);
    EXPECT_EQ(inputs.lagPhyIntfMapping->lagPhyIntfConfig().size(), 8U);
    ASSERT_TRUE(inputs.bridgingConfig->vlanConfig(Bridging::VlanId(65)));
    EXPECT_EQ((*inputs.bridgingConfig->vlanConfig(Bridging::VlanId(65)))->intf().size(), 8U);
}

TEST_F(InputsTest, ANativeDocumentFillsBothInputs) {
    Inputs const inputs = loadInputs({{}, {}, example("native/inputs.json")}, progress);
    EXPECT_EQ(inputs.lagPhyIntfMapping->lagPhyIntfConfig().size(), 2U);
    EXPECT_EQ(inputs.bridgingConfig->vlanConfig().size(), 2U);
}

} // namespace
} // namespace Agent
