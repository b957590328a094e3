// SPDX-License-Identifier: Apache-2.0
#include "ChannelMatrix.h"

#include "DesignedResponse.h"
#include "LongEnough.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <sstream>

namespace vello::session {
namespace {

constexpr int kGraphRate = 48000;     // Hz
constexpr std::size_t kWindow = 9600; // frames: 5 Hz from one period to the next
constexpr double kToneSpacing = 20;   // Hz, between the streams
constexpr double kEmitted = 0.02;     // amplitude of every tone
constexpr double kTolerance = 0.1;    // dB
constexpr double kSilence = -60;      // dB relative to the emitted level
constexpr double kAudible = -20;      // dB relative to the emitted level
constexpr double kSilenceMargin = 1;  // dB between silent and audible

/// By position. The first tone lies where an upmix passes sound to the LFE.
constexpr std::array<double, kMostChannels> kFirstTones = {50, 430, 830, 1630, 2430, 3830, 5630, 8030};

constexpr std::array kWidths = {1, 2, 6, 8};
constexpr std::array kFormats = {SampleFormat::f32, SampleFormat::s16, SampleFormat::s24};
constexpr std::array kRates = {44100, 48000, 96000};

double relative(double level) {
    return level - decibels(kEmitted);
}

bool isWithin(double wanted, double heard) {
    if (relative(wanted) < kSilence)
        return relative(heard) < kSilence + kSilenceMargin;
    return std::abs(wanted - heard) <= kTolerance;
}

std::vector<double> allFrequencies(const std::vector<ToneStream>& streams) {
    std::vector<double> result;
    for (const auto& stream : streams) {
        const auto own = stream.frequencies();
        result.insert(result.end(), own.begin(), own.end());
    }
    return result;
}

/// Splits the levels of all tones, in the order of the streams, into one matrix per stream.
ToneMatrix split(const std::vector<ToneStream>& streams, const ToneLevels& levels) {
    ToneMatrix result{streams, {}};
    auto next = levels.begin();
    for (const auto& stream : streams) {
        result.levels.emplace_back(next, next + stream.channels);
        next += stream.channels;
    }
    return result;
}

/// Describes the first element that differs, and how many differ.
std::string differences(const ToneStream& stream, const ToneLevels& wanted, const ToneLevels& heard) {
    std::ostringstream text;
    int count = 0;
    for (std::size_t tone = 0; tone < wanted.size(); ++tone)
        for (std::size_t channel = 0; channel < wanted[tone].size(); ++channel)
            if (!isWithin(wanted[tone][channel], heard[tone][channel]) && ++count == 1)
                text << stream.name() << ": channel " << tone << " arrives on " << channel << " at "
                     << relative(heard[tone][channel]) << " instead of " << relative(wanted[tone][channel])
                     << " dB";
    if (count > 1)
        text << ", and " << count - 1 << " more";
    return text.str();
}

/// Streams that could not be measured because they are silent. The LFE may be lost in a mix.
std::string unheard(const ToneMatrix& matrix) {
    constexpr std::size_t lfe = 3;
    std::string result;
    for (std::size_t i = 0; i < matrix.streams.size(); ++i)
        for (std::size_t tone = 0; tone < matrix.levels[i].size(); ++tone)
            if (tone != lfe && relative(std::ranges::max(matrix.levels[i][tone])) < kAudible)
                result += matrix.streams[i].name() + ": channel " + std::to_string(tone) + " is not heard\n";
    return result;
}

std::string notDirect(const GraphState& state, const std::vector<ToneStream>& streams,
                      const std::string& output) {
    std::string result;
    for (const auto& stream : streams)
        if (destinations(state, stream.name()) != std::vector{output})
            result += stream.name() + " is not linked to " + output + " alone\n";
    return result;
}

std::string wronglyTaken(const GraphState& state, const std::vector<ToneStream>& streams,
                         const VirtualOutput& device) {
    std::vector<ToneStream> others;
    std::string result;
    for (const auto& stream : streams)
        if (!takes(stream.channels, device.channels))
            others.push_back(stream);
        else if (!isTapped(state, stream.name()))
            result += stream.name() + " is not tapped\n";
    return result + notDirect(state, others, device.name);
}

/// `wrong` describes what does not match yet; empty when all links match.
void awaitLinks(AudioGraph& graph, const std::function<std::string(const GraphState&)>& wrong) {
    graph.waitUntil([&](const GraphState& state) { return wrong(state).empty(); }, kLongEnough);
    EXPECT_EQ(wrong(graph.state()), "");
}

} // namespace

std::string ToneStream::name() const {
    return std::to_string(channels) + "ch-" + session::name(format) + "-" + std::to_string(sampleRate);
}

std::vector<double> ToneStream::frequencies() const {
    std::vector<double> result(kFirstTones.begin(), kFirstTones.begin() + channels);
    for (double& frequency : result)
        frequency += kToneSpacing * number;
    return result;
}

PlayerOptions ToneStream::player() const {
    std::ostringstream signal;
    for (const double frequency : frequencies())
        signal << (signal.tellp() == 0 ? "tones=" : ",") << frequency;
    signal << '@' << kEmitted;
    return {.name = name(),
            .applicationID = application.empty() ? "org.example." + name() : application,
            .signal = signal.str(),
            .sampleRate = sampleRate,
            .channels = channels,
            .format = format};
}

std::vector<ToneStream> toneStreams(int variant) {
    std::vector<ToneStream> result;
    for (std::size_t width = 0; width < kWidths.size(); ++width)
        for (std::size_t format = 0; format < kFormats.size(); ++format)
            result.push_back(
                {.number = static_cast<int>(result.size()),
                 .channels = kWidths[width],
                 .format = kFormats[format],
                 .sampleRate = kRates[(width + format + static_cast<std::size_t>(variant)) % kRates.size()]});
    return result;
}

ToneMatrix equalized(ToneMatrix direct, const SourceSettings& settings, int deviceChannels) {
    for (std::size_t i = 0; i < direct.streams.size(); ++i) {
        if (!takes(direct.streams[i].channels, deviceChannels))
            continue;
        const auto frequencies = direct.streams[i].frequencies();
        for (std::size_t tone = 0; tone < frequencies.size(); ++tone)
            for (double& level : direct.levels[i][tone])
                level += designedResponse(settings.bandGains, frequencies[tone], kGraphRate) +
                         decibels(settings.volume);
    }
    return direct;
}

std::string differences(const ToneMatrix& wanted, const ToneMatrix& heard) {
    std::string result;
    for (std::size_t i = 0; i < wanted.streams.size(); ++i) {
        const auto text = differences(wanted.streams[i], wanted.levels[i], heard.levels[i]);
        result += text.empty() ? text : text + "\n";
    }
    return result;
}

void ChannelMatrixTest::playAll(const std::vector<ToneStream>& streams) {
    for (const auto& stream : streams)
        play(stream.player());
}

void ChannelMatrixTest::endAll(const std::vector<ToneStream>& streams) {
    for (const auto& stream : streams)
        endPlayer(stream.name());
}

ToneMatrix ChannelMatrixTest::measureDirect(const std::vector<ToneStream>& streams,
                                            const VirtualOutput& device) {
    awaitLinks(graph(), [&](const GraphState& state) { return notDirect(state, streams, device.name); });
    const auto deadline = std::chrono::steady_clock::now() + kLongEnough;
    auto last = measure(streams, device.name);
    std::string change;
    do {
        auto next = measure(streams, device.name);
        change = differences(last, next) + unheard(next);
        last = std::move(next);
    } while (!change.empty() && std::chrono::steady_clock::now() < deadline);
    EXPECT_EQ(change, "") << "at " << device.name << " without VELLO";
    return last;
}

void ChannelMatrixTest::expectDirect(const ToneMatrix& direct, const VirtualOutput& device) {
    awaitLinks(graph(),
               [&](const GraphState& state) { return notDirect(state, direct.streams, device.name); });
    expectHeard(direct, device.name);
}

void ChannelMatrixTest::expectEqualized(const ToneMatrix& direct, const SourceSettings& settings,
                                        const VirtualOutput& device) {
    const auto wrong = [&](const GraphState& state) { return wronglyTaken(state, direct.streams, device); };
    awaitLinks(graph(), wrong);
    expectHeard(equalized(direct, settings, device.channels), device.name);
    // While a tap with other channels replaces the tap that was heard, a stream has no link for a moment.
    SCOPED_TRACE("later, on " + device.name);
    awaitLinks(graph(), wrong);
}

ToneMatrix ChannelMatrixTest::measure(const std::vector<ToneStream>& streams, const std::string& output) {
    // Cached, because the same tones are measured repeatedly.
    static std::map<std::vector<double>, ToneMeter> meters;
    const auto tones = allFrequencies(streams);
    const auto& meter = meters.try_emplace(tones, tones, kGraphRate, kWindow).first->second;
    auto& recorder = monitor(output);
    const auto first = recorder.frames();
    recorder.record(kWindow);
    return split(streams, meter.measure(recorder.recording(first)));
}

void ChannelMatrixTest::expectHeard(const ToneMatrix& wanted, const std::string& output) {
    const auto deadline = std::chrono::steady_clock::now() + kLongEnough;
    std::string last;
    int inARow = 0;
    do {
        last = differences(wanted, measure(wanted.streams, output));
        inARow = last.empty() ? inARow + 1 : 0;
    } while (inARow < 2 && std::chrono::steady_clock::now() < deadline);
    EXPECT_EQ(inARow, 2) << "at " << output << ":\n" << last;
}

} // namespace vello::session
