#include "VlanSubIntfConfigLib/DovraPrint.h"

#include "platform/Bridging.h"
#include "platform/Iftel.h"
#include "platform/Lag.h"
#include "tests/support/Census.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace VlanSubIntfConfigLib::DovraCode {
namespace {

using Bridging::AllowedTrafficDirection;
using Bridging::VlanId;
using Bridging::VlanPortConfig;
using Iftel::IntfId;
using OptionalLagConfig = Qor::Optional<Qor::Ptr<Lag::EthPhyIntfLagConfig const>>;

class DovraPrint : public TestSupport::CensusTest {};

TEST_F(DovraPrint, PrintsAVlanAsItsNumber) {
    EXPECT_EQ(dovraPrint(VlanId()), "1");
    EXPECT_EQ(dovraPrint(VlanId(4094)), "4094");
    EXPECT_EQ(dovraPrint(VlanId(65535)), "65535");
}

TEST_F(DovraPrint, PrintsADirectionAsItsWord) {
    EXPECT_EQ(dovraPrint(AllowedTrafficDirection::none), "none");
    EXPECT_EQ(dovraPrint(AllowedTrafficDirection::ingress), "ingress");
    EXPECT_EQ(dovraPrint(AllowedTrafficDirection::egress), "egress");
    EXPECT_EQ(dovraPrint(AllowedTrafficDirection::both), "both");
}

TEST_F(DovraPrint, PrintsAnInterfaceAsItsName) {
    EXPECT_EQ(dovraPrint(IntfId("Ethernet4")), "Ethernet4");
    EXPECT_EQ(dovraPrint(IntfId("PortChannel10.100")), "PortChannel10.100");
    EXPECT_EQ(dovraPrint(IntfId()), "");
}

TEST_F(DovraPrint, PrintsAFlagAsAWord) {
    EXPECT_EQ(dovraPrint(true), "true");
    EXPECT_EQ(dovraPrint(false), "false");
}

TEST_F(DovraPrint, PrintsAPresentPortConfigurationInItsFrame) {
    VlanPortConfig const config{true, false, AllowedTrafficDirection::both};
    EXPECT_EQ(dovraPrint(Qor::Optional(config)),
              "Optional( tagOnEgress=true pvid=false allowedTrafficDirection=both )");
    std::ostringstream alone;
    alone << config;
    EXPECT_EQ(dovraPrint(Qor::Optional(config)), "Optional( " + alone.str() + " )");
}

TEST_F(DovraPrint, PrintsAnEmptyOptionalAsNone) {
    EXPECT_EQ(dovraPrint(Qor::Optional<VlanPortConfig>()), "None");
    EXPECT_EQ(dovraPrint(OptionalLagConfig()), "None");
}

TEST_F(DovraPrint, PrintsALagConfigurationAsItsTypeNeverAsAnAddress) {
    Qor::Ptr<Lag::EthPhyIntfLagConfig const> const config =
        Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();
    EXPECT_EQ(dovraPrint(OptionalLagConfig(config)), "Optional( Lag::EthPhyIntfLagConfig )");
}

TEST_F(DovraPrint, TellsAPresentNullConfigurationFromNone) {
    EXPECT_EQ(dovraPrint(OptionalLagConfig(Qor::Ptr<Lag::EthPhyIntfLagConfig const>())),
              "Optional( null )");
}

TEST_F(DovraPrint, StartsEachValueOnAFreshStream) {
    EXPECT_EQ(dovraPrint(true) + dovraPrint(VlanId(1)) + dovraPrint(false), "true1false");
}

} // namespace
} // namespace VlanSubIntfConfigLib::DovraCode
