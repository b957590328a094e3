// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/PanelGeometry.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QScreen>
#include <QWindow>

#include <memory>
#include <optional>
#include <string>

namespace vello {

/// The requested place of the panel's window.
struct WindowPlace {
    QPoint position = {}; ///< its top left corner, on systems where windows set their own position
    int margin = 0;       ///< the width of the transparent part at each of the window's edges
    /// On other systems: the corner of the work area, and the distances of the window's edges from the work
    /// area's edges that meet there. A negative distance puts a transparent part of the window beyond them.
    ScreenCorner corner = ScreenCorner::topRight;
    int horizontal = 0; ///< from the left or right edge
    int vertical = 0;   ///< from the top or bottom edge
    /// The screen; null where the system may choose it, for instance as the one that the user works on.
    QScreen* screen = nullptr;

    friend bool operator==(const WindowPlace&, const WindowPlace&) = default;
};

/// What the panel's window and the status item need of the window system beyond Qt. This base class leaves
/// everything to Qt; each window system has a subclass. Main thread only. Lengths and places are in Qt's
/// logical pixels unless stated otherwise.
class WindowSystem : public QObject {
    Q_OBJECT

public:
    /// Where Qt can run on two window systems, and only one of them lets the panel choose its place, sets
    /// QT_QPA_PLATFORM to that one and returns true. Call before the application object is created.
    static bool chooseForToolkit();
    /// The window system that Qt runs on.
    static std::unique_ptr<WindowSystem> ofToolkit();

    /// Whether windows can currently be translucent.
    virtual bool hasTranslucency() const { return true; }
    /// The logical position of `native`, which is in the system's own pixels over all screens. Absent when it
    /// is on no screen, or when the system does not reveal positions of other programs.
    virtual std::optional<QPoint> place(QPoint native) const;

    /// The screen for a panel that does not open at the status item; null when there is no screen.
    virtual QScreen* activeScreen() const;
    /// The part of `screen` that bars leave free, if the system reveals it.
    virtual std::optional<QRect> workArea(const QScreen& screen) const;

    /// Whether bars may embed one of our windows as a status item.
    virtual bool hasEmbeddedItems() const { return false; }
    /// Whether buttonPressed() and buttonReleased() are emitted.
    virtual bool tellsButtons() const { return false; }

    /// Prepares `window` to be the panel's. Call before its platform window is created.
    virtual void adopt(QWindow& window);
    /// Call before `window`, which is adopted and hidden, is shown at `place`.
    virtual void prepare(QWindow& window, const WindowPlace& place);
    /// Passes clicks outside `panel`, the visible part of `window`, to the windows behind it. `shadow` is how
    /// far the panel's shadow extends beyond it. With a positive `cornerRadius` the rest is not drawn either.
    virtual void limit(QWindow& window, const QRect& panel, int shadow, double cornerRadius);
    /// The user has started the application again, and the window is shown for that. `token` is what the
    /// desktop gave to that start: a token of XDG_ACTIVATION_TOKEN or an ID of DESKTOP_STARTUP_ID; or empty.
    virtual void acceptStart(const std::string& token);

signals:
    /// The first pointer button was pressed or released over any window, at `native` in the system's own
    /// pixels. Only emitted when tellsButtons().
    void buttonPressed(QPoint native);
    void buttonReleased(QPoint native);
    /// No window of this program has the keyboard any more. Emitted where a press on another program's window
    /// is noticed in no other way.
    void keyboardLost();
    /// The first pointer button was pressed on another program's window or the desktop, which did not get the
    /// press.
    void pressedOutside();
    /// hasTranslucency() has changed.
    void translucencyChanged();
    /// The system shows the window no longer, for instance because its screen is gone.
    void windowClosed();

protected:
    /// Emits keyboardLost() from now on.
    void watchKeyboard();
};

} // namespace vello
