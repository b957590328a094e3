// SPDX-License-Identifier: Apache-2.0
// Makes the README's pictures: the panel on a private screen while real applications play in a private audio
// session. The argument is the output folder.
#include "PanelStage.h"
#include "Tune.h"

#include "Consent.h"

#include <cstdio>
#include <exception>

namespace vello::demo {
namespace {

using namespace vello::session;
namespace files = std::filesystem;

constexpr int kSampleRate = 48000; // Hz
constexpr std::size_t kTuneSeconds = 120;

Environment appearance(const char* look) {
    return {{"VELLO_APPEARANCE", look}, {"FONTCONFIG_FILE", VELLO_DEMO_FONTS}};
}

std::string tuneFile(const PrivateAudioSession& session, const char* name, const Tune& tune) {
    const auto file = session.folder() / (std::string(name) + ".wav");
    writeTune(tune, kSampleRate, kTuneSeconds, file);
    return file.string();
}

void equalize(const PrivateAudioSession& session, std::vector<std::string> words) {
    words.insert(words.begin(), {"env", VELLO_PROGRAM, "set"});
    session.run(words);
}

/// Takes a picture of the list in `look`, and one with the card of the film player open.
void playAndPicture(const char* look, const files::path& list, const files::path& open) {
    const PrivateAudioSession session(
        {.outputs = {{"speakers", "Built-in Speakers"}, {"headphones", "Headphones"}}});
    allowCapture(session);
    const auto film =
        session.start("mpv", {"mpv", "--no-config", "--no-video", "--ao=pipewire", "--loop",
                              tuneFile(session, "film", {.beatsPerMinute = 90, .key = 49, .loudness = 0.5})});
    const auto music = session.start(
        "audacious", {"audacious", "--headless", "--play", tuneFile(session, "music", {.loudness = 0.35})});
    PanelStage stage(session, appearance(look));
    stage.await("mpv Media Player, collapsed");
    stage.await("Audacious, collapsed");
    equalize(session, {"Audacious", "--preset", "vocal", "--output", "headphones"});
    equalize(session, {"mpv Media Player", "--gains", "6,4.5,2,-1.5,0,1.5,4,3", "--volume", "0.85"});
    stage.takePicture(list);
    stage.openCard("mpv Media Player");
    stage.await("90 beats per minute");
    stage.takePicture(open);
}

void pictureOnboarding(const char* look, const files::path& file) {
    const PrivateAudioSession session;
    PanelStage(session, appearance(look)).takePicture(file);
}

} // namespace
} // namespace vello::demo

int main(int argumentCount, char** arguments) {
    using namespace vello::demo;
    if (argumentCount != 2) {
        std::fprintf(stderr, "the folder of the pictures is wanted\n");
        return 2;
    }
    const std::filesystem::path folder = arguments[1];
    try {
        playAndPicture("light", folder / "light.png", folder / "open-light.png");
        playAndPicture("dark", folder / "dark.png", folder / "open-dark.png");
        pictureOnboarding("light", folder / "onboarding.png");
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
