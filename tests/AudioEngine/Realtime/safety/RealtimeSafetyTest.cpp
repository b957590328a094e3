// SPDX-License-Identifier: Apache-2.0
#include "../CallbackHarness.h"
#include "RealtimeWatch.h"
#include "support/SignalSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <memory>
#include <mutex>
#include <ostream>
#include <thread>

#include <sched.h>
#include <syslog.h>
#include <unistd.h>

namespace vello {
namespace {

using test::CallbackHarness;
using test::forbiddenCallsDuring;
using test::noise;
using test::SystemCalls;
using test::systemCallsDuring;
using testing::Contains;
using testing::IsEmpty;

/// One code path through the callback. Everything is prepared beforehand; only `run` is what happens on the
/// data thread.
struct Path {
    const char* name;
    int channels = 2;
    bool supportsEQ = true;
    bool isFlat = false;
    std::size_t inputFrames = 480; ///< 0: the input has no data
    std::size_t outputFrames = 480;
    float volumeTarget = 1.0F;
    float sample = 0.25F; ///< the first of the buffer; noise follows
};

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

constexpr Path kPaths[] = {
    {.name = "Equalized"},
    {.name = "EqualizedMono", .channels = 1},
    {.name = "MoreChannelsThanVectorsKnow", .channels = 6},
    {.name = "Unfiltered", .isFlat = true},
    {.name = "FormatThatIsOnlyCopied", .supportsEQ = false},
    {.name = "VolumeOnItsWay", .volumeTarget = 0.5F},
    {.name = "VolumeOnItsWayUnfiltered", .isFlat = true, .volumeTarget = 0.5F},
    {.name = "NaN", .sample = kNaN},
    {.name = "NaNUnfiltered", .isFlat = true, .sample = kNaN},
    {.name = "Infinity", .sample = std::numeric_limits<float>::infinity()},
    {.name = "OneFrame", .inputFrames = 1, .outputFrames = 1},
    {.name = "LongBuffer", .inputFrames = 20000, .outputFrames = 20000},
    {.name = "Underrun", .inputFrames = 100, .outputFrames = 480},
    {.name = "Overrun", .inputFrames = 9000, .outputFrames = 480},
    {.name = "InputMissing", .inputFrames = 0},
    {.name = "NoFrame", .outputFrames = 0},
};

std::ostream& operator<<(std::ostream& stream, const Path& path) {
    return stream << path.name;
}

/// A tap whose callback has never run, and buffers for it.
class Prepared {
public:
    explicit Prepared(const Path& path)
        : tap_(path.channels, 1.0F, path.supportsEQ),
          input_(noise(path.inputFrames * static_cast<std::size_t>(path.channels), 1)),
          output_(path.outputFrames * static_cast<std::size_t>(path.channels)) {
        tap_.publish(path.isFlat ? EQSettings() : test::settingsWithGains({6, -3, 2, 0, 1, 4, -12, 12}));
        tap_.context.setVolumeTarget(path.volumeTarget);
        if (!input_.empty())
            input_[0] = path.sample;
    }

    void run() noexcept {
        void* input = input_.empty() ? nullptr : input_.data();
        tap_.run(input, input_.size() * sizeof(float), output_.data(), output_.size() * sizeof(float));
    }

private:
    CallbackHarness tap_;
    std::vector<float> input_;
    std::vector<float> output_;
};

class RealtimeSafety : public testing::TestWithParam<Path> {};

TEST_P(RealtimeSafety, TheFirstAndEveryLaterCallbackIsFreeOfForbiddenCalls) {
    Prepared prepared(GetParam());
    EXPECT_THAT(forbiddenCallsDuring([&] { prepared.run(); }), IsEmpty());
    EXPECT_THAT(forbiddenCallsDuring([&] {
                    for (int i = 0; i < 100; ++i)
                        prepared.run();
                }),
                IsEmpty());
}

TEST_P(RealtimeSafety, NoCallbackMakesASystemCall) {
    Prepared prepared(GetParam());
    EXPECT_EQ(systemCallsDuring([&] {
                  for (int i = 0; i < 100; ++i)
                      prepared.run();
              }),
              SystemCalls::none);
}

INSTANTIATE_TEST_SUITE_P(Path, RealtimeSafety, testing::ValuesIn(kPaths),
                         [](const auto& chosen) { return std::string(chosen.param.name); });

TEST(RealtimeSafetyWithoutContext, TheCallbackOnlyCopies) {
    std::vector<float> samples(960, 0.5F);
    std::vector<float> played(960);
    AudioBufferListStorage<1> input{{1}, {{2, 3840, samples.data()}}};
    AudioBufferListStorage<1> output{{1}, {{2, 3840, played.data()}}};
    const auto run = [&] { eqByQUORVINProcessIOProc(1, &input.list, &output.list, nullptr); };
    EXPECT_THAT(forbiddenCallsDuring(run), IsEmpty());
    EXPECT_EQ(systemCallsDuring(run), SystemCalls::none);
}

TEST(RealtimeSafetyOfTheControlSide, ChangingVolumeAndCurveMeanwhileNeedsNoLock) {
    CallbackHarness tap;
    const EQChainSnapshot one(test::settingsWithGains(std::vector<double>(8, 3.0)), 48000);
    EXPECT_THAT(forbiddenCallsDuring([&] {
                    tap.context.setVolumeTarget(0.5F);
                    tap.context.snapshotPointer.store(&one, std::memory_order_release);
                }),
                IsEmpty());
}

// Tests of the watch itself: it must catch forbidden calls.

struct Violation {
    const char* call; ///< the noted call; null: not a call to the C library, so only the kernel detects it
    void (*commit)();
    bool isSystemCall;
};

std::mutex sharedMutex;
void* volatile kept;

const Violation kViolations[] = {
    {"malloc",
     [] {
         std::unique_ptr<int> number(new int(1));
         kept = number.get();
     },
     false},
    {"free",
     [] {
         std::vector<float> samples(100);
         kept = samples.data();
     },
     false},
    {"calloc",
     [] {
         kept = std::calloc(10, 10);
         std::free(kept);
     },
     false},
    {"aligned_alloc",
     [] {
         kept = std::aligned_alloc(64, 128);
         std::free(kept);
     },
     false},
    {"pthread_mutex_lock", [] { const std::lock_guard lock(sharedMutex); }, false},
    {"pthread_mutex_trylock",
     [] {
         if (sharedMutex.try_lock())
             sharedMutex.unlock();
     },
     false},
    {"nanosleep", [] { std::this_thread::sleep_for(std::chrono::nanoseconds(1)); }, true},
    {"sched_yield", [] { std::this_thread::yield(); }, true},
    {"fprintf", [] { std::fprintf(stderr, "deliberate %d\n", 1); }, false},
    {"fwrite", [] { std::fwrite("deliberate\n", 1, 11, stderr); }, false},
    {"write", [] { [[maybe_unused]] const auto written = ::write(STDERR_FILENO, "", 0); }, true},
    {"syslog", [] { ::syslog(LOG_DEBUG, "%s", ""); }, true},
    {nullptr, [] { ::getppid(); }, true},
};

class RealtimeWatchCatches : public testing::TestWithParam<Violation> {};

TEST_P(RealtimeWatchCatches, AViolationInsideTheCallback) {
    const Violation& violation = GetParam();
    Prepared prepared(kPaths[0]);
    const auto violating = [&] {
        prepared.run();
        violation.commit();
    };
    if (violation.isSystemCall) {
        EXPECT_EQ(systemCallsDuring(violating), SystemCalls::made);
    }
    if (violation.call != nullptr) {
        EXPECT_THAT(forbiddenCallsDuring(violating), Contains(violation.call));
    }
}

INSTANTIATE_TEST_SUITE_P(Violation, RealtimeWatchCatches, testing::ValuesIn(kViolations),
                         [](const auto& chosen) {
                             return std::string(chosen.param.call != nullptr ? chosen.param.call : "getppid");
                         });

} // namespace
} // namespace vello
