// SPDX-License-Identifier: Apache-2.0
// The arithmetic of the matrix tests, without any sound.
#include "ChannelMatrix.h"

#include "DesignedResponse.h"

#include <set>
#include <tuple>

namespace vello::session {
namespace {

/// A stereo stream, each channel at that level on its own side and 70 dB lower on the other.
ToneMatrix stereoAt(double level) {
    return {{{.channels = 2}}, {{{level, level - 70}, {level - 70, level}}}};
}

TEST(ToneStreams, HaveEachPairOfValuesInEveryVariant) {
    for (int variant = 0; variant < 3; ++variant) {
        std::set<std::tuple<int, SampleFormat>> formatsOfWidths;
        std::set<std::tuple<int, int>> ratesOfWidths;
        std::set<std::tuple<SampleFormat, int>> ratesOfFormats;
        for (const auto& stream : toneStreams(variant)) {
            formatsOfWidths.insert({stream.channels, stream.format});
            ratesOfWidths.insert({stream.channels, stream.sampleRate});
            ratesOfFormats.insert({stream.format, stream.sampleRate});
        }
        EXPECT_EQ(formatsOfWidths.size(), 12U);
        EXPECT_EQ(ratesOfWidths.size(), 12U);
        EXPECT_EQ(ratesOfFormats.size(), 9U);
    }
}

TEST(ToneStreams, AreAllCombinationsInThreeVariants) {
    std::set<std::string> names;
    for (int variant = 0; variant < 3; ++variant)
        for (const auto& stream : toneStreams(variant))
            names.insert(stream.name());
    EXPECT_EQ(names.size(), 36U);
}

TEST(ToneMatrix, DiffersFromATenthOfADecibelOn) {
    const double level = -34;
    EXPECT_EQ(differences(stereoAt(level), stereoAt(level + 0.09)), "");
    EXPECT_EQ(differences(stereoAt(level), stereoAt(level - 0.09)), "");
    EXPECT_NE(differences(stereoAt(level), stereoAt(level + 0.11)), "");
    EXPECT_NE(differences(stereoAt(level), stereoAt(level - 0.11)), "");
}

TEST(ToneMatrix, DiffersWhereSilenceIsWantedAndNotHeard) {
    auto heard = stereoAt(-34);
    heard.levels[0][0][1] = -34 - 50;
    EXPECT_THAT(differences(stereoAt(-34), heard), testing::HasSubstr("channel 0 arrives on 1"));
    heard.levels[0][0][1] = kSilentLevel;
    EXPECT_EQ(differences(stereoAt(-34), heard), "");
}

TEST(ToneMatrix, IsEqualizedWhereTheStreamIsTaken) {
    const SourceSettings settings = {.bandGains = {6, -4, 3, 5, -6, 4, -3, 6}, .volume = 0.5};
    const ToneMatrix direct = {
        {{.number = 0, .channels = 1}, {.number = 1, .channels = 6}},
        {ToneLevels(1, std::vector<double>(6, -34)), ToneLevels(6, std::vector<double>(6, -34))}};
    const auto onSurround = equalized(direct, settings, 6);
    const double gain = designedResponse(settings.bandGains, 50, 48000) + decibels(0.5);
    EXPECT_THAT(onSurround.levels[0][0], testing::Each(testing::DoubleNear(-34 + gain, 1e-9)));
    EXPECT_EQ(onSurround.levels[1], direct.levels[1]);
    EXPECT_NE(equalized(direct, settings, 2).levels[1], direct.levels[1]);
}

} // namespace
} // namespace vello::session
