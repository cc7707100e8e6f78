// The agent: the machine in its asynchronous mode on one event loop, between a live source, a
// store, and whoever asks about it.
//
// Order of a start: the source registers the current links; the store's entries of the last run go
// into the directory; the source completes its first full view; only then is the machine made.
// Until then nothing is deleted. When the machine is ready the members that nothing of this run
// explains are noted as kept (agent/service/Audit.h), and then the agent is ready.
//
//   starting --> deriving --> ready --withdraw()--> withdrawing --> withdrawn
//      ^                                                               |
//      '---------------------------- resume() -------------------------'
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "agent/loop/Loop.h"
#include "agent/loop/Worker.h"
#include "agent/service/Audit.h"
#include "agent/service/DirectoryJournal.h"
#include "agent/service/NameSweep.h"
#include "agent/source/InputsUpdate.h"
#include "agent/source/Source.h"
#include "agent/store/StoreKeeper.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class Service final : private SourceHost {
  public:
    enum class State : std::uint8_t { starting, deriving, ready, withdrawing, withdrawn };
    using Directory = DirectoryJournal::Directory;
    using MakeSource = std::function<std::unique_ptr<Source>(Loop &, Inputs const &, SourceHost &)>;
    using Clock = std::chrono::system_clock;

    /// Why and when the source took its latest full view.
    struct Resync {
        std::string why;
        Clock::time_point when;
    };

    /// The parts are made; nothing has begun. `open` opens the store named `storeName`, and
    /// `checkpointer`, which outlives the service, is for it.
    Service(Loop &loop, MakeSource makeSource, std::string storeName, StoreKeeper::Open open,
            Checkpointer &checkpointer);
    ~Service();
    Service(Service const &) = delete;
    Service &operator=(Service const &) = delete;

    /// Begin. Throws an Error where the source cannot begin, and stays withdrawn then.
    void start();
    /// Write what is queued for the store. The output stays as it stands.
    void stop();

    // What there is to see.

    [[nodiscard]] State state() const noexcept { return state_; }
    [[nodiscard]] bool ready() const noexcept { return state_ == State::ready; }
    /// What the agent waits for, by name: "first full view of kernel", "store PATH",
    /// "output configIntf", ... Empty when it is ready, and when it is withdrawn.
    [[nodiscard]] std::vector<std::string> waitingFor() const;
    [[nodiscard]] Inputs const &inputs() const noexcept { return inputs_; }
    [[nodiscard]] Directory const &directory() const noexcept { return *directory_; }
    /// Null until the first full view is complete, and once it is withdrawn.
    [[nodiscard]] VlanSubIntfConfigLib::ConfigSm const *machine() const noexcept {
        return machine_.get();
    }
    [[nodiscard]] Loop &loop() noexcept { return loop_; }
    [[nodiscard]] DirectoryJournal &journal() noexcept { return journal_; }
    [[nodiscard]] Source const &source() const noexcept { return *source_; }
    [[nodiscard]] StoreKeeper const &store() const noexcept { return store_; }
    [[nodiscard]] KeptMembers const &kept() const noexcept { return kept_; }
    [[nodiscard]] Resync const &resync() const noexcept { return resync_; }
    /// Why the source cannot follow; empty while it can.
    [[nodiscard]] std::string const &sourceProblem() const noexcept { return sourceProblem_; }
    [[nodiscard]] Clock::time_point started() const noexcept { return started_; }

    // What can be done.

    void resynchronise(std::string_view why);
    /// Stop the source, take every entry out of the directory, in slices, and let the machine go.
    /// Requires: ready().
    void withdraw();
    /// Begin anew, with another source. Requires: state() is withdrawn. Throws an Error as start(),
    /// and may be called again then.
    void resume();

    /// Told of every change of state(), as long as this object lives.
    class StateWatch {
      public:
        StateWatch(Service &service, std::function<void(State)> handler);
        ~StateWatch();
        StateWatch(StateWatch const &) = delete;
        StateWatch &operator=(StateWatch const &) = delete;

      private:
        friend Service;
        Service &service_;
        std::function<void(State)> handler_;
    };

  private:
    // What the source tells.
    void linksKnown() override;
    void viewComplete(std::string_view why) override;
    void problem(std::string_view message) override;
    void problemOver() override;
    void retired(Iftel::IntfId id) override;

    void begin();
    void sourceIs(std::unique_ptr<Source> source);
    void advance();
    void makeMachine();
    void machineDel() noexcept;
    void stateIs(State state);
    [[nodiscard]] Worker::More searchKept(Osk::Task const &task);
    [[nodiscard]] Worker::More withdrawStep(Osk::Task const &task);
    static void outputStateChanged(Nuvio::Publisher *publisher, Nuvio::Subscriber *subscriber,
                                   short attributeId, void const *key,
                                   void const *reserved) noexcept;

    Loop &loop_;
    Inputs inputs_;
    Qor::Ptr<Directory> directory_;
    DirectoryJournal journal_;
    StoreKeeper store_;
    KeptMembers kept_;
    std::vector<StateWatch *> stateWatches_;
    MakeSource makeSource_;
    std::unique_ptr<Source> source_;
    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine_;
    /// Goes on with the start when something it waits for has happened.
    Worker starter_;
    Nuvio::Subscriber outputStateSubscriber_;
    std::optional<KeptMembersSearch> keptSearch_;
    Worker keptWorker_;
    std::optional<InputsUpdate> withdrawal_; ///< of all inputs, and so of all entries
    Worker withdrawalWorker_;
    NameSweep nameSweep_;
    Resync resync_;
    std::string sourceProblem_;
    Clock::time_point started_ = Clock::now();
    State state_ = State::withdrawn;
    bool linksKnown_ = false;
    bool storeAsked_ = false;
    bool storeLoaded_ = false;
};

/// "starting", "deriving", "ready", "withdrawing" or "withdrawn".
[[nodiscard]] std::string_view stateWord(Service::State state) noexcept;

} // namespace Agent
