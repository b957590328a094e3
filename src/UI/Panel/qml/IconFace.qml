// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Templates as T
import Vello

/// The look of a control that shows a symbol.
Rectangle {
    id: root

    required property T.AbstractButton control
    required property string symbol
    property real symbolSize: Theme.headline
    property alias symbolColor: drawing.color
    /// Distance from the control's edge to the symbol's edge.
    readonly property real symbolMargin: (root.width - drawing.width) / 2

    anchors.fill: parent
    implicitWidth: 28
    implicitHeight: Math.max(22, drawing.height)
    radius: 6
    color: root.control.hovered && root.control.enabled ? Theme.control : "transparent"

    Symbol {
        id: drawing

        anchors.centerIn: parent
        anchors.alignWhenCentered: false // symbolMargin assumes the exact centre
        name: root.symbol
        color: Theme.secondary
        pointSize: PanelMeasures.symbolSize(root.symbolSize, root.control.implicitWidth)
        opacity: !root.control.enabled ? 0.4 : root.control.down ? 0.65 : 1
    }
}
