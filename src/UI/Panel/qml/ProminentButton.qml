// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The primary button of a view.
PressControl {
    id: root

    property int pixelSize: Theme.body

    implicitWidth: implicitContentWidth + 28
    implicitHeight: implicitContentHeight + 11

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
        rimColor: Theme.accentFillRim
        opacity: root.enabled ? 1 : 0.4
    }
}
