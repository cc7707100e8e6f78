#include "tests/threads/Life.h"

#include <memory>
#include <utility>

namespace Threads {
namespace {

constexpr std::uint16_t vlans = 6;
constexpr std::uint32_t lags = 3;
constexpr std::uint32_t membersPerLag = 4;
/// Items between two shares, in slices.
constexpr std::uint64_t itemsPerRun = 3;

constexpr auto both = Bridging::AllowedTrafficDirection::both;

Iftel::IntfId lagId(std::uint32_t lag) {
    return Iftel::IntfId::intf(Iftel::IntfKind::portChannel, lag);
}
Iftel::IntfId memberId(std::uint32_t member) {
    return Iftel::IntfId::intf(Iftel::IntfKind::ethernet, member);
}
Iftel::IntfId lagSubIntfId(std::uint32_t lag, std::uint32_t number) {
    return Iftel::IntfId::subIntf(lagId(lag), number);
}
Iftel::IntfId plainSubIntfId(std::uint32_t number) {
    return Iftel::IntfId::subIntf(memberId(100), number);
}

} // namespace

Life::Life(Quam::Synchronous setting, Sharers *itsSharers) : sharers_(itsSharers) {
    scheduler->shareIs(std::make_unique<Osk::CountShare>(itemsPerRun));
    control_.schedulerIs(scheduler);
    control_.nameIs("Threads");
    control_.synchronousIs(setting);
}

std::vector<Sight> Life::live() {
    fill();
    start();
    run(5);
    see("in the middle of start-up");
    stop(); // its tasks wait for their turn, and are held elsewhere
    start();
    runUntilIdle();
    see("ready");
    for (unsigned round = 0; round < 3; ++round) {
        change(round);
        see("changed");
    }
    stop();
    see("stopped");
    change(3); // nobody reacts
    start();
    run(7);
    change(4); // in the middle of start-up
    runUntilIdle();
    see("restarted");
    shareParts();
    machine->doDeleteAll();
    letGo();
    see("withdrawn");
    stopElsewhere();
    see("gone");
    return std::exchange(sights_, {});
}

void Life::fill() {
    for (std::uint16_t vlan = 1; vlan <= vlans; ++vlan) {
        auto const config = bridging->vlanConfigIs(Bridging::VlanId(vlan));
        for (std::uint32_t lag = 1; lag <= lags; ++lag) {
            config->intfIs(lagSubIntfId(lag, vlan), {vlan % 2 == 0, false, both});
        }
        config->intfIs(plainSubIntfId(vlan), {true, false, both});
        // An earlier run left one entry that is wanted, and one that is not.
        auto const earlier = dir->configIs(Bridging::VlanId(vlan));
        earlier->intfIs(lagSubIntfId(1, vlan))->lagPhyIntfIs(memberId(999));
        earlier->intfIs(plainSubIntfId(1000U + vlan));
    }
    for (std::uint32_t lag = 1; lag <= lags; ++lag) {
        auto const config = mapping->lagPhyIntfConfigIs(lagId(lag));
        for (std::uint32_t member = 0; member < membersPerLag; ++member) {
            config->phyIntfIs(memberId(10 * lag + member),
                              Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
        }
    }
}

void Life::start() {
    machine = VlanSubIntfConfigLib::configSmFactory(bridging, mapping, dir, control_);
}

void Life::run(std::uint64_t runs) {
    share();
    while (runs-- != 0 && scheduler->runOne()) {
        ++runs_;
        if (runs_ % 4 == 0) {
            letGo();
        }
        share();
    }
    letGo();
}

void Life::change(unsigned round) {
    auto const vlan = static_cast<std::uint16_t>(1 + round % vlans);
    std::uint32_t const lag = 1 + round % lags;
    share();
    bridging->vlanConfigDel(Bridging::VlanId(vlan));
    mapping->lagPhyIntfConfigDel(lagId(lag));
    letGo(); // of both, with their members and the entries that went with them
    auto const vlanConfig = bridging->vlanConfigIs(Bridging::VlanId(vlan));
    auto const lagConfig = mapping->lagPhyIntfConfigIs(lagId(lag));
    for (std::uint32_t number = 1; number <= 4; ++number) {
        share();
        vlanConfig->intfIs(lagSubIntfId(lag, 100 * number + round), {false, false, both});
        lagConfig->phyIntfIs(memberId(10 * lag + number),
                             Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
        letGo();
    }
    for (std::uint32_t number = 1; machine && number <= 4; ++number) {
        share();
        machine->hasNotificationActiveIs(false); // the flag shares its word with the count
        machine->hasNotificationActiveIs(true);
        lagConfig->phyIntfDel(memberId(10 * lag + number));
        lagConfig->phyIntfIs(memberId(10 * lag + number), nullptr);
        vlanConfig->intfDel(lagSubIntfId(lag, 100 * number + round));
        letGo();
    }
    vlanConfig->intfIs(lagSubIntfId(lag, vlan), {true, false, both});
}

void Life::stop() {
    if (sharers_) {
        sharers_->drain();
    }
    shareParts();
    machine = nullptr;
    letGo();
}

void Life::stopElsewhere() {
    if (!sharers_) {
        machine = nullptr;
        return;
    }
    sharers_->drain();
    sharers_->give(machine);
    machine = nullptr;
    sharers_->drain();
}

void Life::shareParts() const {
    if (sharers_) {
        shareInputs();
        shareDirectory();
        shareMachineParts();
    }
}

void Life::share() const {
    if (sharers_) {
        shareParts();
        sharers_->give(machine);
    }
}

void Life::letGo() const {
    if (sharers_) {
        sharers_->letGo();
    }
}

void Life::shareInputs() const {
    sharers_->give(bridging);
    for (auto const &[vlan, config] : bridging->vlanConfig()) {
        sharers_->give(config);
    }
    sharers_->give(mapping);
    for (auto const &[lag, config] : mapping->lagPhyIntfConfig()) {
        sharers_->give(config);
        for (auto const &[member, memberConfig] : config->phyIntf()) {
            sharers_->give(memberConfig);
        }
    }
}

void Life::shareDirectory() const {
    sharers_->give(dir);
    for (auto const &[vlan, config] : dir->config()) {
        sharers_->give(config);
        for (auto const &[intf, entry] : config->intf()) {
            sharers_->give(entry);
        }
    }
}

void Life::shareMachineParts() const {
    sharers_->give(scheduler);
    if (!machine) {
        return;
    }
    sharers_->give(machine->debugHandler());
    sharers_->give(machine->inputSmScanState());
    sharers_->give(machine->outputState());
    sharers_->give(machine->vlanConfigSm0()->task());
    sharers_->give(machine->lagPhyIntfConfigSm2()->task());
    sharers_->give(machine->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask());
    sharers_->give(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask());
    for (auto const &[subIntf, coll] :
         machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen()) {
        sharers_->give(coll);
    }
    sharers_->give(machine->localAttrStore());
    for (auto const &[lag, entry] : machine->localAttrStore()->lagVlanStatus()) {
        sharers_->give(entry);
        sharers_->give(entry->value());
    }
}

void Life::see(std::string_view where) {
    if (sharers_) {
        sharers_->drain(); // only then do the counts say what the machine has
    }
    Sight sight{std::string(where), runs_};
    sight.output = TestSupport::outputOf(*dir);
    sight.counts = {bridging->refCount(), mapping->refCount(), dir->refCount(),
                    scheduler->refCount()};
    if (machine) {
        sight.counts.push_back(machine->refCount());
        sight.counts.push_back(machine->outputState()->refCount());
        sight.counts.push_back(machine->inputSmScanState()->refCount());
        sight.counts.push_back(machine->localAttrStore()->refCount());
    }
    for (auto const &[vlan, config] : bridging->vlanConfig()) {
        sight.counts.push_back(config->refCount());
    }
    sights_.push_back(std::move(sight));
}

} // namespace Threads
