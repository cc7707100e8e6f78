#include "agent/DirectoryView.h"

#include "tests/agent/DirectoryTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;

class DirectoryViewTest : public DirectoryTest {
  protected:
    std::vector<std::string> walk() const {
        DirectoryView const view(*directory);
        std::vector<std::string> lines;
        view.forEachVlan([&](Bridging::VlanId vlan, DirectoryView::SubIntfs subIntfs) {
            for (auto const *const subIntf : subIntfs) {
                std::string line = std::to_string(vlan.value()) + " ";
                line += view.name(subIntf->intfId());
                for (std::string_view const member : view.members(*subIntf)) {
                    line += " ";
                    line += member;
                }
                lines.push_back(line);
            }
        });
        return lines;
    }
};

TEST_F(DirectoryViewTest, VlansGoByNumberNamesInNaturalOrder) {
    add(1000, "bond0.1", true, Direction::both, {});
    add(20, "bond10.1", true, Direction::both, {"eth10", "eth9", "eth100"});
    add(20, "bond2.100", true, Direction::both, {});
    add(20, "bond2.20", true, Direction::both, {});
    add(3, "bond0.1", true, Direction::both, {});
    EXPECT_THAT(walk(), ElementsAre("3 bond0.1", "20 bond2.20", "20 bond2.100",
                                    "20 bond10.1 eth9 eth10 eth100", "1000 bond0.1"));
}

TEST_F(DirectoryViewTest, AVlanWithoutSubinterfacesIsNotVisited) {
    directory->configIs(Bridging::VlanId(5));
    EXPECT_THAT(walk(), ElementsAre());
    EXPECT_TRUE(DirectoryView(*directory).empty());
}

TEST_F(DirectoryViewTest, TheLongestNameIsThatOfASubinterface) {
    add(1, "b.1", true, Direction::both, {"averylongmember"});
    add(2, "bond0.1", true, Direction::both, {});
    EXPECT_EQ(DirectoryView(*directory).longestName(), 7U);
}

} // namespace
} // namespace Agent
