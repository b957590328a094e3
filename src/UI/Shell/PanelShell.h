// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/DesktopAppearance.h"
#include "UI/Geometry/LaunchPresentation.h"
#include "UI/Panel/AppIconProvider.h"
#include "UI/Panel/PanelModel.h"
#include "UI/Panel/Theme.h"
#include "UI/Panel/WordingTranslator.h"
#include "UI/Shell/PanelPresenter.h"
#include "UI/Shell/Tray.h"
#include "UI/Shell/WindowSystem.h"

#include <QDBusConnection>
#include <QFileDialog>
#include <QObject>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// The application on the screen: the status item and the panel that it opens. Main thread only. Requires a
/// QApplication.
class PanelShell : public QObject {
    Q_OBJECT

public:
    /// The dependencies of the shell. All of them must outlive the shell.
    struct Parts {
        AudioController& controller;
        MeterAudience& meters;
        LaunchAtLoginController& launchAtLogin;
        RunningApplications& runningApplications;
        MainThread& mainThread;
        std::filesystem::path iconProgram; ///< kApplicationIconProgram
        /// The panel opens here while the status item's place is not known; without one, at the bar.
        std::optional<ScreenCorner> corner = {};
        QDBusConnection sessionBus = QDBusConnection::sessionBus();
    };
    /// `quit` ends the application.
    PanelShell(const Parts& parts, std::function<void()> quit);

    /// Opens the panel as soon as there is a status item, or in the corner of the screen when none appears.
    void presentAtLaunch();
    /// Call when the application is started again: opens the panel, or brings an open one to the front.
    /// `activationToken` is what the desktop gave to that start, or empty.
    void reopen(const std::string& activationToken);

    PanelPresenter& presenter() { return presenter_; }
    const Tray& tray() const { return tray_; }

private:
    void observeMenu();
    void showMasterSwitch();
    void choosePresetFile();

    WordingTranslator wording_;
    AudioController& controller_;
    AppIconProvider icons_;
    DesktopAppearance desktop_;
    Theme theme_;
    PanelModel model_;
    std::unique_ptr<WindowSystem> windows_;
    PanelPresenter presenter_;
    Tray tray_;
    LaunchPresentation launch_;
    std::vector<Observation> observations_;
    std::unique_ptr<QFileDialog> presetFiles_; ///< while the user chooses
};

} // namespace vello
