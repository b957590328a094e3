// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QQmlEngine>

namespace vello {

class Theme;

/// The QML engine of the panel. Provides the theme to QML by its type.
class PanelEngine : public QQmlEngine {
    Q_OBJECT

public:
    /// `theme` must outlive the engine.
    explicit PanelEngine(Theme& theme) : theme_(theme) {}

    Theme& theme() const { return theme_; }

private:
    Theme& theme_;
};

} // namespace vello
