#include "TwoThreadWork.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

// Every item is done exactly once, whichever thread takes it, and the
// caller's thread does its share.
TEST(TwoThreadWork, EveryItemIsDoneOnce)
{
    for (const std::size_t count : {std::size_t(0), std::size_t(1), std::size_t(2), std::size_t(5000)}) {
        std::vector<std::atomic<int>> done(count);
        std::atomic<bool> callerWorked = false;
        runOnTwoThreads(count, [&](std::size_t item, int worker) {
            ++done[item];
            if (worker == 0)
                callerWorked = true;
        });
        for (std::size_t item = 0; item < count; ++item)
            ASSERT_EQ(done[item].load(), 1) << "item " << item << " of " << count;
        EXPECT_EQ(callerWorked.load(), count > 0);
    }
}

// The helper stops at its first item; the caller waits for that, does every
// item left and then gets the helper's failure.
TEST(TwoThreadWork, WhatStopsTheHelperReachesTheCaller)
{
    constexpr std::size_t kItems = 100;
    std::atomic<bool> helperStopped = false;
    std::atomic<std::size_t> doneByCaller = 0;
    const auto work = [&](std::size_t, int worker) {
        if (worker == 1) {
            helperStopped = true;
            helperStopped.notify_all();
            throw std::runtime_error("out of memory");
        }
        helperStopped.wait(false);
        ++doneByCaller;
    };
    EXPECT_THROW(runOnTwoThreads(kItems, work), std::runtime_error);
    EXPECT_EQ(doneByCaller.load(), kItems - 1);
}
