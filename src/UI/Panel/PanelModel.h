// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "AudioEngine/Controller/LaunchAtLoginController.h"
#include "AudioEngine/Controller/MeterAudience.h"
#include "UI/Panel/FrameClock.h"
#include "UI/Panel/PresetImport.h"
#include "UI/Panel/SourceListModel.h"

#include <QObject>
#include <QtQmlIntegration>

#include <optional>
#include <string>
#include <vector>

namespace vello {

/// What the panel shows and does: the controllers' published state as properties, their operations as
/// functions, and the state of the panel itself.
class PanelModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(vello::SourceListModel* sources READ sources CONSTANT)
    Q_PROPERTY(vello::PresetImport* presetImport READ presetImport CONSTANT)
    Q_PROPERTY(bool isAuthorized READ isAuthorized NOTIFY permissionChanged)
    Q_PROPERTY(bool isDenied READ isDenied NOTIFY permissionChanged)
    Q_PROPERTY(bool isProcessingEnabled READ isProcessingEnabled WRITE setProcessingEnabled NOTIFY
                   processingEnabledChanged)
    Q_PROPERTY(bool launchesAtLogin READ launchesAtLogin WRITE setLaunchesAtLogin NOTIFY launchChanged)
    Q_PROPERTY(bool didFailToUpdateLaunch READ didFailToUpdateLaunch NOTIFY launchChanged)
    /// Why changes are not saved, in the user's language; empty while they are.
    Q_PROPERTY(QString saveProblem READ saveProblem NOTIFY saveProblemChanged)
    /// The target of the title's animation: 1 (receded) while a card is open, else 0.
    Q_PROPERTY(double headerTitleExpansion READ headerTitleExpansion NOTIFY headerTitleExpansionChanged)

public:
    /// All arguments must outlive the model.
    PanelModel(AudioController& controller, MeterAudience& meters, LaunchAtLoginController& launchAtLogin,
               AppIconProvider& icons);

    SourceListModel* sources() { return &sources_; }
    PresetImport* presetImport() { return &presetImport_; }
    bool isAuthorized() const;
    bool isDenied() const;
    bool isProcessingEnabled() const { return controller_.isProcessingEnabled().value(); }
    void setProcessingEnabled(bool isEnabled) { controller_.setProcessingEnabled(isEnabled); }
    bool launchesAtLogin() const { return launchAtLogin_.isEnabled().value(); }
    void setLaunchesAtLogin(bool isEnabled);
    bool didFailToUpdateLaunch() const { return launchAtLogin_.didFailToUpdate().value(); }
    QString saveProblem() const;
    double headerTitleExpansion() const { return headerTitleExpansion_; }
    /// Identifier of the open card's source; absent while all cards are closed.
    const std::optional<std::string>& expandedSourceID() const { return expandedSourceID_; }

    /// Presets of the open card's source; null while no card of a listed source is open.
    MenuModel* openPresets() const;
    /// Name of that source; empty without one.
    QString openSourceName() const;
    /// Whether the question for the user's consent is open in a window of its own.
    bool isAskingForConsent() const { return controller_.capturePermission().isAsking(); }
    /// Reports whether the panel is on the screen. Meters run only while it is.
    void setShown(bool isShown);

    Q_INVOKABLE void allowCapture() { controller_.capturePermission().request(); }
    Q_INVOKABLE void openCaptureSettings() { controller_.capturePermission().openSystemSettings(); }
    Q_INVOKABLE void openAbout() { emit aboutRequested(); }
    Q_INVOKABLE void quit() { emit quitRequested(); }

signals:
    void permissionChanged();
    void processingEnabledChanged();
    void launchChanged();
    void saveProblemChanged();
    void headerTitleExpansionChanged();
    void aboutRequested();
    void quitRequested();
    /// The user wants to choose a file for presetImport().
    void presetFileRequested();

private:
    using Refresh = void (SourceItem::*)();

    void observe();
    void observeMeters();
    void refreshAll(Refresh refresh) const;
    /// Null while no card of a listed source is open.
    SourceItem* openItem() const;
    void refreshSources();
    void showExpansion();
    void toggle(const std::string& sourceID);

    AudioController& controller_;
    MeterAudience& meters_;
    LaunchAtLoginController& launchAtLogin_;
    FrameClock clock_;
    SourceListModel sources_;
    PresetImport presetImport_;
    std::optional<std::string> expandedSourceID_;
    double headerTitleExpansion_ = 0.0;
    MeterAudience::Seat seat_;
    std::vector<Observation> observations_;
};

} // namespace vello
