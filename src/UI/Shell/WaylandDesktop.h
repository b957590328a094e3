// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/WindowSystem.h"

struct wl_display;

namespace vello {

class LayerShell;
class LayerSurface;

/// A Wayland compositor. With a layer shell, the panel is a layer surface with keyboard focus, anchored to a
/// corner of the output that the compositor chooses. Without one, the panel is an ordinary window that the
/// compositor places.
class WaylandDesktop : public WindowSystem {
    Q_OBJECT

public:
    /// Null when Qt does not run on Wayland.
    static std::unique_ptr<WaylandDesktop> ofToolkit();
    ~WaylandDesktop() override;

    void adopt(QWindow& window) override;
    void prepare(QWindow& window, const WindowPlace& place) override;
    void limit(QWindow& window, const QRect& panel, int shadow, double cornerRadius) override;

private:
    explicit WaylandDesktop(wl_display* display);

    std::unique_ptr<LayerShell> shell_; ///< null without a layer shell
    std::unique_ptr<LayerSurface> panel_;
};

} // namespace vello
