// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// The primary button of a view.
T.AbstractButton {
    id: root

    property int pixelSize: Theme.body

    implicitWidth: implicitContentWidth + 28
    implicitHeight: implicitContentHeight + 11
    hoverEnabled: true
    Accessible.name: root.text
    Accessible.onPressAction: if (root.enabled) root.clicked()
    Keys.onReturnPressed: root.clicked()
    Keys.onEnterPressed: root.clicked()

    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        font.pixelSize: root.pixelSize
        font.weight: Font.Medium
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
        color: Theme.onAccent
        opacity: root.enabled ? 1 : 0.6
    }
    background: GlassSurface {
        radius: height / 2
        color: root.down ? Theme.accentFillPressed : root.hovered ? Theme.accentFillHovered : Theme.accentFill
        rimColor: Theme.isContrastIncreased ? Theme.primary : Qt.rgba(1, 1, 1, 0.22)
        opacity: root.enabled ? 1 : 0.4

        FocusRing {
            isShown: root.visualFocus
            radius: height / 2
        }
    }
}
