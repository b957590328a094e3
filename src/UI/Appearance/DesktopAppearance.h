// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/AppearanceChoices.h"
#include "UI/Appearance/SettingsPortal.h"

#include <QObject>

namespace vello {

/// What the toolkit's own palette, font and layout direction tell of the user's choices. There is a
/// QGuiApplication.
AppearanceChoices toolkitChoices();

/// The user's choices as they stand: those in words come first, then the portal's, then the toolkit's; of
/// the font scales of portal and toolkit the larger one. Follows every change. Main thread only; there is a
/// QGuiApplication, which lives longer.
class DesktopAppearance : public QObject {
    Q_OBJECT

public:
    /// `words` are those of AppearanceWords; what cannot be understood of them is told on standard error.
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
