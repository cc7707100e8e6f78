#include "agent/service/Service.h"

#include "agent/StandardError.h"
#include "agent/service/MachineFacts.h"
#include "platform/Nuvio/Assert.h"
#include "platform/QorNuvio.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace Agent {
namespace {

constexpr std::array<std::string_view, 5> stateWords{"starting", "deriving", "ready", "withdrawing",
                                                     "withdrawn"};

} // namespace

std::string_view stateWord(Service::State state) noexcept {
    return stateWords[static_cast<std::size_t>(state)];
}

Service::Service(Loop &loop, MakeSource makeSource, std::string storeName, StoreKeeper::Open open,
                 Checkpointer &checkpointer)
    : loop_(loop), inputs_(emptyInputs()), directory_(Directory::VlanSubIntfConfigDirIs()),
      journal_(directory_),
      store_(loop, journal_, std::move(storeName), std::move(open), checkpointer,
             [](std::string const &message) { say("{}", message); }),
      makeSource_(std::move(makeSource)),
      starter_(loop.scheduler(), Osk::TaskPriority::high, "start",
               [this](Osk::Task const & /*task*/) {
                   advance();
                   return Worker::More::no;
               }),
      outputStateSubscriber_(outputStateChanged, this),
      keptWorker_(loop.scheduler(), Osk::TaskPriority::normal, "search for kept members",
                  [this](Osk::Task const &task) { return searchKept(task); }),
      withdrawalWorker_(loop.scheduler(), Osk::TaskPriority::normal, "withdrawal",
                        [this](Osk::Task const &task) { return withdrawStep(task); }),
      nameSweep_(loop, inputs_, journal_, [this] { return store_.status().queued != 0; }) {
    sourceIs(makeSource_(loop_, inputs_, *this));
    journal_.readerIs(kept_);
}

Service::~Service() {
    journal_.readerDel(kept_);
    machineDel();
}

void Service::start() {
    started_ = Clock::now();
    begin();
}

void Service::sourceIs(std::unique_ptr<Source> source) {
    source_ = std::move(source);
    sourceProblem_.clear();
    nameSweep_.sourceIs(*source_);
}

void Service::begin() {
    linksKnown_ = false;
    source_->start();
    stateIs(State::starting);
}

void Service::stop() {
    source_->stop();
    if (!store_.flush()) {
        say("{}", store_.status().problem);
    }
}

void Service::resynchronise(std::string_view why) {
    if (state_ < State::withdrawing) {
        source_->resynchronise(why);
    }
}

// The start, step by step: each step waits for what the one before it has begun.

void Service::advance() {
    if (state_ == State::starting && linksKnown_ && !std::exchange(storeAsked_, true)) {
        store_.load([this] {
            storeLoaded_ = true;
            starter_.wake();
        });
    }
    if (state_ == State::starting && storeLoaded_ && source_->complete()) {
        makeMachine();
    }
    if (state_ == State::deriving && machine_->ready() && !keptSearch_) {
        keptSearch_.emplace(inputs_, *directory_, kept_);
        keptWorker_.wake();
    }
}

void Service::makeMachine() {
    Quam::SmControl control;
    control.schedulerIs(loop_.scheduler());
    control.synchronousIs(Quam::Synchronous::asynchronous);
    machine_ = VlanSubIntfConfigLib::configSmFactory(
        inputs_.bridgingConfig, inputs_.lagPhyIntfMapping, directory_, control);
    QorNuvio::subscribeTo(outputStateSubscriber_, machine_->outputState());
    stateIs(State::deriving);
}

void Service::machineDel() noexcept {
    if (machine_) {
        QorNuvio::unsubscribeFrom(outputStateSubscriber_, machine_->outputState());
        machine_ = nullptr;
    }
}

void Service::outputStateChanged(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                                 short /*attributeId*/, void const * /*key*/,
                                 void const * /*reserved*/) noexcept {
    static_cast<Service *>(subscriber->owner())->starter_.wake();
}

Worker::More Service::searchKept(Osk::Task const &task) {
    if (!keptSearch_->step(task)) {
        return Worker::More::yes;
    }
    keptSearch_.reset();
    store_.directoryComplete();
    nameSweep_.request(); // names of the earlier run
    stateIs(State::ready);
    return Worker::More::no;
}

// What the source tells.

void Service::linksKnown() {
    linksKnown_ = true;
    starter_.wake();
}

void Service::viewComplete(std::string_view why) {
    resync_ = {std::string(why), Clock::now()};
    starter_.wake();
}

void Service::problem(std::string_view message) {
    if (sourceProblem_ != message) {
        say("{}", message);
    }
    sourceProblem_ = message;
}

void Service::problemOver() {
    say("{}: follows again", source_->name());
    sourceProblem_.clear();
}

void Service::retired(Iftel::IntfId /*id*/) {
    nameSweep_.request();
}

// The end, and another beginning.

void Service::withdraw() {
    NUVIO_ASSERT(ready());
    source_->stop();
    sourceProblem_.clear(); // nobody follows it any more
    withdrawal_.emplace(inputs_, emptyInputs());
    withdrawalWorker_.wake();
    stateIs(State::withdrawing);
}

/// With its members every entry goes, and what a machine keeps of an earlier run with it.
Worker::More Service::withdrawStep(Osk::Task const &task) {
    if (!withdrawal_->step(task)) {
        return Worker::More::yes;
    }
    withdrawal_.reset();
    machine_->doDeleteAll(); // nothing is left to its children: it ends as machines do
    machineDel();
    kept_.clear();
    stateIs(State::withdrawn);
    return Worker::More::no;
}

void Service::resume() {
    NUVIO_ASSERT(state_ == State::withdrawn);
    sourceIs(makeSource_(loop_, inputs_, *this)); // the one before it remembers what it had written
    begin();
}

// State.

std::vector<std::string> Service::waitingFor() const {
    std::vector<std::string> names;
    if (state_ == State::starting) {
        if (!source_->complete()) {
            names.push_back((linksKnown_ ? "first full view of " : "links of ") + source_->name());
        }
        if (linksKnown_ && !storeLoaded_) {
            names.push_back("store " + store_.status().name);
        }
    }
    if (state_ == State::deriving) {
        for (auto const &[name, isReady] : outputsReady(machine_.get())) {
            if (!isReady) {
                names.push_back("output " + std::string(name));
            }
        }
        if (keptSearch_) {
            names.emplace_back("search for kept members");
        }
    }
    if (state_ == State::withdrawing) {
        names.emplace_back("withdrawal");
    }
    return names;
}

void Service::stateIs(State state) {
    state_ = state;
    auto const watches = stateWatches_; // one may leave while it is told
    for (StateWatch *const watch : watches) {
        if (std::ranges::find(stateWatches_, watch) != stateWatches_.end()) {
            watch->handler_(state);
        }
    }
}

Service::StateWatch::StateWatch(Service &service, std::function<void(State)> handler)
    : service_(service), handler_(std::move(handler)) {
    service_.stateWatches_.push_back(this);
}

Service::StateWatch::~StateWatch() {
    std::erase(service_.stateWatches_, this);
}

} // namespace Agent
