// A machine with its inputs, its directory and its scheduler, driven by the steps of a history and
// compared with the model after each of them.
//
// What is wrong is thrown as a Mismatch that names the step, from the end of the step: notices of
// the directory only note it down.
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/model/Model.h"
#include "tests/model/TakeOver.h"
#include "tests/world/Digest.h"
#include "tests/world/DirectoryWatch.h"
#include "tests/world/History.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Histories {

class Mismatch : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class World final : public DirectoryWatch::Listener {
  public:
    /// Fills the inputs and the directory; there is no machine yet.
    explicit World(History const &history);
    ~World() override;
    /// Not copyable: publishers know it by its address.
    World(World const &) = delete;
    World &operator=(World const &) = delete;

    /// Let `share` cut the work, whatever the history's manner says.
    void shareIs(std::unique_ptr<Osk::Share> share) { scheduler_->shareIs(std::move(share)); }
    void machineIs();
    void machineDel();
    void apply(Step const &step);
    void apply(std::vector<Step> const &steps);
    /// Run this task, whichever has its turn. Requires: it is ready.
    void run(Qor::Ptr<Osk::Task> const &chosen);
    /// Run tasks until none is ready.
    void settle();
    /// Have a machine, let it settle, and check that it has come to rest.
    void finish();
    /// The world is compared with the model after each step at whose end `when()` answers true, and
    /// the model is told of the others; after each step by default.
    void checksAre(std::function<bool()> when) { checksNow_ = std::move(when); }
    /// After each restart let the new machine settle before anything else changes.
    void settleAfterRestartIs(bool settle) { settleAfterRestart_ = settle; }

    [[nodiscard]] bool hasMachine() const { return machine_ != nullptr; }
    /// The machine's tasks that are there.
    [[nodiscard]] std::vector<Qor::Ptr<Osk::Task>> tasks() const;
    /// Those of them that are ready to run.
    [[nodiscard]] std::vector<Qor::Ptr<Osk::Task>> readyTasks() const;
    /// Once it is ready: see the model. Counted apart from what the machine derives.
    [[nodiscard]] std::size_t keptMembers() const { return takeOver_->keptMembers(inputs_); }
    /// Everything that decides what comes next, and what the model knows.
    void addTo(Digest &digest) const;
    [[nodiscard]] Model::Inputs const &inputs() const { return inputs_; }
    [[nodiscard]] Model::Output output() const;

  private:
    enum class Trap { none, directory, outputState, input };
    /// Whether the machine was told to withdraw everything, and whether it is known what stands in
    /// the directory since: nothing that the inputs want, unless scans that were under way brought
    /// it back, or an input has changed.
    enum class Withdrawn { no, allGone, someMayBeBack };

    void run();
    void quiet(Step const &step);
    void reprioritise(Step const &step);
    void withdraw(Step const &step);
    void vlanAdd(int vlan);
    void vlanDel(int vlan);
    void vlanFilled(Step const &step);
    void vlanNotice(int vlan);
    void portIs(int vlan, std::string const &intf, Model::Port const &port);
    void portDel(Step const &step);
    void lagAdd(std::string const &lag);
    void lagDel(std::string const &lag);
    void lagFilled(Step const &step);
    void lagNotice(std::string const &lag);
    void memberIs(std::string const &lag, std::string const &member, Model::MemberConfig config);
    void memberDel(Step const &step);

    /// One step that leaves the inputs alone.
    void step(std::string const &name, std::function<void()> const &action);
    /// One step that makes `after` of the inputs.
    void change(std::string const &name, Model::Inputs const &after,
                std::function<void()> const &action);
    /// What happens now may bring back what was withdrawn.
    void bringsBack();
    [[nodiscard]] bool filledMayEnter() const { return !machine_ || machine_->initialScanDone(); }

    // Checks at the end of a step.
    [[nodiscard]] Model::Phase phase() const;
    void check();
    void tellModel();
    void checkMachine(Model::Output const &actual);
    void checkRest();
    void checkNoMachine(Model::Output const &actual);
    void checkWithdrawn(Model::Phase before);
    [[nodiscard]] bool isUnwatched(Bridging::VlanId vlan) const;
    void expect(bool holds, std::string const &what);
    void expectSame(std::string const &differences, std::string const &where);
    void violated(std::string const &what);

    // What the directory publishes.
    void entryDeleted(Bridging::VlanId vlan, Iftel::IntfId intf) override;
    void vlanDeleted(Bridging::VlanId vlan) override;
    void memberDeleted(Bridging::VlanId vlan, Iftel::IntfId intf, Iftel::IntfId member) override;
    void directoryNotice() override { trapSprings(Trap::directory); }

    void trapSprings(Trap where);
    static void onInput(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short, void const *,
                        void const *) noexcept;
    static void onOutputState(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short,
                              void const *, void const *) noexcept;

    Scale scale_;
    Pools const &pools_;
    Manner manner_;
    Qor::Ptr<Osk::TaskScheduler> scheduler_;
    Qor::Ptr<Bridging::Config> bridging_;
    Qor::Ptr<Lag::LagPhyIntfMapping> mapping_;
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir_;
    Nuvio::Subscriber inputTrap_{onInput, this};
    std::optional<DirectoryWatch> watch_;

    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine_;
    Nuvio::Subscriber outputStateTrap_{onOutputState, this};
    std::optional<Model::TakeOver> takeOver_; ///< the machine's; kept while there is none
    Model::Phase lastPhase_ = Model::Phase::firstScan;

    Model::Inputs inputs_;
    Model::Inputs inputsBefore_; ///< the step
    Model::Output frozen_;       ///< what stands in the directory while there is no machine

    Trap trap_ = Trap::none;
    unsigned trapCount_ = 0; ///< notices until it springs

    std::string stepName_;
    std::string violations_;
    std::function<bool()> checksNow_ = [] { return true; };
    bool starting_ = false;
    bool withdrawing_ = false; ///< at this moment
    Withdrawn withdrawn_ = Withdrawn::no;
    bool releasedInside_ = false; ///< in this step
    bool settleAfterRestart_ = false;
};

/// Play a history from the machine's making to its rest.
void play(World &world, History const &history);

} // namespace Histories
