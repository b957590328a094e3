// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/SampleMemory.h"

#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <memory>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace vello {
namespace {

constexpr std::size_t kRing = std::size_t{1} << 20;

bool isResident(const SampleMemory& memory, std::size_t count) {
    const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    std::vector<unsigned char> pages((count * sizeof(float) + pageSize - 1) / pageSize);
    EXPECT_EQ(::mincore(memory.get(), count * sizeof(float), pages.data()), 0);
    return std::ranges::all_of(pages, [](unsigned char page) { return (page & 1) != 0; });
}

TEST(SampleMemory, IsResidentFromTheStart) {
    constexpr std::size_t unusual = kRing + 4096; // no spare has this size
    const SampleMemory memory(unusual);
    EXPECT_TRUE(isResident(memory, unusual));
}

TEST(SampleMemory, OfARingFitsHugePages) {
    const SampleMemory memory(kRing);
    const SampleMemory another(kRing);
    for (const SampleMemory* each : {&memory, &another})
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(each->get()) % (2 << 20), 0U);
}

TEST(SampleMemory, OfAFewSamplesIsResidentToo) {
    const SampleMemory memory(5);
    EXPECT_TRUE(isResident(memory, 5));
    memory.get()[4] = 1.0F;
    EXPECT_EQ(memory.get()[4], 1.0F);
}

TEST(SampleMemory, OfARingThatHasGoneIsUsedByTheNextOne) {
    const float* former = SampleMemory(kRing).get();
    EXPECT_EQ(SampleMemory(kRing).get(), former);
}

TEST(SampleMemory, MovesToARing) {
    SampleMemory memory(kRing);
    const float* samples = memory.get();
    AudioSampleRingBuffer ring(std::move(memory));
    EXPECT_EQ(memory.count(), 0U) << "nothing is left to give back twice";
    EXPECT_EQ(ring.capacity(), kRing);
    const float sample = 0.5F;
    ring.write(&sample, 1);
    EXPECT_EQ(ring.latest(1)->older.data(), samples);
}

TEST(SampleMemory, OfAFormerRingIsResidentAlsoIfThatReleasedIt) {
    auto released = std::make_unique<SampleMemory>(kRing);
    released->release(0, kRing);
    EXPECT_FALSE(isResident(*released, kRing));
    const float* former = released->get();
    released.reset();
    const SampleMemory memory(kRing);
    ASSERT_EQ(memory.get(), former);
    EXPECT_TRUE(isResident(memory, kRing));
}

TEST(SampleMemory, ThatIsReleasedReadsAsZerosAndComesBack) {
    const SampleMemory memory(kRing);
    std::fill_n(memory.get(), kRing, 1.0F);
    memory.release(1, kRing - 2);
    EXPECT_FALSE(isResident(memory, kRing));
    EXPECT_EQ(memory.get()[0], 1.0F) << "a page that is released in part stays";
    EXPECT_EQ(memory.get()[kRing - 1], 1.0F);
    EXPECT_EQ(memory.get()[kRing / 2], 0.0F);
    memory.populate();
    EXPECT_TRUE(isResident(memory, kRing));
    EXPECT_EQ(memory.get()[0], 1.0F);
}

TEST(SampleMemory, OfManyRingsGoesBackToTheSystem) {
    std::vector<float*> mapped;
    {
        std::list<SampleMemory> rings;
        for (int i = 0; i < 16; ++i)
            mapped.push_back(rings.emplace_back(kRing).get());
    }
    const auto isMapped = [](float* samples) {
        unsigned char page = 0;
        return ::mincore(samples, 1, &page) == 0;
    };
    EXPECT_LE(std::ranges::count_if(mapped, isMapped), 2) << "more than the next rings may use";
}

} // namespace
} // namespace vello
