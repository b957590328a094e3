// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/WindowSystem.h"

#include <QList>
#include <QWindow>

namespace vello {

/// A window system that records its calls. Its screen has two native pixels per logical pixel.
class FakeWindowSystem : public WindowSystem {
public:
    struct Limits {
        QRect panel = {};
        int shadow = 0;
        double cornerRadius = 0.0;
    };

    bool hasTranslucency() const override { return isTranslucent; }
    bool hasEmbeddedItems() const override { return embedsItems; }
    std::optional<QPoint> place(QPoint native) const override {
        return knowsPlaces ? std::optional(native / 2) : std::nullopt;
    }
    std::optional<QRect> workArea(const QScreen& screen) const override {
        return screen.geometry().marginsRemoved(bars);
    }
    void adopt(QWindow& window) override { adopted.append(&window); }
    void prepare(QWindow& window, const WindowPlace& place) override {
        wasVisibleWhenPrepared = wasVisibleWhenPrepared || window.isVisible();
        prepared.append(place);
        WindowSystem::prepare(window, place);
    }
    void limit(QWindow&, const QRect& panel, int shadow, double cornerRadius) override {
        limits = {panel, shadow, cornerRadius};
    }

    QMargins bars = {};
    bool isTranslucent = true;
    bool embedsItems = true;
    bool knowsPlaces = true;
    bool wasVisibleWhenPrepared = false;
    QList<QWindow*> adopted = {};
    QList<WindowPlace> prepared = {};
    Limits limits = {};
};

} // namespace vello
