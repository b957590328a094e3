// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PanelScene.h"
#include "support/WaitUntil.h"
#include "VirtualFrames.h"

#include <gtest/gtest.h>
#include <QTest>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace vello {

/// The panel, rendered and operated. A warning of the QML engine fails the test.
class PanelQuickTest : public testing::Test {
protected:
    explicit PanelQuickTest(const std::filesystem::path& iconProgram = {})
        : scene({}, Consent::allowed, iconProgram) {}
    void TearDown() override {
        for (const QString& warning : scene.qmlWarnings)
            ADD_FAILURE() << qPrintable(warning);
    }
    void open() {
        scene.openPanel();
        scene.settle();
    }
    QQuickItem& item(const QString& name) {
        QQuickItem* const found = scene.named(name);
        if (!found)
            throw std::runtime_error("nothing is called " + name.toStdString());
        return *found;
    }
    static QPoint at(const QQuickItem& item, double x, double y) { return item.mapToScene({x, y}).toPoint(); }
    void click(QQuickItem& target) {
        QTest::mouseClick(scene.window, Qt::LeftButton, {},
                          at(target, target.width() / 2, target.height() / 2));
        scene.settle();
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(scene.window, key, modifiers);
        scene.settle();
    }
    QQuickItem& playerRow(const char* state = "collapsed") {
        return item(QStringLiteral("Player, %1").arg(QLatin1String(state)));
    }
    void openPlayer() {
        scene.play(101, "Player");
        open();
        click(playerRow());
    }
    /// The visible items of a type below `root` (default: the window), in tree order.
    std::vector<QQuickItem*> all(const QString& type, const QQuickItem* root = nullptr) const {
        std::vector<QQuickItem*> found;
        collect(type, root ? *root : *scene.window->contentItem(), found);
        return found;
    }
    QQuickItem& only(const QString& type, const QQuickItem* root = nullptr) const {
        const auto found = all(type, root);
        if (found.size() != 1)
            throw std::runtime_error(std::to_string(found.size()) + " of type " + type.toStdString());
        return *found.front();
    }
    /// The visible item below `root` that shows this text.
    QQuickItem& showing(const QString& text, const QQuickItem* root = nullptr) const {
        for (QQuickItem* const item : all(QStringLiteral("Text"), root))
            if (item->property("text").toString() == text)
                return *item;
        throw std::runtime_error("nothing shows " + text.toStdString());
    }
    /// The item's rectangle in points of the window.
    static QRectF place(const QQuickItem& item) {
        return item.mapRectToScene({0.0, 0.0, item.width(), item.height()});
    }
    std::vector<double> gains() { return scene.controller->settings("player").bandGains; }
    double cardHeight() { return playerRow("expanded").parentItem()->height(); }

    VirtualFrames frames;
    PanelScene scene;

private:
    /// The name of a type, or of the type of an item.
    static QString typeOf(const QQuickItem& item) {
        QString name =
            QString::fromLatin1(item.metaObject()->className()).section(QStringLiteral("_QML"), 0, 0);
        if (name == QLatin1String("PanelText") || name == QLatin1String("ScaleLabel") ||
            name == QLatin1String("NameText"))
            return QStringLiteral("Text");
        return name.remove(QStringLiteral("vello::")).remove(QStringLiteral("QQuick"));
    }
    static void collect(const QString& type, const QQuickItem& item, std::vector<QQuickItem*>& found) {
        for (QQuickItem* const child : item.childItems()) {
            if (!child->isVisible())
                continue;
            if (typeOf(*child) == type)
                found.push_back(child);
            collect(type, *child, found);
        }
    }
};

} // namespace vello
