// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// A switch that shows a symbol.
ToggleControl {
    id: root

    required property string symbol
    readonly property alias symbolMargin: face.symbolMargin

    implicitWidth: face.implicitWidth
    implicitHeight: face.implicitHeight
    ringRadius: 8

    IconFace {
        id: face

        control: root
        symbol: root.symbol
        symbolColor: root.isOn ? Theme.accent : Theme.tertiary
    }
}
