// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QQmlEngine>

namespace vello {

class Theme;

/// The engine that the panel's QML runs on. Hands its theme to the QML by type.
class PanelEngine : public QQmlEngine {
    Q_OBJECT

public:
    /// `theme` outlives the engine.
    explicit PanelEngine(Theme& theme) : theme_(theme) {}

    Theme& theme() const { return theme_; }

private:
    Theme& theme_;
};

} // namespace vello
