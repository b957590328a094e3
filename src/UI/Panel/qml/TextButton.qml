// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// The secondary button of a view.
PressControl {
    id: root

    implicitWidth: implicitContentWidth + 24
    implicitHeight: implicitContentHeight + 11
    ringRadius: height / 2

    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        font.pixelSize: Theme.callout
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        color: Theme.primary
    }
    background: GlassSurface {
        radius: height / 2
        color: root.hovered ? Theme.controlHovered : Theme.control
        rimColor: Theme.controlRim
        opacity: root.down ? 0.65 : 1
    }
}
