// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A borderless button with a symbol before its text.
T.AbstractButton {
    id: root

    required property string symbol
    readonly property color ink: root.hovered && root.enabled ? Theme.primary : Theme.secondary

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Math.max(22, implicitContentHeight)
    leftPadding: 2
    rightPadding: 2
    hoverEnabled: true
    Accessible.name: root.text
    Accessible.onPressAction: if (root.enabled) root.clicked()
    Keys.onReturnPressed: root.clicked()
    Keys.onEnterPressed: root.clicked()

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
    background: Item {
        FocusRing {
            isShown: root.visualFocus
            radius: 7
        }
    }
}
