// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/AppearanceChoices.h"
#include "UI/Appearance/SettingsPortal.h"

#include <QObject>

namespace vello {

/// The user's choices according to the toolkit's palette, font and layout direction. Requires a
/// QGuiApplication.
AppearanceChoices toolkitChoices();

/// The user's current choices. AppearanceWords take precedence over the portal, and the portal over the
/// toolkit. The font scale is the larger of the portal's and the toolkit's. Follows every change. Main thread
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
    Appearance appearance_;
};

} // namespace vello
