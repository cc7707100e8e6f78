#include "platform/Nuvio/HTCnt.h"

#include "platform/Nuvio/Ptr.h"

#include <gtest/gtest.h>

#include <thread>

namespace Nuvio {
namespace {

using Counter = HTCnt::Counter;

TEST(HTCnt, BumpsTheCounterThatItIsToldAndNoOther) {
    auto const rehashes = HTCnt::count(Counter::rehash);
    auto const sought = HTCnt::count(Counter::iteratorSought);
    HTCnt::incCount(Counter::rehash);
    EXPECT_EQ(HTCnt::count(Counter::rehash), rehashes + 1);
    EXPECT_EQ(HTCnt::count(Counter::iteratorSought), sought);
}

TEST(HTCnt, LosesNoCountToAnotherThreadWhileTheSwitchIsOn) {
    ThreadControl::tsp_ = true;
    auto const before = HTCnt::count(Counter::rehash);
    auto const bump = [] {
        for (int i = 0; i < 10000; ++i) {
            HTCnt::incCount(Counter::rehash);
        }
    };
    std::thread other(bump);
    bump();
    other.join();
    ThreadControl::tsp_ = false;
    EXPECT_EQ(HTCnt::count(Counter::rehash), before + 20000);
}

} // namespace
} // namespace Nuvio
