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

/// Where the panel's window is wanted.
struct WindowPlace {
    QPoint position = {}; ///< its top left corner, on systems where windows say that themselves
    /// On others: the corner of the screen, and how far from the edges that meet there the window's own are.
    /// Negative: so much of it is to be clear and beyond.
    ScreenCorner corner = ScreenCorner::topRight;
    int inset = 0;
};

/// What the panel's window and the status item need of the system that shows windows, beyond the toolkit.
/// This class knows of none and leaves everything to the toolkit; each system has a class of its own. Main
/// thread only. Lengths and places are the toolkit's, where nothing else is said.
class WindowSystem : public QObject {
    Q_OBJECT

public:
    /// The one that the toolkit runs on.
    static std::unique_ptr<WindowSystem> ofToolkit();

    /// Whether windows can let through what is behind them, now.
    virtual bool hasTranslucency() const { return true; }
    /// Where `native`, a place in the system's own pixels over all screens, is. None where it is on no
    /// screen, or where no place of another program can be known.
    virtual std::optional<QPoint> place(QPoint native) const;

    /// Whether bars may embed a window of ours as a status item.
    virtual bool hasEmbeddedItems() const { return false; }
    /// Whether the signals below are told.
    virtual bool tellsButtons() const { return false; }

    /// `window` is to become the panel's. Before anything of it is made but the object.
    virtual void adopt(QWindow& window);
    /// `window`, which is adopted and not visible, is about to be shown there.
    virtual void prepare(QWindow& window, const WindowPlace& place);
    /// Clicks beside `panel`, the part of `window` that people see, go to what is behind. `shadow` is how far
    /// the panel's shadow reaches beyond it. With `cornerRadius` the rest is not to be drawn either.
    virtual void limit(QWindow& window, const QRect& panel, int shadow, double cornerRadius);

signals:
    /// A button of a pointer was pressed, over whatever window, in the system's own pixels; and let go. Only
    /// where the system tells.
    void buttonPressed(QPoint native);
    void buttonReleased();
};

} // namespace vello
