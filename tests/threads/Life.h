// A life of a machine, from a directory that an earlier run left to the withdrawal of everything,
// with restarts in the middle of start-up and in the steady state.
//
// With sharers, everything that can be reached is given to the other threads at every step: inputs
// and their members, directory entries, tasks, state objects, the local store and the machine. What
// the life removes is let go of by the loop's thread first. The record of a life says what a host
// can see: it is the same with the sharers and without.
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/MachineFixture.h"
#include "tests/threads/Sharers.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Threads {

/// What a host sees at one point of a life.
struct Sight {
    std::string where;
    std::uint64_t runs = 0;              ///< of tasks, since the start
    std::vector<std::uint32_t> counts{}; ///< references on the machine and on what it owns
    TestSupport::Output output{};

    friend bool operator==(Sight const &, Sight const &) = default;
    friend std::ostream &operator<<(std::ostream &out, Sight const &sight) {
        return out << sight.where << " after " << sight.runs << " runs, "
                   << testing::PrintToString(sight.counts) << ", "
                   << testing::PrintToString(sight.output);
    }
};

class Life {
  public:
    /// `itsSharers` may be null: nothing is shared then.
    Life(Quam::Synchronous setting, Sharers *itsSharers);
    Life(Life const &) = delete;
    Life &operator=(Life const &) = delete;

    /// All of it; what was seen.
    std::vector<Sight> live();

    // Its parts.

    void fill();
    void start();
    /// Run tasks, at most `runs` of them, sharing between them.
    void run(std::uint64_t runs);
    void runUntilIdle() { run(~std::uint64_t{0}); }
    /// Every kind of change, each undone in the end.
    void change(unsigned round);
    /// Let the machine go on this thread, while the others hold all that it owned.
    void stop();
    /// Let it go here first, so that it is dismantled on another thread. This one stands still.
    void stopElsewhere();

    /// Give everything that can be reached to the other threads, but the machine.
    void shareParts() const;
    void share() const;
    /// Have the other threads give up what they have.
    void letGo() const;
    void see(std::string_view where);

    Qor::Ptr<Bridging::Config> bridging = Bridging::Config::ConfigIs();
    Qor::Ptr<Lag::LagPhyIntfMapping> mapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    Qor::Ptr<VlanSubIntfConfigLib::VlanSubIntfConfigDir> dir =
        VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    Qor::Ptr<Osk::TaskScheduler> scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    Qor::Ptr<VlanSubIntfConfigLib::ConfigSm> machine;

  private:
    void shareInputs() const;
    void shareDirectory() const;
    void shareMachineParts() const;

    Sharers *sharers_;
    Quam::SmControl control_;
    std::uint64_t runs_ = 0;
    std::vector<Sight> sights_;
};

} // namespace Threads
