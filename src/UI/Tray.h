// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/DBusMenu.h"
#include "UI/StatusNotifierItem.h"

#include <QMenu>
#include <QObject>
#include <QRect>
#include <QSystemTrayIcon>

#include <memory>
#include <optional>

namespace vello {

class WindowSystem;

/// The status item, in whichever way the desktop shows one: on the bus where there is a watcher, embedded in
/// an X11 tray where there is only that. Both may come and go while it lives.
class Tray : public QObject {
    Q_OBJECT

public:
    /// `windows` outlives the tray.
    Tray(QDBusConnection bus, const WindowSystem& windows, DBusMenu::MakeMenu makeMenu);
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
    void showMenu(QPoint place);
    std::optional<QRect> placeAround(int x, int y) const;

    const WindowSystem& windows_;
    DBusMenu::MakeMenu makeMenu_;
    DBusMenu menu_;
    StatusNotifierItem item_;
    std::unique_ptr<QMenu> ownMenu_; ///< for hosts that show none
    std::unique_ptr<QSystemTrayIcon> embedded_;
};

} // namespace vello
