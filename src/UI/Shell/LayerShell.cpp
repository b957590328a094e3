// SPDX-License-Identifier: Apache-2.0
#include "LayerShell.h"

#include <algorithm>
#include <cstring>
#include <wayland-client.h>
#include <wlr-layer-shell-unstable-v1.h>

namespace vello {
namespace {

/// Version 4 adds keyboard focus on demand, which the panel uses after it was shown.
constexpr std::uint32_t kNewestVersion = ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND_SINCE_VERSION;

/// The layer shell as the compositor announces it.
struct Offer {
    std::uint32_t name = 0;
    std::uint32_t version = 0; ///< 0: not announced
};

void noteOffer(void* offer, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
    if (std::strcmp(interface, zwlr_layer_shell_v1_interface.name) == 0)
        *static_cast<Offer*>(offer) = {name, std::min(version, kNewestVersion)};
}

void ignoreWithdrawal(void*, wl_registry*, std::uint32_t) {}

/// A registry that delivers its events, and those of objects bound with it, to `queue`.
wl_registry* registryOn(wl_display* display, wl_event_queue* queue) {
    auto* const wrapper = static_cast<wl_display*>(wl_proxy_create_wrapper(display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper), queue);
    wl_registry* const registry = wl_display_get_registry(wrapper);
    wl_proxy_wrapper_destroy(wrapper);
    return registry;
}

std::uint32_t anchors(ScreenCorner corner) {
    return (isLeft(corner) ? ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT : ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT) |
           (isTop(corner) ? ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP : ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM);
}

} // namespace

std::unique_ptr<LayerShell> LayerShell::find(wl_display* display) {
    std::unique_ptr<LayerShell> shell(new LayerShell(display, wl_display_create_queue(display)));
    wl_registry* const registry = registryOn(display, shell->queue_);
    static constexpr wl_registry_listener listener{noteOffer, ignoreWithdrawal};
    Offer offer;
    wl_registry_add_listener(registry, &listener, &offer);
    wl_display_roundtrip_queue(display, shell->queue_);
    if (offer.version > 0)
        shell->shell_ = static_cast<zwlr_layer_shell_v1*>(
            wl_registry_bind(registry, offer.name, &zwlr_layer_shell_v1_interface, offer.version));
    wl_registry_destroy(registry);
    return shell->shell_ ? std::move(shell) : nullptr;
}

LayerShell::~LayerShell() {
    if (shell_ && zwlr_layer_shell_v1_get_version(shell_) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
        zwlr_layer_shell_v1_destroy(shell_);
    else if (shell_)
        wl_proxy_destroy(reinterpret_cast<wl_proxy*>(shell_));
    wl_event_queue_destroy(queue_);
}

bool LayerShell::isMissing() {
    const std::unique_ptr<wl_display, decltype(&wl_display_disconnect)> display(wl_display_connect(nullptr),
                                                                                wl_display_disconnect);
    return display && !find(display.get());
}

std::unique_ptr<LayerSurface> LayerShell::makeSurface(wl_surface* surface, const LayerPlace& place,
                                                      QSize size) const {
    zwlr_layer_surface_v1* const layer = zwlr_layer_shell_v1_get_layer_surface(
        shell_, surface, place.output,
        place.isTopmost ? ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY : ZWLR_LAYER_SHELL_V1_LAYER_TOP, "vello-panel");
    std::unique_ptr<LayerSurface> made(new LayerSurface(layer, surface));
    zwlr_layer_surface_v1_set_anchor(layer, anchors(place.corner));
    zwlr_layer_surface_v1_set_exclusive_zone(layer, place.isOverBars ? -1 : 0);
    zwlr_layer_surface_v1_set_margin(layer, place.vertical, place.horizontal, place.vertical,
                                     place.horizontal);
    zwlr_layer_surface_v1_set_keyboard_interactivity(layer,
                                                     ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE);
    made->resize(size);
    made->awaitConfiguration(display_, queue_);
    return made;
}

std::unique_ptr<LayerSurface> LayerShell::fill(wl_surface* surface, wl_output* output) const {
    zwlr_layer_surface_v1* const layer = zwlr_layer_shell_v1_get_layer_surface(
        shell_, surface, output, ZWLR_LAYER_SHELL_V1_LAYER_TOP, "vello-outside");
    std::unique_ptr<LayerSurface> made(new LayerSurface(layer, surface));
    zwlr_layer_surface_v1_set_anchor(layer,
                                     anchors(ScreenCorner::topLeft) | anchors(ScreenCorner::bottomRight));
    made->resize({0, 0});
    made->awaitConfiguration(display_, queue_);
    return made;
}

LayerSurface::LayerSurface(zwlr_layer_surface_v1* layer, wl_surface* surface)
    : layer_(layer), surface_(surface) {
    static constexpr zwlr_layer_surface_v1_listener listener{configure, close};
    zwlr_layer_surface_v1_add_listener(layer_, &listener, this);
}

LayerSurface::~LayerSurface() {
    zwlr_layer_surface_v1_destroy(layer_);
}

void LayerSurface::awaitConfiguration(wl_display* display, wl_event_queue* queue) {
    while (!isAnswered_ && wl_display_dispatch_queue(display, queue) >= 0) {
    }
    // Later events are dispatched by Qt's event loop.
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(layer_), nullptr);
}

void LayerSurface::releaseKeyboard() {
    if (zwlr_layer_surface_v1_get_version(layer_) <
        ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND_SINCE_VERSION)
        return;
    zwlr_layer_surface_v1_set_keyboard_interactivity(layer_,
                                                     ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND);
    wl_surface_commit(surface_);
}

void LayerSurface::resize(QSize size) {
    zwlr_layer_surface_v1_set_size(layer_, static_cast<std::uint32_t>(size.width()),
                                   static_cast<std::uint32_t>(size.height()));
    wl_surface_commit(surface_);
}

void LayerSurface::configure(void* self, zwlr_layer_surface_v1* layer, std::uint32_t serial,
                             std::uint32_t width, std::uint32_t height) {
    zwlr_layer_surface_v1_ack_configure(layer, serial);
    auto* const surface = static_cast<LayerSurface*>(self);
    surface->size_ = {static_cast<int>(width), static_cast<int>(height)};
    surface->isAnswered_ = true;
}

void LayerSurface::close(void* self, zwlr_layer_surface_v1*) {
    auto* const surface = static_cast<LayerSurface*>(self);
    surface->isAnswered_ = true;
    emit surface->closed();
}

} // namespace vello
