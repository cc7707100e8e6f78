// What must hold at the end of every step, and inside the directory's notices.
#include "tests/model/Entities.h"
#include "tests/world/World.h"

#include <tuple>

namespace Histories {

using Model::Phase;
using Output = VlanSubIntfConfigLib::ConfigSm::Output;

void World::violated(std::string const &what) {
    violations_ += what + '\n';
}

void World::expect(bool holds, std::string const &what) {
    if (!holds) {
        throw Mismatch("in step " + stepName_ + ": " + what);
    }
}

void World::expectSame(std::string const &differences, std::string const &where) {
    expect(differences.empty(), where + " differs:\n" + differences);
}

Phase World::phase() const {
    auto const &state = *machine_->outputState();
    if (!machine_->initialScanDone()) {
        return Phase::firstScan;
    }
    if (state.outputReady(Output::lagPhyIntf)) {
        return Phase::ready;
    }
    if (state.outputReady(Output::configIntf)) {
        return Phase::memberWalk;
    }
    return state.outputReady(Output::tagOnEgress) ? Phase::entryWalk : Phase::secondScan;
}

void World::check() {
    expect(violations_.empty(), violations_);
    if (machine_ && !checksNow_()) {
        tellModel();
        return;
    }
    Model::Output const actual = output();
    if (machine_) {
        checkMachine(actual);
    } else {
        checkNoMachine(actual);
    }
    releasedInside_ = false;
}

/// What the model has to know of a step that is not checked.
void World::tellModel() {
    Phase const now = phase();
    bool const turnsReady = now == Phase::ready && lastPhase_ != Phase::ready;
    takeOver_->stepEnds(now, inputs_, Model::read(*machine_->localAttrStore()),
                        turnsReady ? output() : Model::Output());
    lastPhase_ = now;
}

void World::checkMachine(Model::Output const &actual) {
    Phase const now = phase();
    auto const index = Model::read(*machine_->localAttrStore());
    takeOver_->stepEnds(now, inputs_, index, actual);
    if (withdrawn_ != Withdrawn::someMayBeBack) {
        Model::Inputs const noInputs;
        Model::Inputs const &wanted = withdrawn_ == Withdrawn::no ? inputs_ : noInputs;
        expectSame(takeOver_->differencesAt(now, wanted, actual), "the directory");
        expectSame(takeOver_->differencesAt(now, wanted, index, actual), "lagVlanStatus");
    }
    expect(now >= lastPhase_, "start-up goes back");
    lastPhase_ = now;
    bool const isReady = now == Phase::ready;
    expect(machine_->ready() == isReady, "ready() is wrong");
    expect(machine_->idle() == isReady, "idle() is wrong");
    expect(scheduler_->hasWork() != isReady, isReady ? "a task is queued although all is ready"
                                                     : "nothing is queued and it is not ready");
    if (now != Phase::firstScan && withdrawn_ == Withdrawn::no) {
        expect(machine_->vlanConfigSm0()->childSm().size() == inputs_.vlans.size() &&
                   machine_->lagPhyIntfConfigSm2()->childSm().size() == inputs_.lags.size(),
               "there is not one child for each VLAN and LAG");
    }
    if (isReady) {
        checkRest();
    }
}

/// What start-up needed is given back when it is over.
void World::checkRest() {
    expect(!machine_->vlanConfigSm0()->task() && !machine_->lagPhyIntfConfigSm2()->task() &&
               !machine_->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciliationTask(),
           "a task is left");
    expect(machine_->vlanSubIntfConfigDirConfigIntfOutputSeen().empty() &&
               machine_->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().empty(),
           "seen entries are left");
    expect(!machine_->vlanSubIntfConfigDirConfigIntfOutputReconciling() &&
               !machine_->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputReconciling(),
           "reconciling although all is ready");
}

/// Everything was withdrawn just now, in that phase. A VLAN whose child went in an earlier
/// withdrawal may still have the entry of an earlier run.
void World::checkWithdrawn(Phase before) {
    expect(machine_->vlanConfigSm0()->childSm().empty() &&
               machine_->lagPhyIntfConfigSm2()->childSm().empty(),
           "children are left");
    expect(machine_->localAttrStore()->lagVlanStatus().empty(), "pairs are left in lagVlanStatus");
    if (before == Phase::firstScan || withdrawn_ == Withdrawn::someMayBeBack) {
        return;
    }
    Model::Output const actual = output();
    Model::forEachSubIntf(inputs_,
                          [&](int vlan, std::string const &intf, Model::Port const & /*port*/) {
                              expect(!actual.contains(vlan) || !actual.at(vlan).contains(intf),
                                     "not withdrawn: " + std::to_string(vlan) + ' ' + intf);
                          });
}

void World::checkNoMachine(Model::Output const &actual) {
    if (releasedInside_) {
        frozen_ = actual;
    }
    expectSame(Model::differences(frozen_, actual), "the directory without a machine");
    expect(!scheduler_->hasWork(), "a task is queued without a machine");
    expect(bridging_->publisher().first() == &inputTrap_ && !inputTrap_.next() &&
               !mapping_->publisher().hasSubscribers(),
           "an input is still listened to");
    for (auto const &[vlan, config] : bridging_->vlanConfig()) {
        expect(!config->publisher().hasSubscribers(), "a VLAN is still listened to");
    }
    for (auto const &[lag, config] : mapping_->lagPhyIntfConfig()) {
        expect(!config->publisher().hasSubscribers(), "a LAG is still listened to");
    }
}

// Inside notices: nothing that is to stay goes even for a moment, and nothing goes too early.

namespace {

bool holds(Model::Inputs const &inputs, int vlan, std::string const &intf) {
    auto const ports = inputs.vlans.find(vlan);
    return Model::isSubIntf(intf) && ports != inputs.vlans.end() && ports->second.contains(intf);
}

} // namespace

void World::entryDeleted(Bridging::VlanId vlan, Iftel::IntfId intf) {
    int const number = vlan.value();
    std::string const name = Model::nameOf(intf);
    std::string const entry = "the entry " + std::to_string(number) + ' ' + name;
    takeOver_->entryDeleted(number, name);
    if (withdrawing_) {
        return;
    }
    if (holds(inputs_, number, name) && !isUnwatched(vlan)) {
        violated(entry + " was deleted although the inputs hold it");
    }
    bool const walks = starting_ || releasedInside_ ||
                       (machine_ && machine_->initialScanDone() &&
                        machine_->inputSmScanState()->vlanConfigStreamScan());
    if (!walks && !holds(inputsBefore_, number, name)) {
        violated(entry + " was deleted before the VLANs were scanned");
    }
}

/// A VLAN whose child went in a withdrawal: nobody hears that members come into it.
bool World::isUnwatched(Bridging::VlanId vlan) const {
    return withdrawn_ != Withdrawn::no && (!machine_ || !machine_->vlanConfigSm0()->childSm(vlan));
}

void World::vlanDeleted(Bridging::VlanId vlan) {
    takeOver_->vlanDeleted(vlan.value());
}

void World::memberDeleted(Bridging::VlanId vlan, Iftel::IntfId intf, Iftel::IntfId member) {
    std::string const name = Model::nameOf(intf);
    if (!withdrawing_ && holds(inputs_, vlan.value(), name) &&
        Model::membersOf(inputs_, name).contains(Model::nameOf(member))) {
        violated("the member " + Model::nameOf(member) + " of " + std::to_string(vlan.value()) +
                 ' ' + name + " was deleted although the LAG has it");
    }
}

// Releasing the machine inside a notice.

void World::trapSprings(Trap where) {
    if (trap_ == where && machine_ && !starting_ && !withdrawing_ && --trapCount_ == 0) {
        trap_ = Trap::none;
        releasedInside_ = true;
        machine_ = nullptr;
    }
}

void World::onInput(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                    short /*attribute*/, void const * /*key*/, void const * /*reserved*/) noexcept {
    static_cast<World *>(subscriber->owner())->trapSprings(Trap::input);
}

void World::onOutputState(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                          short /*attribute*/, void const * /*key*/,
                          void const * /*reserved*/) noexcept {
    static_cast<World *>(subscriber->owner())->trapSprings(Trap::outputState);
}

} // namespace Histories
