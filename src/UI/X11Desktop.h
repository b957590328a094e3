// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QPoint>

#include <memory>

namespace vello {

/// What the panel's window needs of an X server beyond the toolkit: who presses a button anywhere, and
/// whether windows can be translucent. On a connection of its own.
class X11Desktop : public QObject {
    Q_OBJECT

public:
    /// Null where there is no X server that offers what is needed.
    static std::unique_ptr<X11Desktop> connectToDisplay();
    ~X11Desktop() override;

    bool hasCompositor() const;
    /// Keeps a window out of task bars and pagers. Before it is shown.
    void hideFromTaskbars(unsigned long window) const;

signals:
    /// A button of a pointer was pressed, over whatever window; in pixels of the root window.
    void buttonPressed(QPoint position);

private:
    struct Connection;
    explicit X11Desktop(std::unique_ptr<Connection> connection);
    void readEvents();
    QPoint pointerPosition() const;

    std::unique_ptr<Connection> connection_;
};

} // namespace vello
