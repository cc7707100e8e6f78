// What the tests of a life through numbers share: a fixture whose machine is used through Qor's
// generic interface alone once it is made, and the texts of output keys.
#pragma once

#include "tests/VlanSubIntfConfigLib/Reflected.h"
#include "tests/support/JournalFixture.h"

#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

/// The texts of output keys; the Valid flags are set unless said otherwise.
inline std::string configIntfKey(std::string const &vlanId, std::string const &name) {
    return "Value('VlanSubIntfConfigLib::ConfigSm::VlanSubIntfConfigDirConfigIntfOutputKeyType', "
           "** {'k0': " +
           vlanId + ", 'k1': '" + name + "', 'k0Valid': True, 'k1Valid': True})";
}
inline std::string lagPhyIntfKey(std::string const &name, std::string const &valid = "True") {
    return "Value('VlanSubIntfConfigLib::ConfigSm::"
           "VlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputKeyType', ** {'k0': '" +
           name + "', 'k0Valid': " + valid + "})";
}

class ReflectionLife : public JournalTest {
  protected:
    ReflectionLife() {
        member(100, "PortChannel10.100", {true, both});
        member(100, "Ethernet4.20", {false, ingress});
        member(200, "PortChannel10.200", {false, egress});
        lagMember("PortChannel10", "Ethernet1");
        lagMember("PortChannel10", "Ethernet2");
    }

    /// The machine, whose scans have done their first items and wait for the scheduler.
    Reflected begin() {
        countShareIs(1);
        startAsynchronous();
        return Reflected(machine);
    }
    /// The machine once it is ready.
    Reflected readyRoot() {
        Reflected root = begin();
        root.at(158).call(132);
        EXPECT_EQ(root.call(162).text(), "true");
        return root;
    }

    static Reflected vlanParent(Reflected root) { return root.at(136); }
    static Reflected lagParent(Reflected root) { return root.at(135); }
    /// One subinterface of the directory.
    static Reflected entry(Reflected root, char const *vlanId, char const *name) {
        return root.at(132).at(130, {vlanId}).at(130, {name});
    }
    static std::vector<std::string> members(Reflected root, char const *vlanId, char const *name) {
        return entry(std::move(root), vlanId, name).keys(130);
    }

    Qor::Ptr<Osk::TaskScheduler> other_ = Osk::TaskScheduler::TaskSchedulerIs();
};

} // namespace TestSupport
