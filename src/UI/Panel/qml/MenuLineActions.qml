// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Renames or deletes the entry of a menu that is marked.
Row {
    id: root

    required property string title
    required property color ink
    /// The buttons are side by side, so what takes the pointer extends to the outside.
    readonly property real reach: Math.max(0, 24 - Theme.scaled(20))

    leftPadding: root.reach
    rightPadding: root.reach

    signal renamingRequested
    signal deletionRequested

    component Action: IconButton {
        id: action

        required property color ink
        required property bool isFirst

        containmentMask: HitArea {
            control: action
            x: action.isFirst !== action.mirrored ? action.width - width : 0
        }
        implicitWidth: Theme.scaled(20)
        implicitHeight: Theme.scaled(20)
        ringGap: -1
        ringRadius: 6
        ringColor: action.ink
        hint: ""
        symbolSize: Theme.callout
        symbolColor: action.ink
    }
    Action {
        ink: root.ink
        isFirst: true
        symbol: "pencil"
        label: qsTr("Rename %1").arg(root.title)
        onClicked: root.renamingRequested()
    }
    Action {
        ink: root.ink
        isFirst: false
        symbol: "trash"
        label: qsTr("Delete %1").arg(root.title)
        onClicked: root.deletionRequested()
    }
}
