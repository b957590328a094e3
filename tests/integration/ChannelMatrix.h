// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Players.h"
#include "ToneMeter.h"
#include "VelloTest.h"

#include <string>
#include <vector>

namespace vello::session {

/// A stream with a tone of its own in each of its channels. Streams of different numbers have different
/// tones, so that many of them are measured while they sound together.
struct ToneStream {
    int number = 0;
    int channels = 2;
    SampleFormat format = SampleFormat::f32;
    int sampleRate = 48000;       ///< Hz
    std::string application = {}; ///< id of the application; empty: one for this stream alone

    std::string name() const;
    std::vector<double> frequencies() const; ///< Hz, by channel
    PlayerOptions player() const;
};

/// Streams of 1, 2, 6 and 8 channels in every format and at every rate, each two of these together at least
/// once. The three variants 0, 1 and 2 have no stream in common and are all the combinations.
std::vector<ToneStream> toneStreams(int variant);

/// Whether VELLO takes a stream of that many channels on such a device. What has more than two channels and
/// finds a device with more than two is left alone: the tap is stereo.
constexpr bool takes(int streamChannels, int deviceChannels) {
    return streamChannels <= 2 || deviceChannels <= 2;
}

/// What arrives at an output: for each stream the level of its tones in every channel of the output.
struct ToneMatrix {
    std::vector<ToneStream> streams;
    std::vector<ToneLevels> levels;
};

/// What has to arrive when VELLO has these settings and `direct` is what arrives without it.
ToneMatrix equalized(ToneMatrix direct, const SourceSettings& settings, int deviceChannels);
/// What is not within 0.1 dB of what is wanted, in words, a line a stream; empty when all is. What lies 60 dB
/// below the player's own level is silent.
std::string differences(const ToneMatrix& wanted, const ToneMatrix& heard);

/// VELLO among streams of every width.
class ChannelMatrixTest : public VelloTest {
protected:
    void playAll(const std::vector<ToneStream>& streams);
    void endAll(const std::vector<ToneStream>& streams);

    /// What arrives when all streams are linked to the device itself and the levels hold still; a test fails
    /// when they do not, or when a stream is not heard.
    ToneMatrix measureDirect(const std::vector<ToneStream>& streams, const VirtualOutput& device);
    /// Waits until all streams are linked to the device itself and that arrives; a test fails when it does
    /// not.
    void expectDirect(const ToneMatrix& direct, const VirtualOutput& device);
    /// Waits until VELLO has taken the streams that it takes on such a device, and no other, and until they
    /// arrive equalized and the others as before; a test fails when that does not happen.
    void expectEqualized(const ToneMatrix& direct, const SourceSettings& settings,
                         const VirtualOutput& device);

private:
    ToneMatrix measure(const std::vector<ToneStream>& streams, const std::string& output);
    void expectHeard(const ToneMatrix& wanted, const std::string& output);
};

} // namespace vello::session
