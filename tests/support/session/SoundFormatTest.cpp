// SPDX-License-Identifier: Apache-2.0
#include "SoundFormat.h"

#include <cstring>
#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>

namespace vello::session {
namespace {

using testing::ElementsAre;

std::vector<int> written(SampleFormat format, float value) {
    std::vector<std::uint8_t> bytes(bytesOfSample(format));
    writeSample(format, value, bytes.data());
    return {bytes.begin(), bytes.end()};
}

TEST(SoundFormat, WritesSamplesOfSixteenBits) {
    EXPECT_THAT(written(SampleFormat::s16, 0.5F), ElementsAre(0x00, 0x40));
    EXPECT_THAT(written(SampleFormat::s16, -1.0F / 32768), ElementsAre(0xFF, 0xFF));
    EXPECT_THAT(written(SampleFormat::s16, 2), ElementsAre(0xFF, 0x7F));
    EXPECT_THAT(written(SampleFormat::s16, -2), ElementsAre(0x00, 0x80));
}

TEST(SoundFormat, PacksTwentyFourBitsIntoThreeBytes) {
    EXPECT_THAT(written(SampleFormat::s24, 0.5F), ElementsAre(0x00, 0x00, 0x40));
    EXPECT_THAT(written(SampleFormat::s24, -3.0F / 8388608), ElementsAre(0xFD, 0xFF, 0xFF));
    EXPECT_THAT(written(SampleFormat::s24, 2), ElementsAre(0xFF, 0xFF, 0x7F));
}

TEST(SoundFormat, LeavesFloatSamplesAsTheyAre) {
    const auto bytes = written(SampleFormat::f32, -1.75F);
    const std::vector<std::uint8_t> place(bytes.begin(), bytes.end());
    float value = 0;
    std::memcpy(&value, place.data(), sizeof value);
    EXPECT_EQ(value, -1.75F);
}

TEST(SoundFormat, NamesEveryFormat) {
    for (const auto format : {SampleFormat::f32, SampleFormat::s16, SampleFormat::s24})
        EXPECT_EQ(sampleFormatNamed(name(format)), format);
    EXPECT_THROW(sampleFormatNamed("u8"), std::invalid_argument);
}

TEST(SoundFormat, HasTheUsualPositions) {
    EXPECT_EQ(positionNames(1), "MONO");
    EXPECT_EQ(positionNames(2), "FL FR");
    EXPECT_EQ(positionNames(8), "FL FR FC LFE RL RR SL SR");
    const auto format = soundFormat(SampleFormat::s16, 6, 44100);
    EXPECT_EQ(format.rate, 44100U);
    const std::vector<std::uint32_t> positions(format.position, format.position + format.channels);
    EXPECT_THAT(positions, ElementsAre(SPA_AUDIO_CHANNEL_FL, SPA_AUDIO_CHANNEL_FR, SPA_AUDIO_CHANNEL_FC,
                                       SPA_AUDIO_CHANNEL_LFE, SPA_AUDIO_CHANNEL_RL, SPA_AUDIO_CHANNEL_RR));
}

} // namespace
} // namespace vello::session
