// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// A borderless button that shows a symbol.
T.AbstractButton {
    id: root

    required property string symbol
    /// Describes the action, for the tooltip and the screen reader.
    required property string label
    property string hint: root.label
    property real symbolSize: Theme.headline
    property color symbolColor: Theme.secondary
    /// A symbol is 1.3 times as wide as its size.
    readonly property real largestSymbolSize: root.implicitWidth / 1.3
    /// Distance from the button's edge to the symbol's edge.
    readonly property real symbolMargin: (root.width - drawing.width) / 2

    implicitWidth: 28
    implicitHeight: Math.max(22, drawing.height)
    hoverEnabled: true
    Accessible.name: root.label
    Accessible.onPressAction: if (root.enabled) root.clicked()
    Keys.onReturnPressed: root.clicked()
    Keys.onEnterPressed: root.clicked()

    background: Rectangle {
        radius: 6
        color: root.hovered && root.enabled ? Theme.control : "transparent"

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
        pointSize: Math.min(root.symbolSize, root.largestSymbolSize)
        color: root.symbolColor
        opacity: !root.enabled ? 0.4 : root.down ? 0.65 : 1
    }
    Hint {
        text: root.hint
        visible: root.hovered && !root.down && root.hint !== ""
    }
}
