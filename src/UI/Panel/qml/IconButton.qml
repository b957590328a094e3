// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A borderless button that shows a symbol.
PressControl {
    id: root

    required property string symbol
    /// Describes the action, for the tooltip and the screen reader.
    required property string label
    property string hint: root.label
    property alias symbolSize: face.symbolSize
    property alias symbolColor: face.symbolColor
    readonly property alias symbolMargin: face.symbolMargin

    implicitWidth: face.implicitWidth
    implicitHeight: face.implicitHeight
    ringRadius: 8
    Accessible.name: root.label

    IconFace {
        id: face

        control: root
        symbol: root.symbol
    }
    Hint {
        text: root.hint
        isWanted: root.hovered && !root.down
    }
}
