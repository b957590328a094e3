// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A text that explains a control while the pointer rests on it.
T.ToolTip {
    id: root

    required property bool isWanted
    /// Whether it explains an entry of the open menu. No other hint is shown then, because it could cover the menu.
    property bool isOfMenu: false
    readonly property bool hasMenu: ((root.parent?.Window.window as PanelWindow)?.openMenu ?? null) !== null

    /// It is shown when this lasts for a moment.
    readonly property bool isDue: root.isWanted && root.text !== "" && root.hasMenu === root.isOfMenu

    visible: root.isDue
    parent: T.Overlay.overlay ? root.parent : null
    delay: 700
    timeout: 8000
    margins: 6
    padding: 6
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent
    x: root.parent ? (root.parent.width - implicitWidth) / 2 : 0
    y: root.parent ? root.parent.height + 6 : 0
    implicitWidth: Math.min(implicitContentWidth + leftPadding + rightPadding, 300)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding

    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        color: Theme.primary
        font.pixelSize: Theme.caption
        wrapMode: Text.Wrap
    }
    background: GlassSurface {
        radius: 6
        color: Theme.menu
        rimColor: Theme.windowRim
        shadowColor: Theme.glassShadow
        shadowRadius: 4
        shadowOffset: 2
    }
}
