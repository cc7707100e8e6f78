// The world's parts and the steps. The checks are in WorldChecks.cpp.
#include "tests/random/World.h"

#include "tests/model/Entities.h"

#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <sstream>
#include <utility>

namespace Histories {
namespace {

/// A run is asked to stop at random, and then at every further test.
class RandomShare final : public Osk::Share {
  public:
    explicit RandomShare(std::uint32_t seed) : engine_(seed) {}
    void runBegins() noexcept override { used_ = false; }
    bool isUsed() noexcept override {
        used_ = used_ || engine_() % 3 == 0;
        return used_;
    }

  private:
    std::mt19937 engine_;
    bool used_ = false;
};

std::unique_ptr<Osk::Share> shareOf(Manner const &manner) {
    switch (manner.cut) {
    case Cut::everyTest:
        return std::make_unique<Osk::CountShare>(1);
    case Cut::everyThirdTest:
        return std::make_unique<Osk::CountShare>(3);
    case Cut::atRandom:
        return std::make_unique<RandomShare>(manner.seed);
    case Cut::never:
        break;
    }
    return std::make_unique<Osk::UnlimitedShare>();
}

} // namespace

World::World(History const &history)
    : manner_(history.manner), scheduler_(Osk::TaskScheduler::TaskSchedulerIs()),
      bridging_(Bridging::Config::ConfigIs()),
      mapping_(Lag::LagPhyIntfMapping::LagPhyIntfMappingIs()),
      dir_(VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs()),
      frozen_(history.leftBehind) {
    scheduler_->shareIs(shareOf(manner_));
    Model::fill(*dir_, history.leftBehind);
    bridging_->publisher().subscriberAdd(inputTrap_, false);
    watch_.emplace(dir_, *this);
    apply(history.before);
}

World::~World() = default;

Model::Output World::output() const {
    return Model::read(*dir_);
}

void play(World &world, History const &history) {
    world.machineIs();
    world.apply(history.steps);
    world.finish();
}

// The machine.

void World::machineIs() {
    if (machine_) {
        return;
    }
    takeOver_.emplace(output());
    lastPhase_ = Model::Phase::firstScan;
    trap_ = Trap::none;
    step("start", [this] {
        Quam::SmControl control;
        control.schedulerIs(scheduler_);
        control.synchronousIs(manner_.synchronous ? Quam::Synchronous::synchronous
                                                  : Quam::Synchronous::asynchronous);
        starting_ = true;
        machine_ = VlanSubIntfConfigLib::configSmFactory(bridging_, mapping_, dir_, control);
        starting_ = false;
        machine_->outputState()->publisher().subscriberAdd(outputStateTrap_, false);
    });
    if (settleAfterRestart_) {
        settle();
    }
}

void World::machineDel() {
    if (machine_) {
        frozen_ = output();
        step("release", [this] { machine_ = nullptr; });
    }
}

void World::withdraw() {
    if (!machine_ || !machine_->initialScanDone()) {
        return;
    }
    step("withdraw", [this] {
        withdrawing_ = true;
        Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> const held = machine_;
        held->doDeleteAll();
        withdrawing_ = false;
        frozen_ = output();
        Model::forEachSubIntf(
            inputs_, [this](int vlan, std::string const &intf, Model::Port const & /*port*/) {
                expect(!frozen_.contains(vlan) || !frozen_.at(vlan).contains(intf),
                       "not withdrawn: " + std::to_string(vlan) + ' ' + intf);
            });
        expect(held->localAttrStore()->lagVlanStatus().empty(), "pairs are left in lagVlanStatus");
        machine_ = nullptr;
    });
}

void World::quiet() {
    if (!machine_) {
        return;
    }
    step("quiet", [this] {
        machine_->hasNotificationActiveIs(false);
        expect(!scheduler_->runOne(), "a task ran while notifications were off");
        machine_->hasNotificationActiveIs(true);
    });
}

void World::run() {
    step("run", [this] { scheduler_->runOne(); });
}

void World::settle() {
    constexpr int enough = 5000;
    for (int runs = 0; scheduler_->hasWork(); ++runs) {
        run();
        expect(runs < enough, "does not come to rest");
    }
}

void World::finish() {
    trap_ = Trap::none;
    machineIs();
    settle();
    step("finish", [this] {
        expect(machine_->ready() && machine_->idle(), "not ready and idle at the end");
        expect(Model::read(*bridging_, *mapping_) == inputs_,
               "the inputs are not those of the model");
    });
}

// Steps.

void World::apply(std::vector<Step> const &steps) {
    for (Step const &each : steps) {
        apply(each);
    }
}

void World::apply(Step const &step) {
    switch (step.kind) {
    case Kind::run:
        return run();
    case Kind::settle:
        return settle();
    case Kind::vlanAdd:
        return vlanAdd(step.vlan());
    case Kind::vlanDel:
        return vlanDel(step.vlan());
    case Kind::vlanFilled:
        return vlanFilled(step);
    case Kind::portIs:
        return portIs(step.vlan(), step.intf(), step.port());
    case Kind::portDel:
        return portDel(step);
    case Kind::lagAdd:
        return lagAdd(step.lag());
    case Kind::lagDel:
        return lagDel(step.lag());
    case Kind::lagFilled:
        return lagFilled(step);
    case Kind::memberIs:
        return memberIs(step.lag(), step.member(), step.memberConfig());
    case Kind::memberDel:
        return memberDel(step);
    case Kind::vlanNotice:
        return vlanNotice(step.vlan());
    case Kind::lagNotice:
        return lagNotice(step.lag());
    case Kind::quiet:
        return quiet();
    case Kind::restart:
        machineDel();
        return machineIs();
    case Kind::release:
        return machineDel();
    case Kind::releaseInside:
        trap_ = std::array{Trap::directory, Trap::outputState, Trap::input}[step.place % 3];
        trapCount_ = step.item % 8U + 1;
        return;
    case Kind::withdraw:
        return withdraw();
    }
}

void World::step(std::string const &name, std::function<void()> const &action) {
    stepName_ = name;
    inputsBefore_ = inputs_;
    action();
    check();
}

void World::change(std::string const &name, Model::Inputs const &after,
                   std::function<void()> const &action) {
    stepName_ = name;
    inputsBefore_ = std::exchange(inputs_, after);
    if (machine_) {
        takeOver_->inputsChange(inputsBefore_, inputs_, phase());
    }
    action();
    check();
}

// VLANs.

void World::vlanAdd(int vlan) {
    Model::Inputs after = inputs_;
    after.vlans.try_emplace(vlan);
    change("vlanAdd " + std::to_string(vlan), after,
           [&] { (void)bridging_->vlanConfigIs(Model::vlanId(vlan)); });
}

void World::vlanDel(int vlan) {
    Model::Inputs after = inputs_;
    if (after.vlans.erase(vlan) == 0) {
        return;
    }
    change("vlanDel " + std::to_string(vlan), after, [&] {
        auto const removed = bridging_->vlanConfigIs(Model::vlanId(vlan));
        bridging_->vlanConfigDel(Model::vlanId(vlan));
        expect(!removed->publisher().hasSubscribers(), "the removed VLAN is still listened to");
        // Nobody hears this any more.
        Model::fill(*removed, {{interfaces.front(), {}}});
    });
}

void World::vlanFilled(Step const &step) {
    vlanDel(step.vlan());
    if (!filledMayEnter()) {
        vlanAdd(step.vlan());
        for (auto const &[intf, port] : step.ports()) {
            portIs(step.vlan(), intf, port);
        }
        return;
    }
    Model::Inputs after = inputs_;
    after.vlans[step.vlan()] = step.ports();
    change("vlanFilled " + std::to_string(step.vlan()), after, [&] {
        auto const vlan = Qor::make<Bridging::VlanConfig>(Model::vlanId(step.vlan()));
        Model::fill(*vlan, step.ports());
        bridging_->vlanConfigInsertForTest(vlan);
    });
}

/// A machine that is told of a VLAN brings it up to date, at once and in full, however far its scan
/// is. During the first scan only empty VLANs are announced, as their insertion does it.
void World::vlanNotice(int vlan) {
    if (!inputs_.vlans.contains(vlan) || !filledMayEnter()) {
        return;
    }
    step("vlanNotice " + std::to_string(vlan), [&] {
        if (machine_) {
            takeOver_->vlanNoticed(inputs_, vlan, phase());
        }
        auto const key = Model::vlanId(vlan);
        bridging_->publisher().publishChange(Bridging::Config::vlanConfigAttribute, &key);
    });
}

void World::portIs(int vlan, std::string const &intf, Model::Port const &port) {
    if (!inputs_.vlans.contains(vlan)) {
        vlanAdd(vlan);
    }
    Model::Inputs after = inputs_;
    after.vlans[vlan][intf] = port;
    change("portIs " + std::to_string(vlan) + ' ' + intf, after, [&] {
        bridging_->vlanConfigIs(Model::vlanId(vlan))
            ->intfIs(Model::intfId(intf), Model::portConfig(port));
    });
}

void World::portDel(Step const &step) {
    Model::Inputs after = inputs_;
    auto const vlan = after.vlans.find(step.vlan());
    if (vlan == after.vlans.end()) {
        return;
    }
    vlan->second.erase(step.intf());
    change("portDel " + std::to_string(step.vlan()) + ' ' + step.intf(), after, [&] {
        bridging_->vlanConfigIs(Model::vlanId(step.vlan()))->intfDel(Model::intfId(step.intf()));
    });
}

// LAGs.

void World::lagAdd(std::string const &lag) {
    Model::Inputs after = inputs_;
    after.lags.try_emplace(lag);
    change("lagAdd " + lag, after, [&] { (void)mapping_->lagPhyIntfConfigIs(Model::intfId(lag)); });
}

void World::lagDel(std::string const &lag) {
    Model::Inputs after = inputs_;
    if (after.lags.erase(lag) == 0) {
        return;
    }
    change("lagDel " + lag, after, [&] {
        auto const removed = mapping_->lagPhyIntfConfigIs(Model::intfId(lag));
        mapping_->lagPhyIntfConfigDel(Model::intfId(lag));
        expect(!removed->publisher().hasSubscribers(), "the removed LAG is still listened to");
        // Nobody hears this any more.
        Model::fill(*removed, {{members.front(), Model::configured}});
    });
}

void World::lagFilled(Step const &step) {
    lagDel(step.lag());
    if (!filledMayEnter()) {
        lagAdd(step.lag());
        for (auto const &[member, config] : step.lagMembers()) {
            memberIs(step.lag(), member, config);
        }
        return;
    }
    Model::Inputs after = inputs_;
    after.lags[step.lag()] = step.lagMembers();
    change("lagFilled " + step.lag(), after, [&] {
        auto const lag = Qor::make<Lag::LagPhyIntfConfig>(Model::intfId(step.lag()));
        Model::fill(*lag, step.lagMembers());
        mapping_->lagPhyIntfConfigInsertForTest(lag);
    });
}

void World::lagNotice(std::string const &lag) {
    if (!inputs_.lags.contains(lag) || !filledMayEnter()) {
        return;
    }
    step("lagNotice " + lag, [&] {
        auto const key = Model::intfId(lag);
        mapping_->publisher().publishChange(Lag::LagPhyIntfMapping::lagPhyIntfConfigAttribute,
                                            &key);
    });
}

void World::memberIs(std::string const &lag, std::string const &member,
                     Model::MemberConfig config) {
    if (!inputs_.lags.contains(lag)) {
        lagAdd(lag);
    }
    Model::Inputs after = inputs_;
    after.lags[lag][member] = config;
    change("memberIs " + lag + ' ' + member, after, [&] {
        mapping_->lagPhyIntfConfigIs(Model::intfId(lag))
            ->phyIntfIs(Model::intfId(member), Model::lagConfig(config));
    });
}

void World::memberDel(Step const &step) {
    Model::Inputs after = inputs_;
    auto const lag = after.lags.find(step.lag());
    if (lag == after.lags.end()) {
        return;
    }
    lag->second.erase(step.member());
    change("memberDel " + step.lag() + ' ' + step.member(), after, [&] {
        mapping_->lagPhyIntfConfigIs(Model::intfId(step.lag()))
            ->phyIntfDel(Model::intfId(step.member()));
    });
}

} // namespace Histories
