// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/PanelShell.h"

#include <utility>

namespace vello {

PanelShell::PanelShell(const Parts& parts, std::function<void()> quit)
    : controller_(parts.controller), icons_(parts.runningApplications, parts.iconProgram),
      desktop_(parts.sessionBus, qEnvironmentVariable("VELLO_APPEARANCE")), theme_(desktop_.appearance()),
      model_(parts.controller, parts.meters, parts.launchAtLogin, icons_),
      windows_(WindowSystem::ofToolkit()), presenter_(model_, theme_, *windows_, parts.corner),
      tray_(parts.sessionBus, *windows_,
            [this] { return trayMenu(controller_, model_, [this] { presenter_.show(tray_.geometry()); }); }),
      launch_(
          parts.mainThread,
          [this] {
              if (!tray_.isShown())
                  return false;
              presenter_.show(tray_.geometry());
              return true;
          },
          [this] { presenter_.show(std::nullopt); }) {
    connect(&desktop_, &DesktopAppearance::changed, this,
            [this] { theme_.setAppearance(desktop_.appearance()); });
    connect(&model_, &PanelModel::quitRequested, this, [quit = std::move(quit)] { quit(); });
    connect(&model_, &PanelModel::presetFileRequested, this, &PanelShell::choosePresetFile);
    connect(&tray_, &Tray::activated, &presenter_, &PanelPresenter::toggle);
    observeMenu();
    showMasterSwitch();
    observations_.push_back(
        controller_.isProcessingEnabled().observe([this](const auto&) { showMasterSwitch(); }));
    observations_.push_back(controller_.capturePermission().status().observe([this](const auto&) {
        // The question had the keyboard; the panel takes it back with the answer.
        if (presenter_.isPanelVisible())
            presenter_.show(std::nullopt);
    }));
}

void PanelShell::showMasterSwitch() {
    tray_.setLight(controller_.isProcessingEnabled().value() ? TrayIconLight::full : TrayIconLight::dimmed);
}

void PanelShell::observeMenu() {
    const auto invalidate = [this](const auto&) { tray_.invalidateMenu(); };
    observations_.push_back(controller_.isProcessingEnabled().observe(invalidate));
    observations_.push_back(controller_.activeSourceID().observe(invalidate));
    observations_.push_back(controller_.userPresets().observe(invalidate));
}

/// The panel is in front of all windows, so it makes room for the dialog and comes back with the answer.
void PanelShell::choosePresetFile() {
    presenter_.hide();
    presetFiles_ = std::make_unique<QFileDialog>(nullptr, tr("Import preset"));
    presetFiles_->setFileMode(QFileDialog::ExistingFile);
    connect(presetFiles_.get(), &QFileDialog::finished, this, [this](int result) {
        if (result == QDialog::Accepted)
            model_.presetImport()->openFile(presetFiles_->selectedUrls().value(0));
        presenter_.show(tray_.geometry());
    });
    presetFiles_->open();
}

void PanelShell::presentAtLaunch() {
    launch_.presentPanelWhenReady();
}

void PanelShell::reopen(const std::string& activationToken) {
    windows_->acceptStart(activationToken);
    presenter_.show(tray_.geometry());
}

} // namespace vello
