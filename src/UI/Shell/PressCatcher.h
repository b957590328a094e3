// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QRasterWindow>

namespace vello {

/// A transparent window that covers the other programs' windows, to be shown under the panel, and reports the
/// presses on it. Main thread only.
class PressCatcher : public QRasterWindow {
    Q_OBJECT

public:
    PressCatcher();

signals:
    /// The first pointer button was pressed.
    void pressed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
};

} // namespace vello
