// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/PanelGeometry.h"

#include <QObject>
#include <QSize>

#include <cstdint>
#include <memory>

struct wl_display;
struct wl_event_queue;
struct wl_surface;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace vello {

/// A surface's part as a layer over the ordinary windows, from its creation to its end. The surface, which
/// outlives it, is the toolkit's.
class LayerSurface : public QObject {
    Q_OBJECT

public:
    ~LayerSurface() override;

    /// The keyboard, which the surface took when it was shown, may go to the window that the user chooses
    /// next. Does nothing where the compositor knows only all or nothing.
    void releaseKeyboard();
    void resize(QSize size);

signals:
    /// The compositor shows the surface no more, for instance since its output is gone.
    void closed();

private:
    friend class LayerShell;
    LayerSurface(zwlr_layer_surface_v1* layer, wl_surface* surface);
    /// Waits for the compositor's first word, which has to be answered before anything is drawn.
    void awaitConfiguration(wl_display* display, wl_event_queue* queue);
    static void configure(void* self, zwlr_layer_surface_v1* layer, std::uint32_t serial, std::uint32_t width,
                          std::uint32_t height);
    static void close(void* self, zwlr_layer_surface_v1* layer);

    zwlr_layer_surface_v1* layer_;
    wl_surface* surface_;
    bool isAnswered_ = false;
};

/// The compositor's layer shell, on the toolkit's connection. Main thread only.
class LayerShell {
public:
    /// Asks the compositor for it; null where it has none.
    static std::unique_ptr<LayerShell> find(wl_display* display);
    ~LayerShell();
    LayerShell(const LayerShell&) = delete;
    LayerShell& operator=(const LayerShell&) = delete;

    /// Makes `surface`, which has no part yet, a layer in that corner, `inset` away from the edges of what
    /// the bars leave free. Waits for the compositor. It may be drawn as soon as the function returns.
    std::unique_ptr<LayerSurface> makeSurface(wl_surface* surface, ScreenCorner corner, int inset,
                                              QSize size) const;

private:
    LayerShell(wl_display* display, wl_event_queue* queue) : display_(display), queue_(queue) {}

    wl_display* display_;
    wl_event_queue* queue_; ///< of our own: the toolkit's events stay where they are while we wait
    zwlr_layer_shell_v1* shell_ = nullptr;
};

} // namespace vello
