// SPDX-License-Identifier: Apache-2.0
#include "UI/Tray.h"

#include <QPainter>
#include <QSvgRenderer>

#include <utility>

namespace vello {
namespace {

/// Half the size of most items: what is known is only where the pointer was.
constexpr int kReach = 11;

/// Light, for the bars that most desktops have.
QIcon itemIcon() {
    QSvgRenderer drawing(QStringLiteral(":/vello/symbols/slider.vertical.3.svg"));
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        drawing.render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), QColor(0xf2, 0xf2, 0xf2));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

Tray::Tray(DBusMenu::MakeMenu makeMenu)
    : makeMenu_(makeMenu), menu_(std::move(makeMenu)),
      item_(QDBusConnection::sessionBus(), menu_, itemIcon()) {
    connect(&item_, &StatusNotifierItem::registeredChanged, this, &Tray::review);
    connect(&item_, &StatusNotifierItem::activated, this, [this](int x, int y) {
        // Some hosts pass the pointer's place in their own window, or none at all.
        const bool isOnScreen = x > 2 * kReach || y > 2 * kReach;
        emit activated(isOnScreen ? std::optional(QRect(x - kReach, y - kReach, 2 * kReach, 2 * kReach))
                                  : std::nullopt);
    });
    review();
}

Tray::~Tray() = default;

bool Tray::isShown() const {
    return item_.isRegistered() ||
           (embedded_ && embedded_->isVisible() && QSystemTrayIcon::isSystemTrayAvailable());
}

std::optional<QRect> Tray::geometry() const {
    if (item_.isRegistered() || !embedded_ || embedded_->geometry().isEmpty())
        return std::nullopt;
    return embedded_->geometry();
}

void Tray::review() {
    if (item_.isRegistered())
        embedded_.reset();
    else if (!embedded_)
        embed();
}

void Tray::embed() {
    embedded_ = std::make_unique<QSystemTrayIcon>(itemIcon());
    embedded_->setToolTip(item_.title());
    connect(embedded_.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Context)
                    showEmbeddedMenu();
                else
                    emit activated(geometry());
            });
    embedded_->show();
}

void Tray::showEmbeddedMenu() {
    embeddedMenu_ = std::make_unique<QMenu>();
    for (const TrayMenuEntry& entry : makeMenu_()) {
        if (entry.isDivider()) {
            embeddedMenu_->addSeparator();
            continue;
        }
        QAction* const action =
            embeddedMenu_->addAction(QString(entry.label).replace(u'&', QStringLiteral("&&")));
        action->setCheckable(entry.isCheckable);
        action->setChecked(entry.isChecked);
        connect(action, &QAction::triggered, this, [choose = entry.choose] { choose(); });
    }
    embeddedMenu_->popup(QCursor::pos());
}

} // namespace vello
