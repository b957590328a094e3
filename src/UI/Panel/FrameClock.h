// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <QObject>
#include <QtQmlIntegration>

namespace vello {

/// The moments at which everything in the panel moves that moves by itself: meters, the spectrum and names
/// that scroll. They all move within one event, so that the window is drawn once for all of them. The panel's
/// model ticks with every update of the meters, about 30 times a second while the panel is shown. Springs
/// move with the frames of the window instead; they answer a click and rest soon.
class FrameClock : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the panel's model")

public:
    using Instant = MainThread::Instant;

    /// Of the latest tick.
    Instant now() const { return now_; }
    void tick(Instant now) {
        now_ = now;
        emit ticked();
    }

signals:
    void ticked();

private:
    Instant now_;
};

} // namespace vello
