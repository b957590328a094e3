// SPDX-License-Identifier: Apache-2.0
#include "PanelPicture.h"

#include "PanelStage.h"
#include "Tune.h"

namespace vello::demo {
namespace {

using namespace vello::session;

constexpr int kSampleRate = 48000; // Hz
constexpr std::size_t kSeconds = 60;

std::string tune(const PrivateAudioSession& session, const char* name, const Tune& tune) {
    const auto file = session.folder() / (std::string(name) + ".wav");
    writeTune(tune, kSampleRate, kSeconds, file);
    return file.string();
}

void listApplication(const PrivateAudioSession& session, const char* name, const char* executable) {
    const std::string id = std::string("org.example.").append(name);
    session.writeDesktopEntry(id, name, executable,
                              std::string(VELLO_DEMO_ICONS "/").append(id).append(".svg"));
}

} // namespace

void takePanelPicture(const PrivateAudioSession& session, const std::filesystem::path& file) {
    listApplication(session, "Music", "pw-cat");
    listApplication(session, "Film", "paplay");
    const auto music = session.start("player-Music", {"pw-cat", "--playback", "--properties",
                                                      "{ application.name = Music application.id = "
                                                      "org.example.Music }",
                                                      tune(session, "Music", {})});
    const auto film = session.start(
        "player-Film", {"paplay", "--client-name=Film", "--property=application.id=org.example.Film",
                        tune(session, "Film", {.beatsPerMinute = 92, .key = 49, .loudness = 0.12})});
    PanelStage stage(session, {});
    stage.openCard("Music");
    stage.takePicture(file);
}

} // namespace vello::demo
