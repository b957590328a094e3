// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/DBusMenu.h"
#include "UI/Shell/StatusNotifierItem.h"
#include "UI/Shell/TrayIcon.h"

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

/// The status item: on the bus where there is a watcher, else embedded in an X11 tray. Both may appear and
/// disappear during its lifetime.
class Tray : public QObject {
    Q_OBJECT

public:
    using Clock = std::chrono::steady_clock;

    /// `windows` must outlive the tray.
    Tray(QDBusConnection bus, const WindowSystem& windows, DBusMenu::MakeMenu makeMenu,
         std::function<Clock::time_point()> now = Clock::now);
    ~Tray() override;

    /// Whether a desktop shows the item.
    bool isShown() const;
    /// Whether no watcher was found and the item is offered to an X11 tray.
    bool isEmbedded() const { return embedded_ != nullptr; }
    /// The place of the item, if the desktop reports it.
    std::optional<QRect> geometry() const;
    /// Call when the content of the menu has changed.
    void invalidateMenu() { menu_.invalidate(); }

    /// Draws the icon dimmed while the master switch is off.
    void setLight(TrayIconLight light);
    TrayIconLight light() const { return light_; }

signals:
    /// The item was pressed, at this place if the desktop reports it. A double click counts as one press.
    void activated(std::optional<QRect> place);

private:
    void review();
    void embed();
    void activate(std::optional<QRect> place);
    void showMenu(QPoint place);
    std::optional<QRect> placeAround(int x, int y) const;

    const WindowSystem& windows_;
    std::function<Clock::time_point()> now_;
    std::optional<Clock::time_point> lastActivation_;
    TrayIconLight light_ = TrayIconLight::full;
    DBusMenu::MakeMenu makeMenu_;
    DBusMenu menu_;
    StatusNotifierItem item_;
    std::unique_ptr<QMenu> ownMenu_; ///< for hosts that do not show menus of items
    std::unique_ptr<QSystemTrayIcon> embedded_;
};

} // namespace vello
