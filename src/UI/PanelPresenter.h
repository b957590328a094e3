// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/PanelEngine.h"
#include "UI/PanelGeometry.h"

#include <QElapsedTimer>
#include <QObject>
#include <QQuickWindow>
#include <QRect>

#include <memory>
#include <optional>

namespace vello {

class PanelModel;
class Theme;
class X11Desktop;

/// Shows and hides the panel's window and the About window. They are made when they are first needed, and
/// kept.
class PanelPresenter : public QObject {
    Q_OBJECT

public:
    /// `model` and `theme` outlive the presenter.
    PanelPresenter(PanelModel& model, Theme& theme);
    ~PanelPresenter() override;

    bool isVisible() const;
    /// Beside `icon` (in pixels of the screen, where the window system tells them), or in the corner. Takes
    /// the keyboard. A panel that is open stays where it is.
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
    void place(std::optional<QRect> icon);
    Q_SLOT void shapeWindow();
    void pressedAt(QPoint position);
    QRect surface() const;

    PanelModel& model_;
    PanelEngine engine_;
    std::unique_ptr<X11Desktop> desktop_;
    std::unique_ptr<QQuickWindow> about_;
    std::unique_ptr<QQuickWindow> window_;
    QElapsedTimer sinceClosedByPress_;
};

} // namespace vello
