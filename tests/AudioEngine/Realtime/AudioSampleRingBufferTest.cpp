// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"

#include "support/SignalSupport.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

namespace vello {
namespace {

using test::counting;

void append(AudioSampleRingBuffer& ring, const std::vector<float>& samples) {
    ring.write(samples.data(), samples.size());
}

TEST(AudioSampleRingBuffer, HoldsNothingAtFirst) {
    AudioSampleRingBuffer ring(8);
    float sample = 0;
    EXPECT_FALSE(ring.copyLatest(&sample, 1));
    EXPECT_EQ(ring.writeCursor(), 0U);
}

TEST(AudioSampleRingBuffer, GivesWhatWasWrittenInOrderAndNoMore) {
    AudioSampleRingBuffer ring(16);
    append(ring, counting(1, 10));
    std::vector<float> latest(11, -1);
    EXPECT_TRUE(ring.copyLatest(latest.data(), 10));
    EXPECT_EQ(latest, (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -1}));
    EXPECT_FALSE(ring.copyLatest(latest.data(), 11));
}

TEST(AudioSampleRingBuffer, KeepsTheOrderAcrossTheWrap) {
    AudioSampleRingBuffer ring(8);
    append(ring, counting(1, 6));
    append(ring, counting(7, 4));
    std::vector<float> latest(8);
    EXPECT_TRUE(ring.copyLatest(latest.data(), 8));
    EXPECT_EQ(latest, counting(3, 8));
}

TEST(AudioSampleRingBuffer, ShowsTheNewestSamplesWhereTheyLieInOrder) {
    AudioSampleRingBuffer ring(8);
    append(ring, counting(1, 6));
    append(ring, counting(7, 4));
    for (std::size_t count = 1; count <= 8; ++count) {
        std::vector<float> copied(count);
        ASSERT_TRUE(ring.copyLatest(copied.data(), count));
        const auto shown = ring.latest(count);
        ASSERT_TRUE(shown);
        ASSERT_EQ(shown->older.size() + shown->newer.size(), count);
        for (std::size_t i = 0; i < count; ++i)
            EXPECT_EQ((*shown)[i], copied[i]);
    }
}

TEST(AudioSampleRingBuffer, ShowsAnyRangeOfTheSamplesThatItHolds) {
    AudioSampleRingBuffer ring(8);
    append(ring, counting(1, 6));
    append(ring, counting(7, 4)); // sample number n is n + 1
    for (std::size_t first = 2; first < 10; ++first)
        for (std::size_t count = 1; first + count <= 10; ++count) {
            const auto shown = ring.range(first, count);
            ASSERT_TRUE(shown) << count << " from " << first;
            for (std::size_t i = 0; i < count; ++i)
                EXPECT_EQ((*shown)[i], static_cast<float>(first + i + 1));
        }
    EXPECT_EQ((*ring.range(1, 2))[0], 10.0F) << "sample 1 was overwritten by sample 9";
    EXPECT_FALSE(ring.range(9, 2)) << "sample 10 is not written yet";
    EXPECT_FALSE(ring.range(11, 1));
    EXPECT_FALSE(ring.range(0, 9)) << "more than the ring holds";
    EXPECT_FALSE(ring.range(5, 0));
}

TEST(AudioSampleRingBuffer, DropsABlockThatIsLargerThanItselfWhole) {
    AudioSampleRingBuffer ring(8);
    append(ring, counting(1, 9));
    EXPECT_EQ(ring.writeCursor(), 0U);
    append(ring, counting(1, 8));
    EXPECT_EQ(ring.writeCursor(), 8U);
}

TEST(AudioSampleRingBuffer, RefusesReadsThatCannotBeServed) {
    AudioSampleRingBuffer ring(8);
    append(ring, counting(1, 8));
    std::vector<float> latest(16);
    EXPECT_FALSE(ring.copyLatest(latest.data(), 0));
    EXPECT_FALSE(ring.copyLatest(latest.data(), 9));
    EXPECT_FALSE(ring.copyLatest(nullptr, 1));
    EXPECT_FALSE(ring.latest(0));
    EXPECT_FALSE(ring.latest(9));
    EXPECT_FALSE(AudioSampleRingBuffer(8).latest(1));
}

TEST(AudioSampleRingBuffer, IgnoresAnEmptyWrite) {
    AudioSampleRingBuffer ring(8);
    ring.write(nullptr, 0);
    EXPECT_EQ(ring.writeCursor(), 0U);
}

TEST(AudioSampleRingBuffer, ShowsAReaderEverySampleBeforeThePublishedCursor) {
    // The writer never wraps around, so it cannot overwrite the samples that the reader copies.
    constexpr std::size_t capacity = std::size_t{1} << 20;
    constexpr std::size_t block = 480;
    constexpr std::size_t blocks = capacity / block;
    AudioSampleRingBuffer ring(capacity);
    std::atomic<std::size_t> reads{0};
    std::thread writer([&] {
        for (std::size_t written = 0; written < blocks; ++written) {
            while (written == blocks / 2 && reads == 0)
                std::this_thread::yield();
            append(ring, counting(static_cast<float>(written * block), block));
        }
    });
    std::vector<float> latest(block);
    bool isInOrder = true;
    while (ring.writeCursor() < blocks * block) {
        if (!ring.copyLatest(latest.data(), block))
            continue;
        isInOrder = isInOrder && latest == counting(latest.front(), block);
        ++reads;
    }
    writer.join();
    EXPECT_TRUE(isInOrder);
    EXPECT_GT(reads, 0U);
}

TEST(AudioSampleRingBufferDeathTest, EndsTheProcessWithoutAPowerOfTwo) {
    EXPECT_DEATH(AudioSampleRingBuffer(0), "power of two");
    EXPECT_DEATH(AudioSampleRingBuffer(12), "power of two");
}

TEST(AudioSampleRingBuffer, KeepsRoomForTheWriterWhileItRests) {
    constexpr std::size_t capacity = 1 << 18;
    AudioSampleRingBuffer ring(capacity);
    const std::vector<float> ones(capacity - 16384, 1.0F); // the room wraps around
    ring.write(ones.data(), ones.size());
    ring.rest();
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) / sizeof(float);
    const float* storage = ring.range(0, 1)->older.data();
    const auto isResident = [&](std::size_t sample) {
        unsigned char resident = 0;
        ::mincore(const_cast<float*>(storage + sample / page * page), 1, &resident);
        return (resident & 1) != 0;
    };
    for (std::size_t next = 0; next < 32768; next += page)
        EXPECT_TRUE(isResident((ones.size() + next) % capacity)) << next;
    EXPECT_FALSE(isResident(capacity / 2));
    ring.endRest();
    EXPECT_TRUE(isResident(capacity / 2));
}

TEST(AudioSampleRingBuffer, IgnoresSilenceWhileItRests) {
    AudioSampleRingBuffer ring(16);
    const std::vector<float> zeros(4), ones(4, 1.0F);
    ring.rest();
    ring.write(zeros.data(), zeros.size(), true);
    EXPECT_EQ(ring.writeCursor(), 0U);
    ring.write(ones.data(), ones.size(), false);
    EXPECT_EQ(ring.writeCursor(), 4U);
    ring.write(zeros.data(), zeros.size(), true); // the sound has ended the rest
    EXPECT_EQ(ring.writeCursor(), 8U);
    ring.rest();
    ring.endRest();
    ring.write(zeros.data(), zeros.size(), true);
    EXPECT_EQ(ring.writeCursor(), 12U);
}

} // namespace
} // namespace vello
