// One whole life of a machine, its trace compared to the letter with a file in tests/data/golden.
//
// The file holds, under a heading for each thing that the host does, every line of levels 6 to 9
// that the machine emits inside it: "level machine::function:line message". Walks are in hash
// order, so seed and creation serials are fixed.
//
// A change of the machine that changes the trace on purpose: run these tests with UPDATE_GOLDEN=1
// in the environment, and read the difference line by line before it is committed.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/VlanSubIntfConfigLib/WholeLife.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace VlanSubIntfConfigLib {
namespace {

/// Fixes the seed for its life. Requires: no collection has an entry at either end of it.
class FixedSeed {
  public:
    FixedSeed() { Qor::HashHelper::hashSeed32IsForTest(20180101); }
    ~FixedSeed() { Qor::HashHelper::hashSeed32IsForTest(former_); }
    FixedSeed(FixedSeed const &) = delete;
    FixedSeed &operator=(FixedSeed const &) = delete;

  private:
    std::uint32_t former_ = Qor::HashHelper::hashSeed32();
};

class GoldenTrace : public TestSupport::WholeLifeTest {
  protected:
    void SetUp() override {
        Qor::VFPtrInterface::creationSerialResetForTest();
        WholeLifeTest::SetUp();
        control.nameIs("GoldenTrace");
        traceIs();
    }
    /// Nothing that was inserted under the fixed seed outlives it.
    void TearDown() override {
        machine = nullptr;
        bridging = nullptr;
        lagMapping = nullptr;
        dir = nullptr;
    }

    /// Run tasks until `condition()`, each run under its heading.
    template <class Condition> void runUntil(Condition condition) {
        while (!condition()) {
            ASSERT_TRUE(scheduler->runOne());
            happened("a task runs");
        }
    }
    void runOnce() {
        ASSERT_TRUE(scheduler->runOne());
        happened("a task runs");
    }
    /// The lines since the last heading belong under this one.
    void happened(std::string_view what) override {
        text_ += fmt::format("# {}\n", what);
        for (TestSupport::TraceLine const &line : trace->records()) {
            text_ += fmt::format("{} {}::{}:{} {}\n", line.level, line.machine, line.function,
                                 line.line, line.message);
        }
        trace->clear();
    }
    void compareWith(std::string const &file) const;

  private:
    FixedSeed seed_;
    std::string text_;
};

void GoldenTrace::compareWith(std::string const &file) const {
    std::string const path = TEST_DATA_DIR "/golden/" + file;
    char const *const update = std::getenv("UPDATE_GOLDEN");
    if (update != nullptr && std::string_view(update) == "1") {
        std::ofstream(path) << text_;
        GTEST_SKIP() << path << " is rewritten";
    }
    std::ifstream in(path);
    ASSERT_TRUE(in) << "cannot read " << path;
    std::stringstream golden;
    golden << in.rdbuf();
    EXPECT_EQ(text_, golden.str()) << "see the head of this test for a change made on purpose";
}

TEST_F(GoldenTrace, OfASynchronousLife) {
    startSynchronous();
    happened("the machine is made over filled inputs and a directory with stale entries");
    EXPECT_TRUE(machine->ready());
    changesAndEnd();
    compareWith("life-sync.txt");
}

TEST_F(GoldenTrace, OfAnAsynchronousLifeWhoseRunsDoOneItem) {
    countShareIs(1);
    startAsynchronous();
    happened("the machine is made over filled inputs and a directory with stale entries");
    runOnce();
    member(400, "PortChannel10.40", {true, both});
    happened("PortChannel10.40 joins the new VLAN 400 during the first scan");
    runUntil([this] { return machine->initialScanDone(); });
    runOnce();
    memberDel(100, "Ethernet7");
    happened("Ethernet7 leaves VLAN 100 during the second scan");
    vlanDel(400);
    happened("VLAN 400 disappears during the second scan");
    runUntil([this] { return machine->vlanSubIntfConfigDirConfigIntfOutputUseBookmark(); });
    member(200, "PortChannel10.201", {true, both});
    happened("PortChannel10.201 joins VLAN 200 during the walk over the directory");
    runUntil([this] {
        return machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrBookmark().get() !=
               nullptr;
    });
    memberDel(200, "PortChannel10.201");
    happened("PortChannel10.201 leaves VLAN 200 during the walk over the LAG members");
    runUntil([this] { return !scheduler->hasWork(); });
    EXPECT_TRUE(machine->ready());
    changesAndEnd();
    compareWith("life-async.txt");
}

} // namespace
} // namespace VlanSubIntfConfigLib
