// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A borderless button with a symbol before its text.
PressControl {
    id: root

    required property string symbol
    readonly property color ink: root.hovered && root.enabled ? Theme.primary : Theme.secondary

    implicitHeight: Math.max(22, implicitContentHeight)
    horizontalPadding: 2
    ringRadius: 7

    contentItem: Row {
        spacing: 4
        opacity: !root.enabled ? 0.35 : root.down ? 0.65 : 1

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            pointSize: Theme.callout
            color: root.ink
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            textFormat: Text.PlainText
            font.pixelSize: Theme.callout
            color: root.ink
            Accessible.ignored: true
        }
    }
}
