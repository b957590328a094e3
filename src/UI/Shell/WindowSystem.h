// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/PanelGeometry.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QWindow>

#include <memory>
#include <optional>

namespace vello {

/// The requested place of the panel's window.
struct WindowPlace {
    QPoint position = {}; ///< its top left corner, on systems where windows set their own position
    /// On other systems: the corner of the screen, and the distance of the window's edges from the screen's
    /// edges that meet there. A negative distance puts a transparent part of the window beyond the screen's
    /// edges.
    ScreenCorner corner = ScreenCorner::topRight;
    int inset = 0;
};

/// What the panel's window and the status item need of the window system beyond Qt. This base class leaves
/// everything to Qt; each window system has a subclass. Main thread only. Lengths and places are in Qt's
/// logical pixels unless stated otherwise.
class WindowSystem : public QObject {
    Q_OBJECT

public:
    /// The window system that Qt runs on.
    static std::unique_ptr<WindowSystem> ofToolkit();

    /// Whether windows can currently be translucent.
    virtual bool hasTranslucency() const { return true; }
    /// The logical position of `native`, which is in the system's own pixels over all screens. Absent when it
    /// is on no screen, or when the system does not reveal positions of other programs.
    virtual std::optional<QPoint> place(QPoint native) const;

    /// Whether bars may embed one of our windows as a status item.
    virtual bool hasEmbeddedItems() const { return false; }
    /// Whether the signals below are emitted.
    virtual bool tellsButtons() const { return false; }

    /// Prepares `window` to be the panel's. Call before its platform window is created.
    virtual void adopt(QWindow& window);
    /// Call before `window`, which is adopted and hidden, is shown at `place`.
    virtual void prepare(QWindow& window, const WindowPlace& place);
    /// Passes clicks outside `panel`, the visible part of `window`, to the windows behind it. `shadow` is how
    /// far the panel's shadow extends beyond it. With a positive `cornerRadius` the rest is not drawn either.
    virtual void limit(QWindow& window, const QRect& panel, int shadow, double cornerRadius);

signals:
    /// A pointer button was pressed over any window, at `native` in the system's own pixels; or released.
    /// Only emitted when tellsButtons().
    void buttonPressed(QPoint native);
    void buttonReleased();
};

} // namespace vello
