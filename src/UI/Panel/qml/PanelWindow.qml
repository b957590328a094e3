// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The floating window. It always has the panel's largest size and is transparent around the panel, so that a card
/// opens without a resize of the window.
Window {
    id: root

    required property PanelModel panel
    /// When true, the panel is at the window's bottom edge and grows upwards; otherwise it is at the top edge.
    property bool growsUpwards: false
    /// Whether windows can be translucent. Without translucency the panel has no shadow and no margin for it.
    property bool isTranslucent: true
    /// Height of the part of the screen that the panel may fill.
    property real availableHeight: Infinity
    /// The open menu of the panel, if any.
    property PanelMenu openMenu: null
    readonly property real margin: root.isTranslucent ? 20 : 0
    readonly property rect surface: Qt.rect(content.x, content.y, content.width, content.height)

    signal dismissed

    title: "VELLO by QUORVIN"
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    LayoutMirroring.enabled: Theme.isRightToLeft
    LayoutMirroring.childrenInherit: true
    color: "transparent"
    width: content.implicitWidth + 2 * root.margin
    height: Math.min(root.availableHeight, Math.max(620, Math.ceil(content.largestHeight))) + 2 * root.margin

    MenuPanelView {
        id: content

        x: root.margin
        y: root.growsUpwards ? root.height - root.margin - height : root.margin
        width: implicitWidth
        height: Math.ceil(implicitHeight)
        focus: true
        panel: root.panel
        isTranslucent: root.isTranslucent
        availableHeight: root.availableHeight
        Keys.onEscapePressed: root.dismissed()
    }
}
