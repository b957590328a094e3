// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/WindowSystem.h"
#include "X11Backdrop.h"

namespace vello {

/// An X server: reports pointer buttons pressed anywhere and whether windows can be translucent, and keeps a
/// window out of task bars. Uses its own connection. The X server of a Wayland compositor knows only of
/// presses on X programs; there, presses on other programs are noticed by the loss of the keyboard.
class X11Desktop : public WindowSystem {
    Q_OBJECT

public:
    /// Null when Qt does not run on an X server with the required features.
    static std::unique_ptr<X11Desktop> connectToDisplay();
    ~X11Desktop() override;

    bool hasTranslucency() const override;
    bool hasEmbeddedItems() const override { return true; }
    bool tellsButtons() const override { return true; }
    std::optional<QPoint> place(QPoint native) const override;
    void adopt(QWindow& window) override;
    void prepare(QWindow& window, const WindowPlace& place) override;
    void limit(QWindow& window, const QRect& panel, int shadow, double cornerRadius) override;
    void acceptStart(const std::string& token) override;

private:
    class Connection;
    explicit X11Desktop(std::unique_ptr<Connection> connection);
    void readEvents();
    QPoint pointerPosition() const;
    void hideFromTaskbars(unsigned long window) const;
    void setMargins(unsigned long window, int width) const;

    std::unique_ptr<Connection> connection_;
    std::optional<X11Backdrop> backdrop_; ///< on GNOME's X server
};

} // namespace vello
