// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/ResponseCurve.h"

#include "AudioControllerFixture.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace vello {
namespace {

const std::vector<double> kCurve{6, 4.5, 2, -1.5, 0, 1.5, 4, 12};
const std::vector<double> kPoints{40, 63, 100, 500, 1000, 3000, 8000, 16000};

/// The gain in dB that a recording of the filter's answer to one sample of 1 has at a frequency.
double measuredGain(const std::vector<float>& answer, double frequency, double sampleRate) {
    std::complex<double> sum = 0;
    for (std::size_t frame = 0; frame < answer.size(); ++frame)
        sum += double{answer[frame]} *
               std::polar(1.0, -2.0 * std::numbers::pi * frequency * static_cast<double>(frame) / sampleRate);
    return 20.0 * std::log10(std::abs(sum));
}

class ResponseCurveTest : public Controller {
protected:
    /// What the tap of "player" plays for one sample of 1.
    std::vector<float> answer() {
        constexpr std::size_t frames = 512;
        std::vector<float> left;
        for (int cycle = 0; cycle < 128; ++cycle) {
            std::vector<float> in(2 * frames);
            std::vector<float> out(2 * frames);
            in[0] = cycle == 0 ? 1.0F : 0.0F;
            const auto bytes = static_cast<std::uint32_t>(in.size() * sizeof(float));
            AudioBufferListStorage<1> input{AudioBufferList{1}, {{2, bytes, in.data()}}};
            AudioBufferListStorage<1> output{AudioBufferList{1}, {{2, bytes, out.data()}}};
            hardware.runCycle(tap("player")->aggregateDeviceID(), input.list, output.list);
            for (std::size_t frame = 0; frame < frames; ++frame)
                left.push_back(out[2 * frame]);
        }
        return left;
    }
};

TEST_F(ResponseCurveTest, IsWhatTheTapDoesToTheSound) {
    startWithBoth();
    controller->updateSettings({.bandGains = kCurve}, "player");
    mainThread.advance(std::chrono::seconds(1));
    const double sampleRate = controller->sampleRate("player");
    EXPECT_EQ(sampleRate, tap("player")->sampleRate());
    const auto response = ResponseCurve(kPoints, sampleRate).gains(kCurve);
    const auto played = answer();
    for (std::size_t point = 0; point < kPoints.size(); ++point)
        EXPECT_NEAR(response[point], measuredGain(played, kPoints[point], sampleRate), 0.01)
            << kPoints[point];
}

TEST_F(ResponseCurveTest, IsFlatForAFlatCurve) {
    const auto response = ResponseCurve(kPoints, 48000).gains(std::vector<double>(8, 0.0));
    EXPECT_EQ(response, std::vector<double>(kPoints.size(), 0.0));
}

TEST_F(ResponseCurveTest, AssumesTheUsualSampleRateWithoutATap) {
    start();
    EXPECT_EQ(controller->sampleRate(kSystemSourceID), 48000.0);
    EXPECT_EQ(controller->sampleRate("nobody"), 48000.0);
}

TEST_F(ResponseCurveTest, IsOfTheSettingsInForce) {
    start();
    controller->updateSettings({.bandGains = kCurve}, std::string(kSystemSourceID));
    EXPECT_EQ(controller->settingsInForce("player").bandGains, kCurve) << "it follows the system";
    controller->updateSettings({.volume = 0.5}, "player");
    EXPECT_EQ(controller->settingsInForce("player").bandGains, std::vector<double>(8, 0.0));
}

} // namespace
} // namespace vello
