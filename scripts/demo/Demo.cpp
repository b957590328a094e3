// SPDX-License-Identifier: Apache-2.0
// Demonstrates VELLO where no audio session runs: starts a private one with two outputs and two players, lets
// VELLO equalize them, measures the sound at the outputs' monitors and prints the results. Finally opens the
// panel on a private screen and saves a picture of it. Exit code 0: every value is within its tolerance.
#include "PanelPicture.h"

#include "AudioGraph.h"
#include "DesignedResponse.h"
#include "MonitorRecorder.h"
#include "Passage.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "VelloSettings.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vello::demo {
namespace {

using namespace std::chrono_literals;
using namespace vello::session;

constexpr const char* kPictureFile = "build/demo/panel.png";
constexpr int kSampleRate = 48000; // Hz
constexpr int kQuantum = 512;      // frames
constexpr int kEngagements = 5;
constexpr double kSineAmplitude = 0.04;
constexpr double kLevelTolerance = 0.05; // dB
constexpr std::size_t kMeasuredFrames = kSampleRate;

/// One application of the demonstration.
struct Application {
    std::string name;
    std::string id;
    PlayerKind kind;
    const char* kindName;
    std::string ownOutput; ///< its own choice of output; empty: the default output
    std::string heardAt;   ///< node name of that output
    SourceSettings settings;
};

const std::vector<Application>& applications() {
    static const std::vector<Application> all = {
        {"Music",
         "org.example.Music",
         PlayerKind::native,
         "PipeWire",
         "",
         "speakers",
         {.bandGains = {6, 5, 3.5, 1.5, 0, 0, -2, -4}, .volume = 0.8, .output = "headphones"}},
        {"Film",
         "org.example.Film",
         PlayerKind::pulseAudio,
         "PulseAudio",
         "headphones",
         "headphones",
         {.bandGains = {-6, -2, 1, 3, 4, 3, 2, 0}, .volume = 0.5, .output = "speakers"}},
    };
    return all;
}

/// A row of values with their limits.
class Table {
public:
    void level(const Application& application, double band, double wanted, double measured) {
        std::printf("%-12s%-12s%8.0f Hz%12.2f%14.2f%s\n", application.name.c_str(),
                    application.settings.output.c_str(), band, wanted, measured,
                    mark(std::abs(measured - wanted) <= kLevelTolerance));
    }
    void figure(const Application& application, const char* name, double measured, const char* unit,
                double allowed) {
        std::printf("%-12s%-34s%10.2f %s (at most %.2f)%s\n", application.name.c_str(), name, measured, unit,
                    allowed, mark(std::abs(measured) <= allowed));
    }
    bool isInTolerance() const { return isInTolerance_; }

private:
    const char* mark(bool isGood) {
        isInTolerance_ = isInTolerance_ && isGood;
        return isGood ? "" : "   <-- out of tolerance";
    }

    bool isInTolerance_ = true;
};

std::string sines() {
    std::ostringstream text;
    const char* separator = "sines=";
    for (const double frequency : kBandFrequencies)
        text << std::exchange(separator, ",") << frequency;
    text << '@' << kSineAmplitude;
    return text.str();
}

using Players = std::vector<std::unique_ptr<ChildProcess>>;

Players startPlayers(const PrivateAudioSession& session,
                     const std::function<std::string(const Application&)>& signal) {
    Players players;
    for (const auto& application : applications())
        players.push_back(startPlayer(session, application.kind,
                                      {.name = application.name,
                                       .applicationID = application.id,
                                       .signal = signal(application),
                                       .output = application.ownOutput,
                                       .sampleRate = kSampleRate},
                                      40));
    return players;
}

std::unique_ptr<ChildProcess> startVello(const PrivateAudioSession& session) {
    return session.start("vello", {VELLO_PROGRAM, "--headless"});
}

void stopVello(ChildProcess& vello) {
    if (!vello.terminate(5s))
        throw std::runtime_error("VELLO does not end when asked:\n" + vello.output());
}

/// Waits until the instance answers commands.
void awaitInstance(const PrivateAudioSession& session, ChildProcess& vello) {
    const auto deadline = std::chrono::steady_clock::now() + 8s;
    while (session.start("probe", {VELLO_PROGRAM, "presets"})->waitForExit(5s) != 0)
        if (!vello.isRunning() || std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("VELLO does not answer:\n" + vello.output());
}

/// Prints the command as a user would type it, runs it to its end and returns its output.
std::string command(const PrivateAudioSession& session, const std::vector<std::string>& words) {
    std::vector<std::string> program{"env", VELLO_PROGRAM}; // the session names the log after the first word
    program.insert(program.end(), words.begin(), words.end());
    std::printf("$ vello");
    for (const std::string& word : words)
        std::printf(" %s", word.c_str());
    std::printf("\n");
    return session.run(program);
}

/// Sets the system-wide volume for the next VELLO, while no VELLO equalizes.
void storeSystemVolume(const PrivateAudioSession& session) {
    const auto vello = startVello(session);
    awaitInstance(session, *vello);
    command(session, {"set", "system", "--volume", "0.5"});
    stopVello(*vello);
}

void awaitWay(MonitorRecorder& recorder, Way way, const ChildProcess* vello) {
    const auto settled = [way](const Recording& last) { return endsWith(last, way, kQuantum * 4); };
    if (!recorder.recordUntil(settled, kQuantum * 4, 8s))
        throw std::runtime_error("a player is not heard as it should be" +
                                 (vello == nullptr ? std::string() : ":\n" + vello->output()));
}

/// The effect of one start of VELLO on a playing application.
struct Engagement {
    double addedFrames = 0;
    double silentFrames = 0;
};

/// The newest delay up to the frame `last`. The channels may switch in different cycles: the left one, which
/// carries the numbers, may become silent before the right one.
std::int64_t newestDelay(const Recording& recording, std::size_t last) {
    for (std::size_t count = last + 1; count > 0; --count)
        if (const auto delay = recording.delay(count - 1))
            return *delay;
    throw std::runtime_error("the recording of a player has no frame numbers");
}

/// Measured by the frame numbers in the left channel. The native player's numbers are the clock's, so the
/// delay is the actual one. The other player's numbers are its own and do not advance while it is not heard,
/// so the silence adds to its apparent delay.
Engagement engagementOf(const Recording& recording, const Application& application) {
    const auto passage = findPassage(recording, Way::direct, Way::tapped);
    if (!passage)
        throw std::runtime_error(application.name + " did not go over to its tap");
    const auto before = newestDelay(recording, passage->lastBefore);
    const auto after = newestDelay(recording, recording.frames() - 1);
    const auto silent = static_cast<double>(passage->silentFrames);
    const double standing = application.kind == PlayerKind::native ? 0 : silent;
    return {static_cast<double>(after - before) - standing, silent};
}

/// Starts VELLO several times while the applications play; returns the engagements by application.
std::vector<std::vector<Engagement>> engage(const PrivateAudioSession& session) {
    storeSystemVolume(session);
    const auto players = startPlayers(session, [](const Application& application) {
        return application.kind == PlayerKind::native ? "position" : "counter";
    });
    std::vector<std::unique_ptr<MonitorRecorder>> recorders;
    for (const auto& application : applications())
        recorders.push_back(std::make_unique<MonitorRecorder>(session.socket(), application.heardAt, 40s));
    std::vector<std::vector<Engagement>> result(applications().size());
    for (int round = 0; round < kEngagements; ++round) {
        for (const auto& recorder : recorders)
            awaitWay(*recorder, Way::direct, nullptr);
        std::vector<std::size_t> starts;
        for (const auto& recorder : recorders)
            starts.push_back(recorder->frames() - kQuantum);
        const auto vello = startVello(session);
        for (std::size_t i = 0; i < recorders.size(); ++i) {
            awaitWay(*recorders[i], Way::tapped, vello.get());
            result[i].push_back(engagementOf(recorders[i]->recording(starts[i]), applications()[i]));
        }
        stopVello(*vello);
    }
    return result;
}

bool isTapped(const GraphState& state, const Application& application) {
    return std::ranges::any_of(state.nodes, [&](const auto& entry) {
        return entry.second.name().starts_with(kTapPrefix + application.name);
    });
}

bool isTappedTo(const GraphState& state, const Application& application) {
    bool isCaptured = false;
    bool isPlayed = false;
    const auto nameOf = [&](std::uint32_t id) {
        const auto node = state.nodes.find(id);
        return node == state.nodes.end() ? std::string() : node->second.name();
    };
    const auto* output = state.nodeNamed(application.settings.output);
    for (const auto& [id, link] : state.links) {
        isCaptured |=
            nameOf(link.outputNode) == application.name && nameOf(link.inputNode).starts_with(kTapPrefix);
        isPlayed |= output != nullptr && link.inputNode == output->id &&
                    nameOf(link.outputNode).starts_with(kTapPrefix + application.name);
    }
    return isCaptured && isPlayed;
}

void setCurve(const PrivateAudioSession& session, const Application& application) {
    std::ostringstream gains;
    const char* separator = "";
    for (const double gain : application.settings.bandGains)
        gains << std::exchange(separator, ",") << gain;
    std::ostringstream volume;
    volume << application.settings.volume;
    command(session, {"set", application.id, "--gains", gains.str(), "--volume", volume.str(), "--output",
                      application.settings.output});
}

void awaitAll(AudioGraph& graph, const ChildProcess& vello,
              const std::function<bool(const GraphState&, const Application&)>& condition) {
    for (const auto& application : applications())
        if (!graph.waitUntil([&](const GraphState& state) { return condition(state, application); }, 8s))
            throw std::runtime_error(application.name + " does not come to its output:\n" +
                                     describe(graph.state()) + vello.output());
}

/// Records each application at its chosen output.
std::vector<Recording> equalize(const PrivateAudioSession& session) {
    const auto players = startPlayers(session, [](const Application&) { return sines(); });
    AudioGraph graph(session.socket());
    const auto vello = startVello(session);
    awaitInstance(session, *vello);
    awaitAll(graph, *vello, isTapped);
    for (const auto& application : applications())
        setCurve(session, application);
    awaitAll(graph, *vello, isTappedTo);
    std::vector<Recording> result;
    for (const auto& application : applications()) {
        MonitorRecorder recorder(session.socket(), application.settings.output);
        recorder.record(kSampleRate / 2);
        const auto start = recorder.frames();
        recorder.record(kMeasuredFrames + kQuantum);
        result.push_back(recorder.recording(start));
    }
    std::printf("%s", command(session, {"status"}).c_str());
    stopVello(*vello);
    return result;
}

void printLevels(Table& table, const Application& application, const Recording& recording) {
    for (const double band : kBandFrequencies) {
        const double wanted = designedResponse(application.settings.bandGains, band, kSampleRate) +
                              decibels(application.settings.volume);
        const double measured = decibels(recording.amplitude(band, 0, kMeasuredFrames, 0) / kSineAmplitude);
        table.level(application, band, wanted, measured);
    }
}

void printEngagements(Table& table, const Application& application, const std::vector<Engagement>& all) {
    std::vector<double> added;
    std::vector<double> silent;
    for (const auto& engagement : all) {
        added.push_back(engagement.addedFrames);
        silent.push_back(engagement.silentFrames * 1000 / kSampleRate);
    }
    table.figure(application, "added latency", median(added), "samples", 0);
    table.figure(application, "silence at engage", median(silent), "ms", 1000.0 * kQuantum / kSampleRate);
}

bool run() {
    const PrivateAudioSession session({.sampleRate = kSampleRate,
                                       .quantum = kQuantum,
                                       .outputs = {{"speakers", "Speakers"}, {"headphones", "Headphones"}}});
    std::printf(
        "A private audio session with two outputs and two applications, %d Hz, cycles of %d frames.\n",
        kSampleRate, kQuantum);
    for (const auto& application : applications())
        std::printf("  %s speaks %s and plays a sine in the middle of each band.\n", application.name.c_str(),
                    application.kindName);
    std::printf("\n");
    std::printf("%s", command(session, {"permission", "allow"}).c_str());
    std::fflush(stdout);
    const auto engagementsOf = engage(session);
    const auto recordings = equalize(session);
    std::printf("\n%-12s%-12s%11s%12s%14s\n", "application", "output", "band", "wanted dB", "measured dB");
    Table table;
    for (std::size_t i = 0; i < applications().size(); ++i)
        printLevels(table, applications()[i], recordings[i]);
    std::printf("\n");
    for (std::size_t i = 0; i < applications().size(); ++i)
        printEngagements(table, applications()[i], engagementsOf[i]);
    takePanelPicture(session, kPictureFile);
    std::printf("\nThe panel, with both applications playing: %s\n", kPictureFile);
    std::printf("\n%s\n", table.isInTolerance() ? "Every figure is inside its tolerance."
                                                : "Some figures are out of tolerance.");
    return table.isInTolerance();
}

} // namespace
} // namespace vello::demo

int main() {
    try {
        return vello::demo::run() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
