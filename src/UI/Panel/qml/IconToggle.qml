// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A switch that shows a symbol. Its owner binds `isOn` and handles `switched`; it never changes by itself.
T.CheckBox {
    id: root

    required property string symbol
    required property bool isOn
    required property string label
    required property string hint
    /// Distance from the switch's edge to the symbol's edge.
    readonly property real symbolMargin: (root.width - drawing.width) / 2

    signal switched(bool isOn)

    implicitWidth: 28
    implicitHeight: Math.max(22, drawing.height)
    hoverEnabled: true
    checked: root.isOn
    nextCheckState: () => root.isOn ? Qt.Checked : Qt.Unchecked
    Accessible.name: root.label
    Accessible.onPressAction: root.clicked()
    Accessible.onToggleAction: root.clicked()
    Keys.onReturnPressed: root.clicked()
    Keys.onEnterPressed: root.clicked()
    onClicked: root.switched(!root.isOn)

    background: Rectangle {
        radius: 6
        color: root.hovered ? Theme.control : "transparent"

        FocusRing {
            isShown: root.visualFocus
            radius: 8
        }
    }

    Symbol {
        id: drawing

        anchors.centerIn: parent
        anchors.alignWhenCentered: false // symbolMargin assumes the exact centre
        name: root.symbol
        pointSize: Math.min(Theme.headline, root.implicitWidth / 1.3) // a symbol is 1.3 times as wide as its size
        color: root.isOn ? Theme.accent : Theme.tertiary
        opacity: root.down ? 0.65 : 1
    }
    Hint {
        text: root.hint
        visible: root.hovered && !root.down
    }
}
