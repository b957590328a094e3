// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/ClosingPress.h"
#include "UI/Geometry/PanelGeometry.h"
#include "UI/Panel/PanelEngine.h"

#include <QObject>
#include <QQuickWindow>
#include <QRect>

#include <memory>
#include <optional>

namespace vello {

class PanelModel;
class Theme;
class WindowSystem;

/// Shows and hides the panel's window and the About window. They are made when they are first needed, and
/// kept.
class PanelPresenter : public QObject {
    Q_OBJECT

public:
    /// `model`, `theme` and `windows` outlive the presenter. `corner` is where the panel opens while the
    /// status item's place is not known.
    PanelPresenter(PanelModel& model, Theme& theme, WindowSystem& windows, ScreenCorner corner);
    ~PanelPresenter() override;

    bool isPanelVisible() const;
    /// Beside `icon`, or in the corner. Takes the keyboard. A panel that is open stays where it is.
    void show(std::optional<QRect> icon);
    Q_SLOT void hide();
    /// A press on the icon: it closes an open panel, also one that the very press has closed already.
    void toggle(std::optional<QRect> icon);
    void showAbout();

    QQuickWindow* window() const { return window_.get(); }

signals:
    void visibleChanged(bool isVisible);

private:
    QQuickWindow* make(const QString& component, const QVariantMap& properties);
    void makeWindow();
    void prepare(const std::optional<QRect>& icon);
    Q_SLOT void limitWindow();
    void pressedAt(QPoint native);
    bool isOnPanel(QPoint place) const;
    QRect surface() const;

    PanelModel& model_;
    WindowSystem& windows_;
    const ScreenCorner corner_;
    Theme& theme_;
    std::unique_ptr<PanelEngine> engine_;
    std::unique_ptr<QQuickWindow> about_;
    std::unique_ptr<QQuickWindow> window_;
    ClosingPress closingPress_;
    std::optional<QPoint> closedFrom_; ///< where that press was
};

} // namespace vello
