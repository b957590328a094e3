// SPDX-License-Identifier: Apache-2.0
// What is heard of a tone while taps are rebuilt.
#include "VelloTest.h"

#include "support/ToneSpread.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <span>

namespace vello::session {
namespace {

constexpr double kTone = 997; // Hz
constexpr std::size_t kWindow = 4800;
constexpr std::size_t kLongRecording = std::size_t{20} * 48000; // of the recorder's 60 s
constexpr double kLimit = -60;                                  // dB beside the tone
/// A curve whose filters keep much of what they have heard.
constexpr SourceSettings kCurve{.bandGains = {9, 6, 3, 0, -3, 0, 4, 8}, .volume = 0.5};

std::vector<float> leftChannel(const Recording& recording, std::size_t first = 0) {
    std::vector<float> samples;
    for (std::size_t frame = first; frame < recording.frames(); ++frame)
        samples.push_back(recording.sample(frame, 0));
    return samples;
}

/// The longest run of frames without any sound. A tone has single ones.
std::size_t longestSilence(std::span<const float> samples) {
    std::size_t longest = 0;
    std::size_t current = 0;
    for (const float sample : samples) {
        current = sample == 0 ? current + 1 : 0;
        longest = std::max(longest, current);
    }
    return longest;
}

double worstSpread(std::span<const float> samples, double sampleRate) {
    double worst = -300;
    for (std::size_t first = 0; first + kWindow <= samples.size(); first += kWindow / 4)
        worst = std::max(worst, toneSpread(samples.subspan(first, kWindow), kTone, sampleRate));
    return worst;
}

/// The frames of a recording with sound: [first, end).
struct Extent {
    std::size_t first = 0;
    std::size_t end = 0;
};

Extent soundOf(const Recording& recording) {
    const auto isSound = [](float sample) { return sample != 0; };
    const auto samples = leftChannel(recording);
    const auto first = std::ranges::find_if(samples, isSound);
    const auto last = std::find_if(samples.rbegin(), samples.rend(), isSound);
    return {static_cast<std::size_t>(first - samples.begin()),
            static_cast<std::size_t>(samples.rend() - last)};
}

/// What a change sounds like, apart from the moment in which another device takes over.
struct Change {
    double gap = 0;          ///< ms, between the sound on one device and the sound on the other
    std::size_t silence = 0; ///< longest, in frames
    double spread = -300;    ///< worst, in dB
};

class VelloGapless : public VelloTest {
protected:
    void openWithTone(SessionOptions options, int players = 1) {
        options.quantum = 256;
        openSession(std::move(options));
        for (int number = 1; number <= players; ++number) {
            const std::string name = "player-" + std::to_string(number);
            play({.name = name, .applicationID = "org.example." + name, .signal = "sines=997@0.03"});
        }
    }
    void startWith(const SourceSettings& settings, int players = 1) {
        writeSettings(session(), {{kSystemSource, settings}});
        startVello();
        ASSERT_TRUE(vello().awaitOutput("Tap running for player-", players));
        ASSERT_TRUE(awaitTapped("player-1"));
        ASSERT_TRUE(awaitSpare());
        made_ = capturesMade(graph());
    }
    bool areNodesTheSame() { return capturesMade(graph()) == made_; }
    int activations() { return vello().timesOutput("Tap running for player-"); }
    /// Makes a change after which `players` taps are rebuilt.
    [[nodiscard]] bool rebuild(const std::function<void()>& change, int players = 1) {
        const int before = activations();
        change();
        return vello().awaitOutput("Tap running for player-", before + players);
    }
    /// What is heard when the sound moves from one output to the other. Records until `isOver`.
    template <class Action> Change move(const std::string& from, const std::string& to, Action isOver) {
        const auto fromStart = monitor(from).frames() - kWindow;
        const auto toStart = monitor(to).frames() - kWindow;
        EXPECT_TRUE(isOver());
        monitor(to).record(2 * kWindow);
        const auto before = monitor(from).recording(fromStart);
        const auto after = monitor(to).recording(toStart);
        const auto last = soundOf(before).end - 1;
        const auto first = soundOf(after).first;
        const auto heard = leftChannel(after, first);
        return {1e-6 * static_cast<double>(after.time(first) - before.time(last)), longestSilence(heard),
                worstSpread(heard, after.sampleRate())};
    }
    void recordBoth() {
        forgetMonitors();
        for (const auto* output : {"output-a", "output-b"})
            monitor(output).record(2 * kWindow);
    }
    /// Moves the sound to and fro. `moveTo` returns whether the move is over.
    template <class Action> std::vector<Change> moves(int times, Action moveTo) {
        recordBoth();
        std::vector<Change> changes;
        for (int change = 0; change < times; ++change) {
            const std::string from = change % 2 == 0 ? "output-a" : "output-b";
            const std::string to = change % 2 == 0 ? "output-b" : "output-a";
            changes.push_back(move(from, to, [&] { return moveTo(to); }));
            if (monitor(to).frames() > kLongRecording)
                recordBoth();
        }
        for (const Change& change : changes)
            std::cout << "gap " << change.gap << " ms, silence " << change.silence
                      << " frames, beside the tone " << change.spread << " dB\n";
        forgetMonitors();
        return changes;
    }
    /// Changes the default output to and fro, after which `players` taps are rebuilt, and expects that
    /// nothing but the tone is heard on this output.
    void changeTheDefaultOutputBeside(const std::string& output, int players);
    /// Changes the default output without VELLO.
    std::vector<Change> movesOfThePlayer() {
        return moves(6, [&](const std::string& to) {
            graph().chooseDefaultOutput(to);
            return graph().waitUntil([&](const GraphState& state) { return state.isLinked("player-1", to); });
        });
    }

private:
    int made_ = 0;
};

void print(const std::vector<std::size_t>& silences, const std::vector<double>& spreads) {
    for (std::size_t change = 0; change < silences.size(); ++change)
        std::cout << "silence " << silences[change] << " frames, beside the tone " << spreads[change]
                  << " dB\n";
}

/// A machine may miss a cycle by itself: the better half of the changes counts.
template <class Number> Number worstOfBetterHalf(std::vector<Number> values) {
    std::ranges::sort(values);
    return values[(values.size() - 1) / 2];
}

template <class Part> auto worstOfBetterHalf(const std::vector<Change>& changes, Part part) {
    std::vector<std::decay_t<std::invoke_result_t<Part, const Change&>>> values;
    for (const Change& change : changes)
        values.push_back(std::invoke(part, change));
    return worstOfBetterHalf(std::move(values));
}

void expectNoMoreThanTheMove(const std::vector<Change>& changes, const std::vector<Change>& ofThePlayer) {
    constexpr double cycle = 1000.0 * 256 / 48000; // ms
    EXPECT_LE(worstOfBetterHalf(changes, &Change::gap), worstOfBetterHalf(ofThePlayer, &Change::gap) + cycle);
    EXPECT_LE(worstOfBetterHalf(changes, &Change::silence), 1U);
    EXPECT_LT(worstOfBetterHalf(changes, &Change::spread), kLimit);
}

void VelloGapless::changeTheDefaultOutputBeside(const std::string& output, int players) {
    monitor(output).record(48000);
    std::vector<std::size_t> silences;
    std::vector<double> spreads;
    for (int change = 0; change < repetitions(6); ++change) {
        const auto start = monitor(output).frames() - kWindow;
        const auto* chosen = change % 2 == 0 ? "output-b" : "output-a";
        ASSERT_TRUE(rebuild([&] { graph().chooseDefaultOutput(chosen); }, players));
        monitor(output).record(2 * kWindow);
        const auto samples = leftChannel(monitor(output).recording(start));
        silences.push_back(longestSilence(samples));
        spreads.push_back(worstSpread(samples, 48000));
        if (monitor(output).frames() > kLongRecording) {
            forgetMonitors();
            monitor(output).record(kWindow);
        }
    }
    print(silences, spreads);
    EXPECT_LE(worstOfBetterHalf(silences), 1U);
    EXPECT_LT(worstOfBetterHalf(spreads), kLimit);
}

/// Taps of applications that have stopped follow the default output, to a device where the tone plays.
TEST_F(VelloGapless, TapsThatAreHeldReadyMoveUnheard) {
    openWithTone({});
    SourceSettings settings = kCurve;
    settings.output = "output-b";
    writeSettings(session(), {{"org.example.player-1", settings}, {kSystemSource, {.volume = 0.5}}});
    startVello();
    ASSERT_TRUE(awaitTapped("player-1"));
    for (const std::string name : {"first", "second", "third"}) {
        play({.name = name, .applicationID = "org.example." + name, .signal = "silence"});
        ASSERT_TRUE(awaitTapped(name));
        endPlayer(name);
    }
    ASSERT_TRUE(graph().waitUntil([](const GraphState& state) { return captures(state).size() == 4; }));
    changeTheDefaultOutputBeside("output-b", 1);
}

class VelloGaplessWithPlayers : public VelloGapless, public testing::WithParamInterface<int> {};

TEST_P(VelloGaplessWithPlayers, ATapWhoseDeviceStaysIsRebuiltUnheard) {
    const int players = GetParam();
    openWithTone({}, players);
    SourceSettings settings = kCurve;
    settings.output = "output-b";
    startWith(settings, players);
    changeTheDefaultOutputBeside("output-b", players);
    EXPECT_TRUE(areNodesTheSame());
}

INSTANTIATE_TEST_SUITE_P(, VelloGaplessWithPlayers, testing::Values(1, 8), testing::PrintToStringParamName());

/// Applications that begin to play beside the tone.
class VelloGaplessBeside : public VelloGapless, public testing::WithParamInterface<bool> {};

TEST_P(VelloGaplessBeside, AnApplicationThatBeginsIsUnheardInTheOthers) {
    openWithTone({});
    if (GetParam())
        startWith(kCurve);
    monitor("output-a").record(48000);
    std::vector<std::size_t> silences;
    std::vector<double> spreads;
    for (int number = 0; number < repetitions(6); ++number) {
        const std::string name = "other-" + std::to_string(number);
        const auto start = monitor("output-a").frames() - kWindow;
        play({.name = name, .applicationID = "org.example." + name, .signal = "silence"});
        if (GetParam()) {
            ASSERT_TRUE(awaitTapped(name));
        }
        monitor("output-a").record(3 * kWindow);
        endPlayer(name);
        monitor("output-a").record(3 * kWindow);
        const auto samples = leftChannel(monitor("output-a").recording(start));
        silences.push_back(longestSilence(samples));
        spreads.push_back(worstSpread(samples, 48000));
        if (monitor("output-a").frames() > kLongRecording) {
            forgetMonitors();
            monitor("output-a").record(kWindow);
        }
    }
    print(silences, spreads);
    EXPECT_LE(worstOfBetterHalf(silences), 1U);
    EXPECT_LT(worstOfBetterHalf(spreads), kLimit);
}

INSTANTIATE_TEST_SUITE_P(, VelloGaplessBeside, testing::Bool(), testing::PrintToStringParamName());

TEST_F(VelloGapless, AChangeOfTheDefaultOutputIsHeardAsTheMoveAlone) {
    openWithTone({});
    const auto ofThePlayer = movesOfThePlayer();
    startWith(kCurve);
    const auto changes = moves(repetitions(6), [&](const std::string& to) {
        return rebuild([&] { graph().chooseDefaultOutput(to); });
    });
    expectNoMoreThanTheMove(changes, ofThePlayer);
    EXPECT_TRUE(areNodesTheSame());
}

TEST_F(VelloGapless, AChoiceOfTheOutputIsHeardAsTheMoveAlone) {
    openWithTone({});
    const auto ofThePlayer = movesOfThePlayer();
    startWith(kCurve);
    const auto changes = moves(repetitions(6), [&](const std::string& to) {
        const std::string choice = to == "output-a" ? "auto" : to;
        return rebuild([&] {
            session().run({"env", VELLO_PROGRAM, "set", "org.example.player-1", "--output", choice});
        });
    });
    expectNoMoreThanTheMove(changes, ofThePlayer);
    EXPECT_TRUE(areNodesTheSame());
}

TEST_F(VelloGapless, ARebuildForANewRateIsUnheardAfterTheChangeItself) {
    openWithTone({.allowedRates = {44100, 48000}});
    startWith(kCurve);
    std::vector<std::size_t> silences;
    std::vector<double> spreads;
    for (int change = 0; change < repetitions(6); ++change) {
        const int rate = change % 2 == 0 ? 44100 : 48000;
        monitor("output-a").record(kWindow);
        const auto start = monitor("output-a").frames();
        ASSERT_TRUE(rebuild([&] { graph().forceSampleRate(rate); }));
        monitor("output-a").record(2 * kWindow);
        // The rebuild is over when it is logged. On 1.4 it comes seconds after the change itself, and in
        // seconds a busy machine misses a cycle by itself.
        const auto end = monitor("output-a").frames();
        const auto first = std::max(start + kWindow, end - 4 * kWindow);
        const auto samples = leftChannel(monitor("output-a").recording(first));
        silences.push_back(longestSilence(samples));
        spreads.push_back(worstSpread(samples, rate));
        forgetMonitors();
    }
    print(silences, spreads);
    EXPECT_LE(worstOfBetterHalf(silences), static_cast<std::size_t>(quantum()));
    EXPECT_LT(worstOfBetterHalf(spreads), kLimit);
    EXPECT_TRUE(areNodesTheSame());
}

} // namespace
} // namespace vello::session
