// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The floating window. It is always as large as the panel can become, and clear where the panel is not, so that a card
/// opens without the window system having a part in it.
Window {
    id: root

    required property PanelModel panel
    /// The panel hangs from the window's top edge, or stands on its bottom edge.
    property bool growsUpwards: false
    /// Windows can let through what is behind them. Else there is neither a shadow nor room for it.
    property bool isTranslucent: true
    readonly property real margin: root.isTranslucent ? 20 : 0
    readonly property rect surface: Qt.rect(content.x, content.y, content.width, content.height)

    signal dismissed

    title: "VELLO by QUORVIN"
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    LayoutMirroring.enabled: Theme.isRightToLeft
    LayoutMirroring.childrenInherit: true
    color: "transparent"
    width: content.implicitWidth + 2 * root.margin
    height: Math.max(620, Math.ceil(content.largestHeight)) + 2 * root.margin

    MenuPanelView {
        id: content

        x: root.margin
        y: root.growsUpwards ? root.height - root.margin - height : root.margin
        width: implicitWidth
        height: Math.ceil(implicitHeight)
        focus: true
        panel: root.panel
        isTranslucent: root.isTranslucent
        Keys.onEscapePressed: root.dismissed()
    }
}
