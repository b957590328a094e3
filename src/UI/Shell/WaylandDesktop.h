// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/WindowSystem.h"

struct wl_display;

namespace vello {

class LayerShell;
class LayerSurface;

/// A Wayland compositor. Where it has a layer shell, the panel is a surface of it, anchored to a corner of
/// the output that the compositor chooses and given the keyboard; else an ordinary window where the
/// compositor likes it.
class WaylandDesktop : public WindowSystem {
    Q_OBJECT

public:
    /// Null where the toolkit does not run on Wayland.
    static std::unique_ptr<WaylandDesktop> ofToolkit();
    ~WaylandDesktop() override;

    void adopt(QWindow& window) override;
    void prepare(QWindow& window, const WindowPlace& place) override;
    void limit(QWindow& window, const QRect& panel, int shadow, double cornerRadius) override;

private:
    explicit WaylandDesktop(wl_display* display);

    std::unique_ptr<LayerShell> shell_; ///< null: the compositor has none
    std::unique_ptr<LayerSurface> panel_;
};

} // namespace vello
