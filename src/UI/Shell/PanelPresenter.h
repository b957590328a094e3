// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/ClosingPress.h"
#include "UI/Geometry/PanelGeometry.h"
#include "UI/Panel/PanelEngine.h"
#include "UI/Shell/WindowSystem.h"

#include <QObject>
#include <QQuickWindow>
#include <QRect>
#include <QTimer>

#include <memory>
#include <optional>

namespace vello {

class PanelModel;
class Theme;

/// Shows and hides the panel's window and the About window. Each is created on first use and kept. An open
/// panel stays whole and on a screen when the screens or the desktop's translucency change.
class PanelPresenter : public QObject {
    Q_OBJECT

public:
    /// `model`, `theme` and `windows` must outlive the presenter. The panel opens in `corner` while the
    /// status item's place is not known; without one, in the corner at the bar.
    PanelPresenter(PanelModel& model, Theme& theme, WindowSystem& windows,
                   std::optional<ScreenCorner> corner);
    ~PanelPresenter() override;

    bool isPanelVisible() const;
    /// Shows the panel beside `icon`, or where the icon was last, or in the corner. Takes the keyboard focus.
    /// An open panel stays where it is.
    void show(std::optional<QRect> icon);
    Q_SLOT void hide();
    /// Handles a press on the icon. Closes an open panel; does not reopen a panel that this same press has
    /// closed. The second press of a double click, which reaches the panel as one outside, does not close it.
    void toggle(std::optional<QRect> icon);
    void showAbout();

    QQuickWindow* window() const { return window_.get(); }

signals:
    void visibleChanged(bool isVisible);

private:
    QQuickWindow* make(const QString& component, const QVariantMap& properties);
    void makeWindow();
    WindowPlace choosePlace();
    void place();
    Q_SLOT void limitWindow();
    void pressedAt(QPoint native);
    void releasedAt(QPoint native);
    void loseKeyboard();
    void watch(QScreen* screen);
    void settle();
    bool isOnPanel(QPoint place) const;
    bool isSecondOfDoubleClick(QPoint place) const;
    QRect surface() const;

    PanelModel& model_;
    WindowSystem& windows_;
    const std::optional<ScreenCorner> corner_;
    Theme& theme_;
    std::unique_ptr<PanelEngine> engine_;
    std::unique_ptr<QQuickWindow> about_;
    std::unique_ptr<QQuickWindow> window_;
    ClosingPress closingPress_;
    std::optional<QPoint> closedFrom_; ///< position of the press that closed the panel
    /// The time and the item of the activation that opened the panel.
    struct Opening {
        ClosingPress::Clock::time_point time;
        QRect icon;
    };
    std::optional<Opening> opening_;
    std::optional<QRect> lastIcon_;
    WindowPlace place_;
    bool hasHadKeyboard_ = false;      ///< since the panel was shown
    bool isPressedOutside_ = false;    ///< a button is held that closes the panel unless released on it
    bool isClosedByTheSystem_ = false; ///< and not by the user
    QTimer settling_;
};

} // namespace vello
