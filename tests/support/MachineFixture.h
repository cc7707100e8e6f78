// A fixture with everything that a machine needs around it: both inputs, the directory, a scheduler
// of its own, a control.
//
// A test writes the inputs, makes the machine with start() and lets an asynchronous one work with
// run(), which never cuts a run unless shareIs() says so. The directory is compared as a plain
// value:
//
//     member(100, "PortChannel10.100", {true, both});
//     lagMember("PortChannel10", "Ethernet1");
//     start(Synchronous::synchronous);
//     EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet1"}}}}}}));
//
// Collections are walked in hash order, which differs from process to process: a test that asserts
// an order takes it from vlanOrder() and its siblings. What a test makes is gone when it ends, the
// process's default scheduler included; the census is checked after that.
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/Census.h"
#include "tests/support/TraceRecorder.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

/// How an interface is a member of a VLAN, as far as the machine reads it.
struct Port {
    bool tagOnEgress = false;
    Bridging::AllowedTrafficDirection allowedTrafficDirection =
        Bridging::AllowedTrafficDirection::none;
};

/// One subinterface of the directory.
struct SubIntf {
    bool tagOnEgress = false;
    Bridging::AllowedTrafficDirection allowedTrafficDirection =
        Bridging::AllowedTrafficDirection::none;
    std::set<std::string> lagPhyIntf;

    friend bool operator==(SubIntf const &, SubIntf const &) = default;
    friend std::ostream &operator<<(std::ostream &out, SubIntf const &subIntf) {
        out << (subIntf.tagOnEgress ? "tagged " : "untagged ") << subIntf.allowedTrafficDirection;
        for (std::string const &member : subIntf.lagPhyIntf) {
            out << ' ' << member;
        }
        return out;
    }
};

/// A directory: VLAN number, name of the subinterface, the subinterface.
using Output = std::map<std::uint16_t, std::map<std::string, SubIntf>>;

/// The entries of a directory; a VLAN without any is one, too.
inline Output outputOf(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &dir) {
    Output read;
    for (auto const &[vlanId, config] : dir.config()) {
        auto &subIntfs = read[vlanId.value()];
        for (auto const &[intfId, vlanSubIntf] : config->intf()) {
            SubIntf &subIntf = subIntfs[std::string(intfId.stringValue().view())];
            subIntf.tagOnEgress = vlanSubIntf->tagOnEgress();
            subIntf.allowedTrafficDirection = vlanSubIntf->allowedTrafficDirection();
            for (auto const &member : vlanSubIntf->lagPhyIntf()) {
                subIntf.lagPhyIntf.emplace(member.stringValue().view());
            }
        }
    }
    return read;
}

/// The keys of a collection in the order in which it is walked.
template <class Map> std::vector<typename Map::Key> walkOrder(Map const &map) {
    std::vector<typename Map::Key> keys;
    for (auto it = map.iterator(); it; it.advance()) {
        keys.push_back(it.key());
    }
    return keys;
}

/// The mask of the levels from `first` to `last`.
constexpr std::uint16_t levels(unsigned first, unsigned last) {
    return static_cast<std::uint16_t>((2U << last) - (1U << first));
}
constexpr std::uint16_t machineLevels = levels(6, 9);

class MachineTest : public CensusTest {
  protected:
    using Synchronous = Quam::Synchronous;
    static constexpr auto none = Bridging::AllowedTrafficDirection::none;
    static constexpr auto ingress = Bridging::AllowedTrafficDirection::ingress;
    static constexpr auto egress = Bridging::AllowedTrafficDirection::egress;
    static constexpr auto both = Bridging::AllowedTrafficDirection::both;

    MachineTest() {
        control.schedulerIs(scheduler);
        unlimitedShareIs();
    }
    ~MachineTest() override { Osk::TaskSchedulerRoot::schedulerDelForTest(); }

    /// Let go of the machine and of everything around it.
    void letGo() {
        machine = nullptr;
        bridging = nullptr;
        lagMapping = nullptr;
        dir = nullptr;
        scheduler = nullptr;
        control = {};
    }

    // Inputs. A VLAN or LAG is made empty if it is missing.

    Qor::Ptr<Bridging::VlanConfig> vlan(std::uint16_t vlanId) {
        return bridging->vlanConfigIs(Bridging::VlanId(vlanId));
    }
    void vlanDel(std::uint16_t vlanId) { bridging->vlanConfigDel(Bridging::VlanId(vlanId)); }
    void member(std::uint16_t vlanId, std::string const &name, Port port = {}) {
        vlan(vlanId)->intfIs(id(name), {port.tagOnEgress, false, port.allowedTrafficDirection});
    }
    void memberDel(std::uint16_t vlanId, std::string const &name) {
        vlan(vlanId)->intfDel(id(name));
    }

    Qor::Ptr<Lag::LagPhyIntfConfig> lag(std::string const &lagName) {
        return lagMapping->lagPhyIntfConfigIs(id(lagName));
    }
    void lagDel(std::string const &lagName) { lagMapping->lagPhyIntfConfigDel(id(lagName)); }
    void lagMember(std::string const &lagName, std::string const &name) {
        lag(lagName)->phyIntfIs(id(name), Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    }
    void lagMemberDel(std::string const &lagName, std::string const &name) {
        lag(lagName)->phyIntfDel(id(name));
    }

    // Output.

    /// Leave an entry in the directory, as an earlier run would.
    void stale(std::uint16_t vlanId, std::string const &name, SubIntf const &subIntf = {}) {
        auto const entry = dir->configIs(Bridging::VlanId(vlanId))->intfIs(id(name));
        entry->tagOnEgressIs(subIntf.tagOnEgress);
        entry->allowedTrafficDirectionIs(subIntf.allowedTrafficDirection);
        for (std::string const &lagMemberName : subIntf.lagPhyIntf) {
            entry->lagPhyIntfIs(id(lagMemberName));
        }
    }
    [[nodiscard]] Output output() const { return outputOf(*dir); }

    // Machine.

    /// Make the machine.
    void start(Synchronous setting) {
        control.synchronousIs(setting);
        machine = VlanSubIntfConfigLib::configSmFactory(bridging, lagMapping, dir, control);
    }
    void startSynchronous() { start(Synchronous::synchronous); }
    void startAsynchronous() { start(Synchronous::asynchronous); }
    /// Run the scheduler until it is idle; the number of runs.
    std::uint64_t run() { return scheduler->runUntilIdle(); }
    /// Cut each run at its `tests`th question whether to yield.
    void countShareIs(std::uint64_t tests) {
        scheduler->shareIs(std::make_unique<Osk::CountShare>(tests));
    }
    void unlimitedShareIs() { scheduler->shareIs(std::make_unique<Osk::UnlimitedShare>()); }

    // Orders in which the machine walks its inputs.

    [[nodiscard]] std::vector<std::uint16_t> vlanOrder() const {
        std::vector<std::uint16_t> order;
        for (Bridging::VlanId const vlanId : walkOrder(bridging->vlanConfig())) {
            order.push_back(vlanId.value());
        }
        return order;
    }
    [[nodiscard]] std::vector<std::string> memberOrder(std::uint16_t vlanId) {
        return names(walkOrder(vlan(vlanId)->intf()));
    }
    [[nodiscard]] std::vector<std::string> lagOrder() const {
        return names(walkOrder(lagMapping->lagPhyIntfConfig()));
    }
    [[nodiscard]] std::vector<std::string> lagMemberOrder(std::string const &lagName) {
        return names(walkOrder(lag(lagName)->phyIntf()));
    }

    // Trace.

    /// Record these levels of the handle that the control names, from here on.
    void traceIs(std::uint16_t mask = machineLevels) {
        trace.reset();
        trace.emplace(
            control.name().empty() ? Nuvio::String("VlanSubIntfConfigLib") : control.name(), mask);
    }
    /// What was recorded since the last call, as TraceLine::text().
    std::vector<std::string> traced() {
        auto lines = trace->lines();
        trace->clear();
        return lines;
    }

    [[nodiscard]] static Iftel::IntfId id(std::string const &name) {
        return Iftel::IntfId(Nuvio::String(name));
    }
    [[nodiscard]] static std::vector<std::string> names(std::vector<Iftel::IntfId> const &ids) {
        std::vector<std::string> texts;
        for (Iftel::IntfId const intfId : ids) {
            texts.emplace_back(intfId.stringValue().view());
        }
        return texts;
    }

    Qor::Ptr<Bridging::Config> bridging = Bridging::Config::ConfigIs();
    Qor::Ptr<Lag::LagPhyIntfMapping> lagMapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir =
        VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    Qor::Ptr<Osk::TaskScheduler> scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    Quam::SmControl control;
    std::optional<TraceRecorder> trace;
    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine;
};

} // namespace TestSupport
