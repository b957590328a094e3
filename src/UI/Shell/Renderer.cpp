// SPDX-License-Identifier: Apache-2.0
#include "Renderer.h"

#include <QDir>
#include <QFileInfo>
#include <QQuickWindow>
#include <QSGRendererInterface>

#include <algorithm>

namespace vello {
namespace {

bool hasGraphicsDevice() {
    const QDir devices(QStringLiteral("/dev/dri"));
    const QFileInfoList nodes =
        devices.entryInfoList({QStringLiteral("renderD*")}, QDir::System | QDir::Files);
    return std::ranges::any_of(nodes,
                               [](const QFileInfo& node) { return node.isReadable() && node.isWritable(); });
}

} // namespace

void chooseRenderer() {
    // Small letters are crisper than those that Qt Quick scales from its own shapes.
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    const bool isChosen =
        qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QSG_RHI_BACKEND");
    if (!isChosen && !hasGraphicsDevice())
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

} // namespace vello
