// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/AppearanceChoices.h"
#include "UI/Appearance/SettingsPortal.h"
#include "UI/Appearance/XSettingsWatch.h"

#include <QObject>

#include <memory>

namespace vello {

/// Gives the toolkit's windows and menus the direction of the language of VELLO's texts, which the toolkit
/// does not know. Call it after setLanguage(), before there is a window. Requires a QGuiApplication.
void adoptLayoutDirection();

/// The user's choices according to the toolkit's palette, font and layout direction. Requires a
/// QGuiApplication.
AppearanceChoices toolkitChoices();

/// The user's current choices. AppearanceWords take precedence over the portal, the portal over the settings
/// of an X11 desktop, and those over the toolkit. The font scale is the larger of the portal's and the
/// desktop's. Follows every change. Main thread
/// only. Requires a QGuiApplication that outlives it.
class DesktopAppearance : public QObject {
    Q_OBJECT

public:
    /// `words` are those of AppearanceWords. Words that are not understood are reported on standard error.
    DesktopAppearance(const QDBusConnection& connection, const QString& words);

    const Appearance& appearance() const { return appearance_; }

signals:
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Appearance now() const;
    void review();

    AppearanceChoices words_;
    SettingsPortal portal_;
    std::unique_ptr<XSettingsWatch> xSettings_; ///< null where there is no X11
    Appearance appearance_;
};

} // namespace vello
