// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vello

/// Renames or deletes the entry of a menu that is marked.
Row {
    id: root

    required property string title
    required property color ink

    signal renamingRequested
    signal deletionRequested

    component Action: IconButton {
        id: action

        required property color ink

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
        symbol: "pencil"
        label: qsTr("Rename %1").arg(root.title)
        onClicked: root.renamingRequested()
    }
    Action {
        ink: root.ink
        symbol: "trash"
        label: qsTr("Delete %1").arg(root.title)
        onClicked: root.deletionRequested()
    }
}
