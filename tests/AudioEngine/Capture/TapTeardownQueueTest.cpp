// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/TapTeardownQueue.h"

#include <array>
#include <gmock/gmock.h>
#include <numeric>
#include <pthread.h>
#include <thread>
#include <vector>

namespace vello {
namespace {

TEST(TapTeardownQueue, RunsJobsOneAtATimeInTheOrderOfSubmission) {
    TapTeardownQueue queue;
    std::vector<int> ran; // unguarded: only the worker writes, and drain() orders its writes before the reads
    for (int i = 0; i < 100; ++i)
        queue.submit([&ran, i] { ran.push_back(i); });
    queue.drain();
    std::vector<int> expected(100);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(ran, expected);
}

TEST(TapTeardownQueue, WorksOnAThreadOfItsOwnWithAName) {
    TapTeardownQueue queue;
    std::thread::id worker;
    std::array<char, 16> name{};
    queue.submit([&] {
        worker = std::this_thread::get_id();
        pthread_getname_np(pthread_self(), name.data(), name.size());
    });
    queue.drain();
    EXPECT_NE(worker, std::this_thread::get_id());
    EXPECT_STREQ(name.data(), "com.quorvin.Vel");
}

TEST(TapTeardownQueue, DrainWaitsForEarlierJobsOfAllThreads) {
    TapTeardownQueue queue;
    int done = 0;
    std::vector<std::thread> submitters;
    for (int i = 0; i < 4; ++i)
        submitters.emplace_back([&] {
            for (int job = 0; job < 50; ++job)
                queue.submit([&done] { ++done; });
            queue.drain();
        });
    for (std::thread& submitter : submitters)
        submitter.join();
    queue.drain();
    EXPECT_EQ(done, 200);
}

TEST(TapTeardownQueue, RunsWhatWasSubmittedBeforeItEnds) {
    int done = 0;
    {
        TapTeardownQueue queue;
        for (int i = 0; i < 50; ++i)
            queue.submit([&done] { ++done; });
    }
    EXPECT_EQ(done, 50);
}

TEST(TapTeardownQueue, AJobMaySubmitAnother) {
    int done = 0;
    {
        TapTeardownQueue queue;
        queue.submit([&] { queue.submit([&done] { ++done; }); });
        queue.drain();
    }
    EXPECT_EQ(done, 1);
}

} // namespace
} // namespace vello
