// SPDX-License-Identifier: Apache-2.0
// How long an application that begins to play is heard without its settings.
#include "VelloTest.h"

#include <algorithm>
#include <iostream>

namespace vello::session {
namespace {

/// Milliseconds of the recording that were played directly.
double directMilliseconds(const Recording& recording) {
    std::size_t frames = 0;
    for (std::size_t frame = 0; frame < recording.frames(); ++frame)
        if (wayOf(recording.sample(frame, 1)) == Way::direct)
            ++frames;
    return 1000.0 * static_cast<double>(frames) / recording.sampleRate();
}

class VelloFirstSample : public VelloTest {};

TEST_F(VelloFirstSample, OfANewApplicationIsSoonHeardWithItsSettings) {
    openSession({.quantum = 256});
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    startVello();
    std::vector<double> milliseconds;
    for (int number = 0; number < repetitions(7); ++number) {
        const std::string name = "player-" + std::to_string(number);
        monitor("output-a");
        play({.name = name, .applicationID = "org.example." + name});
        ASSERT_TRUE(awaitWay("output-a", Way::tapped));
        milliseconds.push_back(directMilliseconds(monitor("output-a").recording()));
        endPlayer(name);
        forgetMonitors();
    }
    std::ranges::sort(milliseconds);
    const double median = milliseconds[milliseconds.size() / 2];
    std::cout << "heard directly: median " << median << " ms, worst " << milliseconds.back() << " ms\n";
    EXPECT_LT(median, 150.0) << "the list of applications is read too late";
}

} // namespace
} // namespace vello::session
