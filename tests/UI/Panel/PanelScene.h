// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "AudioEngine/Controller/LaunchAtLoginController.h"
#include "AudioEngine/Controller/MeterAudience.h"
#include "UI/Panel/AppIconProvider.h"
#include "UI/Panel/PanelEngine.h"
#include "UI/Panel/PanelModel.h"
#include "UI/Panel/Theme.h"
#include "UI/Panel/WordingTranslator.h"

#include "support/FakeApplicationEvents.h"
#include "support/FakeAudioHardware.h"
#include "support/FakeCaptureAuthorization.h"
#include "support/FakeKeyValueStore.h"
#include "support/FakeLoginItem.h"
#include "support/FakeRunningApplications.h"
#include "support/RecordingSystemLog.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualMainThread.h"

#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace vello {

/// The panel on the real model, on top of fakes. The model's clock moves only when the test advances it.
class PanelScene {
public:
    /// Without `iconProgram` no application has an icon.
    explicit PanelScene(const Appearance& appearance = {}, Consent consent = Consent::allowed,
                        const std::filesystem::path& iconProgram = {});
    ~PanelScene();

    /// An application starts to play; its ID is its name in lower case.
    void play(std::int32_t pid, const std::string& name, const std::string& iconName = {});
    /// The application stops to play.
    void stop(std::int32_t pid);
    /// Feeds every tap with `seconds` of noise that is louder in its low bands.
    void hearNoise(double seconds);
    /// Feeds every tap with `seconds` of drum hits at this tempo.
    void hearBeats(double beatsPerMinute, double seconds);
    void setLevel(const std::string& sourceID, float level) const;
    /// The source has just been louder than full scale.
    void clip(const std::string& sourceID) const;
    /// Advances the model's clock by one tick of the meters.
    void tickMeters();

    SourceItem* item(const std::string& sourceID);
    /// The first item below the window's content with this accessible name; null when there is none.
    QQuickItem* named(const QString& accessibleName) const;

    /// Creates the root of `component` of the QML module, with `properties`.
    QQuickWindow* openWindow(const QString& component, const QVariantMap& properties);
    QQuickWindow* openPanel();
    QQuickWindow* openAbout();
    /// Waits until no spring moves and the window, unless hidden, has rendered the current state. Throws on
    /// timeout.
    void settle();
    QImage picture();

    WordingTranslator wording;
    TemporaryFolder folder;
    VirtualMainThread mainThread;
    FakeAudioHardware hardware{mainThread};
    FakeRunningApplications applications;
    FakeApplicationEvents events;
    FakeCaptureAuthorization authorization;
    FakeKeyValueStore cloud;
    FakeLoginItem loginItem;
    RecordingSystemLog log;
    std::unique_ptr<AudioController> controller;
    std::unique_ptr<MeterAudience> meters;
    LaunchAtLoginController launchAtLogin{loginItem};
    AppIconProvider icons;
    Theme theme;
    std::unique_ptr<PanelModel> model;
    std::unique_ptr<PanelEngine> engine;
    QQuickWindow* window = nullptr; ///< owned by the scene
    QStringList qmlWarnings;

private:
    /// Throws an error that names `what` on timeout.
    static void await(const char* what, const std::function<bool()>& isMet);
    /// Feeds every tap with these samples on both channels.
    void hear(const std::vector<float>& samples);

    std::mt19937 random_{7};
    std::map<std::int32_t, AudioObjectID> processes_;
};

} // namespace vello
