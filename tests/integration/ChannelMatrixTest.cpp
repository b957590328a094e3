// SPDX-License-Identifier: Apache-2.0
// Streams of every channel count on outputs of every channel count. The sound on each channel of the output
// must be that without VELLO, and equalized where VELLO captures the stream.
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

TEST_P(ChannelMatrix, HoldsForStreamsThatWereThereBeforeVello) {
    writeSettings(session(), {{kSystemSource, halfVolume}});
    const auto streams = toneStreams(0);
    playAll(streams);
    const auto direct = measureDirect(streams, device());
    startVello();
    expectEqualized(direct, halfVolume, device());
    stopVello();
    expectDirect(direct, device());
}

TEST_P(ChannelMatrix, HoldsForStreamsThatComeToVello) {
    writeSettings(session(), {{kSystemSource, curve}});
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

/// The default output changes while the streams play. The mix of a stream is determined when it is linked, so
/// its previous output matters: with and without VELLO the streams move the same way.
class ChannelMatrixOnTheMove : public ChannelMatrixTest {
protected:
    ChannelMatrixOnTheMove() { openSession({.outputs = {stereo, mono, surround}}); }

    void SetUp() override {
        writeSettings(session(), {{kSystemSource, halfVolume}});
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

TEST_F(ChannelMatrixOnTheMove, HoldsForStreamsThatWereThereBeforeVello) {
    startVello();
    expectEqualizedOnTheWay();
}

TEST_F(ChannelMatrixOnTheMove, HoldsForStreamsThatComeToVello) {
    endAll(streams);
    startVello();
    playAll(streams);
    expectEqualizedOnTheWay();
}

/// Streams with several channel counts of one application: each sounds as it would alone.
class ChannelMatrixOfOneApplication : public ChannelMatrixTest {
protected:
    ChannelMatrixOfOneApplication() { openSession({.outputs = {device}}); }

    static ToneStream stream(int number, int channels) {
        return {.number = number, .channels = channels, .application = "org.example.one"};
    }
    void expectEach(const std::vector<ToneStream>& streams) {
        writeSettings(session(), {{kSystemSource, halfVolume}});
        playAll(streams);
        const auto direct = measureDirect(streams, device);
        startVello();
        expectEqualized(direct, halfVolume, device);
    }

    const VirtualOutput device = {"surround", "Surround", 6};
};

TEST_F(ChannelMatrixOfOneApplication, LeavesAWideStreamBesideATappedOne) {
    expectEach({stream(0, 2), stream(1, 6)});
}

} // namespace
} // namespace vello::session
