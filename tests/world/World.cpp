// The world's parts and the steps. The checks are in WorldChecks.cpp.
#include "tests/world/World.h"

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
    : scale_(history.scale), pools_(history.pools()), manner_(history.manner),
      scheduler_(Osk::TaskScheduler::TaskSchedulerIs()), bridging_(Bridging::Config::ConfigIs()),
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
    withdrawn_ = Withdrawn::no;
    step("start", [this] {
        Quam::SmControl control;
        control.schedulerIs(scheduler_);
        control.priorityIs(manner_.priority);
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

void World::withdraw(Step const &step) {
    if (!machine_) {
        return;
    }
    bool const thenReleased = bit(step.value, 0);
    this->step("withdraw", [&] {
        Model::Phase const before = phase();
        withdrawing_ = true;
        machine_->doDeleteAll();
        withdrawing_ = false;
        checkWithdrawn(before);
        // Until the second scans are over, they bring everything back that they have not passed.
        withdrawn_ = before >= Model::Phase::entryWalk && withdrawn_ != Withdrawn::someMayBeBack
                         ? Withdrawn::allGone
                         : Withdrawn::someMayBeBack;
        if (thenReleased) {
            frozen_ = output();
            machine_ = nullptr;
        }
    });
}

void World::quiet(Step const &step) {
    if (!machine_) {
        return;
    }
    bool const thenReleased = step.value % 4 == 3;
    this->step("quiet", [&] {
        machine_->hasNotificationActiveIs(false);
        expect(!scheduler_->runOne(), "a task ran while notifications were off");
        if (thenReleased) {
            frozen_ = output();
            machine_ = nullptr;
        } else {
            machine_->hasNotificationActiveIs(true);
        }
    });
}

void World::reprioritise(Step const &step) {
    std::vector<Qor::Ptr<Osk::Task>> const all = tasks();
    if (!all.empty()) {
        this->step("reprioritise",
                   [&] { all[step.place % all.size()]->taskPriorityIs(step.priority()); });
    }
}

std::vector<Qor::Ptr<Osk::Task>> World::tasks() const {
    if (!machine_) {
        return {};
    }
    std::vector<Qor::Ptr<Osk::Task>> all = {
        machine_->lagPhyIntfConfigSm2()->task(), machine_->vlanConfigSm0()->task(),
        machine_->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask(),
        machine_->vlanSubIntfConfigDirConfigIntfOutputReconciliationTask()};
    std::erase(all, nullptr);
    return all;
}

void World::run() {
    step("run", [this] { scheduler_->runOne(); });
}

void World::run(Qor::Ptr<Osk::Task> const &chosen) {
    step("run " + std::string(chosen->taskName().view()), [&] {
        auto const others = tasks();
        auto const readyIs = [&](bool ready) {
            for (auto const &task : others) {
                if (task != chosen) {
                    task->hasNotificationActiveIs(ready);
                }
            }
        };
        readyIs(false);
        std::uint64_t const runsBefore = chosen->statistics().runs;
        scheduler_->runOne();
        expect(chosen->statistics().runs == runsBefore + 1, "another task ran");
        readyIs(true);
    });
}

void World::settle() {
    constexpr int enough = 5000;
    for (int steps = 0; scheduler_->hasWork(); ++steps) {
        expect(steps < enough, "does not come to rest");
        step("settle", [this] {
            // Every one checked, a large world takes too long.
            int runs = scale_ == Scale::small ? 1 : 32;
            while (runs-- > 0 && scheduler_->runOne()) {
            }
        });
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

std::vector<Qor::Ptr<Osk::Task>> World::readyTasks() const {
    auto ready = tasks();
    std::erase_if(ready, [](auto const &task) {
        return !task->taskQueued() || !task->publisher().hasSubscribers();
    });
    return ready;
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
        return vlanAdd(step.vlan(pools_));
    case Kind::vlanDel:
        return vlanDel(step.vlan(pools_));
    case Kind::vlanFilled:
        return vlanFilled(step);
    case Kind::portIs:
        return portIs(step.vlan(pools_), step.intf(pools_), step.port());
    case Kind::portDel:
        return portDel(step);
    case Kind::lagAdd:
        return lagAdd(step.lag(pools_));
    case Kind::lagDel:
        return lagDel(step.lag(pools_));
    case Kind::lagFilled:
        return lagFilled(step);
    case Kind::memberIs:
        return memberIs(step.lag(pools_), step.member(pools_), step.memberConfig());
    case Kind::memberDel:
        return memberDel(step);
    case Kind::vlanNotice:
        return vlanNotice(step.vlan(pools_));
    case Kind::lagNotice:
        return lagNotice(step.lag(pools_));
    case Kind::quiet:
        return quiet(step);
    case Kind::reprioritise:
        return reprioritise(step);
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
        return withdraw(step);
    }
}

void World::step(std::string const &name, std::function<void()> const &action) {
    stepName_ = name;
    inputsBefore_ = inputs_;
    action();
    check();
}

void World::bringsBack() {
    if (withdrawn_ != Withdrawn::no) {
        withdrawn_ = Withdrawn::someMayBeBack;
    }
}

void World::change(std::string const &name, Model::Inputs const &after,
                   std::function<void()> const &action) {
    stepName_ = name;
    inputsBefore_ = std::exchange(inputs_, after);
    if (machine_) {
        takeOver_->inputsChange(inputsBefore_, inputs_, phase());
        bringsBack();
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
        Model::fill(*removed, {{pools_.interfaces.front(), {}}});
    });
}

void World::vlanFilled(Step const &step) {
    vlanDel(step.vlan(pools_));
    if (!filledMayEnter()) {
        vlanAdd(step.vlan(pools_));
        for (auto const &[intf, port] : step.ports(pools_)) {
            portIs(step.vlan(pools_), intf, port);
        }
        return;
    }
    Model::Inputs after = inputs_;
    after.vlans[step.vlan(pools_)] = step.ports(pools_);
    change("vlanFilled " + std::to_string(step.vlan(pools_)), after, [&] {
        auto const vlan = Qor::make<Bridging::VlanConfig>(Model::vlanId(step.vlan(pools_)));
        Model::fill(*vlan, step.ports(pools_));
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
        bringsBack();
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
    auto const vlan = after.vlans.find(step.vlan(pools_));
    if (vlan == after.vlans.end()) {
        return;
    }
    vlan->second.erase(step.intf(pools_));
    change("portDel " + std::to_string(step.vlan(pools_)) + ' ' + step.intf(pools_), after, [&] {
        bridging_->vlanConfigIs(Model::vlanId(step.vlan(pools_)))
            ->intfDel(Model::intfId(step.intf(pools_)));
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
        Model::fill(*removed, {{pools_.members.front(), Model::configured}});
    });
}

void World::lagFilled(Step const &step) {
    lagDel(step.lag(pools_));
    if (!filledMayEnter()) {
        lagAdd(step.lag(pools_));
        for (auto const &[member, config] : step.lagMembers(pools_)) {
            memberIs(step.lag(pools_), member, config);
        }
        return;
    }
    Model::Inputs after = inputs_;
    after.lags[step.lag(pools_)] = step.lagMembers(pools_);
    change("lagFilled " + step.lag(pools_), after, [&] {
        auto const lag = Qor::make<Lag::LagPhyIntfConfig>(Model::intfId(step.lag(pools_)));
        Model::fill(*lag, step.lagMembers(pools_));
        mapping_->lagPhyIntfConfigInsertForTest(lag);
    });
}

void World::lagNotice(std::string const &lag) {
    if (!inputs_.lags.contains(lag) || !filledMayEnter()) {
        return;
    }
    step("lagNotice " + lag, [&] {
        bringsBack();
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
    auto const lag = after.lags.find(step.lag(pools_));
    if (lag == after.lags.end()) {
        return;
    }
    lag->second.erase(step.member(pools_));
    change("memberDel " + step.lag(pools_) + ' ' + step.member(pools_), after, [&] {
        mapping_->lagPhyIntfConfigIs(Model::intfId(step.lag(pools_)))
            ->phyIntfDel(Model::intfId(step.member(pools_)));
    });
}

} // namespace Histories
