// SPDX-License-Identifier: Apache-2.0
//
// What the meters cost while somebody looks: 64 sources, all audible, one of them open, 30 ticks a second.
// The taps are made on the fake audio hardware; their rings are real and hold music-like noise at 48 kHz, and
// more of it comes between the ticks, which is not counted.
//
// vello_meter_benchmark [--check]: with --check it fails when the share of a core misses its target.
#include "AudioEngine/Controller/AudioController.h"
#include "AudioEngine/Realtime/HostTime.h"

#include "support/FakeApplicationEvents.h"
#include "support/FakeAudioHardware.h"
#include "support/FakeCaptureAuthorization.h"
#include "support/FakeKeyValueStore.h"
#include "support/FakeRunningApplications.h"
#include "support/RecordingSystemLog.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualMainThread.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace vello {
namespace {

using namespace std::chrono_literals;

constexpr int kSources = 64;
constexpr auto kTick = 33ms;
/// A tempo is looked for at most twice a second, which is every 16th tick: four times in a turn.
constexpr int kTicksPerTurn = 64;
constexpr int kTurns = 12;
constexpr std::size_t kRate = 48000;
constexpr std::size_t kFramesPerTick = kRate * 33 / 1000;
constexpr double kTargetPercent = 2.0;

/// Seconds of this thread's own time: other programs do not count.
double threadTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Stereo noise whose loudness follows a beat of 120 a minute.
std::vector<float> musicLikeNoise(std::size_t frames) {
    std::mt19937 random(1);
    std::normal_distribution<float> noise(0, 0.1F);
    std::vector<float> samples;
    for (std::size_t i = 0; i < frames; ++i) {
        const auto sinceBeat = static_cast<double>(i % (kRate / 2)) / kRate;
        const auto loudness = static_cast<float>(0.2 + std::exp(-12 * sinceBeat));
        samples.insert(samples.end(), {loudness * noise(random), loudness * noise(random)});
    }
    return samples;
}

class Bench {
public:
    Bench() {
        hardware_.setDefaultOutputDevice(hardware_.addDevice({.uid = "speakers", .name = "Speakers"}));
        authorization_.answer = Consent::allowed;
        for (std::int32_t pid = 1; pid <= kSources; ++pid) {
            const std::string name = "org.example.player" + std::to_string(pid);
            applications_.applications[pid] = {name, name, std::nullopt};
            hardware_.addProcess({.pid = pid});
        }
        controller_ =
            std::make_unique<AudioController>(AudioControllerPorts{hardware_, mainThread_, applications_,
                                                                   events_, authorization_, shared_, log_},
                                              folder_.path());
        mainThread_.runPosted();
        for (const auto& [id, tap] : controller_->taps())
            contexts_.push_back(tap->realtimeContext().get());
        for (TapRealtimeContext* context : contexts_)
            play(*context, 6 * kRate);
        controller_->setActiveSource("org.example.player7");
        controller_->startMeterUpdates();
    }

    /// Seconds of the main thread's time in one tick.
    double tick() {
        for (TapRealtimeContext* context : contexts_)
            play(*context, kFramesPerTick);
        const double before = threadTime();
        mainThread_.advance(kTick);
        return threadTime() - before;
    }
    bool isComplete() const {
        return contexts_.size() == kSources && controller_->levels().value().size() == kSources &&
               controller_->tempoEstimates().value().size() == kSources &&
               *std::ranges::max_element(controller_->spectrum().value()) > 0;
    }

private:
    void play(TapRealtimeContext& context, std::size_t frames) {
        frames = std::min(frames, music_.size() / 2);
        if (position_ + 2 * frames > music_.size())
            position_ = 0;
        context.ringBuffer.write(music_.data() + position_, 2 * frames);
        position_ += 2 * frames;
        context.levelBits = std::bit_cast<std::uint32_t>(0.1F + 0.5F * std::abs(music_[position_ / 2]));
        context.lastCallbackHostTime = hostTime(mainThread_.now());
    }

    const std::vector<float> music_ = musicLikeNoise(6 * kRate);
    std::size_t position_ = 0;
    TemporaryFolder folder_;
    VirtualMainThread mainThread_;
    FakeAudioHardware hardware_{mainThread_};
    FakeRunningApplications applications_;
    FakeApplicationEvents events_;
    FakeCaptureAuthorization authorization_;
    FakeKeyValueStore shared_;
    RecordingSystemLog log_;
    std::unique_ptr<AudioController> controller_;
    std::vector<TapRealtimeContext*> contexts_;
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

int run(bool isChecked) {
    Bench bench;
    bench.tick();
    std::vector<double> shares;
    std::vector<double> ticks;
    for (int turn = 0; turn < kTurns; ++turn) {
        double spent = 0;
        for (int i = 0; i < kTicksPerTurn; ++i)
            spent += ticks.emplace_back(bench.tick());
        shares.push_back(100 * spent / (kTicksPerTurn * std::chrono::duration<double>(kTick).count()));
    }
    if (!bench.isComplete()) {
        std::fprintf(stderr, "Some source had no level or no tempo: nothing is measured.\n");
        return 1;
    }
    const double share = median(shares);
    std::printf("%d sources, one open, 30 ticks a second, %d turns of %d ticks\n", kSources, kTurns,
                kTicksPerTurn);
    std::printf("  of one core       median %6.3f %%   least %6.3f %%\n", share,
                *std::ranges::min_element(shares));
    std::printf("  a tick            median %6.3f ms  longest %6.3f ms (each 16th looks for tempos)\n",
                1e3 * median(ticks), 1e3 * *std::ranges::max_element(ticks));
    std::printf("  target            %.1f %%: %s\n", kTargetPercent,
                share < kTargetPercent ? "met" : "missed");
    return isChecked && share >= kTargetPercent ? 1 : 0;
}

} // namespace
} // namespace vello

int main(int argumentCount, char** arguments) {
    return vello::run(argumentCount > 1 && std::string_view(arguments[1]) == "--check");
}
