// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/IOFrameBridge.h"

#include "support/SignalSupport.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <vector>

namespace vello {
namespace {

using test::counting;

constexpr std::size_t kCapacity = IOFrameBridge::capacityFrames;

std::vector<float> read(IOFrameBridge& bridge, std::size_t frames) {
    std::vector<float> samples(frames * bridge.channelCount(), -1.0F);
    bridge.read(samples.data(), frames);
    return samples;
}

void write(IOFrameBridge& bridge, const std::vector<float>& samples) {
    bridge.write(samples.data(), samples.size() / bridge.channelCount());
}

TEST(IOFrameBridge, HandsFramesOutInOrder) {
    IOFrameBridge bridge(2);
    write(bridge, counting(1, 6));
    EXPECT_EQ(read(bridge, 2), counting(1, 4));
    EXPECT_EQ(bridge.available(), 1U);
}

TEST(IOFrameBridge, GivesZerosBeforeAnythingWasWritten) {
    IOFrameBridge bridge(2);
    EXPECT_EQ(read(bridge, 2), std::vector<float>(4, 0.0F));
}

TEST(IOFrameBridge, RepeatsTheLastFrameOfEveryChannelOnUnderrun) {
    IOFrameBridge bridge(2);
    write(bridge, {1, 2, 3, 4});
    EXPECT_EQ(read(bridge, 4), (std::vector<float>{1, 2, 3, 4, 3, 4, 3, 4}));
    EXPECT_EQ(read(bridge, 1), (std::vector<float>{3, 4}));
}

TEST(IOFrameBridge, IgnoresEmptyCalls) {
    IOFrameBridge bridge(1);
    bridge.write(nullptr, 0);
    bridge.read(nullptr, 0);
    EXPECT_EQ(bridge.available(), 0U);
}

TEST(IOFrameBridge, CountsNoChannelAsOne) {
    EXPECT_EQ(IOFrameBridge(0).channelCount(), 1U);
}

TEST(IOFrameBridge, FillsByTheDifferenceAndThenDropsTheOldest) {
    IOFrameBridge bridge(1);
    float next = 0;
    for (std::size_t call = 1; call <= 300; ++call) {
        write(bridge, counting(next, 512));
        next += 512;
        const auto taken = read(bridge, 480);
        // If the bridge was full before the read, it now holds its capacity minus the frames read.
        EXPECT_EQ(bridge.available(), std::min(call * 32, kCapacity - 480)) << "call " << call;
        EXPECT_EQ(taken, counting(next - static_cast<float>(bridge.available()) - 480, 480));
    }
}

TEST(IOFrameBridge, KeepsTheNewestOfAWriteThatIsLargerThanItself) {
    IOFrameBridge bridge(1);
    write(bridge, counting(0, kCapacity + 100));
    EXPECT_EQ(bridge.available(), kCapacity);
    EXPECT_EQ(read(bridge, 2), counting(100, 2));
}

/// A simple model: the same behaviour with a plain queue, frame by frame.
class QueueOfFrames {
public:
    explicit QueueOfFrames(std::size_t channels) : last_(channels, 0.0F) {}

    void write(const std::vector<float>& samples) {
        for (std::size_t i = 0; i < samples.size(); i += last_.size())
            frames_.emplace_back(samples.begin() + static_cast<std::ptrdiff_t>(i),
                                 samples.begin() + static_cast<std::ptrdiff_t>(i + last_.size()));
        const std::size_t excess = frames_.size() > kCapacity ? frames_.size() - kCapacity : 0;
        frames_.erase(frames_.begin(), frames_.begin() + static_cast<std::ptrdiff_t>(excess));
    }
    std::vector<float> read(std::size_t count) {
        std::vector<float> samples;
        const std::size_t there = std::min(count, frames_.size());
        for (std::size_t i = 0; i < count; ++i) {
            if (i < there)
                last_ = frames_[i];
            samples.insert(samples.end(), last_.begin(), last_.end());
        }
        frames_.erase(frames_.begin(), frames_.begin() + static_cast<std::ptrdiff_t>(there));
        return samples;
    }

private:
    std::vector<std::vector<float>> frames_;
    std::vector<float> last_;
};

struct Cycle {
    std::size_t inputFrames, outputFrames;
};

rc::Gen<Cycle> anyCycle() {
    // Mostly equal sizes, as with real devices; sometimes different, zero, or larger than the capacity.
    const auto size = rc::gen::weightedOneOf<std::size_t>({{6, rc::gen::inRange<std::size_t>(1, 700)},
                                                           {1, rc::gen::just<std::size_t>(0)},
                                                           {1, rc::gen::inRange<std::size_t>(8000, 9000)}});
    const auto equal = rc::gen::map(size, [](std::size_t n) { return Cycle{n, n}; });
    const auto different = rc::gen::construct<Cycle>(size, size);
    return rc::gen::weightedOneOf<Cycle>({{2, equal}, {1, different}});
}

TEST(IOFrameBridge, ExchangesLikeAWriteAndARead) {
    const bool holds = rc::check([] {
        const auto channels = *rc::gen::inRange<std::size_t>(1, 4);
        IOFrameBridge exchanged(channels);
        IOFrameBridge written(channels);
        QueueOfFrames queue(channels);
        float next = 1;
        for (const Cycle& cycle : *rc::gen::container<std::vector<Cycle>>(anyCycle())) {
            const auto input = counting(next, cycle.inputFrames * channels);
            next += static_cast<float>(input.size());
            std::vector<float> output(cycle.outputFrames * channels, -1.0F);
            const float* at =
                exchanged.exchange(input.data(), cycle.inputFrames, output.data(), cycle.outputFrames);
            const std::vector<float> got(at, at + output.size());

            write(written, input);
            queue.write(input);
            const auto expected = queue.read(cycle.outputFrames);
            RC_ASSERT(got == expected);
            RC_ASSERT(read(written, cycle.outputFrames) == expected);
            RC_ASSERT(exchanged.available() == written.available());
        }
    });
    EXPECT_TRUE(holds);
}

} // namespace
} // namespace vello
