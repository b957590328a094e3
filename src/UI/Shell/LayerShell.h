// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/PanelGeometry.h"

#include <QObject>
#include <QSize>

#include <cstdint>
#include <memory>

struct wl_display;
struct wl_event_queue;
struct wl_output;
struct wl_surface;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace vello {

/// The layer role of a surface above the ordinary windows; removed on destruction. The surface belongs to Qt
/// and must outlive the role.
class LayerSurface : public QObject {
    Q_OBJECT

public:
    ~LayerSurface() override;

    /// The surface takes the keyboard focus when it is shown. This lets the user move the focus to another
    /// window. Does nothing when the compositor does not support focus on demand.
    void releaseKeyboard();
    void resize(QSize size);
    /// The size that the compositor has chosen, or the layer's own.
    QSize size() const { return size_; }

signals:
    /// The compositor no longer shows the surface, for instance because its output is gone.
    void closed();

private:
    friend class LayerShell;
    LayerSurface(zwlr_layer_surface_v1* layer, wl_surface* surface);
    /// Waits for the compositor's first configure event, which must be acknowledged before anything is drawn.
    void awaitConfiguration(wl_display* display, wl_event_queue* queue);
    static void configure(void* self, zwlr_layer_surface_v1* layer, std::uint32_t serial, std::uint32_t width,
                          std::uint32_t height);
    static void close(void* self, zwlr_layer_surface_v1* layer);

    zwlr_layer_surface_v1* layer_;
    wl_surface* surface_;
    bool isAnswered_ = false;
    QSize size_;
};

/// Where a layer is: a corner of an output, and the distances from the edges that meet there.
struct LayerPlace {
    ScreenCorner corner = ScreenCorner::topRight;
    int horizontal = 0;
    int vertical = 0;
    wl_output* output = nullptr; ///< null: the compositor chooses
    /// Whether the distances are measured from the output's edges, instead of from bars that the compositor
    /// knows there.
    bool isOverBars = false;
    /// Whether it is above all other layers; else it is among those of bars.
    bool isTopmost = false;
};

/// The compositor's layer shell, on Qt's Wayland connection. Main thread only.
class LayerShell {
public:
    /// Queries the compositor; null when it has no layer shell.
    static std::unique_ptr<LayerShell> find(wl_display* display);
    /// Whether the compositor of this session, which answers, has no layer shell. Uses its own connection.
    static bool isMissing();
    ~LayerShell();
    LayerShell(const LayerShell&) = delete;
    LayerShell& operator=(const LayerShell&) = delete;

    /// Makes `surface`, which must not have a role yet, a layer. Blocks until the compositor has configured
    /// it; the surface may be drawn on return.
    std::unique_ptr<LayerSurface> makeSurface(wl_surface* surface, const LayerPlace& place, QSize size) const;
    /// The same for a layer that fills what bars leave free of `output` and does not get the keyboard. The
    /// compositor chooses its size.
    std::unique_ptr<LayerSurface> fill(wl_surface* surface, wl_output* output) const;

private:
    LayerShell(wl_display* display, wl_event_queue* queue) : display_(display), queue_(queue) {}

    wl_display* display_;
    wl_event_queue* queue_; ///< private, so that Qt's events are not dispatched while we wait
    zwlr_layer_shell_v1* shell_ = nullptr;
};

} // namespace vello
