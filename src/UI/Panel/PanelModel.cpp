// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/PanelModel.h"

#include "Foundation/Localization.h"

#include <QQmlEngine>

namespace vello {

using Status = AudioCapturePermission::Status;

namespace {

/// Short, because the panel is narrow; `vello status` tells the details.
std::string shortSentence(SaveProblem::Kind kind) {
    switch (kind) {
    case SaveProblem::Kind::diskFull:
        return localized("Not saved: the disk is full.");
    case SaveProblem::Kind::notPermitted:
        return localized("Not saved: no permission to write.");
    case SaveProblem::Kind::usedElsewhere:
        return localized("Not saved: another VELLO uses the settings.");
    case SaveProblem::Kind::notShared:
        return localized("Presets are not shared with other machines.");
    case SaveProblem::Kind::unreadable:
        return localized("Your saved settings could not be read.");
    case SaveProblem::Kind::other:
        break;
    }
    return localized("Changes could not be saved.");
}

} // namespace

PanelModel::PanelModel(AudioController& controller, MeterAudience& meters,
                       LaunchAtLoginController& launchAtLogin, AppIconProvider& icons)
    : controller_(controller), meters_(meters), launchAtLogin_(launchAtLogin),
      sources_(controller, icons, clock_), presetImport_(controller) {
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    QJSEngine::setObjectOwnership(&sources_, QJSEngine::CppOwnership);
    QJSEngine::setObjectOwnership(&presetImport_, QJSEngine::CppOwnership);
    QJSEngine::setObjectOwnership(&clock_, QJSEngine::CppOwnership);
    connect(&sources_, &SourceListModel::toggled, this, &PanelModel::toggle);
    connect(&sources_, &SourceListModel::importRequested, this, &PanelModel::presetFileRequested);
    observe();
    observeMeters();
    refreshSources();
}

void PanelModel::observe() {
    const auto keep = [this](Observation observation) { observations_.push_back(std::move(observation)); };
    const auto refreshing = [this](Refresh refresh) {
        return [this, refresh](const auto&) { refreshAll(refresh); };
    };
    keep(controller_.sources().observe([this](const auto&) { refreshSources(); }));
    keep(controller_.settingsBySourceID().observe(refreshing(&SourceItem::refreshSettings)));
    keep(controller_.outputRoutes().observe(refreshing(&SourceItem::refreshRoutes)));
    keep(controller_.userPresets().observe(refreshing(&SourceItem::refreshPresets)));
    keep(controller_.isProcessingEnabled().observe([this](bool) { emit processingEnabledChanged(); }));
    keep(controller_.capturePermission().status().observe([this](Status) {
        controller_.permissionStatusChanged();
        emit permissionChanged();
    }));
    keep(controller_.saveProblem().observe([this](const auto&) { emit saveProblemChanged(); }));
    keep(launchAtLogin_.isEnabled().observe([this](bool) { emit launchChanged(); }));
    keep(launchAtLogin_.didFailToUpdate().observe([this](bool) { emit launchChanged(); }));
}

/// While the panel is hidden, somebody else may look at the meters.
void PanelModel::observeMeters() {
    const auto keep = [this](Observation observation) { observations_.push_back(std::move(observation)); };
    const auto refreshing = [this](Refresh refresh) {
        return [this, refresh](const auto&) {
            if (seat_)
                refreshAll(refresh);
        };
    };
    keep(controller_.levels().observe(refreshing(&SourceItem::refreshLevel)));
    keep(controller_.tempoEstimates().observe(refreshing(&SourceItem::refreshTempo)));
    keep(controller_.clippingSources().observe(refreshing(&SourceItem::refreshClipping)));
    keep(controller_.spectrum().observe([this](const auto&) {
        SourceItem* const open = seat_ ? openItem() : nullptr;
        if (open)
            open->refreshSpectrum();
    }));
    keep(controller_.metersUpdatedAt().observe([this](FrameClock::Instant now) {
        if (seat_)
            clock_.tick(now);
    }));
}

void PanelModel::refreshAll(Refresh refresh) const {
    sources_.forEach([refresh](SourceItem& item) { (item.*refresh)(); });
}

bool PanelModel::isAuthorized() const {
    return controller_.capturePermission().status().value() == Status::authorized;
}

bool PanelModel::isDenied() const {
    return controller_.capturePermission().status().value() == Status::denied;
}

void PanelModel::setLaunchesAtLogin(bool isEnabled) {
    launchAtLogin_.setEnabled(isEnabled);
    // Emitted also without a change, so that the switch returns to the actual state.
    emit launchChanged();
}

QString PanelModel::saveProblem() const {
    const auto& problem = controller_.saveProblem().value();
    return problem ? QString::fromStdString(shortSentence(problem->kind)) : QString();
}

SourceItem* PanelModel::openItem() const {
    SourceItem* open = nullptr;
    sources_.forEach([&open](SourceItem& item) {
        if (item.isExpanded())
            open = &item;
    });
    return open;
}

MenuModel* PanelModel::openPresets() const {
    SourceItem* const open = openItem();
    return open ? open->equalizer()->presets() : nullptr;
}

QString PanelModel::openSourceName() const {
    const SourceItem* const open = openItem();
    return open ? open->name() : QString();
}

void PanelModel::setShown(bool isShown) {
    sources_.setShown(isShown);
    if (!isShown) {
        seat_.reset();
        return;
    }
    launchAtLogin_.refresh();
    controller_.capturePermission().refresh();
    controller_.permissionStatusChanged();
    seat_ = meters_.join();
    for (const Refresh refresh : {&SourceItem::refreshLevel, &SourceItem::refreshClipping,
                                  &SourceItem::refreshTempo, &SourceItem::refreshSpectrum})
        refreshAll(refresh);
}

void PanelModel::toggle(const std::string& sourceID) {
    const bool wasExpanded = expandedSourceID_ == sourceID;
    const double titleExpansion = wasExpanded ? 0.0 : 1.0;
    if (titleExpansion != headerTitleExpansion_) {
        headerTitleExpansion_ = titleExpansion;
        emit headerTitleExpansionChanged();
    }
    expandedSourceID_ = wasExpanded ? std::nullopt : std::optional(sourceID);
    showExpansion();
    controller_.setActiveSource(expandedSourceID_);
    refreshAll(&SourceItem::refreshSpectrum); // the card that closes has none any more
}

void PanelModel::refreshSources() {
    sources_.refreshSources();
    showExpansion();
}

void PanelModel::showExpansion() {
    sources_.forEach([this](SourceItem& item) { item.setExpanded(expandedSourceID_ == item.source().id); });
}

} // namespace vello
