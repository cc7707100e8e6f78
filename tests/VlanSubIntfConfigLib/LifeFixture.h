// A whole life in which something is taken away inside one notice, for every notice of it in turn.
//
// livesEndingIn( take ) plays the life of WholeLife.h again and again. In the n-th life `take` runs
// inside the n-th notice that is given around the machine (of an input, the directory, a state
// object, the store or a task); the series ends with the life that has no n-th notice.
#pragma once

#include "tests/VlanSubIntfConfigLib/WholeLife.h"
#include "tests/model/Entities.h"
#include "tests/support/EveryNotice.h"

#include <fmt/format.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>

namespace TestSupport {

/// How the machine works, and whether the listener hears a notice before it or after it.
enum class Pace { synchronous, oneItemASlice, wholeScans };
enum class Place { first, last };

class LifeTest : public WholeLifeTest, public testing::WithParamInterface<std::tuple<Pace, Place>> {
  protected:
    static Pace pace() { return std::get<Pace>(GetParam()); }
    static Place place() { return std::get<Place>(GetParam()); }

    /// Play lives as said above; the number of those in which something was taken.
    int livesEndingIn(std::function<void()> const &take) {
        int n = 1;
        while (liveAndTake(n, take)) {
            lifeEnded();
            ++n;
        }
        RecordProperty("lives", n - 1);
        return n - 1;
    }
    /// Play one life with `take` in its n-th notice; false when it has none.
    bool liveAndTake(int n, std::function<void()> const &take) {
        SCOPED_TRACE(fmt::format("life {}", n));
        begin();
        noticesLeft_ = n;
        notices.emplace([this, n, &take](Qor::Entity const &entity, short attribute) {
            if (machine && --noticesLeft_ == 0) {
                kinds.insert(fmt::format("{} {}", entity.fwkType().type().name(), attribute));
                where = fmt::format("notice {}, attribute {} of a {}", n, attribute,
                                    entity.fwkType().type().name());
                take();
            }
        });
        live();
        return taken();
    }
    /// A life begins: its entities are there, nothing has happened.
    virtual void begun() {}
    /// A life ended in which something was taken.
    virtual void lifeEnded() {}
    /// happened() throws it to cut the life that is lived.
    struct Ended {};
    void live() {
        try {
            notices->hear(*bridging);
            notices->hear(*lagMapping);
            notices->hear(*dir);
            startAtPace();
            notices->hear(*machine);
            place() == Place::first ? notices->hearFirst() : notices->hearLast();
            while (scheduler->runOne()) {
                happened("a slice");
            }
            changes();
            if (machine) {
                machine->doDeleteAll();
                happened("doDeleteAll()");
            }
            machine = nullptr;
            happened("the last reference is released");
        } catch (Ended const &) {
        }
    }
    void startAtPace() {
        pace() == Pace::oneItemASlice ? countShareIs(1) : unlimitedShareIs();
        start(pace() == Pace::synchronous ? Synchronous::synchronous : Synchronous::asynchronous);
    }

    /// Something was taken in the notice `where`, and the entry from outside has returned since.
    [[nodiscard]] bool taken() const { return !where.empty(); }
    [[nodiscard]] static bool machineIsAlive() {
        return liveCount("VlanSubIntfConfigLib::ConfigSm").objects != 0;
    }
    /// A part of a machine is left: a state object, a store, an input machine or a task.
    [[nodiscard]] static bool partsAreAlive() {
        for (auto const &[type, count] : liveCounts()) {
            if (type.starts_with("VlanSubIntfConfigLib::DovraCode::") || type == "Osk::Task") {
                return true;
            }
        }
        return false;
    }
    /// A machine made over what is there now gets ready, with the output that the model derives.
    void expectThatANewMachineTakesOver() {
        auto const inputs = Model::read(*bridging, *lagMapping);
        auto const expected = Model::afterStartUp(inputs, Model::read(*dir));
        startAtPace();
        run();
        EXPECT_TRUE(machine->ready());
        EXPECT_EQ(Model::differences(expected, Model::read(*dir)), "");
        machine = nullptr;
    }

    std::optional<EveryNotice> notices; ///< before the entities that it hears
    std::string where;                  ///< the notice in which something was taken
    std::set<std::string> kinds;        ///< type and attribute of all such notices so far

  private:
    void begin() {
        notices.reset();
        where.clear();
        machine = nullptr;
        Qor::VFPtrInterface::creationSerialResetForTest(); // all lives take the same course
        bridging = Bridging::Config::ConfigIs();
        lagMapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
        dir = VlanSubIntfConfigLib::VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
        scheduler = Osk::TaskScheduler::TaskSchedulerIs();
        control.schedulerIs(scheduler);
        WholeLifeTest::SetUp();
        begun();
    }

    int noticesLeft_ = 0; ///< until something is taken
};

/// "OneItemASliceFirst", say.
inline std::string lifeName(testing::TestParamInfo<std::tuple<Pace, Place>> const &info) {
    static constexpr std::string_view paces[] = {"Synchronous", "OneItemASlice", "WholeScans"};
    static constexpr std::string_view places[] = {"First", "Last"};
    return fmt::format("{}{}", paces[static_cast<int>(std::get<Pace>(info.param))],
                       places[static_cast<int>(std::get<Place>(info.param))]);
}
inline auto const allLives =
    testing::Combine(testing::Values(Pace::synchronous, Pace::oneItemASlice, Pace::wholeScans),
                     testing::Values(Place::first, Place::last));

} // namespace TestSupport
