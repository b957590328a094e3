// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/Tray.h"

#include "UI/Shell/WindowSystem.h"

#include <QCursor>
#include <QGuiApplication>
#include <QStyleHints>

#include <utility>

namespace vello {
namespace {

/// In pixels: half the size of most items. Only the pointer's position is known, not the item's.
constexpr int kReach = 11;

StatusNotifierItem::Look look(TrayIconLight light) {
    return {trayIcon(light), symbolicTrayIconName(qEnvironmentVariable("XDG_CURRENT_DESKTOP"), light)};
}

} // namespace

Tray::Tray(QDBusConnection bus, const WindowSystem& windows, DBusMenu::MakeMenu makeMenu,
           std::function<Clock::time_point()> now)
    : windows_(windows), now_(std::move(now)), makeMenu_(makeMenu), menu_(std::move(makeMenu)),
      item_(std::move(bus), menu_, look(light_)) {
    connect(&item_, &StatusNotifierItem::registrationChanged, this, &Tray::review);
    connect(&item_, &StatusNotifierItem::activated, this,
            [this](int x, int y) { activate(placeAround(x, y)); });
    connect(&item_, &StatusNotifierItem::menuRequested, this, [this](int x, int y) {
        if (const auto place = placeAround(x, y))
            showMenu(place->center());
    });
}

Tray::~Tray() = default;

void Tray::setLight(TrayIconLight light) {
    if (light == light_)
        return;
    light_ = light;
    item_.setLook(look(light));
    if (embedded_)
        embedded_->setIcon(trayIcon(light));
}

/// Hosts report every click of a double click, and some report the second one twice.
void Tray::activate(std::optional<QRect> place) {
    const std::chrono::milliseconds doubleClick(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    if (lastActivation_ && now_() - *lastActivation_ < doubleClick)
        return;
    emit activated(place);
    // The second click waits meanwhile: the first opening may take longer than a double click.
    lastActivation_ = now_();
}

bool Tray::isShown() const {
    return item_.registration() == StatusNotifierItem::Registration::done ||
           (embedded_ && embedded_->isVisible() && QSystemTrayIcon::isSystemTrayAvailable());
}

std::optional<QRect> Tray::geometry() const {
    if (!embedded_ || embedded_->geometry().isEmpty())
        return std::nullopt;
    return embedded_->geometry();
}

/// Hosts that do not know the place report 0, 0.
std::optional<QRect> Tray::placeAround(int x, int y) const {
    const auto place = x == 0 && y == 0 ? std::nullopt : windows_.place({x, y});
    if (!place)
        return std::nullopt;
    return QRect(place->x() - kReach, place->y() - kReach, 2 * kReach, 2 * kReach);
}

/// Embeds the item only after the watcher has answered: Qt would find the same watcher and register with it
/// instead of embedding.
void Tray::review() {
    if (item_.registration() == StatusNotifierItem::Registration::done)
        embedded_.reset();
    else if (!embedded_ && windows_.hasEmbeddedItems())
        embed();
}

void Tray::embed() {
    embedded_ = std::make_unique<QSystemTrayIcon>(trayIcon(light_));
    embedded_->setToolTip(item_.title());
    connect(embedded_.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                // Qt reports the second of two quick presses only as a double click.
                if (reason == QSystemTrayIcon::Context)
                    showMenu(QCursor::pos());
                else
                    activate(geometry());
            });
    embedded_->show();
}

void Tray::showMenu(QPoint place) {
    ownMenu_ = std::make_unique<QMenu>();
    for (const TrayMenuEntry& entry : makeMenu_()) {
        if (entry.isDivider()) {
            ownMenu_->addSeparator();
            continue;
        }
        QAction* const action = ownMenu_->addAction(QString(entry.label).replace(u'&', QStringLiteral("&&")));
        action->setDisabled(entry.isHeading());
        action->setCheckable(entry.isCheckable);
        action->setChecked(entry.isChecked);
        if (entry.choose)
            connect(action, &QAction::triggered, this, [choose = entry.choose] { choose(); });
    }
    ownMenu_->popup(place);
}

} // namespace vello
