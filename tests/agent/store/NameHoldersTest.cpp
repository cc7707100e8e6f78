#include "agent/store/NameHolders.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

class NameHoldersTest : public testing::Test {
  protected:
    NameHoldersTest() { table.resetForTest(); }
    ~NameHoldersTest() override { table.resetForTest(); }

    Iftel::NameTable &table = Iftel::NameTable::instance();
    Bridging::VlanId const vlan{100};
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> const directory =
        VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
};

TEST_F(NameHoldersTest, TheNameOfAFormerLinkIsTakenByTheNativeSubinterfaceThatHasItNow) {
    auto const former = table.subIntfIs("PortChannel1.10", Iftel::IntfId());
    auto const native = *table.nativeIs("PortChannel1.10");
    EXPECT_FALSE(nameIsTaken(*directory, vlan, former));
    directory->configIs(vlan)->intfIs(native);
    EXPECT_TRUE(nameIsTaken(*directory, vlan, former));
    EXPECT_FALSE(nameIsTaken(*directory, vlan, native));
}

TEST_F(NameHoldersTest, TheNameOfAFormerMemberIsTakenByTheNativeMemberThatHasItNow) {
    Iftel::IntfId const sub("PortChannel1.10");
    auto const former = table.intfIs("Ethernet1", Iftel::IntfKind::ethernet);
    auto const native = *table.nativeIs("Ethernet1");
    auto const entry = directory->configIs(vlan)->intfIs(sub);
    EXPECT_FALSE(memberNameIsTaken(*directory, vlan, sub, former));
    entry->lagPhyIntfIs(native);
    EXPECT_TRUE(memberNameIsTaken(*directory, vlan, sub, former));
    EXPECT_FALSE(memberNameIsTaken(*directory, vlan, sub, native));
}

} // namespace
} // namespace Agent
