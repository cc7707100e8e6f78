// A fixture that fails a test which leaves objects behind.
//
// CensusTest takes the census of live objects and arrays per type in its constructor and expects
// the same in its destructor, that is after the members of the derived fixture are gone: what a
// test makes may be a local of the test or a member of its fixture. Serials of creation start anew,
// so that walks over pointer keys do not depend on the tests that ran before; a failing test prints
// the hash seed by which its walks repeat.
//
//     class StoreTest : public TestSupport::CensusTest { ... };
//     TEST_F(StoreTest, DeletesAnEntryWithItsLastPair) { ... }
#pragma once

#include "platform/Qor/Hash.h"
#include "platform/Qor/Pool.h"
#include "platform/Qor/PtrInterface.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <map>
#include <ostream>
#include <string>

namespace TestSupport {

/// What is alive of one type.
struct LiveCount {
    std::uint64_t objects = 0;
    std::uint64_t arrays = 0;
    std::uint64_t bytes = 0;

    friend bool operator==(LiveCount const &, LiveCount const &) = default;
    friend std::ostream &operator<<(std::ostream &out, LiveCount const &live) {
        return out << live.objects << " objects, " << live.arrays << " arrays, " << live.bytes
                   << " bytes";
    }
};

/// The census by type; a type of which nothing is alive is left out.
inline std::map<std::string, LiveCount> liveCounts() {
    std::map<std::string, LiveCount> live;
    for (Qor::CensusLine const &line : Qor::census()) {
        LiveCount &count = live[std::string(line.type)];
        count.objects += line.objects;
        count.arrays += line.arrays;
        count.bytes += line.bytes;
    }
    std::erase_if(live, [](auto const &entry) { return entry.second == LiveCount(); });
    return live;
}

/// What is alive of the type of that name.
inline LiveCount liveCount(std::string const &type) {
    auto const live = liveCounts();
    auto const found = live.find(type);
    return found == live.end() ? LiveCount() : found->second;
}

class CensusTest : public testing::Test {
  public:
    CensusTest(CensusTest const &) = delete;
    CensusTest &operator=(CensusTest const &) = delete;

  protected:
    CensusTest() {
        Qor::VFPtrInterface::creationSerialResetForTest();
        baselineTake();
    }
    ~CensusTest() override {
        EXPECT_EQ(liveCounts(), baseline_) << "the test left objects behind, or freed others";
        if (HasFailure()) {
            std::cerr << "repeat with QOR_HASH_SEED=" << Qor::HashHelper::hashSeed32() << '\n';
        }
    }

    /// Accept what is alive now: for a process-wide object that a test is the first to make.
    void baselineTake() { baseline_ = liveCounts(); }

  private:
    std::map<std::string, LiveCount> baseline_;
};

} // namespace TestSupport
