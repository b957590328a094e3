// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/Analyze.h"

#include "AudioEngine/Analysis/SpectrumAnalyzer.h"
#include "AudioEngine/Analysis/TempoAnalyzer.h"
#include "AudioEngine/Realtime/TapRealtimeContext.h"
#include "Control/CommandLine/CommandLine.h"
#include "FileFailure.h"
#include "Foundation/JSONText.h"
#include "SoundFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <ostream>

namespace vello {

namespace {

/// Writes the rest of the file into the ring, one buffer at a time like the I/O callback.
void play(SoundFile& file, AudioSampleRingBuffer& ring) {
    constexpr std::size_t framesPerBuffer = 4096;
    std::array<float, framesPerBuffer * SoundFile::mostChannels> buffer{};
    const auto channels = static_cast<std::size_t>(file.format().channels);
    auto remaining = static_cast<std::uint64_t>(file.format().frames);
    while (remaining > 0) {
        const auto frames = static_cast<std::size_t>(std::min<std::uint64_t>(remaining, framesPerBuffer));
        file.readFrames(buffer.data(), frames);
        ring.write(buffer.data(), frames * channels);
        remaining -= frames;
    }
}

nlohmann::ordered_json analyze(const AudioSampleRingBuffer& ring, const SoundFormat& format) {
    nlohmann::ordered_json result{{"sampleRate", format.sampleRate},
                                  {"channels", format.channels},
                                  {"spectrum", nullptr},
                                  {"tempo", nullptr}};
    if (const auto levels = SpectrumAnalyzer().bandMagnitudes(ring, format.sampleRate, format.channels))
        result["spectrum"] = *levels;
    if (const auto tempo = TempoAnalyzer().estimate(ring, format.sampleRate, format.channels))
        result["tempo"] = {{"beatsPerMinute", tempo->beatsPerMinute}, {"confidence", tempo->confidence}};
    return result;
}

} // namespace

int runAnalyze(const AnalyzeOptions& options, std::ostream& out, std::ostream& error) {
    try {
        AudioSampleRingBuffer ring(TapRealtimeContext::ringCapacity);
        const SoundFormat format = onFile("read", options.input, [&] {
            SoundFile file = SoundFile::read(options.input);
            play(file, ring);
            return file.format();
        });
        out << writeJSON(analyze(ring, format), JSONLayout::compact) << '\n';
        return finishOutput(out, error, options.format, kExitDone);
    } catch (const std::exception& problem) {
        return reportFailure(error, options.format, "failed", problem.what(), kExitFailed);
    }
}

} // namespace vello
