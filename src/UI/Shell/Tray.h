// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/DBusMenu.h"
#include "UI/Shell/StatusNotifierItem.h"

#include <QMenu>
#include <QObject>
#include <QRect>
#include <QSystemTrayIcon>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace vello {

class WindowSystem;

/// The status item, in whichever way the desktop shows one: on the bus where there is a watcher, embedded in
/// an X11 tray where there is only that. Both may come and go while it lives.
class Tray : public QObject {
    Q_OBJECT

public:
    using Clock = std::chrono::steady_clock;
    /// Faster than a hand: bars on Wayland tell the second click of a double one twice.
    static constexpr std::chrono::milliseconds shortestPause{40};

    /// `windows` outlives the tray.
    Tray(QDBusConnection bus, const WindowSystem& windows, DBusMenu::MakeMenu makeMenu,
         std::function<Clock::time_point()> now = Clock::now);
    ~Tray() override;

    /// Whether some desktop shows the item.
    bool isShown() const;
    /// Whether it asks for a place in an X11 tray, having found no watcher.
    bool isEmbedded() const { return embedded_ != nullptr; }
    /// Where it is shown, if the desktop tells.
    std::optional<QRect> geometry() const;
    /// What the menu would show has changed.
    void invalidateMenu() { menu_.invalidate(); }

signals:
    /// Pressed, at this place if the desktop tells.
    void activated(std::optional<QRect> place);

private:
    void review();
    void embed();
    void activate(int x, int y);
    void showMenu(QPoint place);
    std::optional<QRect> placeAround(int x, int y) const;

    const WindowSystem& windows_;
    std::function<Clock::time_point()> now_;
    std::optional<Clock::time_point> lastActivation_;
    DBusMenu::MakeMenu makeMenu_;
    DBusMenu menu_;
    StatusNotifierItem item_;
    std::unique_ptr<QMenu> ownMenu_; ///< for hosts that show none
    std::unique_ptr<QSystemTrayIcon> embedded_;
};

} // namespace vello
