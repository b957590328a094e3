// SPDX-License-Identifier: Apache-2.0
// Streams of every width on outputs of every width: what arrives on each channel of the output is what
// arrives there without VELLO, and equalized where VELLO takes the stream.
#include "ChannelMatrix.h"

namespace vello::session {
namespace {

const SourceSettings halfVolume = {.volume = 0.5};
const SourceSettings curve = {.bandGains = {6, -4, 3, 5, -6, 4, -3, 6}, .volume = 0.7};

class ChannelMatrix : public ChannelMatrixTest, public testing::WithParamInterface<int> {
protected:
    ChannelMatrix() { openSession({.outputs = {device()}}); }

    static VirtualOutput device() { return {"output", "Output", GetParam()}; }
};

TEST_P(ChannelMatrix, holdsForStreamsThatWereThereBeforeVello) {
    writeSettings(session(), {{systemSource, halfVolume}});
    const auto streams = toneStreams(0);
    playAll(streams);
    const auto direct = measureDirect(streams, device());
    startVello();
    expectEqualized(direct, halfVolume, device());
    stopVello();
    expectDirect(direct, device());
}

TEST_P(ChannelMatrix, holdsForStreamsThatComeToVello) {
    writeSettings(session(), {{systemSource, curve}});
    const auto streams = toneStreams(1);
    playAll(streams);
    const auto direct = measureDirect(streams, device());
    endAll(streams);
    startVello();
    playAll(streams);
    expectEqualized(direct, curve, device());
}

INSTANTIATE_TEST_SUITE_P(, ChannelMatrix, testing::Values(1, 2, 6, 8), [](const auto& width) {
    return "OnADeviceOf" + std::to_string(width.param) + "Channels";
});

/// The default output changes while the streams play. How a stream is mixed is settled when it is linked, so
/// it matters where it was before: without VELLO and with it the streams go the same way.
class ChannelMatrixOnTheMove : public ChannelMatrixTest {
protected:
    ChannelMatrixOnTheMove() { openSession({.outputs = {stereo, mono, surround}}); }

    void SetUp() override {
        writeSettings(session(), {{systemSource, halfVolume}});
        playAll(streams);
        for (const auto& device : way) {
            choose(device);
            direct.push_back(measureDirect(streams, device));
        }
    }
    void choose(const VirtualOutput& device) {
        forgetMonitors();
        graph().chooseDefaultOutput(device.name);
    }
    void expectEqualizedOnTheWay() {
        for (std::size_t i = 0; i < way.size(); ++i) {
            choose(way[i]);
            expectEqualized(direct[i], halfVolume, way[i]);
        }
    }

    const VirtualOutput stereo = {"stereo", "Stereo", 2};
    const VirtualOutput mono = {"mono", "Mono", 1};
    const VirtualOutput surround = {"surround", "Surround", 6};
    const std::vector<VirtualOutput> way = {stereo, mono, surround, mono, stereo, surround, stereo};
    const std::vector<ToneStream> streams = toneStreams(2);
    std::vector<ToneMatrix> direct;
};

TEST_F(ChannelMatrixOnTheMove, holdsForStreamsThatWereThereBeforeVello) {
    startVello();
    expectEqualizedOnTheWay();
}

TEST_F(ChannelMatrixOnTheMove, holdsForStreamsThatComeToVello) {
    endAll(streams);
    startVello();
    playAll(streams);
    expectEqualizedOnTheWay();
}

/// Streams of several widths that belong to one application: each gets what it would get alone.
class ChannelMatrixOfOneApplication : public ChannelMatrixTest {
protected:
    ChannelMatrixOfOneApplication() { openSession({.outputs = {device}}); }

    static ToneStream stream(int number, int channels) {
        return {.number = number, .channels = channels, .application = "org.example.one"};
    }
    void expectEach(const std::vector<ToneStream>& streams) {
        writeSettings(session(), {{systemSource, halfVolume}});
        playAll(streams);
        const auto direct = measureDirect(streams, device);
        startVello();
        expectEqualized(direct, halfVolume, device);
    }

    const VirtualOutput device = {"surround", "Surround", 6};
};

TEST_F(ChannelMatrixOfOneApplication, leavesAWideStreamBesideATappedOne) {
    expectEach({stream(0, 2), stream(1, 6)});
}

} // namespace
} // namespace vello::session
