// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/SourceItem.h"

#include "UI/Geometry/SpectrumGeometry.h"

#include <cmath>
#include <utility>

namespace vello {
namespace {

/// The meter is 36 points wide. Finer steps would be invisible, but would cause redraws.
constexpr double kLevelSteps = 72.0;

} // namespace

SourceItem::SourceItem(AudioController& controller, FrameClock& clock, AppAudioSource source, QIcon icon)
    : controller_(controller), clock_(clock), source_(std::move(source)), icon_(std::move(icon)),
      equalizer_(controller, source_.id, nullptr) {
    refreshRouteName();
    refreshLevel();
    refreshClipping();
}

void SourceItem::setSource(AppAudioSource source, QIcon icon) {
    if (source == source_ && icon.cacheKey() == icon_.cacheKey())
        return;
    source_ = std::move(source);
    icon_ = std::move(icon);
    emit sourceChanged();
}

void SourceItem::setEQEnabled(bool isEnabled) {
    EQSettings settings = controller_.settings(source_.id);
    settings.isBypassed = !isEnabled;
    controller_.updateSettings(std::move(settings), source_.id);
}

void SourceItem::setExpanded(bool isExpanded) {
    if (isExpanded == isExpanded_)
        return;
    isExpanded_ = isExpanded;
    emit expandedChanged();
}

void SourceItem::setHeld(bool isHeld) {
    if (isHeld == isHeld_)
        return;
    isHeld_ = isHeld;
    emit heldChanged();
}

void SourceItem::setLeaving(bool isLeaving) {
    if (isLeaving == isLeaving_)
        return;
    isLeaving_ = isLeaving;
    emit leavingChanged();
}

void SourceItem::refreshSettings() {
    const bool wasEnabled = isEQEnabled();
    equalizer_.refreshSettings();
    if (wasEnabled != isEQEnabled())
        emit settingsChanged();
    refreshRouteName();
}

void SourceItem::refreshRoutes() {
    equalizer_.refreshRoutes();
    refreshRouteName();
}

void SourceItem::refreshRouteName() {
    const auto uid = controller_.settings(source_.id).outputDeviceUID;
    const QString name = uid ? QString::fromStdString(controller_.outputRouteName(uid)) : QString();
    if (name == outputRouteName_)
        return;
    outputRouteName_ = name;
    emit routeChanged();
}

void SourceItem::refreshClipping() {
    const bool isClipping = controller_.clippingSources().value().contains(source_.id);
    if (isClipping == isClipping_)
        return;
    isClipping_ = isClipping;
    emit clippingChanged();
}

void SourceItem::refreshLevel() {
    const auto published = controller_.level(source_.id);
    std::optional<double> level;
    if (published)
        level = std::ceil(meterFill(*published) * kLevelSteps) / kLevelSteps;
    if (level == level_)
        return;
    level_ = level;
    emit levelChanged();
}

} // namespace vello
