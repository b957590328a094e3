// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/WindowSystem.h"

#include <vector>

struct wl_display;

namespace vello {

class LayerShell;
class LayerSurface;
class PressCatcher;
struct LayerPlace;

/// A Wayland compositor. With a layer shell, the panel is a layer surface with keyboard focus, anchored to a
/// corner of an output. Without one, the panel is an ordinary window that the compositor places.
class WaylandDesktop : public WindowSystem {
    Q_OBJECT

public:
    /// Null when Qt does not run on Wayland.
    static std::unique_ptr<WaylandDesktop> ofToolkit();
    ~WaylandDesktop() override;

    QScreen* activeScreen() const override;
    std::optional<QRect> workArea(const QScreen& screen) const override;
    std::optional<QPoint> place(QPoint native) const override;
    void adopt(QWindow& window) override;
    void prepare(QWindow& window, const WindowPlace& place) override;
    void limit(QWindow& window, const QRect& panel, int shadow, double cornerRadius) override;
    void acceptStart(const std::string& token) override;

private:
    explicit WaylandDesktop(wl_display* display);
    void catchPresses();
    void removeLayers();
    LayerPlace layerPlace(const WindowPlace& place) const;

    std::unique_ptr<LayerShell> shell_; ///< null without a layer shell
    std::unique_ptr<LayerSurface> panel_;
    /// Covers a screen behind the panel.
    struct Outside {
        std::unique_ptr<PressCatcher> catcher;
        std::unique_ptr<LayerSurface> layer; ///< destroyed first
    };
    std::vector<Outside> outside_; ///< on sway
};

} // namespace vello
