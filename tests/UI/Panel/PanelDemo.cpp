// SPDX-License-Identifier: Apache-2.0
#include "PanelScene.h"
#include "UI/Shell/PanelShell.h"

#include <QApplication>
#include <QTimer>

#include <clocale>
#include <cstdio>

namespace vello {
namespace {

constexpr std::chrono::milliseconds kStep{10};

/// Prints one line per change, for a program that drives the demo.
void report(const PanelPresenter& presenter, const char* what) {
    const QQuickWindow& window = *presenter.window();
    const QRect surface = window.property("surface").toRectF().toAlignedRect().translated(window.position());
    std::printf("%s %d %d %d %d\n", what, surface.x(), surface.y(), surface.width(), surface.height());
    std::fflush(stdout);
}

int run() {
    PanelScene scene;
    scene.play(101, "Firefox");
    scene.play(102, "Rhythmbox");
    PanelShell shell({*scene.controller, *scene.meters, scene.launchAtLogin, scene.applications,
                      scene.mainThread, VELLO_ICON_PROGRAM},
                     [] { QCoreApplication::quit(); });
    QObject::connect(&shell.presenter(), &PanelPresenter::visibleChanged, [&shell](bool isVisible) {
        // The position is known once the window manager has placed the window.
        QTimer::singleShot(
            200, [&shell, isVisible] { report(shell.presenter(), isVisible ? "shown" : "hidden"); });
    });
    QTimer clock;
    QObject::connect(&clock, &QTimer::timeout, [&scene] {
        scene.hearNoise(0.01);
        scene.mainThread.advance(kStep);
    });
    clock.start(kStep);
    shell.presentAtLaunch();
    return QApplication::exec();
}

} // namespace
} // namespace vello

/// The status item and the panel on a model with fakes, to look at and to operate.
int main(int argumentCount, char** arguments) {
    QApplication application(argumentCount, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    std::setlocale(LC_NUMERIC, "C");
    return vello::run();
}
