// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vello

/// A bordered button with round ends, which opens a menu.
PressControl {
    id: root

    required property string symbol
    /// May be a name chosen by the user. It is not the button's `text`, in which `&` would mark a mnemonic.
    required property string title
    property string hint: ""

    implicitHeight: Math.max(24, implicitContentHeight + 6)
    horizontalPadding: 8
    Accessible.name: root.title
    Accessible.description: root.hint

    contentItem: RowLayout {
        spacing: 5
        opacity: root.down ? 0.7 : 1

        Symbol {
            name: root.symbol
            pointSize: Theme.body
            color: Theme.primary
        }
        NameText {
            Layout.fillWidth: true
            text: root.title
            isHintWanted: root.hint === "" // which has the whole name
        }
        Symbol {
            name: "chevron.down"
            pointSize: Theme.scaled(7)
            color: Theme.tertiary
        }
    }
    background: Rectangle {
        radius: height / 2
        color: root.hovered ? Theme.controlHovered : Theme.control
        border.width: 1
        border.color: Theme.controlRim
    }

    Hint {
        text: root.hint
        isWanted: root.hovered && !root.down
    }
}
