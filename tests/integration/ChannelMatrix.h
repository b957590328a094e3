// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Players.h"
#include "ToneMeter.h"
#include "VelloTest.h"

#include <string>
#include <vector>

namespace vello::session {

/// A stream with a different tone in each channel. Streams with different numbers have different tones, so
/// that many of them can be measured while they play together.
struct ToneStream {
    int number = 0;
    int channels = 2;
    SampleFormat format = SampleFormat::f32;
    int sampleRate = 48000;       ///< Hz
    std::string application = {}; ///< application ID; empty: a separate application for this stream

    std::string name() const;
    std::vector<double> frequencies() const; ///< in Hz, by channel
    PlayerOptions player() const;
};

/// Streams of 1, 2, 6 and 8 channels in every format and at every rate; each pair of these values occurs at
/// least once. The variants 0, 1 and 2 have no stream in common and together contain all combinations.
std::vector<ToneStream> toneStreams(int variant);

/// Whether VELLO equalizes a stream with that many channels on such a device. A stream of more than two
/// channels on a device of more than two is left untouched, because the tap is stereo.
constexpr bool takes(int streamChannels, int deviceChannels) {
    return streamChannels <= 2 || deviceChannels <= 2;
}

/// The sound at an output: for each stream the level of its tones in every channel of the output.
struct ToneMatrix {
    std::vector<ToneStream> streams;
    std::vector<ToneLevels> levels;
};

/// The expected sound when VELLO has these settings and `direct` is the sound without VELLO.
ToneMatrix equalized(ToneMatrix direct, const SourceSettings& settings, int deviceChannels);
/// Describes the deviations of more than 0.1 dB, one line per stream; empty without any. Levels 60 dB below
/// the player's own level count as silent.
std::string differences(const ToneMatrix& wanted, const ToneMatrix& heard);

/// VELLO with streams of every channel count.
class ChannelMatrixTest : public VelloTest {
protected:
    void playAll(const std::vector<ToneStream>& streams);
    void endAll(const std::vector<ToneStream>& streams);

    /// The levels when all streams are linked to the device itself and the levels are stable. The test fails
    /// when they do not become stable or a stream is silent.
    ToneMatrix measureDirect(const std::vector<ToneStream>& streams, const VirtualOutput& device);
    /// Waits until all streams are linked to the device itself and have the levels `direct`; the test fails
    /// on timeout.
    void expectDirect(const ToneMatrix& direct, const VirtualOutput& device);
    /// Waits until VELLO has captured exactly the streams that it equalizes on such a device, and until they
    /// arrive equalized and the others unchanged; the test fails on timeout.
    void expectEqualized(const ToneMatrix& direct, const SourceSettings& settings,
                         const VirtualOutput& device);

private:
    ToneMatrix measure(const std::vector<ToneStream>& streams, const std::string& output);
    void expectHeard(const ToneMatrix& wanted, const std::string& output);
};

} // namespace vello::session
